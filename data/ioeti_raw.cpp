// The blocks of the label file as the checks see them.
#include <algorithm>
#include <iterator>

#include "data/ioeti.h"
#include "data/sessionfiles.h"

namespace {

raw_file label_blocks{eti_file_name, sizeof(LabelBlock)};

}  // namespace

int chk_eti_raw(raw_action action, std::int32_t block, LabelBlock &buffer) {
    return raw_access(label_blocks, action, block, &buffer);
}

int chk_eti_raw(raw_action action) {
    return raw_access(label_blocks, action, 0, nullptr);
}

bool chk_block_empty(const LabelBlock &block) {
    return std::all_of(std::begin(block.slots), std::end(block.slots), label_is_empty);
}

bool chk_key_empty(const LabelBlock &block) {
    return block.key == SeriesKey{};
}

bool chk_ser_exists(const LabelBlock &block) {
    SeriesRecord series{};
    series.key = block.key;
    const key_switch key(chk_files.rvser, 1);
    return IXFIND(chk_files.rvser, &series);
}
