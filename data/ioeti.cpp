// The label file, one open at a time, with one current block and slot.
#include "data/ioeti.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/base.h"
#include "data/errors.h"
#include "data/ioeti_internal.h"
#include "data/iotab.h"
#include "data/shop_session.h"

namespace {

constexpr char module_name[] = "ioeti";
constexpr char fatal_name[] = "IOETI";
constexpr std::int32_t chain_end = -1;
constexpr std::int32_t no_block = -1;
constexpr std::int32_t no_label = 0;

struct {
    int fd = -1;
    bool transit_in_use = false;
    bool test_mode = false;
    LabelBlock block{};
    std::int32_t number = no_block;  ///< number of the block in memory
    int slot = 0;
    std::int32_t steps = 0;  ///< blocks followed since the chain was entered
} eti;

/// The chains can no longer be trusted: marks the user slot and stops the program.
[[noreturn]] void fail(eti_action action, std::int32_t block, int code, const char *text) {
    set_program_status(status_chains_suspect);
    isam_fatal("%s(%d): a=%c,f=%d,r=%ld -> %s", fatal_name, code, static_cast<char>(action), eti.fd,
               static_cast<long>(block), text);
}

[[noreturn]] void fail_chain(eti_action action, std::int32_t block) {
    fail(action, block, 0, detail_text(4, 465, "Ongeldige etiketketting"));
}

[[noreturn]] void fail_disk(eti_action action, std::int32_t block) {
    const int code = errno;
    fail(action, block, code, std::strerror(code));
}

off_t place_of(std::int32_t block) {
    return static_cast<off_t>(block) * static_cast<off_t>(sizeof(LabelBlock));
}

enum class load_result { done, above_bound, no_seek, short_read };

load_result try_read(std::int32_t block, LabelBlock &buffer) {
    if (block > eti_max_block()) {
        return load_result::above_bound;
    }
    if (block < 0) {
        errno = EINVAL;
        return load_result::no_seek;
    }
    errno = 0;
    const ssize_t got = file_read_at(eti.fd, &buffer, sizeof buffer, place_of(block));
    if (got < 0) {
        fail_disk(eti_action::read, block);
    }
    return got == static_cast<ssize_t>(sizeof buffer) ? load_result::done : load_result::short_read;
}

bool read_block(std::int32_t block, LabelBlock &buffer) {
    return try_read(block, buffer) == load_result::done;
}

void forget_block() {
    eti.number = no_block;
    eti.slot = 0;
    eti.steps = 0;
}

/// Makes a block current, and its first slot.
void load(eti_action action, std::int32_t block) {
    LabelBlock buffer;
    switch (try_read(block, buffer)) {
        case load_result::above_bound:
            fail_chain(action, block);
        case load_result::no_seek:
            fail(action, block, errno, detail_text(3, 908, "Foutieve etiketketting"));
        case load_result::short_read:
            fail(action, block, errno, detail_text(2, 843, "Buiten bestand"));
        case load_result::done:
            break;
    }
    eti.block = buffer;
    eti.number = block;
    eti.slot = 0;
}

void store_block() {
    if (!file_write_at(eti.fd, &eti.block, sizeof eti.block, place_of(eti.number))) {
        fail_disk(eti_action::write, eti.number);
    }
}

/// A chain leads to a new block a moment before that block is written. The program that adds it holds the
/// lock of row 4 meanwhile, so waiting for that lock is enough.
void await_block(std::int32_t block, const SeriesKey &key) {
    LabelBlock buffer;
    constexpr int patience = 3;
    for (int i = 0; i < patience && !(read_block(block, buffer) && buffer.key == key); i++) {
        SysRow4Chain chain{};
        iotab_row(tab_action::lock_read, row_label_chain, chain);
        iotab_row(tab_action::unlock, row_label_chain, chain);
    }
}

/// Goes to the next block of the chain, if there is one. A chain longer than the file is a loop.
bool follow_chain(eti_action action) {
    const std::int32_t next = eti.block.next;
    // A free block would lead to other free ones: the series was deleted during the walk.
    if (next == chain_end || chk_key_empty(eti.block)) {
        return false;
    }
    if (eti.steps++ > eti_max_block()) {
        fail_chain(action, next);
    }
    LabelBlock buffer;
    if (!read_block(next, buffer) || !(buffer.key == eti.block.key)) {
        await_block(next, eti.block.key);
        load(action, next);
        return true;
    }
    eti.block = buffer;
    eti.number = next;
    eti.slot = 0;
    return true;
}

/// Splits a label number into block and slot; false for a number below 1, which lies in no block.
bool locate(std::int32_t number, std::int32_t &block, int &slot) {
    if (number < 1) {
        return false;
    }
    block = (number - 1) / labels_per_block;
    slot = (number - 1) % labels_per_block;
    return true;
}

bool fill(eti_rec &rec) {
    eti_unpack(eti.block, eti.slot, rec);
    return rec.status != label_empty;
}

void open_file() {
    if (eti.fd >= 0) {
        err_internal(module_name, 3);
    }
    eti.fd = open(eti_file_name, O_RDWR | O_CLOEXEC);
    if (eti.fd < 0) {
        err_open(module_name, eti_file_name);
    }
    eti.test_mode = std::getenv("ZUV_INTERN") != nullptr;
    SysRow20 transit{};
    iotab_row(tab_action::read, row_transit, transit);
    eti.transit_in_use = transit.in_use != 0;
    eti_forget_values();
    forget_block();
}

void close_file() {
    if (eti.fd >= 0) {
        close(eti.fd);
        eti.fd = -1;
    }
    forget_block();
    set_program_status(status_working);
}

bool read_label(std::int32_t number, eti_rec &rec) {
    std::int32_t block = no_block;
    int slot = 0;
    LabelBlock buffer;
    rec = {};
    forget_block();
    if (!locate(number, block, slot) || !read_block(block, buffer)) {
        return false;
    }
    eti.block = buffer;
    eti.number = block;
    eti.slot = slot;
    return fill(rec);
}

/// Goes on from the slot after the current one to the next label of the chain.
bool next_label(eti_action action, std::int32_t &number, eti_rec &rec) {
    if (eti.number == no_block) {
        return false;
    }
    for (;;) {
        while (++eti.slot < labels_per_block) {
            if (!label_is_empty(eti.block.slots[eti.slot])) {
                number = eti_number(eti.number, eti.slot);
                return fill(rec);
            }
        }
        if (!follow_chain(action)) {
            eti.slot = labels_per_block - 1;
            return false;
        }
        eti.slot = -1;
    }
}

bool first_label(std::int32_t &number, eti_rec &rec) {
    const std::int32_t block = number;
    forget_block();
    rec = {};
    if (block == chain_end) {
        number = no_label;
        return false;
    }
    load(eti_action::first, block);
    number = eti_number(block, 0);
    return fill(rec) || next_label(eti_action::first, number, rec);
}

bool owns_block(const eti_rec &rec) {
    return eti.number != no_block && eti.block.key.group == rec.group && eti.block.key.colour == rec.colour &&
           eti.block.key.number == rec.number;
}

/// Adds a block after the last one of the chain. The mark in the user slot is set and row 4 is locked from
/// before the first of the three writes until after the last. So a program that dies between them is noticed,
/// and a program that has locked the row finds no block without an owner.
void add_block(std::int32_t &number, const eti_rec &rec) {
    const bool has_chain = owns_block(rec);
    while (has_chain && follow_chain(eti_action::new_block)) {
    }
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_label_chain, chain);
    set_program_status(status_in_chain_update);
    const std::int32_t head = chain.free_head;
    const std::int32_t taken = eti_take_block(chain, read_block);
    if (taken < 0) {
        fail_chain(eti_action::new_block, head);
    }
    if (has_chain) {
        eti.block.next = taken;
        store_block();
    }
    iotab_row(tab_action::write_keep, row_label_chain, chain);

    eti.block = {};
    eti.block.key.group = rec.group;
    eti.block.key.colour = rec.colour;
    eti.block.key.number = rec.number;
    eti.block.size_kind = rec.size_kind;
    eti.block.next = chain_end;
    eti.number = taken;
    eti.slot = 0;
    number = eti_number(taken, 0);
    store_block();
    iotab_row(tab_action::unlock, row_label_chain, chain);
    set_program_status(status_working);
}

/// Goes to the first empty slot, from the start of the current block onward.
void find_room(std::int32_t &number, const eti_rec &rec) {
    if (!owns_block(rec)) {
        add_block(number, rec);
        return;
    }
    eti.steps = 0;
    do {
        for (eti.slot = 0; eti.slot < labels_per_block; eti.slot++) {
            if (label_is_empty(eti.block.slots[eti.slot])) {
                number = eti_number(eti.number, eti.slot);
                return;
            }
        }
    } while (follow_chain(eti_action::write));
    add_block(number, rec);
}

void write_label(std::int32_t &number, eti_rec &rec) {
    std::int32_t block = no_block;
    int slot = 0;
    if (locate(number, block, slot)) {
        if (block != eti.number) {
            if (eti.number != no_block) {
                store_block();
            }
            eti.steps = 0;
            load(eti_action::write, block);
        }
        eti.slot = slot;
    } else {
        find_room(number, rec);
    }
    eti_pack(rec, eti.block, eti.slot);
    store_block();
}

bool delete_label(std::int32_t number) {
    if (eti.number == no_block || eti.slot < 0 || number != eti_number(eti.number, eti.slot)) {
        return false;
    }
    eti.block.slots[eti.slot] = LabelEntry{};
    store_block();
    return true;
}

}  // namespace

bool eti_transit_in_use() {
    return eti.transit_in_use;
}

bool eti_test_mode() {
    return eti.test_mode;
}

int eti_file(eti_action action, std::int32_t &number, eti_rec &rec) {
    if (action == eti_action::open) {
        open_file();
        return 0;
    }
    if (action == eti_action::close) {
        close_file();
        return 0;
    }
    if (eti.fd < 0) {
        err_internal(module_name, 2);
    }
    switch (action) {
        case eti_action::read:
            return read_label(number, rec) ? 1 : 0;
        case eti_action::first:
            return first_label(number, rec) ? 1 : 0;
        case eti_action::next:
            return next_label(action, number, rec) ? 1 : 0;
        case eti_action::write:
            write_label(number, rec);
            return 1;
        case eti_action::remove:
            return delete_label(number) ? 0 : 1;
        case eti_action::new_block:
            add_block(number, rec);
            return 0;
        case eti_action::lock_read:
            err_internal(module_name, 1);
        default:
            return 0;
    }
}

int eti_file(eti_action action) {
    std::int32_t number = no_label;
    eti_rec rec;
    return eti_file(action, number, rec);
}

int eti_next_kind(eti_action action, std::int32_t &number, eti_rec &rec, int status) {
    if (action != eti_action::first && action != eti_action::next && action != eti_action::read) {
        err_internal(module_name, 4);
    }
    int found = eti_file(action, number, rec);
    // A label read by number may be an empty slot with labels after it.
    if (found == 0 && action == eti_action::read) {
        found = eti_file(eti_action::next, number, rec);
    }
    while (found != 0 && rec.status != status) {
        found = eti_file(eti_action::next, number, rec);
    }
    return found;
}

std::int32_t eti_max_block() {
    return label_highest_block(sys_country.label_digits);
}
