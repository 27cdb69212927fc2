#include "data/batch_lock.h"

#include "base/base.h"
#include "data/errors.h"
#include "data/iotab.h"

namespace {

constexpr char module_name[] = "batchvw";

off_t lock_byte(int kind) {
    return static_cast<off_t>(batch_lock_base) + kind * region_users.highest + sys_user;
}

bool kind_valid(int kind) {
    return kind >= 0 && kind <= batch_lock_highest_kind;
}

void require_usable(int kind) {
    const bool closed = iotab_descriptor() < 0;
    if (kind_valid(kind) && !closed) {
        return;
    }
    if (sys_user == region_users.highest) {
        op_end();
    }
    err_internal(module_name, closed ? 3 : 2);
}

}  // namespace

bool batch_lock(int kind, bool ask) {
    require_usable(kind);
    const off_t byte = lock_byte(kind);
    const auto granted = [byte] { return file_lock(lock_action::sole, iotab_descriptor(), byte, 1); };
    return granted() || op_await_turn(ask, granted);
}

void batch_unlock(int kind) {
    // Closing the file also releases its locks.
    if (kind_valid(kind) && iotab_descriptor() >= 0) {
        file_lock(lock_action::unlock, iotab_descriptor(), lock_byte(kind), 1);
    }
}
