// The list of order numbers, and the labels of renumbered orders.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "check/frame/frame.h"
#include "check/frame/series_hold.h"
#include "check/journals/journals.h"
#include "data/serieslabels.h"

namespace {

constexpr char order_number_file[] = "RVORDNR";
constexpr std::uint8_t option_own_text = 4;

/// Where an order stands in its journal.
struct order_position {
    little_uint32_t number;
    little_int32_t position;  ///< of the payload
};
static_assert(sizeof(order_position) == 8);

ICB *numbers = nullptr;
error_list<order_position> positions("tmp_ordnr", {{"key-1", false, {{'I', 0, 4}}}});

// ---- Labels

/// Series whose labels all have an order number of their own, by the place of their record. A series occurs
/// in many orders, and need not be walked for each of them.
std::int32_t series_at_start = 0;

bool labels_numbered(std::int32_t series) {
    return series < series_at_start && chk_bit_test(series);
}

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

/// Gives the labels of a line's series that came with the order its new number, if the number fits in a
/// label. The series is held while they are written; for most orders the labels have the number already.
void number_labels(const journal_walk &walk) {
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
    op_value(op_field::journal_series, ser_text(series.key).c_str());
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

// ---- Order numbers

template <std::size_t N>
bool text_empty(const char (&text)[N]) {
    return text[0] == '\0';
}

template <std::size_t N>
bool text_equal(const char (&a)[N], const char (&b)[N]) {
    return std::strncmp(a, b, N) == 0;
}

/// Reads and locks an order number; a number that does not exist is not reserved.
bool lock_number(OrderNumberRecord &record, std::uint32_t number) {
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

void delete_number(std::uint32_t number) {
    OrderNumberRecord record;
    if (lock_number(record, number)) {
        IXDELETE(numbers, &record);
    }
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

void note_position(std::uint32_t number, std::int64_t at) {
    if (at < INT32_MAX) {
        order_position position{};
        position.number = number;
        position.position = static_cast<std::int32_t>(at + 1);
        positions.add(position);
    }
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

/// Updates the list of order numbers for an order of a journal. An order that may not keep its text gives
/// none to the list here; the texts of list and journal are settled at the end, when all have passed.
void list_order(const journal_walk &walk, const journal_name &name) {
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
    if (lock_number(record, order.number)) {
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

// ---- The order numbers, when all journals have passed

/// The journal last opened for the order numbers, which come season by season.
struct {
    std::string path;
    int fd = -1;
} last_journal;

void close_last_journal() {
    if (last_journal.fd >= 0) {
        close(last_journal.fd);
    }
    last_journal.fd = -1;
    last_journal.path.clear();
}

int open_journal_of(const OrderNumberRecord &record) {
    const journal_name name{record.year, record.letter, record.journal};
    journal_name season{};
    journal_name file{};
    const std::string path = journal_path(name);
    const std::size_t slash = path.find('/');
    // Numbers of more than four digits, and letters that could lead elsewhere, do not name a journal.
    if (slash == std::string::npos || !journal_season(path.substr(0, slash), season) ||
        !journal_number(path.substr(slash + 1), file)) {
        return -1;
    }
    if (path != last_journal.path) {
        close_last_journal();
        last_journal.path = path;
        last_journal.fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    }
    return last_journal.fd;
}

/// The serial number handed out last; when the first number comes next, the one before it.
std::uint32_t last_serial() {
    SysRow5 row{};
    iotab_row(tab_action::read, row_serial, row);
    const std::int32_t last = row.last_serial;
    return last <= 0 || last >= static_cast<std::int32_t>(label_highest_order)
               ? journal_lowest_number - 1
               : static_cast<std::uint32_t>(last);
}

/// The last serial number before the check.
std::uint32_t serial_at_start = 0;

/// True for the number of an order that another program added after the walk of its journal. The numbers come
/// from row 5 in ascending order, and start again after the highest.
bool handed_out_since(const OrderNumberRecord &record) {
    order_position place{};
    place.number = record.number;
    if (IXFIND(positions.icb(), &place)) {
        return false;
    }
    const std::uint32_t number = record.number;
    const std::uint32_t now = last_serial();
    return serial_at_start <= now
               ? number > serial_at_start && number <= now
               : number > serial_at_start || (number >= journal_lowest_number && number <= now);
}

/// True when the record is right: its order is in the journal, at the noted place. Makes the texts equal.
bool settle_number(const OrderNumberRecord &record) {
    order_position place{};
    place.number = record.number;
    const int fd = open_journal_of(record);
    if (fd < 0 || !IXREAD(positions.icb(), &place)) {
        return false;
    }
    JournalOrder order;
    const off_t at = place.position;
    if (file_read_at(fd, &order, sizeof order, at) != static_cast<ssize_t>(sizeof order) ||
        order.number != record.number) {
        return false;
    }
    if (text_equal(order.text, record.text)) {
        return true;
    }
    if (!text_empty(order.text)) {
        OrderNumberRecord changed;
        if (lock_number(changed, record.number)) {
            std::memcpy(changed.text, order.text, sizeof changed.text);
            IXWRITE(numbers, &changed);
        }
    } else if (!text_empty(record.text)) {
        const off_t text_at = at + static_cast<off_t>(offsetof(JournalOrder, text));
        if (!file_write_at(fd, record.text, sizeof record.text, text_at)) {
            isam_fatal("%s: errno=%d", last_journal.path.c_str(), errno);
        }
    }
    return true;
}

}  // namespace

void journal_numbers_open() {
    serial_at_start = last_serial();
    numbers = pair_open(order_number_file, ix_shared, sizeof(OrderNumberRecord));
    positions.open();
    series_at_start = chk_files.rvser->nrecs;
    chk_bits_open(static_cast<std::size_t>(series_at_start) / 8 + 1);
}

void journal_numbers_close() {
    if (numbers != nullptr) {
        IXCLOSE(numbers);
        numbers = nullptr;
    }
}

void journal_numbers_end() {
    journal_numbers_close();
    positions.close();
    chk_bits_close();
}

void journal_follow(journal_walk &walk, const journal_name &name) {
    // The labels of an order that isn't in the copy are found by the old journal only, in this run or never.
    const bool undisturbed = walk.dropped_low;
    journal_again(walk);
    while (journal_next(walk)) {
        if (walk.code == 'O' && !undisturbed) {
            op_leave_if_due();
        }
        if (walk.forgotten) {
            delete_number(*walk.forgotten);
        }
        if (walk.code == 'O' && walk.copied) {
            list_order(walk, name);
        } else if (walk.code == 'D' && walk.labels_follow) {
            number_labels(walk);
        }
    }
}

void journal_settle_numbers() {
    numbers = pair_open(order_number_file, ix_shared, sizeof(OrderNumberRecord));
    const auto total = static_cast<std::uint32_t>(std::int32_t{numbers->nrecs});
    chk_phase(detail_text(24, 4, "controleren ordernummers"), total);
    std::uint32_t done = 0;
    OrderNumberRecord record{};
    // A damaged index can lead in a circle.
    for (bool found = IXFIRST(numbers, &record); found && done < total; found = IXNEXT(numbers, &record)) {
        op_leave_if_due();
        chk_progress(++done, total, chk_bar::step);
        const std::int32_t here = numbers->recno;
        if (!settle_number(record) && !handed_out_since(record)) {
            delete_number(record.number);
        }
        numbers->recno = here;
    }
    close_last_journal();
    chk_progress(total, total, chk_bar::close);
    journal_numbers_close();
}
