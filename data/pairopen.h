// Opens the indexed files that the run works on.
#pragma once

#include <cstddef>

#include "store/store.h"

/// Stands for a record length that is not known; no record is longer than `ix_max_reclen`.
inline constexpr std::size_t any_length = 0;

/// Opens an indexed file with records of `record_bytes`, or `any_length`. An index half that a program left
/// unsound, for instance because it was killed, is made anew first, with a progress bar. A file with records
/// of another length is fatal, like one that can't be opened.
ICB *pair_open(const char *name, int mode, std::size_t record_bytes);
/// Makes the index half anew if a program died during an update or a rebuild. Other damage is left as it is.
void pair_finish(const char *name, std::size_t record_bytes);
