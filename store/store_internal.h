// What the files of the indexed file store share among themselves.
#pragma once

#include <cstdint>
#include <cstring>

#include "base/catalog.h"
#include "base/operator.h"
#include "store/store.h"

/// Blocks that fit in the 32-bit file offsets of the format. A variable, so that tests can reach the limit.
extern int ix_block_limit;
/// The most bytes that a rebuild gathers before it inserts them; at least 65536.
extern std::size_t ix_rebuild_area;

// ---- Ends of the program

/// Ends the program when the ICB is null.
inline void ix_demand(const ICB *icb, const char *operation) {
    if (icb == nullptr) {
        isam_fatal("%s : ICB == NULL", operation);
    }
}
[[noreturn]] void ix_inconsistent(const ICB *icb);
/// Ends the program after a read or write that the system refused (not the end of the file or a missing
/// record). In exclusive mode nothing on disk shows that an update is half done, so the header on disk is
/// marked first.
[[noreturn]] void ix_disk_failed(ICB *icb, bool index_half);
/// Message box of the operator; printed as plain text when there is no screen.
int ix_flash(int wait, const char *title, const char *text);

// ---- Names, header, definition (ix_open.cpp, ix_define.cpp)

struct ix_names {
    char index[512];
    char data[512];
    bool temporary;
};
/// In `flocked`, for a pair that nobody else uses.
inline constexpr std::uint8_t ix_alone = 2;

/// False when the name is empty or too long.
bool ix_resolve(const char *name, ix_names &names);

/// True when the store can work with the keys and the record length.
bool ix_definition_sound(const ix_header &header);
bool ix_same_definition(const ix_header &a, const ix_header &b);
/// The same, and the counts lie within the files.
bool ix_header_sound(const ix_header &header, off_t index_size, off_t data_size, bool temporary);
/// Works out the plans from the descriptors. The definition must be sound, or still being made.
void ix_make_plans(ICB *icb);
/// Reads block 0 again under the header lock, and stops on an unfinished update or an unsound header.
void ix_refresh_header(ICB *icb);
/// Makes an ICB for two open descriptors, with the name it was opened as.
ICB *ix_new_icb(const char *name, const ix_names &names, int ixfd, int datfd, int mode);
void ix_free_icb(ICB *icb);
/// IXINITIX; `marked` leaves the mark of an unfinished update on disk, until the next write of block 0.
void ix_initial_image(ICB *icb, bool marked);
/// Cuts the index half off after its lock block. The new header must be on disk by then: the definition of
/// the file is nowhere else.
void ix_cut_index(ICB *icb);
/// Shows that a file is of the old version; in the temporary flavour the third line ends with that many
/// `blanks`.
void ix_tell_version(const ix_header &header, bool temporary, int blanks);
/// The version of a header from disk, as IXOPEN and IXCHECK judge it: one that is neither old nor ours is
/// stamped with ours.
void ix_stamp_version(ix_header &header, int ixfd);
/// Forgets the scan of IXSEQ if it is this ICB's.
void ix_scan_forget(const ICB *icb);

// ---- Keys (ix_key.cpp)

inline const ix_plan &ix_current_plan(const ICB *icb) {
    const int key = icb->blk.bkey;
    return icb->plan[key >= 1 && key <= ix_max_keys ? key - 1 : 0];
}
void ix_build_key(const ix_plan &plan, std::uint8_t *key, const std::uint8_t *record, std::int32_t number);
int ix_compare(const ix_plan &plan, const std::uint8_t *a, const std::uint8_t *b, int length);
/// First of `count` entries that is above the key (`above` true), or not below it (`above` false).
int ix_locate(const ix_plan &plan, const std::uint8_t *entries, int count, const std::uint8_t *key,
              int length, bool above);
/// Bytes whose plain order is the order of whole keys; at most `ix_sort_max`. Returns their number.
inline constexpr int ix_sort_max = 3 * ix_max_klen + 4;
int ix_sort_bytes(const ix_plan &plan, const std::uint8_t *key, std::uint8_t *out);

// ---- Tree (ix_tree.cpp, ix_tree_update.cpp)

inline std::uint8_t *ix_entry(ICB *icb, const ix_plan &plan, int n) {
    return icb->blk.bentries + n * plan.esize;
}
inline std::int32_t ix_pointer(const ix_plan &plan, const std::uint8_t *entry) {
    std::int32_t value;
    std::memcpy(&value, entry + plan.klen, sizeof value);
    return boost::endian::little_to_native(value);
}
inline void ix_set_pointer(const ix_plan &plan, std::uint8_t *entry, std::int32_t value) {
    boost::endian::native_to_little_inplace(value);
    std::memcpy(entry + plan.klen, &value, sizeof value);
}
/// True when `blk` can be a block of a sound tree of key `key`.
bool ix_block_sound(const ICB *icb, int key);
/// True when a tree may point to this block.
bool ix_block_exists(ICB *icb, std::int32_t block);
/// Makes the root of key `k` the current block, even when k is current already. An update under the header
/// lock starts every key this way, since the remembered way up may be that of an older tree.
void ix_root(ICB *icb, int k);
/// Sets `cur` to the first entry not below `skey`; returns its index.
int IXLOCKEY(ICB *icb, int length);
void IXINSKEY(ICB *icb);
/// Deletes the entry of `skey` that points to record `number`. The current leaf must hold it, as after
/// `ix_find_entry`.
void IXDELKEY(ICB *icb, std::int32_t number);
/// Searches for the whole of `skey`, and among equal entries for the one that points to `number`; when true,
/// its leaf is current.
bool ix_find_entry(ICB *icb, std::int32_t number);

// ---- Halves (ix_half.cpp)

/// Opens and closes through the table of descriptors that keeps this process's locks alive (ix_files.cpp).
int ix_fd_open(const char *path, int flags);
void ix_fd_close(int fd);
/// True when this process has the file at `path` open.
bool ix_in_use(const char *path);
/// Reads one block into `to`, bypassing the cache; false when it isn't there.
bool ix_read_block(ICB *icb, std::int32_t block, ix_block *to);
void ix_write_blocks(ICB *icb, std::int32_t block, const void *from, int count);
/// Reads the record at `number`; when the whole of it isn't there, false and `record` is all 0xFF.
bool ix_read_record(ICB *icb, void *record, std::int32_t number);
void ix_write_record(ICB *icb, const void *record, std::int32_t number);

// ---- Locks (ix_lock.cpp, ix_files.cpp)

/// Takes or releases a range on behalf of an ICB. Locks belong to the process, so a release unlocks only what
/// no other ICB on the same file holds.
bool ix_range_lock(lock_action action, const ICB *icb, int fd, off_t start, off_t length);
/// Releases everything that an ICB still holds of a file.
void ix_range_release(const ICB *icb, int fd);
