// Opening of the indexed files that the run works on.
#pragma once

#include <cstddef>

#include "isam/store.h"

/// The length of records that is not known; none are longer than `ix_max_reclen`.
inline constexpr std::size_t any_length = 0;

/// Opens an indexed file with records of `record_bytes`, or `any_length`. An index half that a program has
/// left unsound, such as one that was killed, is rebuilt first; the bar of the rebuild shows it. A file
/// with records of another length is as fatal as one that can't be opened.
ICB *pair_open(const char *name, int mode, std::size_t record_bytes);
/// Rebuilds the index half if a program has died within an update or a rebuild, and leaves other damage as
/// it is.
void pair_finish(const char *name, std::size_t record_bytes);
