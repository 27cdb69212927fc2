#include "sub/batchvw.h"

#include "screen/screen.h"
#include "sub/errors.h"
#include "sub/iotab.h"
#include "sub/startup.h"

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
        chain_program("");
    }
    err_internal(module_name, closed ? 3 : 2);
}

bool try_lock(off_t byte) {
    return file_lock(lock_action::sole, iotab_descriptor(), byte, 1);
}

/// Waits a second; false when the operator was asked and does not want to wait any longer.
bool keep_waiting(bool ask) {
    constexpr int row = 2;
    constexpr int col = 2;
    if (!ask) {
        scr_flush(1);
        return true;
    }
    if (!key_wait(row, col, 1)) {
        return true;
    }
    key_get(win_current());
    return ing_akkoord(row, col, "%s", detail_text(9, 528, "Wilt u wachten")) != 0;
}

}  // namespace

bool batch_lock(int kind, bool ask) {
    require_usable(kind);
    const off_t byte = lock_byte(kind);
    if (try_lock(byte)) {
        return true;
    }
    win_open1(10, 6, 4, 70);
    win_title("%s", "");
    scr_text(A_BLINK, 1, 2, "%s", detail_text(8, 672, "Verwerking is actief"));
    if (ask) {
        scr_text(A_DIM, 2, 2, "%s? %s", detail_text(9, 528, "Wilt u wachten"), detail_text(1, 866, "(J/N)"));
    }
    scr_flush(0);
    scr_flush(0);
    bool locked = false;
    while (!locked && keep_waiting(ask)) {
        scr_leave_if_due();
        locked = try_lock(byte);
    }
    win_close();
    return locked;
}

void batch_unlock(int kind) {
    // Closing the file also releases its locks.
    if (kind_valid(kind) && iotab_descriptor() >= 0) {
        file_lock(lock_action::unlock, iotab_descriptor(), lock_byte(kind), 1);
    }
}
