// What the files with faults share.
#pragma once

#include <algorithm>
#include <span>
#include <string>

#include "tools/shop/plan.h"

extern const std::span<const ShopFault> label_faults;
extern const std::span<const ShopFault> series_faults;
extern const std::span<const ShopFault> price_faults;
extern const std::span<const ShopFault> size_faults;
extern const std::span<const ShopFault> criteria_faults;
extern const std::span<const ShopFault> customer_faults;
extern const std::span<const ShopFault> master_faults;
extern const std::span<const ShopFault> code_faults;
extern const std::span<const ShopFault> journal_faults;
extern const std::span<const ShopFault> index_faults;

/// Puts the faults of the options in. False when one finds nothing to spoil, or only what an earlier one has
/// spoiled; `why` says which.
bool put_faults(Shop &shop, std::string &why);

/// Blocks of a chain, first to last.
template <typename Block>
std::vector<std::int32_t> chain_of(const std::vector<Block> &blocks, std::int32_t first) {
    std::vector<std::int32_t> chain;
    while (first >= 0 && first < static_cast<std::int32_t>(blocks.size()) && chain.size() <= blocks.size()) {
        chain.push_back(first);
        first = blocks[static_cast<std::size_t>(first)].next;
    }
    return chain;
}

/// Takes the block at the head of a free chain; -1 when there is none.
template <typename Block>
std::int32_t take_free(std::vector<Block> &blocks, SysRow4Chain &row) {
    const std::int32_t head = row.free_head;
    if (head < 0 || head >= static_cast<std::int32_t>(blocks.size()) ||
        blocks[static_cast<std::size_t>(head)].key.group != 0) {
        return -1;
    }
    row.free_head = blocks[static_cast<std::size_t>(head)].next;
    if (row.free_count > 0) {
        row.free_count -= 1;
    }
    blocks[static_cast<std::size_t>(head)] = Block{};
    return head;
}

/// One of the items for which `fits` is true; null when there is none.
template <typename Item, typename Fits>
Item *pick_fitting(std::vector<Item> &items, Random &random, Fits fits) {
    const std::size_t start = random.below(items.size());
    for (std::size_t i = 0; i < items.size(); i++) {
        Item &item = items[(start + i) % items.size()];
        if (fits(item)) {
            return &item;
        }
    }
    return nullptr;
}

inline bool any(const auto &) {
    return true;
}

/// Changes one item for which `fits` is true; false when there is none.
template <typename Item, typename Fits, typename Change>
bool spoil(std::vector<Item> &items, Random &random, Fits fits, Change change) {
    Item *item = pick_fitting(items, random, fits);
    if (item != nullptr) {
        change(*item);
    }
    return item != nullptr;
}

/// A label of the model: its block, slot and content.
struct LabelPlace {
    LabelBlock *block = nullptr;
    std::size_t slot = 0;
    ShopLabel label;
    explicit operator bool() const {
        return block != nullptr;
    }
    void put() const {
        block->slots[slot] = label_join(label);
    }
};

/// A label for which `fits` is true.
template <typename Fits>
LabelPlace pick_label(Shop &shop, Random &random, Fits fits) {
    const std::size_t all = shop.label_blocks.size() * labels_per_block;
    const std::size_t start = random.below(all);
    for (std::size_t i = 0; i < all; i++) {
        LabelBlock &block = shop.label_blocks[(start + i) % all / labels_per_block];
        const std::size_t slot = (start + i) % all % labels_per_block;
        const ShopLabel label = label_split(block.slots[slot]);
        if (label.status != label_empty && fits(label)) {
            return {&block, slot, label};
        }
    }
    return {};
}

/// Changes one label for which `fits` is true; false when there is none.
template <typename Fits, typename Change>
bool spoil_label(Shop &shop, Random &random, Fits fits, Change change) {
    LabelPlace place = pick_label(shop, random, fits);
    if (place) {
        change(place.label);
        place.put();
    }
    return static_cast<bool>(place);
}
