// The price store: the price sets of RVIPA with their chains of price blocks in RVIPG.TXT, and the working
// prices of one set, by size.
#pragma once

#include "base/dates.h"
#include "data/pricefile.h"
#include "data/sysfile.h"
#include "store/store.h"

inline constexpr char ink_set_file[] = "RVIPA";
inline constexpr char ink_block_file[] = "RVIPG.TXT";

// ---- Working prices

/// Prices by size index (1 to 95), in the smallest unit of the set's currency. Only a size with a gross price
/// is present; a present price of 0 is kept as `present_zero`.
struct ink_prices {
    std::int32_t gross[96];
    std::int32_t net[96];
    static constexpr std::int32_t present_zero = 0x7FFFFFFF;

    [[nodiscard]] bool has(unsigned size) const {
        return size < 96 && gross[size] > 0;
    }
    /// Both are 0 for a size that is absent.
    [[nodiscard]] std::int32_t gross_of(unsigned size) const;
    [[nodiscard]] std::int32_t net_of(unsigned size) const;
    /// Makes the size present; prices below 1 become 1.
    void set(unsigned size, std::int32_t gross_price, std::int32_t net_price);
    /// The same for prices read from a block: only a gross price below 1 becomes 1.
    void load(unsigned size, std::int32_t gross_price, std::int32_t net_price);
};

/// The working prices of the process.
extern ink_prices ink_working;
void ink_clear();

// ---- Files

/// How the store is opened.
enum class ink_mode : int { read = 0, write = 2 };

/// Opens both files. It is fatal when the store is open already or a file can't be opened.
void ink_open(ink_mode mode);
void ink_close();
/// Closes and opens in the same mode, so that what was written leaves the buffers of this process.
void ink_reopen();

enum class ink_action : char { next = 'N', previous = 'P', first = 'F' };
/// Reads a set by its key: the next, the previous, or the first one not before the key in `set`, with the
/// same first `parts` fields of the key (0: any). False when there is none, or when a damaged index leads to
/// a wrong set.
bool ink_read(ink_action action, PriceSetRecord &set, int parts);
/// Reads the set of a series and supplier that is valid on a day; false when none is.
bool ink_read_valid(SeriesKey series, std::uint16_t supplier, day_number day, PriceSetRecord &set);

/// What happens when a block can't be read.
enum class ink_report : int { warning = 1, fatal = 2 };
/// Reads a block; 1, or 0 after a warning.
int ink_block_read(std::int32_t block, PriceBlock &buffer, ink_report report);
/// Writes a block; failure is fatal.
void ink_block_write(std::int32_t block, const PriceBlock &buffer);
/// Takes the block at the head of the free chain, or a new one at the end of the file, and writes row 9,
/// whose lock the caller holds. Returns the block's number; the head in `row` is then the block that will be
/// taken next. A head that does not point to a free block is fatal.
std::int32_t ink_block_alloc(SysRow4Chain &row);

// ---- Sets

/// True when the block is the set's: same series, supplier and end date.
bool ink_owns(const PriceSetRecord &set, const PriceBlock &block);
/// Loads the working prices from the set. It warns when the chain can't be followed to its end, and when the
/// sizes are not those of the set; the prices found so far stay.
void ink_set_load(const PriceSetRecord &set);
/// Stores the set with the working prices, in new blocks; its sizes and chain are filled in. A set that has a
/// chain replaces the one stored with that chain. Other sets of the series and supplier make room in the
/// set's period: they are deleted, shortened, or cut in two. A set without any price is not stored. Only
/// sizes of the view `session_sizes` are stored, in its order. The files are reopened afterwards, unless
/// `quiet`.
void ink_set_put(PriceSetRecord &set, bool quiet = false);
/// The set that a program is replacing at the moment, or was when it died: it may be in no file. False when
/// there is none; the set is empty then, and also when the note of it can't be read.
bool ink_noted(PriceSetRecord &set);
/// Stores the set that a program was replacing when it died, for those of its days that have no set by now;
/// without `wanted` it is only forgotten. The working prices and the view of sizes stay. The free chain must
/// be sound.
void ink_finish_put(bool wanted);
/// Deletes the set and gives its blocks to the free chain; its chain becomes -1. 0 when the chain could not
/// be followed to its end.
int ink_set_delete(PriceSetRecord &set);
