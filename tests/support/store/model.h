// What an indexed file should hold, kept in plain vectors, with the order of the reference.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "support/store/reference.h"

struct model_entry {
    bytes key;
    std::int32_t record;
};

struct store_model {
    int reclen = 0;
    std::vector<ix_keydef> keys;
    std::vector<bytes> slots;  // empty: free
    std::vector<std::int32_t> free;
    std::vector<std::vector<model_entry>> trees;

    void define(const ix_header &header);
    /// Insert or update by key 1; returns the record number.
    std::int32_t write(const bytes &record);
    void rewrite(std::int32_t number, const bytes &record);
    void erase(std::int32_t number);
    /// The trees and the free chain as a rebuild leaves them.
    void rebuild();

    bytes key_of(int k, const bytes &record, std::int32_t number) const;
    /// Order of two keys by their first `parts` segments, 0 for the whole key.
    int compare(int k, int parts, const bytes &a, const bytes &b) const;
    /// Index in the tree of key `k` of the first entry not below, or above, a key.
    std::size_t lower(int k, int parts, const bytes &key) const;
    std::size_t upper(int k, int parts, const bytes &key) const;
    std::int32_t find(int k, const bytes &key, int parts = 0) const;

private:
    std::size_t place(int k, int parts, const bytes &key, bool above) const;
    void add(int k, const bytes &key, std::int32_t number);
    void drop(int k, const bytes &key, std::int32_t number);
};
