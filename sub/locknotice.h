// Shows who holds a record that this program waits for.
#pragma once

#include "isam/isam.h"

/// Waiting routine of the indexed file store: shows for two seconds who holds the record `recno`.
void lock_wait_notice(ICB *icb);
