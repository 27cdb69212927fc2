#include "sub/pairopen.h"

#include "screen/screen.h"

namespace {

void mend(const char *name, std::size_t room) {
    const leave_guard undisturbed;
    ix_mend(name, room);
}

}  // namespace

void pair_finish(const char *name, std::size_t room) {
    if (ix_unfinished(name)) {
        mend(name, room);
    }
}

ICB *pair_open(const char *name, int mode, std::size_t room) {
    mend(name, room);
    ICB *icb = IXOPEN(name, mode);
    if (static_cast<std::size_t>(icb->reclen) > room) {
        scr_fatal("%-11.11s: %-19.19s --> %s", icb->fname, icb->fdesc, term_text(1, 234, "Niet consistent"));
    }
    return icb;
}
