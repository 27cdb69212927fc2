// The two halves of an indexed file on disk.
//
// A pair NAME.INX / NAME.TXT holds one logical file. Every other program of the package reads these bytes, so
// nothing in this layout may change. Integers are little-endian, except inside keys.
//
// Data half: records of `reclen` bytes, record n at n * reclen, no header. A free record is byte 0xFF, the
// number of the next free record in bytes 1 to 4 (-1 ends the chain), and 0xFF from byte 5 to the end.
//
// Index half: blocks of 512 bytes.
//
//     block 0                 header
//     block 1 .. nkeys        root of the tree of key 1 .. nkeys, for the life of the file
//     block nkeys + 1         lock block: keys of key 1 that are reserved and not yet inserted
//     block nkeys + 2 ..      tree blocks of all keys, in order of allocation
//
// A fresh pair "voorbeeld,12" with key 1 "nummer,NODUPS,I,1,4" and key 2 "naam,C,5,12":
//
//     0000  56 42 00 00 00 00 00 00 00 00 00 02 ff ff ff ff   VB.......... fname, nkeys, freehead
//     0010  00 00 00 00 04 00 00 00 0c 00 76 6f 6f 72 62 65   nrecs, nblocks, reclen, fdesc
//     0020  65 6c 64 00 00 00 00 00 00 00 00 00 00 00 00 00   inupdate at 2d
//     0030  6e 75 6d 6d 65 72 00 00 4e 04 3f 49 00 00 00 00   nummer, N, klen 4, korder 63, I
//     0040  00 00 00 00 00 01 00 00 00 00 00 00 00 00 00 04   sstart, send
//     0050  00 00 00 00 00 00 00 00 00 00 6e 61 61 6d 00 00   key 2: naam
//     0060  00 00 4a 0c 1f 43 00 00 00 00 00 00 00 00 00 05   J, klen 12 (8 + record number), korder 31
//     0070  00 00 00 00 00 00 00 00 00 0c 00 00 00 00 00 00
//     0102  5f 01                                             version 351
//     0200  01 01 00 00 01 ff ff ff ff ff ff ff ff 00 ...     root of key 1: the sentinel only
//     0400  02 01 00 00 01 ff * 16 00 ...                     root of key 2
//     0600  01 00 00 00 00 ...                                lock block
//
// and key 1's root after records 0 (1000, JANSEN) and 1 (7, BAKKER):
//
//     0200  01 01 00 00 03 | 00 00 00 07  01 00 00 00 | 00 00 03 e8  00 00 00 00 | ff ff ff ff  ff ff ff ff
#pragma once

#include <boost/endian/arithmetic.hpp>
#include <boost/endian/conversion.hpp>
#include <cstddef>
#include <cstdint>

inline constexpr int ix_block_size = 512;
inline constexpr int ix_header_size = 260;
inline constexpr int ix_max_keys = 5;
inline constexpr int ix_max_segments = 10;
inline constexpr int ix_max_klen = 60;  ///< the record number that ends a key with duplicates included
inline constexpr int ix_max_reclen = 512;
inline constexpr int ix_max_level = 9;
inline constexpr int ix_entry_bytes = 505;  ///< room for entries in a block
inline constexpr int ix_version = 351;
inline constexpr int ix_old_version = 350;

/// One key of the file: name, properties, and its segments as byte positions in the record, counted from 1
/// and inclusive.
struct ix_keydef {
    char kname[8];
    char kdups;                            ///< 'J' duplicates allowed, 'N' not
    std::uint8_t klen;                     ///< length, with the record number that ends a key with duplicates
    std::int8_t korder;                    ///< the count of entries that fills a block
    char stype[ix_max_segments];           ///< 'I' integer, 'C' text, for each segment
    std::uint8_t sstart[ix_max_segments];  ///< first byte of each segment
    std::uint8_t send[ix_max_segments];    ///< last byte of each segment
    char reserved;
};
static_assert(sizeof(ix_keydef) == 42 && offsetof(ix_keydef, kdups) == 8 && offsetof(ix_keydef, klen) == 9 &&
              offsetof(ix_keydef, korder) == 10 && offsetof(ix_keydef, stype) == 11 &&
              offsetof(ix_keydef, sstart) == 21 && offsetof(ix_keydef, send) == 31);

/// The part of block 0 that is in use.
struct ix_header {
    char fname[11];                          ///< name of the pair
    std::int8_t nkeys;                       ///< keys, at most five
    boost::endian::little_int32_t freehead;  ///< first free record, -1 for none
    boost::endian::little_int32_t nrecs;     ///< record slots, free ones included
    boost::endian::little_int32_t nblocks;   ///< blocks in the index half
    boost::endian::little_int16_t reclen;    ///< length of a record
    char fdesc[19];                          ///< description
    std::uint8_t inupdate;                   ///< not 0 on disk while a shared update is under way
    char reserved[2];
    ix_keydef keydef[ix_max_keys];  ///< key 1 first
    boost::endian::little_uint16_t version;
};
static_assert(sizeof(ix_header) == ix_header_size && offsetof(ix_header, nkeys) == 11 &&
              offsetof(ix_header, freehead) == 12 && offsetof(ix_header, nrecs) == 16 &&
              offsetof(ix_header, nblocks) == 20 && offsetof(ix_header, reclen) == 24 &&
              offsetof(ix_header, fdesc) == 26 && offsetof(ix_header, inupdate) == 45 &&
              offsetof(ix_header, keydef) == 48 && offsetof(ix_header, version) == 258);

/// A tree block, or the lock block (`blevel` 0, `bentries` holds bare images of key 1). An entry is the key
/// and 4 bytes of pointer, little-endian: a record number in a leaf, a child block above.
struct ix_block {
    std::int8_t bkey;    ///< the key whose tree it belongs to
    std::int8_t blevel;  ///< levels from here down: 1 for a leaf
    char reserved[2];
    std::uint8_t bcount;                    ///< entries
    std::uint8_t bentries[ix_entry_bytes];  ///< the entries, and zero bytes after the last
    char reserved2[2];
};
static_assert(sizeof(ix_block) == ix_block_size && offsetof(ix_block, bcount) == 4 &&
              offsetof(ix_block, bentries) == 5);
