// What the files of the price check share.
#pragma once

#include "check/frame/error_list.h"
#include "data/data.h"

/// Findings, by the number under which they are reported.
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

/// One run of the check.
struct price_run {
    ICB *sets = nullptr;    ///< RVIPA
    SysRow4Chain chain{};   ///< row 9, as it was read at the start or written last
    std::int32_t end = 0;   ///< blocks in the file at the start; later ones are another program's
    bool moved = false;     ///< other programs have taken or freed blocks during the check
    bool walked = false;    ///< all passes were completed
    std::int32_t lost = 0;  ///< blocks on no chain, used or not
};
extern price_run price_work;
/// The number of blocks now in RVIPG.
std::int32_t price_blocks_in_file();
extern error_list<PriceError> price_errors;

/// Gives the series that prefer no supplier the one they have prices of. False when the operator cancelled.
bool prices_walk_series();
/// Phase 1, sets and their chains. False when the operator cancelled.
bool prices_walk_sets();
/// Phase 2, the free chain, which is cut where it goes wrong; row 9 is written.
void prices_walk_free();
/// Phase 3, blocks on no chain.
void prices_walk_rest();

/// Locks row 9 for as long as the object lives. Every program that changes a price set or its blocks holds
/// this lock.
class price_lock {
public:
    price_lock();
    ~price_lock();
    price_lock(const price_lock &) = delete;
    price_lock &operator=(const price_lock &) = delete;
    void write();

    SysRow4Chain chain{};
};

bool prices_series_exists(const SeriesKey &series);
/// Looks for what is wrong with a set as it is now, ignoring other chains. The code is 0 for a sound set;
/// otherwise there are a code, the block and the one before it.
PriceError price_fault(const PriceSetRecord &set);
/// True for a block that is now on the chain of its set. Row 9 must be locked.
bool price_block_held(const PriceBlock &block, std::int32_t number);

/// Mends what was found.
void prices_mend();
/// Puts all blocks that no walk has seen on the free chain.
void prices_free_lost();

/// Gives every label a price, and writes the date of the price check when all had one.
void chk_label_prices();
