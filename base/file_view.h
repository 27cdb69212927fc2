// Reading a file through a mapping that shows what other programs write.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

/// A mapping of an open file. All zero: not mapped yet.
struct file_view {
    std::uint8_t *base;
    std::size_t length;  ///< bytes mapped
    off_t known;         ///< size of the file as last seen
    int slot;            ///< place in the table of views, counted from 1
    int reads;           ///< before it was worth a mapping
    bool refused;        ///< the file can't be mapped, and is read with pread
};

/// Size of an open file, -1 on an error.
off_t file_fd_size(int fd);
/// Reads exactly `size` bytes through the view, which is mapped when the file is read often. False when they
/// don't all lie in the file, or there is no view. Bytes that read as zeros may have been cut off a moment
/// ago.
bool file_view_read(file_view &view, int fd, off_t offset, void *to, std::size_t size);
/// The same bytes without a copy; null in the same cases. They may change while they are looked at.
const std::uint8_t *file_view_peek(file_view &view, int fd, off_t offset, std::size_t size);
/// As `file_read_at`, through the view where that can be.
ssize_t file_view_read_at(file_view &view, int fd, void *buffer, std::size_t size, off_t offset);
/// Tells the view that bytes up to `end` were written just now.
void file_view_grown(file_view &view, off_t end);
void file_view_close(file_view &view);
