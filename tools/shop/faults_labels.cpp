// Faults in the label file and in what the series say about their labels.
#include "tools/shop/faults.h"

namespace {

LabelBlock &block_at(Shop &shop, std::int32_t block) {
    return shop.label_blocks[static_cast<std::size_t>(block)];
}

std::vector<std::int32_t> labels_chain(const Shop &shop, const SeriesRecord &series) {
    return chain_of(shop.label_blocks, series.first_block);
}

SeriesRecord *series_with_blocks(Shop &shop, Random &random, std::size_t count) {
    return pick_fitting(shop.series, random, [&](const SeriesRecord &series) {
        return labels_chain(shop, series).size() >= count;
    });
}

/// Puts a copy of a label into a block that is on no chain, under the given key.
bool orphan_block(Shop &shop, Random &random, std::uint32_t group, std::uint16_t colour,
                  std::uint16_t number) {
    const LabelPlace sample = pick_label(shop, random, [](const ShopLabel &) { return true; });
    const LabelEntry entry = sample ? sample.block->slots[sample.slot] : LabelEntry{};
    const std::int32_t block = sample ? take_free(shop.label_blocks, shop.label_chain) : -1;
    if (block < 0) {
        return false;
    }
    LabelBlock &orphan = block_at(shop, block);
    orphan.key.group = group;
    orphan.key.colour = colour;
    orphan.key.number = number;
    orphan.size_kind = 1;
    orphan.next = -1;
    orphan.slots[random.below(labels_per_block)] = entry;
    return true;
}

/// Makes such a block for a series that exists; the label has one of the sizes of that series.
bool known_orphan(Shop &shop, Random &random) {
    const SeriesRecord &owner = random.pick(shop.series);
    const std::int32_t head = shop.label_chain.free_head;
    if (!orphan_block(shop, random, owner.key.group, owner.key.colour, owner.key.number)) {
        return false;
    }
    unsigned size = 1;
    while (size < 95 && !owner.sizes.test(size)) {
        size++;
    }
    LabelBlock &orphan = block_at(shop, head);
    orphan.size_kind = owner.size_kind;
    for (LabelEntry &entry : orphan.slots) {
        ShopLabel label = label_split(entry);
        if (label.status != label_empty) {
            label.size = static_cast<decltype(label.size)>(size);
            entry = label_join(label);
        }
    }
    return true;
}

constexpr ShopFault labels[] = {
    {"label-chain-outside", "a chain of labels leads out of the file",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = series_with_blocks(shop, random, 1);
         if (series != nullptr) {
             block_at(shop, labels_chain(shop, *series).back()).next = shop.label_chain.end_mark + 7;
         }
         return series != nullptr;
     }},
    {"label-first-outside", "the first block of a series lies past the file",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>,
                      [&](SeriesRecord &series) { series.first_block = shop.label_chain.end_mark + 3; });
     }},
    {"label-no-block", "a series has no label block",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>,
                      [](SeriesRecord &series) { series.first_block = -1; });
     }},
    {"label-chain-other", "a chain of labels leads into that of another series",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = series_with_blocks(shop, random, 1);
         SeriesRecord *other = pick_fitting(
             shop.series, random, [&](const SeriesRecord &candidate) { return &candidate != series; });
         if (series == nullptr || other == nullptr) {
             return false;
         }
         block_at(shop, labels_chain(shop, *series).back()).next = other->first_block;
         return true;
     }},
    {"label-chain-free", "a chain of labels leads into the free chain",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = series_with_blocks(shop, random, 1);
         if (series == nullptr || shop.label_chain.free_head == shop.label_chain.end_mark) {
             return false;
         }
         block_at(shop, labels_chain(shop, *series).back()).next = shop.label_chain.free_head;
         return true;
     }},
    {"label-chain-loop", "a chain of labels leads back to its first block",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = series_with_blocks(shop, random, 1);
         if (series != nullptr) {
             block_at(shop, labels_chain(shop, *series).back()).next = series->first_block;
         }
         return series != nullptr;
     }},
    {"label-chain-shared", "two series begin at the same block",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = series_with_blocks(shop, random, 1);
         SeriesRecord *other = pick_fitting(
             shop.series, random, [&](const SeriesRecord &candidate) { return &candidate != series; });
         if (series == nullptr || other == nullptr) {
             return false;
         }
         other->first_block = series->first_block;
         return true;
     }},
    {"label-chain-cut", "a chain of labels ends early",
     [](Shop &shop, Random &random) {
         SeriesRecord *series = series_with_blocks(shop, random, 2);
         if (series != nullptr) {
             block_at(shop, series->first_block).next = -1;
         }
         return series != nullptr;
     }},
    {"label-orphan-unknown", "a block of labels of a series that does not exist",
     [](Shop &shop, Random &random) { return orphan_block(shop, random, 99998, 998, 9998); }},
    {"label-orphan-known", "a block of labels of a series that does not hold it",
     [](Shop &shop, Random &random) { return !shop.series.empty() && known_orphan(shop, random); }},
    {"label-orphan-invalid", "a block of labels of an impossible series",
     [](Shop &shop, Random &random) { return orphan_block(shop, random, 101, 10, 10000); }},
    {"label-series-invalid", "a series, with its labels, has an impossible number",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>, [&](SeriesRecord &series) {
             for (const std::int32_t block : labels_chain(shop, series)) {
                 block_at(shop, block).key.number = 0;
             }
             series.key.number = 0;
         });
     }},
    {"label-free-loop", "the free chain of the label file is a loop",
     [](Shop &shop, Random &) {
         const std::vector<std::int32_t> chain = chain_of(shop.label_blocks, shop.label_chain.free_head);
         if (!chain.empty()) {
             block_at(shop, chain.back()).next = chain.front();
         }
         return !chain.empty();
     }},
    {"label-free-used", "the free chain of the label file leads into a used block",
     [](Shop &shop, Random &random) {
         const std::vector<std::int32_t> chain = chain_of(shop.label_blocks, shop.label_chain.free_head);
         SeriesRecord *series = series_with_blocks(shop, random, 1);
         if (!chain.empty() && series != nullptr) {
             block_at(shop, chain.back()).next = series->first_block;
         }
         return !chain.empty() && series != nullptr;
     }},
    {"label-free-head", "the free chain of the label file begins past its end",
     [](Shop &shop, Random &) {
         shop.label_chain.free_head = shop.label_chain.end_mark + 11;
         return true;
     }},
    {"label-free-count", "the count of free label blocks is wrong",
     [](Shop &shop, Random &) {
         shop.label_chain.free_count += 3;
         return true;
     }},
    {"label-file-tail", "the label file ends within a block",
     [](Shop &shop, Random &) {
         shop.tails["RVETI.TXT"] = std::string(100, 'x');
         return true;
     }},
};

constexpr ShopFault series[] = {
    {"series-count", "a series counts its labels wrong",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>,
                      [](SeriesRecord &record) { record.stock += 2; });
     }},
    {"series-delivery-date", "a label was delivered later than its series says",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.series, random, [](const SeriesRecord &record) { return record.last_delivery != 0; },
             [](SeriesRecord &record) { record.last_delivery -= 1; });
     }},
    {"series-sale-date", "a label was sold later than its series says",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.series, random, [](const SeriesRecord &record) { return record.last_sale != 0; },
             [](SeriesRecord &record) { record.last_sale -= 1; });
     }},
    {"series-stamp", "a series was made after its labels",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>,
                      [&](SeriesRecord &record) { record.stamp = (shop.today + 5 - day_1980) * 86400; });
     }},
    {"series-stamp-none", "a series has no stamp",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>, [](SeriesRecord &record) { record.stamp = 0; });
     }},
    {"series-branch", "a label lies in a branch that does not exist",
     [](Shop &shop, Random &random) {
         return spoil_label(
             shop, random, [](const ShopLabel &label) { return label.extra == 0; },
             [&](ShopLabel &label) { label.branch += shop.options.branches * 2; });
     }},
    {"series-label-status", "a label has an impossible status",
     [](Shop &shop, Random &random) {
         return spoil_label(
             shop, random,
             [](const ShopLabel &label) { return label.status == label_stock && label.extra == 0; },
             [](ShopLabel &label) { label.status = 7; });
     }},
    {"series-label-date", "a label has no date of its making",
     [](Shop &shop, Random &random) {
         return spoil_label(shop, random, any<ShopLabel>, [](ShopLabel &label) { label.date_in = 0; });
     }},
    {"series-model-case", "a model code has small letters",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.series, random,
             [](const SeriesRecord &record) { return record.model[0] >= 'A' && record.model[0] <= 'Z'; },
             [](SeriesRecord &record) { record.model[0] = static_cast<char>(record.model[0] + 32); });
     }},
    {"series-option", "a series has an option value without the option",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.series, random, [](const SeriesRecord &record) { return record.target_group != 6; },
             [](SeriesRecord &record) { record.option_value = 5; });
     }},
    {"series-no-brand", "a series has no brand",
     [](Shop &shop, Random &random) {
         return spoil(shop.series, random, any<SeriesRecord>, [](SeriesRecord &record) { record.brand = 0; });
     }},
};

}  // namespace

const std::span<const ShopFault> label_faults = labels;
const std::span<const ShopFault> series_faults = series;
