// The course of the order criteria check, and the free chain.
#include "check/order_criteria/order_criteria.h"

#include <algorithm>
#include <limits>

#include "data/data.h"

namespace {

constexpr char blocks_name[] = "RVBAPAR";
constexpr char series_name[] = "RVBASER";

}  // namespace

criteria_check::criteria_check()
    : chk_check({.flag = &ok_order_criteria, .shows_date = false, .withdraws = true, .repairs = false}) {}

const char *criteria_check::status() const {
    return detail_text(14, 7, "controleren bestelcriteria");
}

const char *criteria_check::title() const {
    return detail_text(14, 8, "CONTROLEREN BESTELCRITERIA");
}

void criteria_show_pass(op_field pass, op_field count, const char *title) {
    op_caption(pass, title);
    op_caption(count, detail_text(14, 3, "Aantal verwerkt"));
}

void criteria_show_count(op_field count, std::int32_t number) {
    op_value(count, std::to_string(number).c_str());
}

bool criteria_is_empty(const CriteriaBlock &block) {
    return block.key == SeriesKey{};
}

/// Empties the free chain. Programs that need a block meanwhile add it at the end of the file, where this
/// check frees nothing.
void criteria_check::give_up_free_chain() {
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_criteria_chain, chain);
    const off_t in_file = chk_txt_size(blocks_name) / static_cast<off_t>(sizeof(CriteriaBlock));
    end = static_cast<std::int32_t>(std::min<off_t>(in_file, std::numeric_limits<std::int32_t>::max()));
    moved = false;
    chain.free_head = end;
    chain.end_mark = end;
    iotab_row(tab_action::write, row_criteria_chain, chain);
}

void criteria_check::open() {
    // A missing file stops the program before the row that counts its blocks is changed.
    raw_access(blocks, raw_action::open, 0, nullptr);
    give_up_free_chain();
    chk_bits_open(static_cast<std::size_t>(end) / 8 + 1);
    series = pair_open(series_name, ix_readonly, sizeof(CriteriaRecord));
    errors.open();
}

void criteria_check::close() {
    IXCLOSE(series);
    raw_access(blocks, raw_action::close, 0, nullptr);
    chk_bits_close();
    errors.close();
}

/// Makes the free chain from all blocks that are on no chain. The row is locked meanwhile, so that a block
/// that another program adds is not dropped from the count.
void criteria_check::finish() {
    const leave_guard undisturbed;
    criteria_show_pass(op_field::criteria_free, op_field::criteria_free_count,
                       detail_text(14, 6, "FASE-3: herstellen vrije etiketblokken"));
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_criteria_chain, chain);
    chain.end_mark = std::max(chain.end_mark.value(), end);
    std::int32_t head = chain.end_mark;
    for (std::int32_t block = 0; block < end; block++) {
        if (!chk_bit_test(block)) {
            CriteriaBlock empty{};
            empty.next = head;
            write_block(block, empty);
            head = block;
            criteria_show_count(op_field::criteria_free_count, block);
        }
    }
    chain.free_head = head;
    iotab_row(tab_action::write, row_criteria_chain, chain);
}

void chk_order_criteria() {
    criteria_check check;
    chk_perform(check);
}
