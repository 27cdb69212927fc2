// Opening of the indexed files that the run works on.
#pragma once

#include <cstddef>

#include "isam/store.h"

/// Opens an indexed file whose records are read into `room` bytes, which is their length where it is known.
/// An index half that a program has left unsound, such as one that was killed, is made anew first; the bar of
/// the rebuild shows it. A file with longer records is as fatal as one that can't be opened.
ICB *pair_open(const char *name, int mode, std::size_t room);
/// Makes the index half anew if a program has died within an update or a rebuild, and leaves other damage as
/// it is. `room` as above, 0 when it isn't known.
void pair_finish(const char *name, std::size_t room);
