// Shows who holds a record that this program waits for.
#pragma once

#include "base/base.h"
#include "store/store.h"

/// Waiting routine of the indexed file store: shows for two seconds who holds the record `recno`.
void lock_wait_notice(ICB *icb);
