// The list of order numbers, and the labels of renumbered orders.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "check/frame/frame.h"
#include "check/frame/record_place.h"
#include "check/frame/series_hold.h"
#include "check/journals/journals.h"
#include "data/data.h"
#include "data/serieslabels.h"

namespace {

constexpr std::uint8_t option_own_text = 4;

bool number_label(LabelEntry &entry, const journal_walk &walk) {
    LabelParts label = label_split(entry);
    if (label.status == label_empty || label.date_in != walk.order_date || !journal_number_low(label.order)) {
        return false;
    }
    label.order = walk.order_number;
    entry = label_join(label);
    return true;
}

struct numbered_labels {
    bool changed = false;
    bool any_low = false;  ///< a label belongs to an order without a number of its own
};

/// Gives the labels of a series that came with the order its number; without `write` it only looks what would
/// change.
numbered_labels number_chain(const SeriesRecord &series, const journal_walk &walk, bool write) {
    numbered_labels labels;
    for (label_chain chain = label_chain_of(series); label_chain_next(chain);) {
        bool changed = false;
        for (LabelEntry &entry : chain.content.slots) {
            changed = number_label(entry, walk) || changed;
            labels.any_low = labels.any_low || journal_number_low(label_split(entry).order);
        }
        if (changed && write) {
            chk_eti_raw(raw_action::write, chain.block, chain.content);
        }
        labels.changed = labels.changed || changed;
    }
    return labels;
}

OrderNumberRecord new_record(const JournalOrder &order) {
    OrderNumberRecord record{};
    record.number = order.number;
    std::memcpy(record.text, order.text, sizeof record.text);
    return record;
}

void place_record(OrderNumberRecord &record, const journal_name &name) {
    record.journal = static_cast<std::uint16_t>(name.number);
    record.year = static_cast<std::uint16_t>(name.year);
    record.letter = name.letter;
}

/// True for an order of the kind that may keep its own text, where the shop allows it.
bool keeps_text(const JournalOrder &order) {
    return (sys_settings.journal_options & option_own_text) != 0 && order.kind == order_kind_own_text;
}

/// Puts the place and the text of an order in its record; an empty text is ignored. False when both are there
/// already.
bool follow_order(OrderNumberRecord &record, const JournalOrder &order, const journal_name &name) {
    const OrderNumberRecord before = record;
    place_record(record, name);
    if (!text_empty(order.text) && !text_equal(order.text, record.text)) {
        std::memcpy(record.text, order.text, sizeof record.text);
    }
    return std::memcmp(&before, &record, sizeof record) != 0;
}

}  // namespace

void order_number_list::open() {
    serial_at_start = journal_last_serial();
    numbers = pair_open(order_number_file, ix_shared, sizeof(OrderNumberRecord));
    positions.open();
    series_at_start = chk_files.rvser->nrecs;
    chk_bits_open(static_cast<std::size_t>(series_at_start) / 8 + 1);
}

void order_number_list::close() {
    if (numbers != nullptr) {
        IXCLOSE(numbers);
        numbers = nullptr;
    }
}

void order_number_list::end() {
    close();
    positions.close();
    chk_bits_close();
}

// ---- Labels

bool order_number_list::labels_numbered(std::int32_t series) const {
    return series < series_at_start && chk_bit_test(series);
}

/// Gives the labels of a line's series that came with the order its new number, if the number fits in a
/// label. The series is held while they are written; for most orders the labels have the number already.
void order_number_list::number_labels(const journal_walk &walk) {
    if (walk.order_number > label_highest_order) {
        return;
    }
    JournalDetail detail;
    std::memcpy(&detail, walk.payload.data(), sizeof detail);
    SeriesRecord series{};
    series.key.group = walk.group;
    series.key.colour = detail.colour;
    series.key.number = detail.number;
    if (!IXREAD(chk_files.rvser, &series)) {
        return;
    }
    shown.show(series.key);
    const std::int32_t place = chk_files.rvser->recno;
    if (labels_numbered(place)) {
        return;
    }
    numbered_labels labels = number_chain(series, walk, false);
    if (labels.changed) {
        const series_hold hold(series.key);
        if (!hold.exists()) {
            return;
        }
        labels = number_chain(hold.record, walk, true);
    }
    if (!labels.any_low) {
        chk_bit_set(place);
    }
}

// ---- Records of the list

/// Reads and locks an order number; a number that does not exist is not reserved.
bool order_number_list::lock(OrderNumberRecord &record, std::uint32_t number) {
    record = {};
    record.number = number;
    if (!IXFIND(numbers, &record)) {
        return false;
    }
    if (IXREADLOCK(numbers, &record)) {
        return true;
    }
    record.number = number;
    IXFREE(numbers, &record);
    return false;
}

void order_number_list::remove(std::uint32_t number) {
    OrderNumberRecord record;
    if (lock(record, number)) {
        IXDELETE(numbers, &record);
    }
}

void order_number_list::note_position(std::uint32_t number, std::int64_t at) {
    if (at < INT32_MAX) {
        order_position position{};
        position.number = number;
        position.position = static_cast<std::int32_t>(at + 1);
        positions.add(position);
    }
}

/// Updates the list of order numbers for an order of a journal. An order that may not keep its text gives
/// none to the list here; the texts of list and journal are settled at the end, when all have passed.
void order_number_list::list_order(const journal_walk &walk, const journal_name &name) {
    JournalOrder order;
    std::memcpy(&order, walk.payload.data(), sizeof order);
    if (walk.renumbered) {
        OrderNumberRecord added = new_record(order);
        added.journal = order.journal;
        added.year = order.year;
        added.letter = order.letter;
        IXWRITE(numbers, &added);
    }
    if (!keeps_text(order)) {
        std::memset(order.text, 0, sizeof order.text);
    }
    OrderNumberRecord record{};
    record.number = order.number;
    if (IXREAD(numbers, &record) && !follow_order(record, order, name)) {
        note_position(order.number, walk.at);
        return;
    }
    if (lock(record, order.number)) {
        follow_order(record, order, name);
    } else if (order.status == order_status_numbered) {
        record = new_record(order);
        place_record(record, name);
    } else {
        return;
    }
    IXWRITE(numbers, &record);
    note_position(order.number, walk.at);
}

void order_number_list::follow(journal_walk &walk, const journal_name &name) {
    // The labels of an order that isn't in the copy are found by the old journal only, in this run or never.
    const bool undisturbed = walk.dropped_low;
    journal_again(walk);
    while (journal_next(walk)) {
        if (walk.code == 'O' && !undisturbed) {
            op_leave_if_due();
        }
        if (walk.forgotten) {
            remove(*walk.forgotten);
        }
        if (walk.code == 'O' && walk.copied) {
            list_order(walk, name);
        } else if (walk.code == 'D' && walk.labels_follow) {
            number_labels(walk);
        }
    }
    shown.end();
}
