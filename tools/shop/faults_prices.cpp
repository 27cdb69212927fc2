// Faults in the price files, and in the prices of labels.
#include "tools/shop/faults.h"

namespace {

PriceBlock &block_at(Shop &shop, std::int32_t block) {
    return shop.price_blocks[static_cast<std::size_t>(block)];
}

std::vector<std::int32_t> blocks_of(const Shop &shop, const PriceSetRecord &set) {
    return chain_of(shop.price_blocks, set.chain);
}

PriceSetRecord *set_with_blocks(Shop &shop, Random &random, std::size_t count) {
    return pick_fitting(shop.price_sets, random,
                        [&](const PriceSetRecord &set) { return blocks_of(shop, set).size() >= count; });
}

/// Makes the last block of a set lead on to `next`.
bool lead_on(Shop &shop, Random &random, std::int32_t next) {
    PriceSetRecord *set = set_with_blocks(shop, random, 1);
    if (set != nullptr) {
        block_at(shop, blocks_of(shop, *set).back()).next = next;
    }
    return set != nullptr;
}

template <typename Change>
bool spoil_set(Shop &shop, Random &random, Change change) {
    PriceSetRecord *set = set_with_blocks(shop, random, 1);
    if (set != nullptr) {
        change(*set);
    }
    return set != nullptr;
}

constexpr ShopFault prices[] = {
    {"price-chain-outside", "a chain of prices leads out of the file",
     [](Shop &shop, Random &random) { return lead_on(shop, random, shop.price_chain.end_mark + 5); }},
    {"price-no-block", "a price set has no block",
     [](Shop &shop, Random &random) {
         return spoil_set(shop, random, [](PriceSetRecord &set) { set.chain = -1; });
     }},
    {"price-chain-other", "a chain of prices leads into that of another set",
     [](Shop &shop, Random &random) {
         PriceSetRecord *set = set_with_blocks(shop, random, 1);
         PriceSetRecord *other = pick_fitting(
             shop.price_sets, random, [&](const PriceSetRecord &candidate) { return &candidate != set; });
         if (set == nullptr || other == nullptr) {
             return false;
         }
         block_at(shop, blocks_of(shop, *set).back()).next = other->chain;
         return true;
     }},
    {"price-chain-free", "a chain of prices leads into the free chain",
     [](Shop &shop, Random &random) {
         return shop.price_chain.free_head < shop.price_chain.end_mark &&
                lead_on(shop, random, shop.price_chain.free_head);
     }},
    {"price-chain-loop", "a chain of prices leads back to its first block",
     [](Shop &shop, Random &random) {
         return spoil_set(shop, random, [&](PriceSetRecord &set) {
             block_at(shop, blocks_of(shop, set).back()).next = set.chain;
         });
     }},
    {"price-chain-cut", "a chain of prices ends early",
     [](Shop &shop, Random &random) {
         PriceSetRecord *set = set_with_blocks(shop, random, 2);
         if (set != nullptr) {
             block_at(shop, set->chain).next = -1;
         }
         return set != nullptr;
     }},
    {"price-block-lost", "a block of prices whose set does not exist",
     [](Shop &shop, Random &random) {
         PriceSetRecord *set = set_with_blocks(shop, random, 1);
         const std::int32_t block = set == nullptr ? -1 : take_free(shop.price_blocks, shop.price_chain);
         if (block < 0) {
             return false;
         }
         block_at(shop, block) = block_at(shop, set->chain);
         block_at(shop, block).supplier = 9999;
         block_at(shop, block).next = -1;
         return true;
     }},
    {"price-block-no-series", "a block of prices whose series does not exist",
     [](Shop &shop, Random &random) {
         PriceSetRecord *set = set_with_blocks(shop, random, 1);
         const std::int32_t block = set == nullptr ? -1 : take_free(shop.price_blocks, shop.price_chain);
         if (block < 0) {
             return false;
         }
         block_at(shop, block) = block_at(shop, set->chain);
         block_at(shop, block).key.group = 99998;
         block_at(shop, block).next = -1;
         return true;
     }},
    {"price-block-empty", "an empty block of prices is on no chain",
     [](Shop &shop, Random &) { return take_free(shop.price_blocks, shop.price_chain) >= 0; }},
    {"price-set-sizes", "a price set names other sizes than its blocks",
     [](Shop &shop, Random &random) {
         return spoil_set(shop, random, [](PriceSetRecord &set) { set.sizes.bytes[11] |= 0x40; });
     }},
    {"price-set-no-series", "a price set of a series that does not exist",
     [](Shop &shop, Random &random) {
         const std::int32_t block = take_free(shop.price_blocks, shop.price_chain);
         PriceSetRecord *set = set_with_blocks(shop, random, 1);
         if (block < 0 || set == nullptr) {
             return false;
         }
         PriceSetRecord stray = *set;
         stray.key.group = 99997;
         stray.chain = block;
         block_at(shop, block) = block_at(shop, set->chain);
         block_at(shop, block).key = stray.key;
         block_at(shop, block).next = -1;
         stray.sizes = block_at(shop, block).sizes;
         shop.price_sets.push_back(stray);
         return true;
     }},
    {"price-set-no-end", "a price set has no end date",
     [](Shop &shop, Random &random) {
         return spoil_set(shop, random, [](PriceSetRecord &set) { set.end_date = 0; });
     }},
    {"price-no-supplier", "a series with prices of two suppliers prefers none",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = pick_fitting(shop.series, random, [&](const SeriesRecord &candidate) {
             return std::any_of(shop.price_sets.begin(), shop.price_sets.end(),
                                [&](const PriceSetRecord &set) {
                                    return set.key == candidate.key && set.supplier != candidate.supplier;
                                });
         });
         if (series != nullptr) {
             series->supplier = 0;
         }
         return series != nullptr;
     }},
    {"price-free-loop", "the free chain of the price file is a loop",
     [](Shop &shop, Random &) {
         const std::vector<std::int32_t> chain = chain_of(shop.price_blocks, shop.price_chain.free_head);
         if (!chain.empty()) {
             block_at(shop, chain.back()).next = chain.front();
         }
         return !chain.empty();
     }},
    {"price-free-used", "the free chain of the price file leads into a used block",
     [](Shop &shop, Random &random) {
         const std::vector<std::int32_t> chain = chain_of(shop.price_blocks, shop.price_chain.free_head);
         PriceSetRecord *set = set_with_blocks(shop, random, 1);
         if (!chain.empty() && set != nullptr) {
             block_at(shop, chain.back()).next = set->chain;
         }
         return !chain.empty() && set != nullptr;
     }},
    {"price-free-head", "the free chain of the price file begins past its end",
     [](Shop &shop, Random &) {
         shop.price_chain.free_head = shop.price_chain.end_mark + 9;
         return true;
     }},
    {"price-free-first", "the free chain of the price file begins in a used block",
     [](Shop &shop, Random &random) {
         const PriceSetRecord *set = set_with_blocks(shop, random, 1);
         if (set != nullptr) {
             shop.price_chain.free_head = set->chain;
         }
         return set != nullptr;
     }},
    {"price-file-tail", "the price file ends within a block",
     [](Shop &shop, Random &) {
         shop.tails["RVIPG.TXT"] = std::string(17, 'x');
         return true;
     }},
    {"price-set-late", "a price set begins after the labels of its series",
     [](Shop &shop, Random &random) {
         const LabelPlace place = pick_label(shop, random, [](const ShopLabel &) { return true; });
         bool found = false;
         for (PriceSetRecord &set : shop.price_sets) {
             if (place && set.key == place.block->key && set.supplier == place.label.supplier) {
                 set.begin_date = shop.today;
                 found = true;
             }
         }
         return found;
     }},
    {"price-label-none", "a label has no price of its own",
     [](Shop &shop, Random &random) {
         return spoil_label(shop, random, any<ShopLabel>, [](ShopLabel &label) { label.price = 0; });
     }},
};

}  // namespace

const std::span<const ShopFault> price_faults = prices;
