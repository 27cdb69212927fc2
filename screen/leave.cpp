// Leaving on a signal.
//
// SIGHUP and SIGTERM only set a flag. The key reader and the interrupt test look at it: a program that waits
// for the operator, or asks whether to go on, has no update half done. When it has, a hold says so.
#include <cstdlib>

#include "screen/screen_internal.h"

volatile std::sig_atomic_t scr_leave_flag = 0;

void (*scr_leave_handler)() = nullptr;

namespace {

int holds = 0;
bool leaving = false;

}  // namespace

bool scr_leave_requested() {
    return scr_leave_flag != 0;
}

bool leave_due() {
    return scr_leave_flag != 0 && holds == 0;
}

void scr_leave_if_due() {
    if (!leave_due()) {
        return;
    }
    if (leaving) {
        // The orderly end or the fatal screen is waiting for a key that nobody will press.
        scr_exit(1);
    }
    leaving = true;
    if (scr_leave_handler != nullptr) {
        scr_leave_handler();
    }
    scr_exit(0);
}

void leave_is_fatal() {
    leaving = true;
}

void scr_leave_hold() {
    holds++;
}

void scr_leave_release() {
    if (holds > 0 && --holds == 0) {
        scr_leave_if_due();
    }
}
