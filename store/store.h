// The indexed file store: pairs of a data half and a B+-tree index half, used through an ICB.
//
// Making a file:   IXCREATE(name, ix_exclusive); UPDFCB_... or IXUPDFCB for the file and each key; IXINIT.
// Using it:        IXOPEN, operations on the current key (IXSWITCH), IXCLOSE.
//
// Operations return true for found or done. An operation that must not fail ends the program with a message;
// errors are reported in no other way. Text in records is code page 850.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>

#include "base/file_view.h"
#include "base/files.h"
#include "store/format.h"

// Open modes. Read-only is a promise of the caller; both halves are opened for writing in every mode.
inline constexpr int ix_readonly = 0;
inline constexpr int ix_exclusive = 1;  ///< whole file locked, header kept in memory until IXCLOSE
inline constexpr int ix_shared = 2;
/// May be added for IXOPEN: when the open is refused (EACCES) the operator is asked whether to try again.
inline constexpr int ix_ask_again = 0x1000;
/// May be added for IXCREATE: the data half is opened before the index half.
inline constexpr int ix_data_first = 0x1000;

/// A segment as the store uses it, derived from a key descriptor.
struct ix_segment {
    bool integer;
    std::uint8_t start;  ///< in the record, from 0
    std::uint8_t at;     ///< in the key
    std::uint16_t length;
};
/// A key descriptor, worked out for speed.
struct ix_plan {
    int klen;    ///< bytes of a key
    int fields;  ///< of these, bytes that come from segments
    int esize;   ///< bytes of an entry
    int korder;
    int nsegs;
    bool dups;
    bool integers;  ///< all segments are integers: keys compare as plain bytes
    ix_segment seg[ix_max_segments];
};

/// Index control block, the handle of an open file. Others may read `nrecs`, `nkeys`, `reclen`, `mode`,
/// `recno`, `fname`, `fdesc` and `datfd`, and may set `recno` before an operation that is to find one entry
/// of a key with duplicates. The header image lies at its start, so that block 0 is read straight into it.
struct ICB : ix_header {
    std::int32_t ixfd;
    std::int32_t datfd;
    std::int32_t mode;
    std::uint8_t flocked;   ///< this ICB holds the whole-file lock, or needs none (`ix_alone`)
    std::uint8_t tempfile;  ///< the given name had a full stop
    std::int32_t curblk;    ///< number of the block in `blk`
    std::int32_t recno;     ///< record of the last operation, -1 after a failed search
    std::int32_t newptr;    ///< pointer of the next entry to be inserted
    std::uint8_t skey[ix_max_klen];
    ix_block blk;           ///< the one index block in memory; its `bkey` is the current key
    std::uint8_t *cur;      ///< entry of `blk` where the last search stopped
    std::int32_t path[10];  ///< parent of the block at each level on the last descent, -1 for the root
    std::uint8_t cached;    ///< the block cache serves this ICB
    char opened_as[81];     ///< name given at opening, cut at 80

    ix_plan plan[ix_max_keys];
    file_view index_view;
    file_view data_view;
    std::uint8_t measured;  ///< exclusive: the halves were seen to be as long as the header says
};

// ---- Open, create, close

/// Opens a pair in mode 0, 1 or 2. A name with a full stop is the temporary flavour: the name itself is the
/// index half. A failure, an old version or an inconsistent header ends the program.
ICB *IXOPEN(const char *name, int mode);
/// Opens a work file of this run's own in mode 1, and locks nothing: nobody else writes it, and who looks at
/// it, as a clean-up does, need not wait until the run is done with it.
ICB *ix_open_alone(const char *name);
/// Creates (truncates) an index half beside a new or existing data half. No header is written yet.
ICB *IXCREATE(const char *name, int mode);
/// Empties an open pair and writes a fresh index half from the definition in the ICB.
void IXINIT(ICB *icb);
/// Writes the initial image of the index half; key 1 is current afterwards.
void IXINITIX(ICB *icb);
/// Closes and frees. In exclusive mode the header is written here.
void IXCLOSE(ICB *icb);
/// Makes key `k` (1 to nkeys) current; other values are ignored.
void IXSWITCH(ICB *icb, int k);
/// Deletes both halves of NAME; true when both are gone.
bool ix_remove(const char *name);

// ---- Definition

/// Starts the definition of a file whose records lie at `base` in the caller; `UPDFCB_SEG` takes addresses
/// within it.
void UPDFCB_INX(const char *description, const void *base, int reclen);
/// Starts the definition of key `keynr`; `dups` tells whether duplicates are allowed (never for key 1).
void UPDFCB_KEY(int keynr, const char *name, bool dups);
/// Adds a segment of type 'I' (integer) or 'C' (text) to the key being defined.
void UPDFCB_SEG(char type, const void *field, int length);
/// Applies what UPDFCB_INX, or UPDFCB_KEY and UPDFCB_SEG, gathered.
void UPDFCB_END(ICB *icb);
/// Applies one definition text: "description,reclen" for `keynr` 0, else "name,NODUPS,C,1,8,...".
void IXUPDFCB(ICB *icb, int keynr, const char *text);
/// Cuts `nkeys` to 5 and computes the order of each key again.
void ix_limit_keys(ICB *icb);

// ---- Keys

/// Builds the search key of the current key from `record`; `length` is the number of key bytes that count.
void IXBLDKEY(ICB *icb, const void *record, int length);
/// Compares two keys of the current key over `length` bytes: negative, zero or positive.
int IXCOMP(const ICB *icb, const void *a, const void *b, int length);
/// Length of the first `parts` segments of the current key; 0 for the whole key, suffix included.
std::int16_t IXKEYLEN(const ICB *icb, int parts);
/// Copies the key at `cur` back into the fields of `record`.
void IXKEYTOREC(const ICB *icb, void *record);
/// Two-level comparison of two text fields of `n` bytes, at most 256.
int coll_cmp(const void *a, const void *b, int n);

// ---- Index blocks and search

enum class ix_relation : char { equal = '=', less = '<', greater = '>' };
/// Reads block 0 into the header image, any other into `blk`.
void IXRDIX(ICB *icb, int block);
/// Writes the header image as block 0, or `blk` as another block.
void IXWRIX(ICB *icb, int block);
/// Finds `skey`, over `length` bytes, in the current key. Returns the record number, -1 when there is none.
/// '<' needs a preceding '=' with the same key.
std::int32_t IXSEARCH(ICB *icb, ix_relation relation, int length);

// ---- Reading

/// Finds the record with the exact key; IXREADLOCK also locks it, or reserves the key if it is absent.
bool IXREAD(ICB *icb, void *record);
bool IXREADLOCK(ICB *icb, void *record);
/// Tests for a key, or for a key with the same first `parts` segments; sets `recno`, reads no data.
bool IXFIND(ICB *icb, const void *record);
bool IXFINDP(ICB *icb, const void *record, int parts);
/// First record whose key is not below the key in `record`. With `parts`, that many first segments must be
/// the same. The K forms compare only that many segments, of which all but the last must be the same; they
/// read no data and fill in only the key's fields.
bool IXFIRST(ICB *icb, void *record);
bool IXFIRSTR(ICB *icb, void *record, int parts);
bool IXFIRSTK(ICB *icb, void *record, int parts);
/// Next and previous record, counted from `record` and `recno`, which the caller must not have changed.
bool IXNEXT(ICB *icb, void *record);
bool IXNEXTR(ICB *icb, void *record, int parts);
bool IXNEXTK(ICB *icb, void *record, int parts);
bool IXPREV(ICB *icb, void *record);
bool IXPREVR(ICB *icb, void *record, int parts);
bool IXPREVK(ICB *icb, void *record, int parts);
/// Moves `n` keys from the record at `*position`, and advances it. From a dead record, or from -1, the
/// move starts at the key in `record`.
bool IXSKIP(ICB *icb, void *record, int parts, int n, std::int32_t *position);
/// Reads by record number: 1 live, 0 dead, -1 out of range.
int IXGET(ICB *icb, void *record, std::int32_t number);
/// Next live record in physical order. One scan at a time; it runs until it returns false.
bool IXSEQ(ICB *icb, void *record);
/// Places for records in the data half as it is now. No key has more entries than that.
std::int32_t ix_record_places(const ICB *icb);
/// Takes over how many records other programs have brought a shared pair to since the ICB last looked.
void ix_renew_count(ICB *icb);
/// True unless the record of `reclen` bytes has the form of a free one.
bool ix_live(const void *record, int reclen);

// ---- Writing

/// Inserts or updates by key 1; IXWRITE then releases the record's lock, IXWRITEK keeps it.
bool IXWRITE(ICB *icb, const void *record);
bool IXWRITEK(ICB *icb, const void *record);
/// Writes `record` at `recno`, whose key fields may not have changed, and releases the lock.
bool IXREWRITE(ICB *icb, const void *record);
/// Deletes the record at `recno`, which the caller has read. Always false.
bool IXDELETE(ICB *icb, const void *record);
/// Gives up the lock or reservation of IXREADLOCK without writing.
void IXFREE(ICB *icb, const void *record);
/// Reads and writes the record at `recno`. A missing record reads as 0xFF bytes.
void IXRDDAT(ICB *icb, void *record);
void IXWRDAT(ICB *icb, const void *record);

// ---- Locks

/// What IXLOCK does; 1, 2 and 4 wait as long as it takes, 3 and 4 may be refused.
enum ix_lock_number : int {
    ix_lock_file = 1,
    ix_lock_header = 2,
    ix_lock_record = 3,
    ix_lock_key = 4,
    ix_unlock_file = 11,
    ix_unlock_header = 12,
    ix_unlock_record = 13,
    ix_unlock_key = 14,
};
bool IXLOCK(ICB *icb, int number);
/// Tries once to lock a range of one half. When it is refused, the message has been shown and the wait is
/// over.
bool ix_trylock(lock_action action, ICB *icb, int fd, off_t start, off_t length);
/// Called at each refused lock: shows that another screen is using the file, and waits two seconds.
extern void (*ix_lock_wait)(ICB *icb);

// ---- Cache, rebuild and check

enum class cache_action : char { init = 'I', finish = 'F', read = 'R', write = 'W' };
/// The block cache of bulk work in exclusive mode; one ICB at a time.
int IOCACHE(cache_action action, ICB *icb, int block);
enum class ix_proof : std::uint8_t {
    none,    ///< nothing is proven: look each record up
    proven,  ///< every search for a live record ends at that record
    stopped  ///< by `step`
};
/// Walks through the tree of a key, which takes much less than a search for each record. With `parts`,
/// searches are for that many first segments, and no two records may agree in them. `step` hears how many
/// entries were passed, and gives false to stop.
ix_proof ix_prove(ICB *icb, int key, int parts, const std::function<bool(std::int32_t)> &step);
/// Number of records in the free chain when the pair is sound; -1 when it is not sound or not there.
std::int32_t IXCHECK(const char *name);
/// True when a program died during an update or a rebuild of the pair, or when a key of a pair that IXCHECK
/// accepts lacks its root. Waits while a program is at work.
bool ix_unfinished(const char *name);
/// What IXCHECK says, without its messages; nor may a key lack its root. A pair that can't be judged counts
/// as sound: opening it will tell.
bool ix_sound(const char *name);
/// Before a pair is opened: makes the index half anew when the pair is not sound in that sense and no record
/// of the data half is missing. Any other damage is reported when it is opened. A pair that is open in this
/// process is left alone. `record_bytes` is the record length that the caller expects, 0 when unknown.
void ix_mend(const char *name, std::size_t record_bytes);
/// Makes the index half anew from the data half and the definition in the old header. False, with nothing
/// changed, when these can't be used. The pair may not be open in this process.
bool IXBLDIX(const char *name);

/// Progress bars. Action 0 opens a window with a title, 1 draws a step, 2 closes the window; 3, 4 and 5 do
/// the same on the last line of the screen. With `total` 0, `value` is the total.
[[gnu::format(printf, 4, 5)]] void ix_progress(int action, std::uint32_t value, std::uint32_t total,
                                               const char *title, ...);

/// Number of files that the process can still open, at most 200.
int open_file_limit();
