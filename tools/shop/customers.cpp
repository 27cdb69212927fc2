// Customers, their purchases, and the chain of their labels.
#include <algorithm>

#include "tools/shop/names.h"
#include "tools/shop/plan.h"

namespace {

constexpr std::uint8_t stamp_now = 9;

std::string postcode_of(const TownName &town, Random &random) {
    if (std::string_view(town.country) != "NLD") {
        return text_of("%d", town.postcode);
    }
    return text_of("%d %c%c", town.postcode + random.range(0, 30),
                   static_cast<char>('A' + random.range(0, 20)),
                   static_cast<char>('A' + random.range(0, 20)));
}

CustomerRecord make_customer(ShopPlan &plan, std::uint32_t number, Random &random) {
    const TownName &town = random.pick(town_names);
    CustomerRecord customer{};
    customer.number = number;
    put_text(customer.name, random.pick(surnames));
    put_text(customer.initials, text_of("%c.%c.", static_cast<char>('A' + random.range(0, 25)),
                                        static_cast<char>('A' + random.range(0, 25))));
    put_text(customer.street, text_of("%s %d", random.pick(streets), random.range(1, 180)));
    put_text(customer.postcode, postcode_of(town, random));
    put_text(customer.town, town.town);
    put_text(customer.country, town.country);
    put_carried(customer.carried_114, random);
    put_carried(customer.carried_148, random);
    if (random.chance(50)) {  // date of birth
        const int born = plan.shop.today - random.range(18 * 366, 75 * 366);
        customer.past_date = static_cast<std::uint16_t>(std::max(born, 1));
    }
    customer.title = static_cast<std::uint8_t>(random.range(0, 8));
    put_carried(customer.carried_161, random);
    put_text(customer.marks, "", ' ');
    for (char &mark : customer.marks) {
        mark = random.chance(15) ? static_cast<char>('A' + random.range(0, 5)) : ' ';
    }
    put_carried(customer.carried_231, random);
    customer.stamp = static_cast<std::uint16_t>(random.range(1, stamp_now));
    put_carried(customer.carried_252, random);
    if (random.chance(15)) {
        customer.extension_date = static_cast<std::uint16_t>(plan.shop.today - random.range(30, 1500));
        CustomerExtension extension{};
        extension.number = number;
        put_text(extension.text, "belt liever 's avonds; spaart voor de cadeaubon");
        extension.date = customer.extension_date;
        put_carried(extension.carried_86, random);
        plan.shop.customer_extensions.push_back(extension);
    }
    put_carried(customer.carried_294, random);
    return customer;
}

}  // namespace

void plan_customers(ShopPlan &plan) {
    Shop &shop = plan.shop;
    shop.limits.customer_stamp = stamp_now;
    const int count = shop.options.customers >= 0 ? shop.options.customers : shop.options.series * 2 / 3;
    if (count == 0) {
        return;
    }
    Random random = plan.random(stream_customers);
    const int step = std::clamp(900000 / count, 1, 7);
    std::uint32_t number = 1000;
    for (int i = 0; i < count && number < customer_highest; i++) {
        shop.customers.push_back(make_customer(plan, number, random));
        number += static_cast<std::uint32_t>(random.range(1, step));
    }
    if (!shop.options.linked) {
        return;
    }
    for (SeriesPlan &series : plan.series) {
        for (ShopLabel &label : series.labels) {
            if (label.status == label_sold && random.chance(60)) {
                label.customer = random.pick(shop.customers).number;
            }
        }
    }
}

void link_customers(ShopPlan &plan) {
    struct Sale {
        std::uint32_t customer;
        day_number date;
        std::uint32_t label;
    };
    Shop &shop = plan.shop;
    std::vector<Sale> sales;
    for (const SeriesPlan &series : plan.series) {
        for (std::size_t i = 0; i < series.labels.size(); i++) {
            if (series.labels[i].customer != 0) {
                sales.push_back(
                    {series.labels[i].customer, series.labels[i].date_third, series.label_numbers[i]});
            }
        }
    }
    // The newest sale first; within a day, the label that was put on last comes first.
    std::sort(sales.begin(), sales.end(), [](const Sale &a, const Sale &b) {
        return a.customer != b.customer ? a.customer < b.customer
               : a.date != b.date       ? a.date > b.date
                                        : a.label > b.label;
    });
    const auto entry_of = [&](std::uint32_t label) -> LabelEntry & {
        return shop.label_blocks[(label - 1) / labels_per_block].slots[(label - 1) % labels_per_block];
    };
    std::size_t at = 0;
    for (CustomerRecord &customer : shop.customers) {
        std::uint32_t previous = 0;
        for (; at < sales.size() && sales[at].customer == customer.number; at++) {
            const ShopLabel label = label_split(entry_of(sales[at].label));
            if (previous == 0) {
                customer.first_label = sales[at].label;
            } else {
                entry_of(previous).next_customer = sales[at].label;
            }
            previous = sales[at].label;
            const auto amount = static_cast<std::int32_t>(label.amount_c);
            if (label.digit_b == 0) {
                customer.amount_plain += amount;
                customer.count_plain = static_cast<std::int16_t>(customer.count_plain + 1);
            } else if (label.digit_b == 9) {
                customer.amount_nine += amount;
                customer.count_nine = static_cast<std::int16_t>(customer.count_nine + 1);
            } else {
                customer.amount_other += amount;
                customer.count_other = static_cast<std::int16_t>(customer.count_other + 1);
            }
        }
    }
}
