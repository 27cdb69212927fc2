// What the files of the price store share.
#pragma once

#include "data/ioink.h"

/// Ends the program when the store is not open for writing.
void ink_demand_write();

/// A walk along the chain of a set. It ends with a warning at a block that can't be read or is not the set's,
/// and in a chain that is a loop.
struct ink_chain_walk {
    explicit ink_chain_walk(const PriceSetRecord &owner);
    /// Goes to the next block; false when the walk has ended.
    bool step();

    std::int32_t number = -1;  ///< the current block
    PriceBlock block{};
    bool broken = false;  ///< the walk ended before the chain did

private:
    PriceSetRecord set;
    std::int32_t next;
    std::int32_t left;  ///< blocks that the chain can still have
};

/// Reads the stored set with that key.
bool ink_read_exact(PriceSetRecord &set);
/// Walks the sets of a series and supplier.
bool ink_next_period(PriceSetRecord &set, bool first);
void ink_write_set(const PriceSetRecord &set);
/// Deletes the set of that key; its blocks stay. False when it is not there.
bool ink_remove_set(const PriceSetRecord &set);
/// Puts the blocks of the set's chain on the free chain and writes row 9, whose lock the caller holds. False
/// when the chain could not be followed to its end.
bool ink_free_chain(PriceSetRecord &set, SysRow4Chain &row);

/// Forgets which sets were found to be in order; another program may have changed them since.
void ink_forget_order();

/// The whole of the file; one of another length is no note. Only the machine that wrote it reads it.
struct put_note {
    PriceSetRecord set;
    std::uint8_t size_kind;  ///< of the view whose sizes are stored
    ink_prices prices;
};
/// Notes the set that is about to replace another, with the working prices. Failure is fatal: nothing has
/// been deleted yet.
void ink_note_write(const PriceSetRecord &set);
/// False when there is none.
bool ink_note_read(put_note &note);
void ink_note_clear();
