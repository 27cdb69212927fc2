// Faults in sizes, in goods in transit, and in order criteria.
#include "tools/shop/faults.h"

namespace {

bool own_system(const SizeKindRecord &kind) {
    return kind.system == 1;
}

/// Number of sizes in use.
int sizes_of(const SizeKindRecord &kind) {
    int count = 0;
    for (const SizeEntry &entry : kind.entries) {
        count += entry.code[0] != '\0';
    }
    return count;
}

bool several_sizes(const SizeKindRecord &kind) {
    return own_system(kind) && sizes_of(kind) >= 4;
}

/// The index with the highest sequence number.
SizeEntry &last_size(SizeKindRecord &kind) {
    SizeEntry *last = &kind.entries[1];
    for (SizeEntry &entry : kind.entries) {
        if (entry.link > last->link) {
            last = &entry;
        }
    }
    return *last;
}

bool has_labels(const SeriesRecord &series) {
    return series.ordered + series.stock + series.sold > 0;
}

constexpr ShopFault sizes[] = {
    {"size-number-none", "a size of a size kind has no sequence number",
     [](Shop &shop, Random &random) {
         return spoil(shop.size_kinds, random, several_sizes,
                      [](SizeKindRecord &kind) { last_size(kind).link = 0; });
     }},
    {"size-number-high", "a size of a size kind has sequence number 96",
     [](Shop &shop, Random &random) {
         return spoil(shop.size_kinds, random, several_sizes,
                      [](SizeKindRecord &kind) { last_size(kind).link = 96; });
     }},
    {"size-number-double", "two sizes of a size kind have the same sequence number",
     [](Shop &shop, Random &random) {
         return spoil(shop.size_kinds, random, several_sizes, [](SizeKindRecord &kind) {
             SizeEntry &last = last_size(kind);
             last.link = static_cast<std::uint8_t>(last.link - 1);
         });
     }},
    {"size-number-gap", "a sequence number of a size kind is left out",
     [](Shop &shop, Random &random) {
         return spoil(shop.size_kinds, random, several_sizes, [](SizeKindRecord &kind) {
             SizeEntry &last = last_size(kind);
             last.link = static_cast<std::uint8_t>(last.link + 1);
         });
     }},
    {"size-name-stale", "a size that has no description has a record of one",
     [](Shop &shop, Random &random) {
         return spoil(shop.size_kinds, random, several_sizes, [&](const SizeKindRecord &kind) {
             SizeNameRecord stale{kind.system, kind.kind, 90, {}};
             put_text(stale.text, "oud");
             shop.size_names.push_back(stale);
         });
     }},
    {"size-label-unknown", "a label has a size that its size kind does not know",
     [](Shop &shop, Random &random) {
         return spoil_label(shop, random, any<ShopLabel>, [](ShopLabel &label) { label.size = 94; });
     }},
    {"size-series-unknown", "a series has a size that its size kind does not know",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>,
                      [](SeriesRecord &series) { series.sizes.set(93); });
     }},
    {"size-series-missing", "a series does not name the sizes of its labels",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, has_labels, [](SeriesRecord &series) {
             series.sizes = SizeBitmap{};
             series.sizes.set(series.group_last[0]);
         });
     }},
    {"size-series-none", "a series names no sizes",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>,
                      [](SeriesRecord &series) { series.sizes = SizeBitmap{}; });
     }},
    {"size-series-groups", "the last price group of a series does not end at its last size",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.series, random,
             [](const SeriesRecord &series) { return series.group_last[1] == 0 && series.group_last[0] > 1; },
             [](SeriesRecord &series) {
                 series.group_last[0] = static_cast<std::uint8_t>(series.group_last[0] - 1);
             });
     }},
    {"transit-no-entry", "a label in transit has no entry in the list of goods in transit",
     [](Shop &shop, Random &random) {
         if (shop.in_transit.empty()) {
             return false;
         }
         shop.in_transit.erase(shop.in_transit.begin() +
                               static_cast<std::ptrdiff_t>(random.below(shop.in_transit.size())));
         return true;
     }},
};

CriteriaBlock &block_at(Shop &shop, std::int32_t block) {
    return shop.criteria_blocks[static_cast<std::size_t>(block)];
}

std::vector<std::int32_t> blocks_of(const Shop &shop, const CriteriaRecord &record) {
    return chain_of(shop.criteria_blocks, record.chain);
}

/// Makes the last block of a chain lead on to the block that `next` returns.
template <typename Next>
bool lead_on(Shop &shop, Random &random, Next next) {
    return spoil(
        shop.criteria, random, [&](const CriteriaRecord &record) { return !blocks_of(shop, record).empty(); },
        [&](const CriteriaRecord &record) {
            block_at(shop, blocks_of(shop, record).back()).next = next(record);
        });
}

constexpr ShopFault criteria[] = {
    {"criteria-chain-outside", "a chain of order criteria leads out of the file",
     [](Shop &shop, Random &random) {
         return lead_on(shop, random, [&](const CriteriaRecord &) -> std::int32_t {
             return shop.criteria_chain.end_mark + 2;
         });
     }},
    {"criteria-no-block", "a series with order criteria has no block of them",
     [](Shop &shop, Random &random) {
         return spoil(shop.criteria, random, any<CriteriaRecord>,
                      [](CriteriaRecord &record) { record.chain = -1; });
     }},
    {"criteria-chain-other", "a chain of order criteria leads into that of another series",
     [](Shop &shop, Random &random) {
         return shop.criteria.size() > 1 &&
                lead_on(shop, random, [&](const CriteriaRecord &record) -> std::int32_t {
                    return &record == &shop.criteria[0] ? shop.criteria[1].chain : shop.criteria[0].chain;
                });
     }},
    {"criteria-chain-free", "a chain of order criteria leads into the free chain",
     [](Shop &shop, Random &random) {
         return shop.criteria_chain.free_head < shop.criteria_chain.end_mark &&
                lead_on(shop, random, [&](const CriteriaRecord &) -> std::int32_t {
                    return shop.criteria_chain.free_head;
                });
     }},
    {"criteria-chain-loop", "a chain of order criteria leads back to its first block",
     [](Shop &shop, Random &random) {
         return lead_on(shop, random,
                        [](const CriteriaRecord &record) -> std::int32_t { return record.chain; });
     }},
    {"criteria-chain-cut", "a chain of order criteria ends early",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.criteria, random,
             [&](const CriteriaRecord &record) { return blocks_of(shop, record).size() > 1; },
             [&](const CriteriaRecord &record) { block_at(shop, record.chain).next = -1; });
     }},
    {"criteria-block-lost", "a block of order criteria is on no chain",
     [](Shop &shop, Random &) {
         const std::int32_t block = take_free(shop.criteria_blocks, shop.criteria_chain);
         if (block < 0 || shop.criteria.empty()) {
             return false;
         }
         block_at(shop, block).key = shop.criteria.front().key;
         block_at(shop, block).next = -1;
         return true;
     }},
    {"criteria-block-no-series", "a block of order criteria belongs to no series with criteria",
     [](Shop &shop, Random &) {
         const std::int32_t block = take_free(shop.criteria_blocks, shop.criteria_chain);
         if (block < 0) {
             return false;
         }
         block_at(shop, block).key.group = 99998;
         block_at(shop, block).key.colour = 1;
         block_at(shop, block).key.number = 1;
         block_at(shop, block).next = -1;
         return true;
     }},
};

}  // namespace

const std::span<const ShopFault> size_faults = sizes;
const std::span<const ShopFault> criteria_faults = criteria;
