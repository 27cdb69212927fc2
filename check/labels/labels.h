// What the files of the label check share.
#pragma once

#include "check/frame/block_error.h"
#include "sub/ioeti.h"

/// What can be wrong with a block or a series.
enum label_error : std::uint8_t {
    label_outside = 1,         ///< the chain leads out of the file
    label_other_series = 2,    ///< into a block of another series
    label_in_free_chain = 3,   ///< into a free block
    label_seen_before = 4,     ///< into a block that is on a chain already
    label_lost_unknown = 5,    ///< a block outside all chains, of a series that does not exist
    label_lost = 6,            ///< the same, of a series that exists
    label_series_invalid = 7,  ///< a series with an impossible number
    label_lost_invalid = 8,    ///< a block outside all chains, of an impossible series
};

/// What a run works on.
struct label_run {
    SysRow4Chain chain{};            ///< row 4, as it was read at the start or written last
    std::int32_t known = 0;          ///< blocks in the file at the start; later ones are another program's
    std::int32_t end = 0;            ///< blocks in the file
    bool moved = false;              ///< other programs have taken or freed blocks during the check
    std::int32_t free_in_chain = 0;  ///< blocks on the free chain
};
extern label_run label_work;
extern chain_error_list label_errors;

/// Reads a block within the file.
bool labels_read(std::int32_t block, LabelBlock &buffer);
/// The number of blocks now in the file.
std::int32_t labels_in_file();
/// Marks the blocks that are now on the chain of a series.
void labels_mark_chain(const SeriesRecord &series);

/// The three passes: the chains of the series, the free chain, and the blocks that neither reaches. The first
/// is false when the operator cancelled. Row 4 is locked from the start of the second to the end of the
/// third.
bool labels_walk_series();
void labels_walk_free();
void labels_walk_rest();

/// Mends broken chains, and puts back the blocks that they lost.
void labels_mend();
/// Empties the blocks that are still outside all chains, and puts them on the free chain.
void labels_release();
