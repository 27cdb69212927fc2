// The course of the check of goods in transit, and its walk.
#include "check/transit/transit.h"

#include "data/data.h"
#include "data/transitfile.h"

namespace {

bool in_transit(const LabelEntry &entry) {
    return label_split(entry).status == label_stock && entry.extra > 0;
}

}  // namespace

bool transit_has_entry(std::int32_t number) {
    TransitRecord entry{};
    entry.label = number;
    const key_switch by_label(chk_files.rvgo, 1);
    return IXFINDP(chk_files.rvgo, &entry, 1);
}

SeriesKey transit_series(const eti_rec &label) {
    SeriesKey key;
    key.group = label.group;
    key.colour = label.colour;
    key.number = label.number;
    return key;
}

void transit_show_number(std::int32_t number) {
    op_value(op_field::label_in_transit, std::to_string(number).c_str());
}

transit_check::transit_check()
    : chk_check(
          {.flag = &ok_transit, .date = &SysRow19::transit, .report_time = chk_report_time::before_walk}) {}

const char *transit_check::status() const {
    return detail_text(8, 663, "controleren goederen onderweg");
}

const char *transit_check::title() const {
    return status();
}

void transit_check::open() {
    op_caption(op_field::label_in_transit, detail_text(3, 502, "Etiketnummer"));
    chk_eti_raw(raw_action::open);
    eti_file(eti_action::open);
    work.create();
}

void transit_check::close() {
    work.remove();
    eti_file(eti_action::close);
    chk_eti_raw(raw_action::close);
}

void transit_check::check_block(std::int32_t block, const LabelBlock &buffer) {
    for (int slot = 0; slot < labels_per_block; slot++) {
        const std::int32_t number = eti_number(block, slot);
        if (in_transit(buffer.slots[slot]) && !transit_has_entry(number)) {
            work.print("%ld\n", static_cast<long>(number));
            print_label(number);
        }
    }
}

/// Blocks above the highest number hold no labels, since no label has such a number.
bool transit_check::walk() {
    op_ticker<std::int32_t> shown(op_field::label_in_transit,
                                  [](const std::int32_t &number) { return std::to_string(number); });
    LabelBlock buffer;
    for (std::int32_t block = 0; block <= eti_max_block() && chk_eti_raw(raw_action::read_on, 0, buffer) != 0;
         block++) {
        if (buffer.key.group != 0 && buffer.key.colour != 0 && buffer.key.number != 0) {
            check_block(block, buffer);
            shown.show(eti_number(block, labels_per_block - 1));
        }
    }
    work.rewind();
    return true;
}

void chk_transit() {
    transit_check check;
    chk_perform(check);
}
