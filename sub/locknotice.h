// Who holds a record that is waited for.
#pragma once

#include "isam/isam.h"

/// Waiting routine of the indexed file store: tells for two seconds who holds the record `recno`.
void lock_wait_notice(ICB *icb);
