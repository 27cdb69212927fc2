// The blocks of the label file as the checks see them, and what the system file says of them: the next serial
// number, the free chain.
#include <algorithm>
#include <iterator>

#include "data/ioeti.h"
#include "data/iotab.h"
#include "data/sessionfiles.h"

namespace {

constexpr std::int32_t first_serial = 1000;
constexpr std::int32_t last_serial = 9999999;
constexpr std::int32_t no_block = -1;

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

std::int32_t eti_next_serial() {
    SysRow5 row{};
    iotab_row(tab_action::lock_read, row_serial, row);
    const std::int32_t last = row.last_serial;
    const std::int32_t serial = last <= 0 || last >= last_serial ? first_serial : last + 1;
    row.last_serial = serial;
    iotab_row(tab_action::write, row_serial, row);
    return serial;
}

std::int32_t eti_take_block(SysRow4Chain &chain, eti_block_reader read) {
    const std::int32_t head = chain.free_head;
    const std::int32_t end = chain.end_mark;
    if (head < 0 || head > end || head > eti_max_block()) {
        return no_block;
    }
    if (head == end) {
        chain.free_head = end + 1;
        chain.end_mark = end + 1;
        chain.free_count = 0;
        return end;
    }
    LabelBlock block;
    if (!read(head, block) || !chk_key_empty(block) || block.next < 0 || block.next > end) {
        return no_block;
    }
    chain.free_head = block.next;
    if (chain.free_count > 0) {
        chain.free_count -= 1;
    }
    return head;
}
