// Plain files of numbered blocks, as the checks see them: block by block, without regard to chains.
#pragma once

#include <cstddef>
#include <cstdint>

/// Action on a file of blocks.
enum class raw_action : char { open = 'O', close = 'C', read = 'R', write = 'W', read_on = 'r' };

/// A file of blocks; block n lies at n * size, and there is no header.
struct raw_file {
    const char *name;
    std::size_t size;
    int fd = -1;
    std::int32_t next = 0;  ///< the block after that of the last action
};

/// Opens, closes, reads or writes. A read returns 1, or 0 when the block is not wholly in the file; read_on
/// reads the block after that of the last action. A missing file, or a read or write that fails, is fatal.
int raw_access(raw_file &file, raw_action action, std::int32_t block, void *buffer);
