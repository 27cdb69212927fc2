// The two price files: sets by key, blocks by number, the free chain, and a set's chain.
//
// Writes follow one order, so that a program that dies between two of them never leaves a set without its
// blocks: a block is taken from the free chain before it is filled, and a set is written after its blocks and
// deleted before they are freed. All that can be left over is blocks on no chain, which the price check
// finds.
#include "data/ioink.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <tuple>

#include "base/base.h"
#include "data/errors.h"
#include "data/ioink_internal.h"
#include "data/iotab.h"
#include "data/pairopen.h"

ink_prices ink_working{};

namespace {

constexpr char module_name[] = "ioink";
constexpr char fatal_name[] = "IOINK";
constexpr int series_parts = 3;
constexpr int period_parts = 4;  ///< series and supplier

/// Numbers of the internal errors.
enum misuse : int {
    sets_already_open = 1,
    blocks_already_open = 2,
    sets_not_open = 3,
    blocks_not_open = 4,
    read_without_open = 5,
    write_without_mode = 6,
    block_file_closed = 7,
};

/// What is wrong with a block, by the number that the warning shows.
enum class trouble : int { none = 0, no_seek = 1, short_read = 2, other_set = 3 };

struct {
    ICB *sets = nullptr;
    int fd = -1;
    file_view view{};
    ink_mode mode = ink_mode::read;
} ink;

off_t place_of(std::int32_t block) {
    return static_cast<off_t>(block) * static_cast<off_t>(sizeof(PriceBlock));
}

/// The chains can no longer be trusted: marks the user slot and stops the program.
[[noreturn]] void fail(char action, std::int32_t block, int code, const char *text) {
    set_program_status(status_prices_suspect);
    isam_fatal("%s(%d): %s(a=%c,f=%d,r=%ld) -> %s", fatal_name, code, ink_set_file, action, ink.fd,
               static_cast<long>(block), text);
}

void warn(trouble reason) {
    op_tell(op_notice::price_blocks,
            {detail_text(13, 50, "WAARSCHUWING"),
             str_format("%s (%d)",
                        detail_text(13, 51, "Prijzen zijn NIET consistent, bestandscontroles uitvoeren"),
                        static_cast<int>(reason))});
}

void warn_sizes() {
    op_tell(op_notice::price_sizes, {detail_text(13, 52, "Prijsgroepenbestand: maatbitmaps kloppen niet")});
}

trouble try_read(std::int32_t block, PriceBlock &buffer) {
    if (ink.fd < 0) {
        err_internal(module_name, block_file_closed);
    }
    if (block < 0) {
        errno = EINVAL;
        return trouble::no_seek;
    }
    errno = 0;
    return file_view_read_at(ink.view, ink.fd, &buffer, sizeof buffer, place_of(block)) ==
                   static_cast<ssize_t>(sizeof buffer)
               ? trouble::none
               : trouble::short_read;
}

std::int32_t blocks_in_file() {
    const off_t size = std::max(file_fd_size(ink.fd), off_t{0});
    const off_t highest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(size / static_cast<off_t>(sizeof(PriceBlock)), highest));
}

void demand_read() {
    if (ink.sets == nullptr) {
        err_internal(module_name, read_without_open);
    }
}

/// The key of a set in a form that can be compared.
auto order(const PriceSetRecord &set) {
    return std::make_tuple(set.key.group.value(), set.key.colour.value(), set.key.number.value(),
                           set.supplier.value(), set.end_date.value());
}

/// A damaged index can lead to sets of another series or supplier; a walk ends there.
bool in_group(const PriceSetRecord &set, const PriceSetRecord &from, int parts) {
    return (parts < series_parts || set.key == from.key) &&
           (parts < period_parts || set.supplier == from.supplier);
}

/// The form in which the working prices keep a price.
std::int32_t kept(std::int32_t price) {
    return price == 0 ? ink_prices::present_zero : std::max(price, 0);
}

std::int32_t price_of(std::int32_t kept_price) {
    return kept_price == ink_prices::present_zero ? 0 : kept_price;
}

}  // namespace

// ---- Working prices

std::int32_t ink_prices::gross_of(unsigned size) const {
    return size < 96 ? price_of(gross[size]) : 0;
}

std::int32_t ink_prices::net_of(unsigned size) const {
    return size < 96 ? price_of(net[size]) : 0;
}

void ink_prices::set(unsigned size, std::int32_t gross_price, std::int32_t net_price) {
    load(size, gross_price, std::max(net_price, 1));
}

void ink_prices::load(unsigned size, std::int32_t gross_price, std::int32_t net_price) {
    if (size >= 1 && size <= size_highest) {
        gross[size] = kept(std::max(gross_price, 1));
        net[size] = kept(net_price);
    }
}

void ink_clear() {
    ink_working = {};
}

// ---- Files

void ink_open(ink_mode mode) {
    if (ink.sets != nullptr) {
        err_internal(module_name, sets_already_open);
    }
    if (ink.fd >= 0) {
        err_internal(module_name, blocks_already_open);
    }
    ink.sets =
        pair_open(ink_set_file, mode == ink_mode::write ? ix_shared : ix_readonly, sizeof(PriceSetRecord));
    ink.fd = open(ink_block_file, (mode == ink_mode::write ? O_RDWR : O_RDONLY) | O_CLOEXEC);
    if (ink.fd < 0) {
        err_open(module_name, ink_block_file);
    }
    ink.mode = mode;
    ink_forget_order();
}

void ink_close() {
    if (ink.sets == nullptr) {
        err_internal(module_name, sets_not_open);
    }
    if (ink.fd < 0) {
        err_internal(module_name, blocks_not_open);
    }
    IXCLOSE(ink.sets);
    ink.sets = nullptr;
    file_view_close(ink.view);
    close(ink.fd);
    ink.fd = -1;
    set_program_status(status_working);
}

void ink_reopen() {
    ink_close();
    ink_open(ink.mode);
}

bool ink_read(ink_action action, PriceSetRecord &set, int parts) {
    demand_read();
    const PriceSetRecord from = set;
    switch (action) {
        case ink_action::first:
            return IXFIRSTR(ink.sets, &set, parts) && in_group(set, from, parts) &&
                   !(order(set) < order(from));
        case ink_action::next:
            return IXNEXTR(ink.sets, &set, parts) && in_group(set, from, parts) && order(from) < order(set);
        case ink_action::previous:
            return IXPREVR(ink.sets, &set, parts) && in_group(set, from, parts) && order(set) < order(from);
    }
    return false;
}

bool ink_read_valid(SeriesKey series, std::uint16_t supplier, day_number day, PriceSetRecord &set) {
    set = {};
    set.key = series;
    set.supplier = supplier;
    set.end_date = day;
    return ink_read(ink_action::first, set, period_parts) && set.begin_date <= day;
}

int ink_block_read(std::int32_t block, PriceBlock &buffer, ink_report report) {
    const trouble found = try_read(block, buffer);
    if (found == trouble::none) {
        return 1;
    }
    if (report == ink_report::fatal) {
        fail('R', block, errno,
             found == trouble::short_read ? detail_text(2, 843, "Buiten bestand")
                                          : detail_text(13, 53, "Prijzenbestand inconsistent"));
    }
    warn(found);
    return 0;
}

void ink_block_write(std::int32_t block, const PriceBlock &buffer) {
    ink_demand_write();
    if (block < 0) {
        fail('W', block, EINVAL, std::strerror(EINVAL));
    }
    if (!file_write_at(ink.fd, &buffer, sizeof buffer, place_of(block))) {
        const int code = errno;
        fail('W', block, code, std::strerror(code));
    }
}

std::int32_t ink_block_alloc(SysRow4Chain &row) {
    ink_demand_write();
    const std::int32_t head = row.free_head;
    const std::int32_t end = row.end_mark;
    if (head == end && end >= 0 && end < std::numeric_limits<std::int32_t>::max()) {
        row.end_mark = end + 1;
        row.free_head = end + 1;
    } else {
        PriceBlock block{};
        ink_block_read(head, block, ink_report::fatal);
        // A used block must not be overwritten, and a head outside the file would stop the next allocation.
        if (!(block.key == SeriesKey{}) || block.next < 0 || block.next > end) {
            fail('R', head, 0, detail_text(13, 53, "Prijzenbestand inconsistent"));
        }
        row.free_head = block.next;
    }
    iotab_row(tab_action::write_keep, row_price_chain, row);
    return head;
}

// ---- Sets

void ink_demand_write() {
    if (ink.fd < 0) {
        err_internal(module_name, block_file_closed);
    }
    if (ink.mode != ink_mode::write) {
        err_internal(module_name, write_without_mode);
    }
}

bool ink_owns(const PriceSetRecord &set, const PriceBlock &block) {
    return block.key == set.key && block.supplier == set.supplier && block.end_date == set.end_date;
}

ink_chain_walk::ink_chain_walk(const PriceSetRecord &owner)
    : set(owner), next(owner.chain), left(blocks_in_file()) {}

bool ink_chain_walk::step() {
    if (broken || (number >= 0 && next < 0)) {
        return false;
    }
    trouble found = try_read(next, block);
    if (found == trouble::none && (!ink_owns(set, block) || left-- <= 0)) {
        found = trouble::other_set;
    }
    if (found != trouble::none) {
        broken = true;
        warn(found);
        return false;
    }
    number = next;
    next = block.next;
    return true;
}

bool ink_read_exact(PriceSetRecord &set) {
    return IXREAD(ink.sets, &set);
}

bool ink_next_period(PriceSetRecord &set, bool first) {
    return ink_read(first ? ink_action::first : ink_action::next, set, period_parts);
}

void ink_write_set(const PriceSetRecord &set) {
    IXWRITE(ink.sets, &set);
}

bool ink_remove_set(const PriceSetRecord &set) {
    PriceSetRecord stored = set;
    if (!ink_read_exact(stored)) {
        return false;
    }
    IXDELETE(ink.sets, &stored);
    return true;
}

bool ink_free_chain(PriceSetRecord &set, SysRow4Chain &row) {
    ink_chain_walk walk(set);
    while (walk.step()) {
        PriceBlock free_block{};
        free_block.next = row.free_head;
        ink_block_write(walk.number, free_block);
        row.free_head = walk.number;
    }
    iotab_row(tab_action::write_keep, row_price_chain, row);
    set.chain = -1;
    return !walk.broken;
}

void ink_set_load(const PriceSetRecord &set) {
    demand_read();
    ink_clear();
    SizeBitmap found{};
    ink_chain_walk walk(set);
    while (walk.step()) {
        found.add(walk.block.sizes);
        for (unsigned size = 1; size <= size_highest; size++) {
            if (walk.block.sizes.test(size)) {
                ink_working.load(size, walk.block.gross, walk.block.net);
            }
        }
    }
    if (!(found == set.sizes)) {
        warn_sizes();
    }
}

int ink_set_delete(PriceSetRecord &set) {
    ink_demand_write();
    const leave_guard undisturbed;
    set_program_status(status_in_chain_update);
    SysRow4Chain row{};
    iotab_row(tab_action::lock_read, row_price_chain, row);
    PriceSetRecord stored = set;
    const bool present = ink_read_exact(stored) && ink_remove_set(stored);
    const bool freed = present && ink_free_chain(stored, row);
    iotab_row(tab_action::unlock, row_price_chain, row);
    set_program_status(status_working);
    set.chain = -1;
    return freed ? 1 : 0;
}
