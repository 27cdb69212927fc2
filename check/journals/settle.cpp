// The order numbers, when all journals have passed: each is looked up in its journal.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "check/frame/record_place.h"
#include "check/frame/walk_bound.h"
#include "check/journals/journals.h"
#include "data/data.h"

std::uint32_t journal_last_serial() {
    SysRow5 row{};
    iotab_row(tab_action::read, row_serial, row);
    const std::int32_t last = row.last_serial;
    return last <= 0 || last >= static_cast<std::int32_t>(label_highest_order)
               ? journal_lowest_number - 1
               : static_cast<std::uint32_t>(last);
}

namespace {

journal_name journal_of(const OrderNumberRecord &record) {
    return {record.year, record.letter, record.journal};
}

}  // namespace

int order_number_list::open_journal_of(const OrderNumberRecord &record) {
    constexpr std::size_t kept_open = 4;
    const journal_name name = journal_of(record);
    const auto known =
        std::find_if(opened.begin(), opened.end(), [&](const auto &journal) { return journal.name == name; });
    if (known != opened.end()) {
        return known->file.fd;
    }
    journal_name season{};
    journal_name file{};
    const std::string path = journal_path(name);
    const std::size_t slash = path.find('/');
    // Numbers of more than four digits, and letters that could lead elsewhere, do not name a journal.
    if (slash == std::string::npos || !journal_season(path.substr(0, slash), season) ||
        !journal_number(path.substr(slash + 1), file)) {
        return -1;
    }
    if (opened.size() == kept_open) {
        opened.pop_front();
    }
    return opened.emplace_back(name, ::open(path.c_str(), O_RDWR | O_CLOEXEC)).file.fd;
}

/// True for the number of an order that another program added after the walk of its journal. The numbers come
/// from row 5 in ascending order, and start again after the highest.
bool order_number_list::handed_out_since(const OrderNumberRecord &record) {
    order_position place{};
    place.number = record.number;
    if (IXFIND(positions.icb(), &place)) {
        return false;
    }
    const std::uint32_t number = record.number;
    const std::uint32_t now = journal_last_serial();
    return serial_at_start <= now
               ? number > serial_at_start && number <= now
               : number > serial_at_start || (number >= journal_lowest_number && number <= now);
}

/// True when the record is right: its order is in the journal, at the noted place. Makes the texts equal.
bool order_number_list::settle_number(const OrderNumberRecord &record) {
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
        if (lock(changed, record.number)) {
            std::memcpy(changed.text, order.text, sizeof changed.text);
            IXWRITE(numbers, &changed);
        }
    } else if (!text_empty(record.text)) {
        const off_t text_at = at + static_cast<off_t>(offsetof(JournalOrder, text));
        if (!file_write_at(fd, record.text, sizeof record.text, text_at)) {
            const int error = errno;
            isam_fatal("%s: errno=%d", journal_path(journal_of(record)).c_str(), error);
        }
    }
    return true;
}

void order_number_list::settle() {
    numbers = pair_open(order_number_file, ix_shared, sizeof(OrderNumberRecord));
    const auto total = static_cast<std::uint32_t>(std::int32_t{numbers->nrecs});
    chk_phase(detail_text(24, 4, "controleren ordernummers"), total);
    std::uint32_t done = 0;
    OrderNumberRecord record{};
    walk_bound bound(numbers);
    for (bool found = IXFIRST(numbers, &record); found && bound.step(); found = IXNEXT(numbers, &record)) {
        op_leave_if_due();
        chk_progress(++done, total, chk_bar::step);
        const record_place here(numbers);
        if (!settle_number(record) && !handed_out_since(record)) {
            remove(record.number);
        }
    }
    opened.clear();
    chk_progress(total, total, chk_bar::close);
    close();
}
