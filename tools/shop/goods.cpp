// Orders, series, their prices and labels.
#include <algorithm>
#include <cmath>
#include <map>

#include "tools/shop/names.h"
#include "tools/shop/plan.h"

namespace {

constexpr int seconds_per_day = 86400;
/// Above this number of series a shop has no more suppliers; each of them gets more orders instead.
constexpr int series_a_share = 4000;
constexpr std::size_t orders_of_series = 3;  ///< at most
constexpr int price_units_low = 10;  ///< amounts end in 5 or 95 cents, so prices are multiples of this less 5

/// A series that is being made.
struct Goods {
    ShopPlan &plan;
    Random &random;
    SeriesPlan &series;
    int supplier;                     ///< index in plan.suppliers
    std::vector<std::size_t> orders;  ///< indexes in plan.orders, by date
};

day_number clip(int day, int low, int high) {
    return static_cast<day_number>(std::clamp(day, low, high));
}

double supplier_rate(const Shop &shop, int supplier, day_number date) {
    const SupplierRecord &record = shop.suppliers[static_cast<std::size_t>(supplier)];
    if (record.rate != 0 && record.rate_unit != 0) {
        return record.rate / (record.rate_unit * 10000.0);
    }
    return rate_on(shop, std::string(record.currency, 3), date);
}

/// Purchase price, in the smallest unit of the supplier's currency, of goods worth this many euro cents.
int supplier_price(const Shop &shop, int supplier, int euro_cents) {
    const std::string currency(shop.suppliers[static_cast<std::size_t>(supplier)].currency, 3);
    const double home = shop.options.no_decimals ? euro_cents / 100.0 * 40.3399 : euro_cents / 100.0;
    const double major = home / rate_on(shop, currency, shop.today);
    const double smallest = currency_decimals(shop, currency) == 0 ? major : major * 100;
    const long price = std::lround(smallest / price_units_low) * price_units_low;
    return static_cast<int>(std::max(price, 1L));
}

/// The price on a label, in the home currency, for a purchase price on a day.
std::uint32_t label_price(const Shop &shop, const PriceSetPlan &set, int gross, day_number date) {
    const SupplierRecord &supplier = shop.suppliers[static_cast<std::size_t>(set.supplier)];
    const int decimals = currency_decimals(shop, {supplier.currency, 3});
    const int home_decimals = currency_decimals(shop, {shop.country.home_currency, 3});
    double price = gross * (set.factor / 10000.0) * supplier_rate(shop, set.supplier, date);
    if (decimals != home_decimals) {
        price *= home_decimals == 0 ? 0.01 : 100;
    }
    return static_cast<std::uint32_t>(std::max(std::lround(price), 1L));
}

/// A run of the kind's sizes: those in which the series is bought.
void choose_sizes(Goods &goods) {
    const std::vector<std::uint8_t> *order = nullptr;
    for (const SizeKindPlan &kind : goods.plan.size_kinds) {
        if (kind.number == goods.series.group->size_kind) {
            order = &kind.order;
        }
    }
    const int all = static_cast<int>(order->size());
    const int count = std::min(all, goods.random.range(3, 10));
    const int first = goods.random.range(0, all - count);
    goods.series.sizes.assign(order->begin() + first, order->begin() + first + count);
    for (const std::uint8_t size : goods.series.sizes) {
        goods.series.record.sizes.set(size);
    }
}

/// Divides the sizes into one to three groups with the same price.
std::vector<PriceGroupPlan> cut_groups(Goods &goods, int supplier, int euro_cents) {
    std::vector<PriceGroupPlan> groups;
    const std::size_t n = goods.series.sizes.size();
    const std::size_t count = goods.random.chance(75) || n < 4 ? 1 : goods.random.chance(70) ? 2 : 3;
    const int discount = goods.random.chance(40) ? goods.random.range(2, 10) : 0;
    for (std::size_t i = 0; i < count; i++) {
        PriceGroupPlan group;
        group.sizes.assign(goods.series.sizes.begin() + static_cast<std::ptrdiff_t>(n * i / count),
                           goods.series.sizes.begin() + static_cast<std::ptrdiff_t>(n * (i + 1) / count));
        group.gross = supplier_price(goods.plan.shop, supplier,
                                     euro_cents + static_cast<int>(i) * std::max(euro_cents / 10, 100));
        group.net = std::max(group.gross * (100 - discount) / 100, 1);
        groups.push_back(group);
    }
    return groups;
}

/// Price sets of the supplier from before the first order on, in one or two periods. Now and then also one of
/// a second supplier, who once offered the goods.
void make_prices(Goods &goods, int euro_cents) {
    const Shop &shop = goods.plan.shop;
    const day_number first = goods.plan.orders[goods.orders.front()].date;
    const auto begin = static_cast<day_number>(first - goods.random.range(5, 60));
    const auto add = [&](int supplier, day_number from, day_number to, int cents) {
        goods.series.sets.push_back({supplier, from, to,
                                     shop.suppliers[static_cast<std::size_t>(supplier)].factor,
                                     cut_groups(goods, supplier, cents)});
    };
    if (goods.random.chance(20)) {
        const auto middle = static_cast<day_number>(begin + goods.random.range(60, 200));
        add(goods.supplier, begin, middle, euro_cents);
        add(goods.supplier, static_cast<day_number>(middle + 1), price_open_ended, euro_cents * 105 / 100);
    } else {
        add(goods.supplier, begin, price_open_ended, euro_cents);
    }
    const int other = static_cast<int>(goods.random.below(goods.plan.suppliers.size()));
    if (other != goods.supplier && goods.random.chance(6)) {
        add(other, begin, static_cast<day_number>(begin + 365), euro_cents * 98 / 100);
    }
}

/// Retail prices: by the groups of the newest set of the series' own supplier.
void make_retail(Goods &goods, int euro_cents) {
    const PriceSetPlan *newest = nullptr;
    for (const PriceSetPlan &set : goods.series.sets) {
        if (set.supplier == goods.supplier) {
            newest = &set;
        }
    }
    for (std::size_t i = 0; i < newest->groups.size() && i < price_groups; i++) {
        goods.series.record.group_last[i] = newest->groups[i].sizes.back();
        const int cents = (euro_cents * 12 / 5 / 500 + 1 + static_cast<int>(i)) * 500 - 5;
        goods.series.record.group_price[i] = home_amount(goods.plan.shop, cents);
    }
}

const PriceSetPlan *set_on(const SeriesPlan &series, int supplier, day_number date) {
    for (const PriceSetPlan &set : series.sets) {
        if (set.supplier == supplier && set.begin <= date && date <= set.end) {
            return &set;
        }
    }
    return nullptr;
}

void sell(Goods &goods, ShopLabel &label, const Season &season) {
    const Shop &shop = goods.plan.shop;
    const int age = shop.today - label.date_moved;
    if (goods.random.chance(2)) {
        label.status = label_corrected;
        label.date_third = static_cast<day_number>(label.date_moved + goods.random.range(0, age - 1));
    } else if (goods.random.chance(std::min(92, 10 + age / 4))) {
        label.status = label_sold;
        label.date_third =
            static_cast<day_number>(label.date_moved + goods.random.range(0, std::min(age - 1, 300)));
        const bool sale = label.date_third > season.start + 130;
        label.amount_c = sale ? label.amount_b * (goods.random.chance(50) ? 70 : 50) / 100 : label.amount_b;
        label.digit_b = goods.random.chance(85) ? 0 : goods.random.chance(40) ? 9 : goods.random.range(1, 8);
        label.code_m = sale ? goods.random.range(1, 20) : 0;
    }
}

/// The labels of one delivery of one order.
void make_labels(Goods &goods, OrderPlan &order, int count) {
    Shop &shop = goods.plan.shop;
    const PriceSetPlan &set = *set_on(goods.series, goods.supplier, order.date);
    const Season &season = goods.plan.seasons[static_cast<std::size_t>(order.season)];
    const int group_value = shop.settings.group_value[goods.series.group->vat];
    const int delivery = order.date + goods.random.range(15, 75);
    const bool delivered = delivery < shop.today;
    const day_number moved = delivered ? static_cast<day_number>(delivery) : day_number{0};
    const auto expected = static_cast<day_number>(delivery);
    OrderLine line{static_cast<int>(&goods.series - goods.plan.series.data()), std::vector<int>(96)};
    for (int i = 0; i < count; i++) {
        // The middle sizes sell most.
        const int n = static_cast<int>(goods.series.sizes.size());
        const int place = (goods.random.range(0, n - 1) + goods.random.range(0, n - 1)) / 2;
        const std::uint8_t size = goods.series.sizes[static_cast<std::size_t>(place)];
        ShopLabel label;
        label.status = delivered ? label_stock : label_ordered;
        label.size = size;
        label.branch = goods.random.range(0, shop.options.branches - 1);
        label.supplier = goods.plan.suppliers[static_cast<std::size_t>(goods.supplier)].number;
        label.date_in = order.date;
        label.date_moved = moved;
        label.date_third = delivered ? day_number{0} : expected;
        label.order = order.number;
        label.group_value = group_value;
        label.amount_b = retail_price(goods.series, size);
        for (const PriceGroupPlan &group : set.groups) {
            if (std::find(group.sizes.begin(), group.sizes.end(), size) != group.sizes.end()) {
                label.price = label_price(shop, set, group.gross, delivered ? moved : order.date);
            }
        }
        if (delivered) {
            sell(goods, label, season);
        } else if (goods.random.chance(5)) {
            label.extra = label.branch + 1;
        }
        line.pieces[size]++;
        goods.series.labels.push_back(label);
    }
    order.lines.push_back(std::move(line));
}

/// Sets the counts and dates of the series according to its labels.
void count_labels(SeriesPlan &series, Random &random) {
    SeriesRecord &record = series.record;
    for (const ShopLabel &label : series.labels) {
        switch (label.status) {
            case label_ordered:
                record.ordered += 1;
                break;
            case label_stock:
                record.stock += 1;
                break;
            case label_sold:
                record.sold += 1;
                record.last_sale = std::max<day_number>(record.last_sale, label.date_third);
                break;
            default:
                record.corrected += 1;
                break;
        }
        if (label.status != label_ordered) {
            record.last_delivery = std::max<day_number>(record.last_delivery, label.date_moved);
        }
    }
    const auto made = static_cast<day_number>(record.date);
    record.stamp = (made - day_1980) * seconds_per_day + random.range(8 * 3600, 18 * 3600);
}

void fill_record(Goods &goods, int brand) {
    SeriesRecord &record = goods.series.record;
    Random &random = goods.random;
    const OrderPlan &order = goods.plan.orders[goods.orders.front()];
    const Season &season = goods.plan.seasons[static_cast<std::size_t>(order.season)];
    record.brand = static_cast<std::uint16_t>(brand);
    record.season_year = static_cast<std::uint16_t>(season.year);
    record.season_letter = season.letter;
    record.season_number = static_cast<std::uint8_t>(random.range(0, 3));
    record.letter = random.chance(90) ? ' ' : static_cast<char>('A' + random.range(0, 5));
    record.size_kind = static_cast<std::uint8_t>(goods.series.group->size_kind);
    record.target_group = static_cast<std::uint8_t>(goods.series.group->target);
    put_text(record.model, random.chance(5) ? std::string("###")
                                            : text_of("%c%c%d", static_cast<char>('A' + random.range(0, 25)),
                                                      static_cast<char>('A' + random.range(0, 25)),
                                                      random.range(100, 99999)));
    int words = 0;
    while (goods.series.group->models[words] != nullptr) {
        words++;
    }
    put_text(record.description, goods.series.group->models[random.range(0, words - 1)]);
    put_carried(record.carried_54, random);
    record.option_value =
        static_cast<std::uint16_t>(goods.series.group->target == 6 ? random.range(0, 4) : 0);
    record.supplier =
        static_cast<std::uint16_t>(goods.plan.suppliers[static_cast<std::size_t>(goods.supplier)].number);
    put_carried(record.carried_134, random);
    record.date = static_cast<std::uint16_t>(order.date - random.range(0, 4));
    put_carried(record.carried_162, random);
    record.registration = random.chance(25) ? registration_sizes : registration_labels;
    put_carried(record.carried_171, random);
    record.first_block = -1;
    put_carried(record.carried_184, random);
}

/// The orders that contain a series: all those of its supplier and season or, if there are many, a few in a
/// row.
std::vector<std::size_t> orders_of_goods(const std::vector<std::size_t> &all, Random &random) {
    if (all.size() <= orders_of_series) {
        return all;
    }
    const auto first =
        all.begin() + static_cast<std::ptrdiff_t>(random.below(all.size() - orders_of_series + 1));
    return {first, first + orders_of_series};
}

}  // namespace

std::uint32_t retail_price(const SeriesPlan &series, std::uint8_t size) {
    std::size_t group = 0;
    for (const std::uint8_t other : series.sizes) {
        if (other == size) {
            break;
        }
        if (other == series.record.group_last[group] && group + 1 < price_groups) {
            group++;
        }
    }
    return series.record.group_price[group];
}

void plan_orders(ShopPlan &plan) {
    Random random = plan.random(stream_orders);
    const int share = std::max(plan.shop.options.series / series_a_share, 1);
    for (std::size_t supplier = 0; supplier < plan.suppliers.size(); supplier++) {
        for (std::size_t season = 0; season < plan.seasons.size(); season++) {
            const day_number start = plan.seasons[season].start;
            const int last = std::min(start + 60, plan.shop.today - 1);
            for (int left = random.range(1, 3) * share; left > 0; left--) {
                const day_number date = clip(random.range(start - 120, last), day_1980 + 400, last);
                plan.orders.push_back({static_cast<int>(supplier), static_cast<int>(season), date, 0, {}});
            }
        }
    }
    std::stable_sort(plan.orders.begin(), plan.orders.end(),
                     [](const OrderPlan &a, const OrderPlan &b) { return a.date < b.date; });
    std::uint32_t number = 999;
    for (OrderPlan &order : plan.orders) {
        order.number = ++number;
    }
    plan.shop.serial.last_serial = static_cast<std::int32_t>(number);
}

void plan_goods(ShopPlan &plan) {
    Random random = plan.random(stream_goods);
    const ShopOptions &options = plan.shop.options;
    std::map<std::pair<int, int>, std::vector<std::size_t>> orders_of;  // supplier, season
    for (std::size_t i = 0; i < plan.orders.size(); i++) {
        orders_of[{plan.orders[i].supplier, plan.orders[i].season}].push_back(i);
    }
    std::map<std::pair<int, int>, int> numbers;  // group, colour
    plan.series.resize(static_cast<std::size_t>(options.series));
    for (SeriesPlan &series : plan.series) {
        const int supplier = static_cast<int>(random.below(plan.suppliers.size()));
        // The newer of two seasons: old goods are sold off in time.
        const int season =
            static_cast<int>(std::max(random.below(plan.seasons.size()), random.below(plan.seasons.size())));
        series.group = &random.pick(plan.groups);
        Goods goods{plan, random, series, supplier, orders_of_goods(orders_of[{supplier, season}], random)};
        const int colour = random.pick(colour_names).number;
        series.record.key.group = static_cast<std::uint32_t>(series.group->number);
        series.record.key.colour = static_cast<std::uint16_t>(colour);
        series.record.key.number = static_cast<std::uint16_t>(++numbers[{series.group->number, colour}]);
        fill_record(goods, random.pick(plan.suppliers[static_cast<std::size_t>(supplier)].brands));
        choose_sizes(goods);
        const int cents = random.range(series.group->price_low, series.group->price_high) / 50 * 50;
        make_prices(goods, cents);
        make_retail(goods, cents);
        int labels = options.labels == 0 ? 0 : random.range(0, 2 * options.labels);
        while (!goods.orders.empty() && labels > 0) {
            const bool last = goods.orders.size() == 1;
            const int count = last ? labels : random.range(labels / 2, labels);
            if (count > 0) {
                make_labels(goods, plan.orders[goods.orders.front()], count);
            }
            goods.orders.erase(goods.orders.begin());
            labels -= count;
        }
        count_labels(series, random);
    }
}
