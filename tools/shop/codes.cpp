// EAN codes, replaced codes, order numbers of the suppliers, and what the tills know.
#include <algorithm>
#include <map>

#include "tools/shop/plan.h"

namespace {

constexpr std::uint64_t code_span = 1000000000;
constexpr std::uint64_t code_step = 7919;  // no common factor with the span, so that no code comes twice

/// The n-th code of a country or maker, scattered over its numbers.
std::string scattered_code(const char *prefix, std::uint64_t n) {
    const std::string digits =
        text_of("%s%09llu", prefix, static_cast<unsigned long long>(n * code_step % code_span));
    return digits + ean_check_digit(digits);
}

std::string instore_code(Shop &shop) {
    shop.ean_generator.last_ean += 1;
    const std::string digits = text_of("2013%08lu", static_cast<unsigned long>(shop.ean_generator.last_ean));
    return digits + ean_check_digit(digits);
}

/// Codes of 13 digits, many of them the shop's own, and a few of 12 and 8.
std::string next_code(Shop &shop, std::uint64_t n, Random &random) {
    if (random.chance(30)) {
        return instore_code(shop);
    }
    if (random.chance(5)) {
        return scattered_code("60", n);
    }
    if (random.chance(2) && n < 1000000) {
        const std::string digits = text_of("8%06llu", static_cast<unsigned long long>(n));
        return digits + ean_check_digit(digits);
    }
    return scattered_code("871", n);
}

void make_ean_codes(ShopPlan &plan, Random &random) {
    Shop &shop = plan.shop;
    std::uint64_t n = 0;
    for (const SeriesPlan &series : plan.series) {
        for (const std::uint8_t size : series.sizes) {
            EanRecord record{};
            put_text(record.code, next_code(shop, ++n, random));
            record.type = 'M';
            record.colour = series.record.key.colour;
            record.group = series.record.key.group;
            record.number = series.record.key.number;
            record.size = size;
            record.size_kind = series.record.size_kind;
            record.date = static_cast<std::uint16_t>(series.record.date);
            shop.ean_codes.push_back(record);
        }
    }
    for (const SmallArticleRecord &article : shop.small_articles) {
        if (article.branch == 0 && random.chance(70)) {
            EanRecord record{};
            put_text(record.code, next_code(shop, ++n, random));
            record.type = 'A';
            record.group = article.number;
            record.date = static_cast<std::uint16_t>(shop.today - random.range(100, 1500));
            shop.ean_codes.push_back(record);
        }
    }
}

void make_barcodes(ShopPlan &plan, Random &random) {
    std::uint64_t n = 0;
    for (const SeriesPlan &series : plan.series) {
        if (!random.chance(15)) {
            continue;
        }
        BarcodeRecord record{};
        put_text(record.code, scattered_code("541", ++n));
        record.colour = series.record.key.colour;
        record.group = series.record.key.group;
        record.number = series.record.key.number;
        record.size_kind = series.record.size_kind;
        record.size = random.chance(20) ? std::uint8_t{0} : series.sizes[random.below(series.sizes.size())];
        record.date = static_cast<std::uint16_t>(plan.shop.today - random.range(1, 400));
        plan.shop.barcodes.push_back(record);
    }
}

void make_supplier_numbers(ShopPlan &plan, Random &random) {
    std::map<int, std::vector<const SeriesPlan *>> series_of;
    for (const SeriesPlan &series : plan.series) {
        series_of[series.record.supplier].push_back(&series);
    }
    for (const auto &[supplier, all] : series_of) {
        if (!random.chance(60)) {
            continue;
        }
        int n = random.range(10000, 50000);
        for (const SeriesPlan *series : all) {
            SupplierNumberRecord record{};
            record.colour = series->record.key.colour;
            record.group = series->record.key.group;
            record.number = series->record.key.number;
            record.size_kind = series->record.size_kind;
            put_carried(record.carried_24, random);
            n++;
            if (random.chance(40)) {
                put_text(record.code, text_of("%d", n));
                plan.shop.supplier_numbers[supplier].push_back(record);
                continue;
            }
            for (const std::uint8_t size : series->sizes) {
                record.size = size;
                put_text(record.code, text_of("%d/%02d", n, size));
                plan.shop.supplier_numbers[supplier].push_back(record);
            }
        }
    }
}

void make_till_files(ShopPlan &plan, Random &random) {
    Shop &shop = plan.shop;
    std::map<int, int> turnover;  // by article group
    for (const ArticleGroupRecord &group : shop.groups) {
        turnover[static_cast<int>(group.number)] = group.turnover;
    }
    std::vector<PluRecord> all;
    std::size_t n = 0;
    for (const SeriesPlan &series : plan.series) {
        for (const std::uint8_t size : series.sizes) {
            const EanRecord &code = shop.ean_codes[n++];
            if (series.record.registration != registration_sizes) {
                continue;
            }
            PluRecord record{};
            std::memcpy(record.code, code.code, sizeof record.code);
            record.turnover = static_cast<std::uint16_t>(turnover[static_cast<int>(code.group)]);
            record.price = static_cast<std::int32_t>(retail_price(series, size));
            all.push_back(record);
            if (random.chance(2)) {
                shop.till_changes.push_back(text_of("255255E%-13.13s\n", record.code));
            }
        }
    }
    for (std::size_t branch = 0; branch + 1 < shop.branches.size(); branch++) {
        if (shop.branches[branch + 1].till_count >= 2) {
            shop.plu[static_cast<int>(branch)] = all;
        }
    }
}

}  // namespace

void plan_codes(ShopPlan &plan) {
    Random random = plan.random(stream_codes);
    make_ean_codes(plan, random);
    make_barcodes(plan, random);
    make_supplier_numbers(plan, random);
    make_till_files(plan, random);
}
