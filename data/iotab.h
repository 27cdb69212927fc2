// The one way to the system file RVSYS.TXT.
#pragma once

#include <cassert>
#include <string>

#include "data/sysfile.h"

/// Action of a record-level routine.
enum class tab_action : char {
    open = 'O',        ///< open the file if it is closed; the record number becomes 1
    close = 'C',       ///< close the file
    read = 'R',        ///< read without a lock
    first = 'F',       ///< read; if that fails, continue as next
    next = 'N',        ///< the following record that is not empty
    previous = 'P',    ///< the preceding record that is not empty
    lock_read = 'X',   ///< lock, waiting as long as it takes, then read
    write = 'W',       ///< write, then release the lock
    write_keep = 'w',  ///< write and keep the lock
    unlock = 'U',      ///< release the lock
    test = 'T',        ///< is the record free of locks?
    clear = 'D',       ///< zero the buffer, write it, release the lock
};

inline constexpr char sys_file_name[] = "RVSYS.TXT";

/// The row number that all callers of the 25 rows share.
extern std::int32_t sys_row;

/// Works on the record `number` (1 to `highest`) of `size` bytes of the region at `base`. Returns 1 or 0. A
/// read returns 1 for a whole record that is not all zero. When there is no further record, next leaves the
/// number at highest + 1 and previous at 0. For a number outside the region nothing is read, written or
/// locked, and only the writes return 1. A missing file, a file that lacks rows, a read, write or lock call
/// that fails, and a write past the end of the file are fatal.
int iotab(tab_action action, std::int32_t &number, void *buffer, std::int32_t base, std::int32_t highest,
          std::size_t size);

/// The same for a record of one of the tables.
template <class Record>
int iotab(tab_action action, std::int32_t &number, Record &record, const sys_region &region) {
    assert(sizeof record == static_cast<std::size_t>(region.size));
    return iotab(action, number, &record, region.base, region.highest, sizeof record);
}

/// The same for one of the 25 rows, by way of `sys_row`.
template <class Row>
int iotab_row(tab_action action, sys_row_number row, Row &record) {
    static_assert(sizeof(Row) == static_cast<std::size_t>(region_rows.size));
    sys_row = row;
    return iotab(action, sys_row, record, region_rows);
}

/// The descriptor of the open system file, -1 when it is closed.
int iotab_descriptor();

/// Number of the user slot in use, 0 for none, and a copy of its record.
extern std::int32_t sys_user;
extern UserSlot sys_slot;
/// Status byte of the user slot as it was on file when the slot was bound.
extern std::uint8_t sys_slot_status;
/// Rows 1 and 15, read at start-up.
extern SysRow1 sys_settings;
extern SysRow15 sys_country;

/// Marks the system as busy in row 10, with `text` (cut at 49 characters; "@n" stands for text n).
void set_system_busy(const char *text);
/// Sets the status byte of the user slot and writes the slot, keeping its lock. Does nothing without a slot.
void set_program_status(std::uint8_t status);

/// Text that tells who holds a lock on `length` bytes of `fd` from `start`. `word` is empty, "PROG" for a
/// program in use, or "~" and a name that is put in front.
std::string lock_holder_text(const std::string &word, int fd, off_t start, off_t length);

/// The user name of a slot, in plain text.
std::string user_name(const UserSlot &slot);
