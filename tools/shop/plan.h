// What the parts of the shop library share while a shop is made. Not for callers of the library.
#pragma once

#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shop/random.h"
#include "tools/shop/shop.h"

/// Random streams, one for each part of the shop.
enum shop_stream : std::uint64_t {
    stream_master = 1,
    stream_orders,
    stream_goods,
    stream_layout,
    stream_customers,
    stream_transit,
    stream_criteria,
    stream_codes,
    stream_journals,
    stream_system,
    stream_deleted,
    stream_faults,
};

/// Sizes of a size kind, as indexes in the order of their sequence numbers.
struct SizeKindPlan {
    int number;
    std::vector<std::uint8_t> order;
};

/// The properties of a kind of article.
struct GroupPlan {
    int number;
    int size_kind;
    int price_low;  ///< purchase price in cents
    int price_high;
    int target;  ///< label kind
    int vat;
    const char *const *models;  ///< words for a description, ending in null
};

struct SupplierPlan {
    int number;
    std::string currency;
    std::vector<int> brands;  ///< brand numbers
};

struct Season {
    int year;
    char letter;
    day_number start;
};

struct OrderLine {
    int series;               ///< index in ShopPlan::series
    std::vector<int> pieces;  ///< by size index, 96 entries
};

struct OrderPlan {
    int supplier;  ///< index in ShopPlan::suppliers
    int season;    ///< index in ShopPlan::seasons
    day_number date;
    std::uint32_t number;
    std::vector<OrderLine> lines;
};

struct PriceGroupPlan {
    std::vector<std::uint8_t> sizes;
    int gross;
    int net;
};

struct PriceSetPlan {
    int supplier;  ///< index in ShopPlan::suppliers
    day_number begin;
    day_number end;
    std::uint32_t factor;
    std::vector<PriceGroupPlan> groups;
};

struct SeriesPlan {
    SeriesRecord record{};
    const GroupPlan *group = nullptr;
    std::vector<std::uint8_t> sizes;  ///< in sequence order
    std::vector<ShopLabel> labels;
    std::vector<std::uint32_t> label_numbers;  ///< of `labels`, once they have a place
    std::vector<PriceSetPlan> sets;
};

struct ShopPlan {
    Shop &shop;
    std::vector<Season> seasons;
    std::vector<SizeKindPlan> size_kinds;
    std::vector<GroupPlan> groups;
    std::vector<SupplierPlan> suppliers;
    std::vector<OrderPlan> orders;
    std::vector<SeriesPlan> series;

    [[nodiscard]] Random random(shop_stream stream) const {
        return {shop.options.seed, stream};
    }
};

// In the order in which they run. A text returned says why the shop can't be made; empty means success.
void plan_calendar(ShopPlan &plan);
void plan_master(ShopPlan &plan);
void plan_orders(ShopPlan &plan);
void plan_goods(ShopPlan &plan);
void plan_customers(ShopPlan &plan);
std::string lay_out_labels(ShopPlan &plan);
void lay_out_prices(ShopPlan &plan);
void link_customers(ShopPlan &plan);
void plan_transit(ShopPlan &plan);
void plan_criteria(ShopPlan &plan);
void plan_codes(ShopPlan &plan);
void plan_journals(ShopPlan &plan);
void plan_system(ShopPlan &plan);

/// Rate of a currency on a day: the home currency for one unit of it, both in major units.
double rate_on(const Shop &shop, const std::string &currency, day_number date);
int currency_decimals(const Shop &shop, std::string_view code);
/// Retail amount of a size: that of its price group.
std::uint32_t retail_price(const SeriesPlan &series, std::uint8_t size);
/// Amount of the home currency, in its smallest unit, for an amount of euro cents.
std::uint32_t home_amount(const Shop &shop, std::int64_t euro_cents);

/// Puts a text in a field, cut or filled up to the field's width.
template <std::size_t N>
void put_text(char (&field)[N], std::string_view text, char fill = '\0') {
    std::memset(field, fill, N);
    std::memcpy(field, text.data(), text.size() < N ? text.size() : N);
}

/// Fills bytes that this system only carries along, so that a program that loses them is noticed.
template <std::size_t N>
void put_carried(std::uint8_t (&field)[N], Random &random) {
    for (std::uint8_t &byte : field) {
        byte = static_cast<std::uint8_t>(random.range(33, 126));
    }
}

/// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string text_of(const char *format, ...);

/// The last digit that makes a code valid: weights 3 and 1 from the right.
char ean_check_digit(std::string_view digits);
