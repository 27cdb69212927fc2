// Blocks of the three chained files, with their free chains.
#include <algorithm>
#include <numeric>

#include "tools/shop/plan.h"

namespace {

/// A block to be placed: its owner, and which of the owner's blocks it is.
struct Place {
    std::size_t owner;
    std::size_t chunk;
    std::int64_t turn;  ///< blocks are taken in this order
};

/// The blocks of one owner are made at different times, so others lie between them.
std::vector<Place> take_turns(const std::vector<std::size_t> &chunks, Random &random) {
    std::vector<Place> places;
    for (std::size_t owner = 0; owner < chunks.size(); owner++) {
        for (std::size_t chunk = 0; chunk < chunks[owner]; chunk++) {
            const std::size_t turn = owner + chunk * 17 + random.below(12);
            places.push_back({owner, chunk, static_cast<std::int64_t>(turn)});
        }
    }
    std::stable_sort(places.begin(), places.end(),
                     [](const Place &a, const Place &b) { return a.turn < b.turn; });
    return places;
}

/// Block numbers for the places, and the numbers that stay free.
struct Numbers {
    std::vector<std::int32_t> taken;
    std::vector<std::int32_t> free;
    std::int32_t end;
};

Numbers hand_out(std::size_t count, Random &random) {
    Numbers numbers{};
    for (std::size_t i = 0; i < count; i++) {
        while (random.chance(4)) {
            numbers.free.push_back(numbers.end++);
        }
        numbers.taken.push_back(numbers.end++);
    }
    for (int spare = random.range(1, 6); spare > 0; spare--) {
        numbers.free.push_back(numbers.end++);
    }
    random.shuffle(numbers.free);
    return numbers;
}

/// Block numbers by owner and chunk.
std::vector<std::vector<std::int32_t>> settle(const std::vector<std::size_t> &chunks,
                                              const std::vector<Place> &places, const Numbers &numbers) {
    std::vector<std::vector<std::int32_t>> blocks(chunks.size());
    for (std::size_t i = 0; i < chunks.size(); i++) {
        blocks[i].resize(chunks[i]);
    }
    for (std::size_t i = 0; i < places.size(); i++) {
        blocks[places[i].owner][places[i].chunk] = numbers.taken[i];
    }
    return blocks;
}

template <typename Block>
void link_free(std::vector<Block> &blocks, const Numbers &numbers, SysRow4Chain &row) {
    for (std::size_t i = 0; i < numbers.free.size(); i++) {
        Block &block = blocks[static_cast<std::size_t>(numbers.free[i])];
        block = Block{};
        block.next = i + 1 < numbers.free.size() ? numbers.free[i + 1] : numbers.end;
    }
    row.free_head = numbers.free.empty() ? numbers.end : numbers.free.front();
    row.end_mark = numbers.end;
}

}  // namespace

std::string lay_out_labels(ShopPlan &plan) {
    Random random = plan.random(stream_layout);
    Shop &shop = plan.shop;
    // Where the labels of a series stand in its chain: one after another, with a hole now and then
    // where a label was deleted.
    std::vector<std::vector<std::size_t>> slots(plan.series.size());
    std::vector<std::size_t> chunks(plan.series.size());
    for (std::size_t i = 0; i < plan.series.size(); i++) {
        std::size_t slot = 0;
        for (std::size_t n = plan.series[i].labels.size(); n > 0; n--) {
            while (random.chance(3)) {
                slot++;
            }
            slots[i].push_back(slot++);
        }
        chunks[i] = slots[i].empty() ? 1 : slots[i].back() / labels_per_block + 1;
    }
    const std::vector<Place> places = take_turns(chunks, random);
    const Numbers numbers = hand_out(places.size(), random);
    if (numbers.end > label_highest_block(shop.options.label_digits) + 1) {
        return text_of("%d label blocks are too many for label numbers of %d digits", numbers.end,
                       shop.options.label_digits);
    }
    const std::vector<std::vector<std::int32_t>> blocks = settle(chunks, places, numbers);
    shop.label_blocks.resize(static_cast<std::size_t>(numbers.end));
    for (std::size_t i = 0; i < plan.series.size(); i++) {
        SeriesPlan &series = plan.series[i];
        series.record.first_block = blocks[i][0];
        for (std::size_t chunk = 0; chunk < chunks[i]; chunk++) {
            LabelBlock &block = shop.label_blocks[static_cast<std::size_t>(blocks[i][chunk])];
            block.key = series.record.key;
            block.size_kind = series.record.size_kind;
            block.next = chunk + 1 < chunks[i] ? blocks[i][chunk + 1] : -1;
        }
        for (std::size_t n = 0; n < series.labels.size(); n++) {
            const std::size_t slot = slots[i][n];
            const std::int32_t block = blocks[i][slot / labels_per_block];
            series.label_numbers.push_back(static_cast<std::uint32_t>(
                block * labels_per_block + static_cast<int>(slot % labels_per_block) + 1));
            shop.label_blocks[static_cast<std::size_t>(block)].slots[slot % labels_per_block] =
                label_join(series.labels[n]);
        }
    }
    link_free(shop.label_blocks, numbers, shop.label_chain);
    shop.label_chain.free_count = static_cast<std::int32_t>(numbers.free.size());
    return {};
}

void lay_out_prices(ShopPlan &plan) {
    Random random = plan.random(stream_layout);
    Shop &shop = plan.shop;
    std::vector<std::size_t> chunks;
    for (const SeriesPlan &series : plan.series) {
        for (const PriceSetPlan &set : series.sets) {
            chunks.push_back(set.groups.size());
        }
    }
    const std::vector<Place> places = take_turns(chunks, random);
    const Numbers numbers = hand_out(places.size(), random);
    const std::vector<std::vector<std::int32_t>> blocks = settle(chunks, places, numbers);
    shop.price_blocks.resize(static_cast<std::size_t>(numbers.end));
    std::size_t owner = 0;
    for (const SeriesPlan &series : plan.series) {
        for (const PriceSetPlan &set : series.sets) {
            const SupplierRecord &supplier = shop.suppliers[static_cast<std::size_t>(set.supplier)];
            PriceSetRecord record{};
            record.key = series.record.key;
            record.supplier = supplier.number;
            record.end_date = set.end;
            record.factor = set.factor;
            record.size_kind = series.record.size_kind;
            std::memcpy(record.currency, supplier.currency, sizeof record.currency);
            record.begin_date = set.begin;
            record.carried_34 = static_cast<std::uint16_t>(random.range(1, 999));
            record.chain = blocks[owner][0];
            for (std::size_t i = 0; i < set.groups.size(); i++) {
                PriceBlock &block = shop.price_blocks[static_cast<std::size_t>(blocks[owner][i])];
                block.key = record.key;
                block.supplier = record.supplier;
                block.end_date = record.end_date;
                for (const std::uint8_t size : set.groups[i].sizes) {
                    block.sizes.set(size);
                }
                record.sizes.add(block.sizes);
                std::memcpy(block.currency, record.currency, sizeof block.currency);
                block.size_kind = record.size_kind;
                block.gross = set.groups[i].gross;
                block.net = set.groups[i].net;
                block.next = i + 1 < set.groups.size() ? blocks[owner][i + 1] : -1;
            }
            shop.price_sets.push_back(record);
            owner++;
        }
    }
    link_free(shop.price_blocks, numbers, shop.price_chain);
}

void plan_criteria(ShopPlan &plan) {
    Random random = plan.random(stream_criteria);
    Shop &shop = plan.shop;
    std::vector<std::size_t> chunks;
    for (const SeriesPlan &series : plan.series) {
        if (!random.chance(40)) {
            continue;
        }
        CriteriaRecord record{};
        record.key = series.record.key;
        put_carried(record.carried_8, random);
        shop.criteria.push_back(record);
        chunks.push_back(static_cast<std::size_t>(random.range(1, 4)));
    }
    const std::vector<Place> places = take_turns(chunks, random);
    const Numbers numbers = hand_out(places.size(), random);
    shop.criteria_blocks.resize(static_cast<std::size_t>(numbers.end));
    const std::vector<std::vector<std::int32_t>> blocks = settle(chunks, places, numbers);
    for (std::size_t i = 0; i < chunks.size(); i++) {
        shop.criteria[i].chain = blocks[i][0];
        for (std::size_t chunk = 0; chunk < chunks[i]; chunk++) {
            CriteriaBlock &block = shop.criteria_blocks[static_cast<std::size_t>(blocks[i][chunk])];
            block.key = shop.criteria[i].key;
            put_carried(block.advice, random);
            block.next = chunk + 1 < chunks[i] ? blocks[i][chunk + 1] : -1;
        }
    }
    link_free(shop.criteria_blocks, numbers, shop.criteria_chain);
}
