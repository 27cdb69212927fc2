// The row of the system file that leads to a free chain of blocks.
#pragma once

#include "data/iotab.h"

/// Holds the row locked while the object lives. Every program that takes or frees a block of the file holds
/// this lock.
class chain_row {
public:
    /// Locks the row and reads it.
    explicit chain_row(sys_row_number wanted) : row(wanted) {
        iotab_row(tab_action::lock_read, row, chain);
    }
    ~chain_row() {
        iotab_row(tab_action::unlock, row, chain);
    }
    chain_row(const chain_row &) = delete;
    chain_row &operator=(const chain_row &) = delete;

    /// Writes the row, and keeps it locked.
    void write() {
        iotab_row(tab_action::write_keep, row, chain);
    }

    SysRow4Chain chain{};

private:
    const sys_row_number row;
};
