// Puts the faults of the options into a shop so that each of them is still there at the end.
//
// The model is compared before and after each fault, record by record. A fault that touches a record of an
// earlier one is tried at another place. Of each row of the system file there is only one, which several
// faults may change. So a row may change again, but not back to what it was.
#include <functional>
#include <string_view>
#include <type_traits>
#include <unordered_map>

#include "tools/shop/faults.h"

namespace {

/// The content of each record by its name, both as hash numbers. Records with the same name are added up.
using Image = std::unordered_map<std::size_t, std::size_t>;

struct Model {
    Image records;
    Image rows;
};

std::size_t number_of(std::string_view bytes) {
    return std::hash<std::string_view>{}(bytes);
}

template <typename Record>
std::string_view bytes_of(const Record &record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

void add(Image &image, const std::string &file, const std::string &name, std::string_view content) {
    image[number_of(file + ':' + name)] += number_of(content);
}

/// Adds records that are identified by `name`, since faults remove some of them.
template <typename Record, typename Name>
void add_named(Image &image, const char *file, const std::vector<Record> &records, Name name) {
    for (const Record &record : records) {
        add(image, file, name(record), bytes_of(record));
    }
}

/// Adds records that are identified by their place.
template <typename Record>
void add_placed(Image &image, const std::string &file, const std::vector<Record> &records) {
    for (std::size_t i = 0; i < records.size(); i++) {
        add(image, file, std::to_string(i), bytes_of(records[i]));
    }
}

std::string size_of_code(const EanRecord &code) {
    return text_of("%c%ld/%d/%d/%d", code.type, static_cast<long>(code.group), int{code.colour},
                   int{code.number}, int{code.size});
}

Image records_of(const Shop &shop) {
    Image image;
    add_placed(image, "titles", shop.titles);
    add_placed(image, "currencies", shop.currencies);
    add_placed(image, "colours", shop.colours);
    add_placed(image, "size systems", shop.size_systems);
    add_placed(image, "size kind names", shop.size_kind_names);
    add_placed(image, "countries", shop.countries);
    add_placed(image, "actions", shop.actions);
    add_placed(image, "branches", shop.branches);
    add_placed(image, "size kinds", shop.size_kinds);
    add_placed(image, "size names", shop.size_names);
    add_placed(image, "groups", shop.groups);
    add_placed(image, "suppliers", shop.suppliers);
    add_placed(image, "brands", shop.brands);
    add_placed(image, "turnover groups", shop.turnover_groups);
    add_placed(image, "staff", shop.staff);
    add_placed(image, "small articles", shop.small_articles);
    add_placed(image, "rates", shop.rates);
    add_placed(image, "series", shop.series);
    add_placed(image, "label blocks", shop.label_blocks);
    add_placed(image, "price sets", shop.price_sets);
    add_placed(image, "price blocks", shop.price_blocks);
    add_placed(image, "criteria", shop.criteria);
    add_placed(image, "criteria blocks", shop.criteria_blocks);
    add_placed(image, "customer extensions", shop.customer_extensions);
    add_placed(image, "receipts", shop.receipts);
    add_placed(image, "barcodes", shop.barcodes);
    add_named(image, "customers", shop.customers,
              [](const CustomerRecord &customer) { return std::to_string(customer.number); });
    add_named(image, "in transit", shop.in_transit,
              [](const TransitRecord &entry) { return std::to_string(entry.label); });
    add_named(image, "ean codes", shop.ean_codes, size_of_code);
    add_named(image, "order numbers", shop.order_numbers,
              [](const OrderNumberRecord &order) { return std::to_string(order.number); });
    for (const auto &[supplier, numbers] : shop.supplier_numbers) {
        add_placed(image, text_of("supplier %d", supplier), numbers);
    }
    for (const auto &[branch, records] : shop.plu) {
        add_placed(image, text_of("plu %d", branch), records);
    }
    for (const Journal &journal : shop.journals) {
        add(image, "journal", text_of("%d%c%d", journal.year, journal.letter, journal.number),
            "J" + journal.bytes);
    }
    for (const auto &[file, tail] : shop.tails) {
        add(image, "tail", file, tail);
    }
    for (std::size_t i = 0; i < shop.index_damages.size(); i++) {
        add(image, "index", std::to_string(i), shop.index_damages[i].first);
    }
    return image;
}

Image rows_of(const Shop &shop) {
    Image image;
    std::size_t number = 0;
    const auto add_row = [&](const auto &row) { add(image, "row", std::to_string(number++), bytes_of(row)); };
    add_row(shop.settings);
    add_row(shop.label_chain);
    add_row(shop.serial);
    add_row(shop.limits);
    add_row(shop.price_chain);
    add_row(shop.status);
    add_row(shop.criteria_chain);
    add_row(shop.ean_generator);
    add_row(shop.country);
    add_row(shop.document);
    add_row(shop.dates);
    add_row(shop.transit);
    add_row(shop.till_settings);
    return image;
}

Model model_of(const Shop &shop) {
    return {records_of(shop), rows_of(shop)};
}

/// Content of a record, 0 if it does not exist.
std::size_t content(const Image &image, std::size_t name) {
    const auto found = image.find(name);
    return found == image.end() ? 0 : found->second;
}

/// The names whose content differs between the two.
std::vector<std::size_t> differences(const Image &a, const Image &b) {
    std::vector<std::size_t> names;
    for (const auto &[name, value] : a) {
        if (content(b, name) != value) {
            names.push_back(name);
        }
    }
    for (const auto &[name, value] : b) {
        if (a.find(name) == a.end()) {
            names.push_back(name);
        }
    }
    return names;
}

/// What a fault changed.
struct Change {
    std::string fault;
    Image records;      ///< the changed records, as the fault left them
    Image rows_before;  ///< the changed rows, as they were before

    Change(std::string name, const Model &before, const Model &after) : fault(std::move(name)) {
        for (const std::size_t record : differences(before.records, after.records)) {
            records[record] = content(after.records, record);
        }
        for (const std::size_t row : differences(before.rows, after.rows)) {
            rows_before[row] = content(before.rows, row);
        }
    }
    [[nodiscard]] bool nothing() const {
        return records.empty() && rows_before.empty();
    }
    [[nodiscard]] bool stands(const Model &model) const {
        return std::all_of(
                   records.begin(), records.end(),
                   [&](const auto &one) { return content(model.records, one.first) == one.second; }) &&
               std::all_of(rows_before.begin(), rows_before.end(),
                           [&](const auto &one) { return content(model.rows, one.first) != one.second; });
    }
};

}  // namespace

bool put_faults(Shop &shop, std::string &why) {
    constexpr std::uint64_t tries = 50;
    constexpr std::uint64_t next_place = 1000003;
    std::vector<Change> changes;
    std::uint64_t n = 0;
    Model before = model_of(shop);
    for (const std::string &name : shop.options.faults) {
        const Shop without = shop;
        const std::uint64_t seed = shop.options.seed + n++;
        std::string undone;
        bool put_in = false;
        for (std::uint64_t i = 0; i < tries && !put_in; i++) {
            if (!spoil_shop(shop, name, seed + i * next_place)) {
                continue;
            }
            const Model after = model_of(shop);
            Change change(name, before, after);
            const auto hurt = std::find_if(changes.begin(), changes.end(),
                                           [&](const Change &earlier) { return !earlier.stands(after); });
            put_in = !change.nothing() && hurt == changes.end();
            if (put_in) {
                changes.push_back(std::move(change));
                before = after;
            } else {
                undone = hurt == changes.end() ? undone : hurt->fault;
                shop = without;
            }
        }
        if (!put_in) {
            why = undone.empty()
                      ? text_of("nothing in this shop can be spoiled by \"%.60s\"", name.c_str())
                      : text_of("\"%.60s\" would undo \"%.60s\" in this shop", name.c_str(), undone.c_str());
            return false;
        }
    }
    return true;
}
