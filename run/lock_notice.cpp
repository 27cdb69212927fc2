#include "run/lock_notice.h"

#include "data/iotab.h"
#include "screen/screen.h"

void lock_wait_notice(ICB *icb) {
    const off_t length = icb->reclen;
    const std::string holder = lock_holder_text("", icb->datfd, length * icb->recno, length);
    scr_last_line(A_BLINK, 2, "%-.11s: %-.19s --> %s", icb->fname, icb->fdesc, holder.c_str());
}
