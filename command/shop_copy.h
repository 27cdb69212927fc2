// Copies of a shop's data directory: the backup before the first write, and the private copy of a rehearsal.
//
// What is copied are the files of the directory and of its season directories; other directories are no part
// of the shop. A symbolic link to a file is copied as that file. The source is only read: no lock is taken,
// and where the system allows it not even the times of the last reading change. So a copy that is made while
// others work may hold files of different moments; `changed` names those that changed meanwhile.
//
// Where the file system can share blocks between files (reflink), copies take no time and no room. Elsewhere
// the free space is looked at before the first byte is copied.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct copy_result {
    bool ok = false;
    std::string why;                    ///< for the operator, when it is not
    std::vector<std::string> left_out;  ///< devices, pipes, sockets, and links to nothing
    std::vector<std::string> changed;   ///< files that were written while they were copied
};

/// Copies a shop to `to`, which must not exist or be an empty directory, with times, modes and, where the
/// user may give files away, owners. All is on disk when this returns. What a copy that fails has made is
/// removed.
copy_result shop_copy(const std::string &from, const std::string &to);
/// The same into a new directory that no other user can enter, below `place`: shops are large, and the
/// directory of the shop may be one where nothing can be written. `made` hears its name before anything is
/// copied. The owner may write all its files, whatever the modes of the originals. Nothing is forced to disk.
copy_result shop_copy_private(const std::string &from, const std::string &place,
                              const std::function<void(const std::string &)> &made);
/// Removes a copy, with all that has been made in it. What can't be removed stays.
void shop_copy_remove(const std::string &dir);
