// The order and the form of keys once more, word for word and slow: what the tests hold the store against.
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
