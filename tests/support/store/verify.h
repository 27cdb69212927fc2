// The order and the form of keys once more, word for word and slow: what the tests hold the store against.
// And a verifier of an indexed file at rest, which reads both halves by itself and shares no code with the
// store but the layout of the blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/format.h"

using bytes = std::vector<std::uint8_t>;

/// Compares two text fields of `n` bytes by building both strings of weights in full.
int reference_coll_cmp(const std::uint8_t *a, const std::uint8_t *b, int n);
/// Key of a record, with the record number after it when the key has duplicates.
bytes reference_key(const ix_keydef &def, const std::uint8_t *record, std::int32_t number);
/// Compares two whole keys.
int reference_compare(const ix_keydef &def, const std::uint8_t *a, const std::uint8_t *b);

/// All that stands in a file; nothing when it is not there.
bytes file_bytes(const std::string &path);

/// Everything that is wrong with the pair, empty when it is sound: lengths, counts, and for every key the
/// order, the highest keys in the parents, the sentinel, levels and capacity of the blocks; every live
/// record once in every key under its own key; every free record once in the free chain; blocks linked at
/// most once, and unlinked ones empty. `queue_empty`: no reservations in the lock block either. Stops after
/// 20 findings. Any bytes may stand in the two halves.
std::vector<std::string> ix_verify(const std::string &name, bool queue_empty = true);
