// Releases the keys that programs which ended badly left reserved in the indexed files.
#include <cstring>

#include "check/session/session.h"
#include "data/pairopen.h"

namespace {

// Header, one root and the lock block: a smaller index half holds no lock block.
constexpr off_t smallest_index = 1535;

/// Temporary pairs are skipped: what a killed run left behind must not keep the next one from starting.
bool is_temporary(const std::string &name) {
    return name.starts_with("TP") || name.starts_with("PR") || name.starts_with("TMPEAN.");
}

}  // namespace

void chk_release_indexes() {
    std::string name = "*.INX";
    if (!DIRECTORY(dir_action::open, name)) {
        return;
    }
    op_caption(op_field::index_release,
               str_format("%s (ixclear)...", detail_text(8, 680, "Vrijgeven indexen")).c_str());
    while (DIRECTORY(dir_action::next, name)) {
        if (!is_temporary(name)) {
            ixclear(name.substr(0, name.find('.')));
        }
    }
    DIRECTORY(dir_action::close, name);
    op_clear(op_field::index_release);
}

void ixclear(const std::string &name) {
    const std::string index = name + ".INX";
    if (!file_exists((name + ".TXT").c_str()) || file_size(index.c_str()) <= smallest_index) {
        return;
    }
    pair_finish(name.c_str(), any_length);
    if (!ix_sound(name.c_str()) && !ix_unfinished(name.c_str())) {
        return;  // whoever uses the pair mends it, reports it or skips it
    }
    ICB *icb = IXOPEN(name.c_str(), ix_shared);
    const int lock_block = icb->nkeys + 1;
    IXRDIX(icb, lock_block);
    if (icb->blk.bcount > 0) {
        icb->blk.bcount = 0;
        std::memset(icb->blk.bentries, 0, sizeof icb->blk.bentries);
        IXWRIX(icb, lock_block);
    }
    IXCLOSE(icb);
}
