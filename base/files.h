// Whole files, directories, descriptors.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

/// Reads up to `size` bytes at `offset`, going on after EINTR and partial reads. Returns the bytes read
/// (fewer than `size` only at the end of the file), -1 with errno on an error.
ssize_t file_read_at(int fd, void *buffer, std::size_t size, off_t offset);
/// Writes `size` bytes at `offset`, going on after EINTR and partial writes. False with errno on an error.
bool file_write_at(int fd, const void *buffer, std::size_t size, off_t offset);

enum class lock_action : char {
    exclusive = 'E',  ///< write lock, granted or not
    sole = 'S',       ///< read lock, kept only when no other process holds any lock on the range
    test = 'T',       ///< true when the range is free; takes nothing
    unlock = 'U',     ///< release
};
/// Advisory lock on `length` bytes from `start` (length 0: to the end of the file and beyond). Never waits.
/// Returns true when granted, free or released; a range that another process holds leaves errno at EACCES or
/// EAGAIN.
bool file_lock(lock_action action, int fd, off_t start, off_t length);
/// Tries for a lock again and again, for about 20 ms at growing distances: most locks are held for
/// microseconds, and whoever waits for seconds then gets no turn. Returns, with its errno, what the last try
/// gave.
bool file_lock_soon(const std::function<bool()> &granted);
/// The process that keeps `fd`'s range from being locked for writing; 0 when the range is free.
pid_t file_lock_holder(int fd, off_t start, off_t length);

bool file_exists(const char *path);
/// Size in bytes, -1 if absent.
off_t file_size(const char *path);
bool file_is_dir(const char *path);
/// True when the file is gone; an absent file counts as success.
bool file_delete(const char *path);
/// Copies a file. `how` above 0 appends, 0 replaces, below 0 requires that the target does not exist yet.
/// Both files are locked meanwhile. False on any failure, and when both are the same file; a target made by
/// the failed copy is removed.
bool file_copy(const char *from, const char *to, int how);
/// Moves a file by link, or by copy across file systems. Without `replace` an existing target fails.
bool file_move(const char *from, const char *to, bool replace);
/// Path of a name that is free at the moment: prefix (4 characters at most), two letters, two digits. Static
/// buffer; empty on failure. The caller makes the file.
const char *file_tempname(const char *directory, const char *prefix);
/// Last component; the separator is '\\' if the path contains one, else '/'.
const char *file_basename(const char *path);
/// Words for the end of a message about a write that failed with `error`: that the disk is full, else
/// nothing. Leaves errno as it was after the write.
const char *disk_full_text(int error);
/// Free space of the file system of "." in kilobytes; 2147483647 when it is unknown.
long disk_free();

/// Action of `DIRECTORY`.
enum class dir_action : char { open = 'O', next = 'N', close = 'C' };
/// Kind of entry that a walk lists.
enum class dir_kind : int { files = 1, directories = 2 };
/// Walks the names that match a pattern, sorted in byte order; walks nest up to 11 deep. open: `text` is the
/// pattern; false when nothing matches, and then no close is needed. next: puts the next name in `text`;
/// false at the end. close: ends the innermost walk; true.
bool DIRECTORY(dir_action action, std::string &text, dir_kind kind = dir_kind::files);
/// Number of regular files that match; the directory part is cut from `pattern`. Plain wildcards ignore case.
int FILES_PRESENT(std::string &pattern);
/// True when `name` matches `pattern` of * and ?, without regard to case; a final ".*" is optional.
bool wildcard_match(const char *pattern, const char *name);

/// `lockf` on a plain file from its current position: operation 3 locks, 4 seeks to the end first, 13 and 14
/// unlock in the same way. Waits as long as it takes for a lock held by another process. Returns 0; -1 with
/// errno when the descriptor can't be locked at all. A length below 1 does nothing.
int lock_range(int fd, int operation, int length);
/// Tells the operator for one second that another screen is using the data.
void lock_wait();

/// Allocates a zero-filled area of `maximum` bytes, or half as much each time that fails, down to `minimum`;
/// stored in `where`, to be released with free(). Returns its size, 0 (and null) if even `minimum` fails. A
/// `maximum` below `minimum` counts as `minimum`.
std::size_t mem_largest(void **where, std::size_t minimum, std::size_t maximum);

/// Saves the settings of terminal 0 and switches its echo off; `tty_restore` puts them back.
void tty_noecho();
void tty_restore();
/// Closes every descriptor from 3 to 39 that is a character device.
void tty_close_others();
