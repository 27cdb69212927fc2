// The price check: the price sets and their blocks agree, no block is lost, every label has a price.
//
//   1  series that prefer no supplier are given the one that has prices for them
//   2  FASE-1, each set: its series is there, its chain is sound, its sizes are those of its blocks
//   3  FASE-2, the free chain must end at the end of the file, and is cut where it goes wrong
//   4  FASE-3, blocks that were seen on no chain
//   5  report, question, repair; then all blocks on no chain go to the free chain
//   6  the prices of the labels, which also write the date
//
// It writes during the walk: a preferred supplier to its series, and row 9 with the last block of the free
// chain; a set without an end date is deleted. `repair` changes sets and chains. `close` puts the blocks on
// no chain on the free chain, but only when the check counts as passed: nothing else was wrong, or the
// operator agreed.
#pragma once

#include "check/frame/chain_row.h"
#include "check/frame/error_list.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "data/data.h"

/// What can be wrong with a set, a block or a series. The report is in this order.
enum price_error_code : std::uint8_t {
    price_outside = 1,            ///< a set without a chain, or a block that can't be read
    price_other_set = 2,          ///< a chain reaches a block of another set
    price_in_free_chain = 3,      ///< a chain reaches an empty block
    price_seen_before = 4,        ///< a chain reaches a block that is on one already
    price_lost_no_set = 5,        ///< a used block on no chain; its set does not exist
    price_lost = 6,               ///< a used block on no chain; its set exists
    price_lost_no_series = 7,     ///< a used block on no chain; its series does not exist
    price_wrong_sizes = 11,       ///< the set's sizes are not those of its blocks
    price_set_no_series = 12,     ///< a set of a series that does not exist
    price_no_main_supplier = 13,  ///< a series that prefers no supplier has prices of several
};

/// The table of what this check can find, and the row of a code.
std::span<const finding_kind> price_findings();
const finding_kind &price_finding(std::uint8_t code);

/// Key 1: all fields but `previous`.
struct PriceError {
    SeriesKey key;             // 0
    little_uint16_t supplier;  // 8
    little_uint16_t end_date;  // 10
    little_int32_t block;      // 12  -1 for none
    little_int32_t previous;   // 16  the block before it on the chain, -1 for none
    std::uint8_t code;         // 20  price_error_code
    std::uint8_t unused_21[3];
};
static_assert(sizeof(PriceError) == 24);
static_assert(offsetof(PriceError, block) == 12 && offsetof(PriceError, code) == 20);

inline constexpr std::int32_t price_no_block = -1;

/// The number of blocks now in RVIPG.
std::int32_t price_blocks_in_file();
bool price_read_block(std::int32_t number, PriceBlock &block);
/// True for a free block.
bool price_block_empty(const PriceBlock &block);
bool price_series_exists(const SeriesKey &series);
/// Looks for what is wrong with a set as it is now, ignoring other chains. The code is 0 for a sound set;
/// otherwise there are a code, the block and the one before it.
PriceError price_fault(const PriceSetRecord &set);

class price_check final : public chk_check {
public:
    price_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !errors.empty();
    }
    void heads(bool first_page) override;
    void report() override;
    bool ask() override;
    void repair() override;
    void close() override;

private:
    // The walk: the preferred suppliers, the sets with their chains, the free chain, and the blocks that
    // neither reaches. The first two are false when the operator cancelled. Row 9 is locked for every step
    // that changes a set or a block: every program that changes them holds this lock.
    bool walk_series();
    bool walk_sets();
    void walk_free();
    void walk_rest();
    void list(const PriceError &error);
    void list_lost(std::int32_t number, const PriceBlock &block);
    void check_chain(const PriceSetRecord &set);
    void delete_here(const PriceSetRecord &set);
    void walk_free_chain(SysRow4Chain &row);
    void see_row(const chain_row &row);
    bool taken_since(std::int32_t number, const PriceBlock &block);
    /// True for a block that is now on the chain of its set. Row 9 must be locked.
    bool held_by_set(const PriceBlock &block, std::int32_t number);

    // Repairs.
    bool read_set(const PriceError &error, PriceSetRecord &set);
    void delete_set(const PriceError &error);
    void recompute_set(const PriceError &error);
    PriceError present_fault(const PriceError &found);
    void mend_error(const PriceError &found);
    bool is_lost(std::int32_t number);
    /// Puts all blocks that no walk has seen on the free chain.
    void free_lost();

    error_list<PriceError> errors;
    ICB *sets = nullptr;    ///< RVIPA
    SysRow4Chain chain{};   ///< row 9, as it was read at the start
    std::int32_t end = 0;   ///< blocks in the file at the start; later ones are another program's
    bool moved = false;     ///< other programs have taken or freed blocks before the free chain was walked
    bool whole = false;     ///< all passes were completed
    std::int32_t lost = 0;  ///< blocks on no chain, used or not
};

/// Gives every label a price, and writes the date of the price check when all had one.
void chk_label_prices();
