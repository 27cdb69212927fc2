// The label file RVETI.TXT: labels of a series by its chain, labels by number, and the blocks themselves.
#pragma once

#include "data/labelparts.h"
#include "data/rawfile.h"
#include "data/serieskey.h"
#include "data/sysfile.h"

// ---- Labels

/// A label in its working form.
struct eti_rec {
    std::uint32_t group = 0;  ///< key of the series
    std::uint16_t colour = 0;
    std::uint16_t number = 0;
    std::uint8_t status = label_empty;
    std::uint8_t size_kind = 0;
    std::uint8_t size = 0;  ///< size index; 255 for any above
    std::uint8_t branch = 0;
    std::uint16_t supplier = 0;
    std::uint16_t date_in = 0;
    std::uint16_t date_status = 0;  ///< status 1 only
    std::uint16_t date_moved = 0;
    std::uint16_t date_sold = 0;    ///< status 3 and 4 only
    std::uint16_t group_value = 0;  ///< status 1 and 2: the value of the article group
    std::int32_t price = 0;
    std::int32_t amount_b = 0;
    std::int32_t amount_c = 0;
    std::uint8_t flag_e = 0;
    std::uint8_t digit_b = 0;
    std::uint8_t digit_s = 0;
    std::uint8_t digit_a = 0;
    std::int32_t customer = 0;
    std::int32_t next_customer_label = 0;
    std::uint16_t code_m = 0;
    std::uint8_t in_transit = 0;  ///< status 2 only: under way to dest_branch
    std::uint8_t dest_branch = 0;
    std::int32_t order_number = 0;
    std::uint8_t reserved_for = 255;  ///< status 1 only, 255 for nobody
    std::uint8_t is_reserved = 0;
};

inline constexpr char eti_file_name[] = "RVETI.TXT";

/// Number of the label in a slot (0 to 9) of a block. 0 is no label.
inline constexpr std::int32_t eti_number(std::int32_t block, int slot) {
    return block * labels_per_block + slot + 1;
}

/// Fills `rec` from a slot (0 to 9), status 0 for an empty one.
void eti_unpack(const LabelBlock &block, int slot, eti_rec &rec);
/// Puts `rec` into a slot; the block gets its size kind but not its series key. Sets group_value of a label
/// that is not sold yet. Where goods in transit is not in use, a transit mark is dropped; with the
/// environment variable ZUV_INTERN that is fatal.
void eti_pack(eti_rec &rec, LabelBlock &block, int slot);
/// The code (1 to 10) of the value in row 1 for an article group; 1 for a group that can't be found. A
/// damaged record may give any other byte.
int art_value_code(std::uint32_t group);

/// Action of `eti_file` and of `eti_next_kind`.
enum class eti_action : char {
    open = 'O',       ///< open the file and forget the current block; 0
    close = 'C',      ///< close it; 0
    read = 'R',       ///< label `number`; 1 when the slot is filled
    first = 'F',      ///< first label of the chain from block `number` (-1: none); sets `number` to it
    next = 'N',       ///< next label of the chain; 0 at its end
    write = 'W',      ///< write the label, with number 0 into the first free slot of the chain; 1
    remove = 'D',     ///< delete the label, if it is the current one: 0, else 1
    new_block = 'I',  ///< add a block to the chain of the series of `rec` and go to its first slot; 0
    lock_read = 'X',  ///< labels have no locks of their own: internal error
};
/// Works on the one open label file, by its current block and slot. `number` is a label number. The chains
/// are checked before they are followed here, so one that leads out of the file is fatal and leaves the user
/// slot marked.
int eti_file(eti_action action, std::int32_t &number, eti_rec &rec);
/// The same for open and close.
int eti_file(eti_action action);
/// Does first, next or read, then goes on along the chain to a label of that status; 1 when there is one.
int eti_next_kind(eti_action action, std::int32_t &number, eti_rec &rec, int status);

/// The highest block number of this shop.
std::int32_t eti_max_block();
/// The next serial number, 1000 to 9999999, from row 5.
std::int32_t eti_next_serial();

// ---- Blocks

/// Reads a block; false when it isn't in the file.
using eti_block_reader = bool (*)(std::int32_t block, LabelBlock &buffer);
/// Takes the block at the head of the free chain, or a new one at the end of the file, and updates head, end
/// mark and count in `chain`. Nothing is written. Returns -1, with `chain` unchanged, when the head does not
/// point to a free block or no block number is left.
std::int32_t eti_take_block(SysRow4Chain &chain, eti_block_reader read);

/// Block access for the checks, through its own descriptor and without regard to chains; works as
/// `raw_access`.
int chk_eti_raw(raw_action action, std::int32_t block, LabelBlock &buffer);
/// The same for open and close.
int chk_eti_raw(raw_action action);

/// True when none of the slots holds a label.
bool chk_block_empty(const LabelBlock &block);
/// True for the key of a free block.
bool chk_key_empty(const LabelBlock &block);
/// True when the block's series is in RVSER.
bool chk_ser_exists(const LabelBlock &block);
