// Faults in customers and in the chains of their labels.
#include "tools/shop/faults.h"

namespace {

bool buys(const CustomerRecord &customer) {
    return customer.first_label != 0;
}

/// The place of a label; null for a number outside the file.
LabelEntry *entry_of(Shop &shop, std::uint32_t label) {
    const std::size_t block = (label - 1) / labels_per_block;
    return label == 0 || block >= shop.label_blocks.size()
               ? nullptr
               : &shop.label_blocks[block].slots[(label - 1) % labels_per_block];
}

/// Labels of a customer, the newest first, as far as the chain is sound.
std::vector<LabelEntry *> purchases(Shop &shop, const CustomerRecord &customer) {
    std::vector<LabelEntry *> labels;
    LabelEntry *label = entry_of(shop, customer.first_label);
    while (label != nullptr && std::find(labels.begin(), labels.end(), label) == labels.end()) {
        labels.push_back(label);
        label = entry_of(shop, label->next_customer);
    }
    return labels;
}

/// Makes the last label of a customer's chain lead on to the label that `next` returns.
template <typename Next>
bool lead_on(Shop &shop, Random &random, Next next) {
    return spoil(
        shop.customers, random,
        [&](const CustomerRecord &customer) { return !purchases(shop, customer).empty(); },
        [&](const CustomerRecord &customer) {
            purchases(shop, customer).back()->next_customer = next(customer);
        });
}

std::uint32_t number_of(const Shop &shop, const LabelPlace &place) {
    const auto block = static_cast<std::uint32_t>(place.block - shop.label_blocks.data());
    return block * labels_per_block + static_cast<std::uint32_t>(place.slot) + 1;
}

template <typename Change>
bool spoil_customer(Shop &shop, Random &random, Change change) {
    return spoil(shop.customers, random, any<CustomerRecord>, change);
}

/// Adds a customer who has bought nothing, with an impossible number.
bool add_with_number(Shop &shop, Random &random, std::uint32_t number) {
    if (shop.customers.empty()) {
        return false;
    }
    CustomerRecord customer{};
    customer.number = number;
    put_text(customer.name, "Onbekend");
    put_text(customer.country, std::string_view(random.pick(shop.customers).country, 3));
    put_text(customer.marks, "", ' ');
    customer.stamp = 1;
    shop.customers.push_back(customer);
    return true;
}

constexpr ShopFault customers[] = {
    {"customer-number-zero", "a customer has number 0",
     [](Shop &shop, Random &random) { return add_with_number(shop, random, 0); }},
    {"customer-number-high", "a customer has a number of seven digits",
     [](Shop &shop, Random &random) { return add_with_number(shop, random, 1000000); }},
    {"customer-no-name", "a customer has no name",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) { put_text(customer.name, ""); });
     }},
    {"customer-no-stamp", "a customer has no stamp",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) { customer.stamp = 0; });
     }},
    {"customer-amount-negative", "a customer has bought for less than nothing",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) { customer.amount_plain = -1995; });
     }},
    {"customer-extension-stale", "an extension is of an earlier customer of that number",
     [](Shop &shop, Random &random) {
         return spoil(shop.customer_extensions, random, any<CustomerExtension>,
                      [](CustomerExtension &extension) { extension.date -= 40; });
     }},
    {"customer-born-later", "a customer's past date lies ahead",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [&](CustomerRecord &customer) {
             customer.past_date = static_cast<std::uint16_t>(shop.today + 400);
         });
     }},
    {"customer-marks", "the selection marks of a customer hold a zero byte followed by a letter",
     [](Shop &shop, Random &random) {
         shop.settings.mode |= mode_selection_marks;
         return spoil_customer(shop, random, [](CustomerRecord &customer) {
             customer.marks[1] = '\0';
             customer.marks[2] = 'C';
         });
     }},
    {"customer-first-outside", "the first label of a customer lies past the label file",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [&](CustomerRecord &customer) {
             customer.first_label =
                 static_cast<std::uint32_t>(shop.label_chain.end_mark * labels_per_block + 4);
         });
     }},
    {"customer-chain-outside", "a customer's chain leads out of the label file",
     [](Shop &shop, Random &random) {
         return lead_on(shop, random, [&](const CustomerRecord &) {
             return static_cast<std::uint32_t>(shop.label_chain.end_mark * labels_per_block + 1);
         });
     }},
    {"customer-chain-empty", "a customer's chain leads to a label that is not there",
     [](Shop &shop, Random &random) {
         return shop.label_chain.free_head < shop.label_chain.end_mark &&
                lead_on(shop, random, [&](const CustomerRecord &) {
                    return static_cast<std::uint32_t>(shop.label_chain.free_head * labels_per_block + 1);
                });
     }},
    {"customer-chain-other", "a customer's chain leads to a label of another customer",
     [](Shop &shop, Random &random) {
         const std::ptrdiff_t buyers = std::count_if(shop.customers.begin(), shop.customers.end(), buys);
         return buyers > 1 && lead_on(shop, random, [&](const CustomerRecord &customer) -> std::uint32_t {
                    return std::find_if(shop.customers.begin(), shop.customers.end(),
                                        [&](const CustomerRecord &other) {
                                            return buys(other) && &other != &customer;
                                        })
                        ->first_label;
                });
     }},
    {"customer-chain-unsold", "a customer's chain leads to a label in stock",
     [](Shop &shop, Random &random) {
         const LabelPlace stock =
             pick_label(shop, random, [](const ShopLabel &label) { return label.status == label_stock; });
         return stock &&
                lead_on(shop, random, [&](const CustomerRecord &) { return number_of(shop, stock); });
     }},
    {"customer-chain-loop", "a customer's chain leads back to its first label",
     [](Shop &shop, Random &random) {
         return lead_on(shop, random,
                        [](const CustomerRecord &customer) -> std::uint32_t { return customer.first_label; });
     }},
    {"customer-chain-cut", "a customer's chain ends early",
     [](Shop &shop, Random &random) {
         return spoil(
             shop.customers, random,
             [&](const CustomerRecord &customer) { return purchases(shop, customer).size() > 1; },
             [&](const CustomerRecord &customer) { purchases(shop, customer).front()->next_customer = 0; });
     }},
    {"customer-missing", "labels were sold to a customer that does not exist",
     [](Shop &shop, Random &random) {
         CustomerRecord *customer = pick_fitting(shop.customers, random, buys);
         if (customer != nullptr) {
             shop.customers.erase(shop.customers.begin() + (customer - shop.customers.data()));
         }
         return customer != nullptr;
     }},
    {"customer-title-unknown", "a customer has a title that the table does not know",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) { customer.title = 15; });
     }},
    {"customer-title-high", "a customer has title 21",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) { customer.title = 21; });
     }},
    {"customer-country-none", "a customer at a Dutch postcode has no country",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) {
             put_text(customer.postcode, "7201 AB");
             put_text(customer.country, "");
         });
     }},
    {"customer-country-unknown", "a customer has a country that the table does not know",
     [](Shop &shop, Random &random) {
         return spoil_customer(shop, random, [](CustomerRecord &customer) {
             put_text(customer.postcode, "11122");
             put_text(customer.country, "SWE");
         });
     }},
    {"customer-countries-none", "the country table is empty",
     [](Shop &shop, Random &) {
         shop.countries.clear();
         return true;
     }},
};

}  // namespace

const std::span<const ShopFault> customer_faults = customers;
