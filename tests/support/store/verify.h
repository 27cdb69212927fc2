// Verifier of an indexed file at rest. It reads both halves by itself and shares no code with the store but
// the layout of the blocks.
#pragma once

#include "support/store/reference.h"

/// All that stands in a file; nothing when it is not there.
bytes file_bytes(const std::string &path);

/// Everything that is wrong with the pair, empty when it is sound: lengths, counts, and for every key the
/// order, the highest keys in the parents, the sentinel, levels and capacity of the blocks; every live
/// record once in every key under its own key; every free record once in the free chain; blocks linked at
/// most once, and unlinked ones empty. `queue_empty`: no reservations in the lock block either. Stops after
/// 20 findings. Any bytes may stand in the two halves.
std::vector<std::string> ix_verify(const std::string &name, bool queue_empty = true);
