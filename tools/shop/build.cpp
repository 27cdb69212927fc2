// Putting a shop together.
#include "tools/shop/faults.h"
#include "tools/shop/plan.h"

namespace {

bool in_range(const char *what, long value, long low, long high, std::string &why) {
    if (value < low || value > high) {
        why = text_of("%s must lie between %ld and %ld, not %ld", what, low, high, value);
        return false;
    }
    return true;
}

const ShopFault *find_fault(const std::string &name) {
    for (const ShopFault &fault : shop_faults()) {
        if (name == fault.name) {
            return &fault;
        }
    }
    return nullptr;
}

}  // namespace

bool shop_options_valid(const ShopOptions &options, std::string &why) {
    if (!in_range("the number of series", options.series, 0, 200000, why) ||
        !in_range("the number of labels of a series", options.labels, 0, 1000, why) ||
        !in_range("the number of branches", options.branches, 1, 60, why) ||
        !in_range("the number of customers", options.customers, -1, 300000, why) ||
        !in_range("the number of tills", options.tills, 0, 9, why) ||
        !in_range("the number of digits of a label", options.label_digits, 6, 8, why) ||
        !in_range("the number of days since the checks", options.checked, -1, 10000, why)) {
        return false;
    }
    if (options.series > label_highest_block(options.label_digits)) {
        why = text_of("%d series are too many for label numbers of %d digits", options.series,
                      options.label_digits);
        return false;
    }
    const day_number first = date_from_str("01011990");
    const day_number last = date_from_str("31122040");
    if (options.today != 0 && (options.today < first || options.today > last)) {
        why = "the day must lie in the years 1990 to 2040";
        return false;
    }
    for (const std::string &fault : options.faults) {
        if (find_fault(fault) == nullptr) {
            why = text_of("no fault is named \"%.60s\"", fault.c_str());
            return false;
        }
    }
    return true;
}

bool build_shop(const ShopOptions &options, Shop &shop, std::string &why) {
    shop = Shop{};
    shop.options = options;
    shop.today = options.today != 0 ? options.today : date_today();
    ShopPlan plan{shop, {}, {}, {}, {}, {}, {}};
    plan_calendar(plan);
    plan_master(plan);
    plan_system(plan);
    plan_orders(plan);
    plan_goods(plan);
    plan_customers(plan);
    why = lay_out_labels(plan);
    if (!why.empty()) {
        return false;
    }
    lay_out_prices(plan);
    link_customers(plan);
    plan_transit(plan);
    plan_criteria(plan);
    plan_codes(plan);
    plan_journals(plan);
    for (const SeriesPlan &series : plan.series) {
        shop.series.push_back(series.record);
    }
    return put_faults(shop, why);
}

bool spoil_shop(Shop &shop, const std::string &name, std::uint64_t seed) {
    const ShopFault *fault = find_fault(name);
    Random random(seed, stream_faults);
    return fault != nullptr && fault->apply(shop, random);
}

std::string make_shop(const ShopOptions &options, const std::string &directory) {
    std::string why;
    Shop shop;
    if (!shop_options_valid(options, why) || !build_shop(options, shop, why)) {
        return why;
    }
    return write_shop(shop, directory, shop_target::made, why) ? std::string() : why;
}
