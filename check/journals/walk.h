// The records of an order journal, one after another, and what becomes of each.
//
// A journal comes from outside: any byte may be where a code is expected, and it may end within a record.
// Nothing here writes. The same journal can be walked twice, first for the copy and then for what follows
// from it; both walks give the same new numbers.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "data/journalfile.h"

/// Bytes of the payload after a code; -1 for a byte that is not a code.
int journal_payload(char code);
/// True when a record of `code` may follow one of `previous`; a blank stands for the start of the journal.
bool journal_may_follow(char code, char previous);

inline constexpr std::uint32_t journal_lowest_number = 1000;
inline bool journal_number_low(std::uint32_t number) {
    return number >= 1 && number < journal_lowest_number;
}

/// True for an order that gets a new number when it has one below 1000.
inline bool journal_order_numbered(const JournalOrder &order) {
    return order.kind != order_kind_own_text && order.status == order_status_numbered;
}

/// Why a walk ended.
enum class journal_end {
    open,          ///< not yet
    passed,        ///< the last record was in order
    empty,         ///< the journal has no record
    unknown_code,  ///< a byte that is not a code
    order_misplaced,
    cut_off,       ///< the journal ends within a record
    unreadable,    ///< what follows can't be read, for the reason in `error`
    last_dropped,  ///< the last record was out of order
};

struct journal_walk {
    // The record, valid after journal_next has given true.
    char code = ' ';
    char previous = ' ';                     ///< code of the record before it
    std::int64_t at = 0;                     ///< place of the code in the journal
    std::span<std::uint8_t> payload;         ///< for an order, with its new number
    bool copied = false;                     ///< belongs in the copy
    bool replaces = false;                   ///< for an order: it replaces the head just before it
    bool renumbered = false;                 ///< for an order: it has a new number
    std::optional<std::uint32_t> forgotten;  ///< a number that no order has any more

    // The order that the record belongs to.
    std::uint32_t order_number = 0;
    std::uint16_t order_date = 0;
    std::uint32_t group = 0;     ///< article group of the model
    bool labels_follow = false;  ///< labels with a number below 1000 take that of the order
    bool dropped_low = false;    ///< so far: an order with a number below 1000 that only its labels outlive
    journal_end end = journal_end::open;
    int error = 0;  ///< errno of a read that failed

    // The walk itself.
    int fd = -1;
    std::int32_t (*next_number)() = nullptr;
    std::vector<std::uint32_t> new_numbers;  ///< handed out, in the order of the journal
    std::size_t used_numbers = 0;
    int orders_in_row = 0;
    std::unique_ptr<std::uint8_t[]> buffer;
    std::int64_t buffer_at = 0;
    std::size_t buffer_filled = 0;
    std::size_t buffer_used = 0;
};

/// Begins a walk through the journal open as `fd`; new numbers come from `next_number`.
void journal_begin(journal_walk &walk, int fd, std::int32_t (*next_number)());
/// Goes back to the start; the numbers handed out come again.
void journal_again(journal_walk &walk);
/// The next record. False at the end; `walk.end` then says why, and code and place are those of the record
/// that made the journal fail.
bool journal_next(journal_walk &walk);
