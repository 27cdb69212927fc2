#include "data/pairopen.h"

#include "base/base.h"

namespace {

void mend(const char *name, std::size_t record_bytes) {
    const leave_guard undisturbed;
    ix_mend(name, record_bytes);
}

}  // namespace

void pair_finish(const char *name, std::size_t record_bytes) {
    if (ix_unfinished(name)) {
        mend(name, record_bytes);
    }
}

ICB *pair_open(const char *name, int mode, std::size_t record_bytes) {
    mend(name, record_bytes);
    ICB *icb = IXOPEN(name, mode);
    const auto length = static_cast<std::size_t>(icb->reclen);
    if (record_bytes == any_length ? length > ix_max_reclen : length != record_bytes) {
        isam_fatal("%-11.11s: %-19.19s --> %s", icb->fname, icb->fdesc, term_text(1, 234, "Niet consistent"));
    }
    return icb;
}
