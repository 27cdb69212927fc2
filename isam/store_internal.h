// What the files of the indexed file store share among themselves.
#pragma once

#include <cstdint>
#include <cstring>

#include "isam/catalog.h"
#include "isam/operator.h"
#include "isam/store.h"

/// Blocks that fit in the 32-bit file offsets of the format. A variable, so that the tests reach the limit.
extern int ix_block_limit;
/// Most bytes that a rebuild gathers before it inserts them; from 65536.
extern std::size_t ix_rebuild_area;

// ---- Ends of the program

/// Ends the program when the ICB is null.
inline void ix_demand(const ICB *icb, const char *operation) {
    if (icb == nullptr) {
        isam_fatal("%s : ICB == NULL", operation);
    }
}
[[noreturn]] void ix_inconsistent(const ICB *icb);
/// A read or write that the system refused: no end of the file, and no record that is missing. In exclusive
/// mode, where nothing on disk tells of a half-done update, the header on disk is marked first.
[[noreturn]] void ix_disk_failed(ICB *icb, bool index_half);
/// Message box of the operator; printed plainly when there is no screen.
int ix_flash(int wait, const char *title, const char *text);

// ---- Names, header, definition (ix_open.cpp, ix_define.cpp)

struct ix_names {
    char index[512];
    char data[512];
    bool temporary;
};
/// False when the name is empty or too long.
bool ix_resolve(const char *name, ix_names &names);

/// True when keys and record length are such as the store can work with.
bool ix_definition_sound(const ix_header &header);
bool ix_same_definition(const ix_header &a, const ix_header &b);
/// True when the counts lie within the files too.
bool ix_header_sound(const ix_header &header, off_t index_size, off_t data_size, bool temporary);
/// Works out the plans from the descriptors. The definition must be sound, or be in the making.
void ix_make_plans(ICB *icb);
/// Reads block 0 afresh under the header lock, and stops on an unfinished update or an unsound header.
void ix_refresh_header(ICB *icb);
/// ICB for two open descriptors, with the name it was opened as.
ICB *ix_new_icb(const char *name, const ix_names &names, int ixfd, int datfd, int mode);
void ix_free_icb(ICB *icb);
/// IXINITIX; `marked` leaves the mark of an unfinished update on disk, until the next write of block 0.
void ix_initial_image(ICB *icb, bool marked);
/// Cuts the index half after its lock block. The new header must be on disk by then: the definition of the
/// file exists nowhere else.
void ix_cut_index(ICB *icb);
/// Shows that a file is of the old version; `blanks` end the third line for the temporary flavour.
void ix_tell_version(const ix_header &header, bool temporary, int blanks);
/// The version of a header from disk, as IXOPEN and IXCHECK judge it: one that is neither old nor ours is
/// stamped with ours.
void ix_stamp_version(ix_header &header, int ixfd);
/// Forgets the scan of IXSEQ when it is this ICB's.
void ix_scan_forget(const ICB *icb);

// ---- Keys (ix_key.cpp)

inline const ix_plan &ix_current_plan(const ICB *icb) {
    const int key = icb->blk.bkey;
    return icb->plan[key >= 1 && key <= ix_max_keys ? key - 1 : 0];
}
void ix_build_key(const ix_plan &plan, std::uint8_t *key, const std::uint8_t *record, std::int32_t number);
int ix_compare(const ix_plan &plan, const std::uint8_t *a, const std::uint8_t *b, int length);
/// First of `count` entries that is not below (`above` false) or that is above (`above` true) the key.
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
/// Makes the root of key `k` the block in hand, also when k is current. An update under the header lock
/// starts every key this way, since the way up that is remembered may be that of an older tree.
void ix_root(ICB *icb, int k);
/// Sets `cur` to the first entry not below `skey`; returns its index.
int IXLOCKEY(ICB *icb, int length);
void IXINSKEY(ICB *icb);
/// Deletes the entry of `skey` that points to record `number`. The leaf in hand must be the one that holds
/// it, as after `ix_find_entry`.
void IXDELKEY(ICB *icb, std::int32_t number);
/// Searches `skey` whole, and among equal entries the one that points to `number`; true with its leaf in
/// hand.
bool ix_find_entry(ICB *icb, std::int32_t number);

// ---- Halves (ix_half.cpp)

/// Opens and closes through the table of descriptors that keeps this process's locks alive (ix_files.cpp).
int ix_fd_open(const char *path, int flags);
void ix_fd_close(int fd);
/// True when this process has the file at `path` open.
bool ix_in_use(const char *path);
/// Size of an open file, -1 on an error.
off_t ix_fd_size(int fd);
/// Reads exactly `size` bytes through the view; false when they don't all lie within the file, or there is
/// no view.
bool ix_view_read(ix_view &view, int fd, off_t offset, void *to, std::size_t size);
/// The same bytes in place, null in the same cases. They may change while they are looked at.
const std::uint8_t *ix_view_peek(ix_view &view, int fd, off_t offset, std::size_t size);
void ix_view_close(ix_view &view);
/// Reads one block into `to` past the cache; false when it isn't there.
bool ix_read_block(ICB *icb, std::int32_t block, ix_block *to);
void ix_write_blocks(ICB *icb, std::int32_t block, const void *from, int count);
/// Reads the record at `number`; false, and `record` all 0xFF, when it isn't there whole.
bool ix_read_record(ICB *icb, void *record, std::int32_t number);
void ix_write_record(ICB *icb, const void *record, std::int32_t number);

// ---- Locks (ix_lock.cpp, ix_files.cpp)

/// Takes or releases a range on behalf of an ICB. Locks belong to the process, so a release gives up only
/// what no other ICB on the same file holds.
bool ix_range_lock(lock_action action, const ICB *icb, int fd, off_t start, off_t length);
/// Releases all that an ICB still holds of a file.
void ix_range_release(const ICB *icb, int fd);
