// Faults in article codes, order numbers, journals and indexes.
#include "tools/shop/faults.h"

namespace {

bool of_series(const EanRecord &code) {
    return code.type == 'M';
}

/// A code that no size or small article has yet, since the file can't hold two records with one code. The
/// search starts at `first`.
std::string unused_code(const Shop &shop, int first) {
    constexpr int step = 10;  // each fault begins at a different first number
    std::string code;
    bool used = true;
    for (int number = first; used; number += step) {
        const std::string digits = text_of("540000%06d", number);
        code = digits + ean_check_digit(digits);
        used = std::any_of(shop.ean_codes.begin(), shop.ean_codes.end(), [&](const EanRecord &other) {
            return code.compare(0, sizeof other.code, other.code, sizeof other.code) == 0;
        });
    }
    return code;
}

constexpr ShopFault codes[] = {
    {"ean-missing", "a size of a series has no code",
     [](Shop &shop, Random &random) {
         EanRecord *code = pick_fitting(shop.ean_codes, random, of_series);
         if (code != nullptr) {
             shop.ean_codes.erase(shop.ean_codes.begin() + (code - shop.ean_codes.data()));
         }
         return code != nullptr;
     }},
    {"ean-double", "a size of a series has two codes",
     [](Shop &shop, Random &random) {
         EanRecord *code = pick_fitting(shop.ean_codes, random, of_series);
         if (code == nullptr) {
             return false;
         }
         EanRecord twin = *code;
         put_text(twin.code, unused_code(shop, 0));
         twin.date += 30;
         shop.ean_codes.push_back(twin);
         return true;
     }},
    {"ean-series-unknown", "a code is of a series that does not exist",
     [](Shop &shop, Random &random) {
         return spoil(shop.ean_codes, random, of_series, [&](const EanRecord &code) {
             EanRecord stray = code;
             put_text(stray.code, unused_code(shop, 1));
             stray.group = 99996;
             shop.ean_codes.push_back(stray);
         });
     }},
    {"ean-size-unknown", "a code is of a size that its series does not have",
     [](Shop &shop, Random &random) {
         return spoil(shop.ean_codes, random, of_series, [&](const EanRecord &code) {
             EanRecord stray = code;
             put_text(stray.code, unused_code(shop, 2));
             stray.size = 92;
             shop.ean_codes.push_back(stray);
         });
     }},
    {"ean-article-unknown", "a code is of a small article that does not exist",
     [](Shop &shop, Random &) {
         EanRecord stray{};
         put_text(stray.code, unused_code(shop, 3));
         stray.type = 'A';
         stray.group = 9995;
         stray.date = shop.today;
         shop.ean_codes.push_back(stray);
         return true;
     }},
    {"barcode-series-unknown", "a replaced code is of a series that does not exist",
     [](Shop &shop, Random &random) {
         return spoil(shop.barcodes, random, any<BarcodeRecord>,
                      [](BarcodeRecord &code) { code.group = 99996; });
     }},
    {"barcode-kind", "a replaced code has another size kind than its series",
     [](Shop &shop, Random &random) {
         return spoil(shop.barcodes, random, any<BarcodeRecord>,
                      [](BarcodeRecord &code) { code.size_kind = 77; });
     }},
    {"barcode-size", "a replaced code is of a size that its series does not have",
     [](Shop &shop, Random &random) {
         return spoil(shop.barcodes, random, any<BarcodeRecord>, [](BarcodeRecord &code) { code.size = 91; });
     }},
    {"number-series-unknown", "an order number is of a series that does not exist",
     [](Shop &shop, Random &random) {
         return !shop.supplier_numbers.empty() &&
                spoil(shop.supplier_numbers.begin()->second, random, any<SupplierNumberRecord>,
                      [](SupplierNumberRecord &number) { number.group = 99996; });
     }},
    {"number-kind", "an order number has no size kind",
     [](Shop &shop, Random &random) {
         return !shop.supplier_numbers.empty() &&
                spoil(shop.supplier_numbers.begin()->second, random, any<SupplierNumberRecord>,
                      [](SupplierNumberRecord &number) { number.size_kind = 0; });
     }},
    {"number-size", "an order number is of a size that its series does not have",
     [](Shop &shop, Random &random) {
         return !shop.supplier_numbers.empty() &&
                spoil(shop.supplier_numbers.begin()->second, random, any<SupplierNumberRecord>,
                      [](SupplierNumberRecord &number) { number.size = 91; });
     }},
    {"number-supplier", "an order number is of a supplier that has no price for the series",
     [](Shop &shop, Random &random) {
         if (shop.supplier_numbers.empty()) {
             return false;
         }
         SupplierNumberRecord stray = random.pick(shop.supplier_numbers.begin()->second);
         shop.supplier_numbers[9997] = {stray};
         return true;
     }},
};

/// The code and the place of each record in a journal.
std::vector<std::pair<char, std::size_t>> records_of(const Journal &journal) {
    constexpr std::pair<char, int> lengths[] = {
        {'O', journal_order_bytes},    {'M', journal_model_bytes}, {'D', journal_detail_bytes},
        {'T', journal_text_bytes},     {'S', journal_size_bytes},  {'E', journal_ean_bytes},
        {'B', journal_supplier_bytes}, {'L', journal_label_bytes}, {'F', journal_branch_bytes},
    };
    std::vector<std::pair<char, std::size_t>> records;
    for (std::size_t at = 0; at < journal.bytes.size();) {
        const char code = journal.bytes[at];
        records.emplace_back(code, at);
        std::size_t step = journal.bytes.size();
        for (const auto &[known, bytes] : lengths) {
            if (known == code) {
                step = static_cast<std::size_t>(bytes) + 1;
            }
        }
        at += step;
    }
    return records;
}

/// The place of a record in the journal that was picked.
struct JournalPlace {
    Journal *journal = nullptr;
    std::size_t at = 0;
};

JournalPlace pick_record(Shop &shop, Random &random, char code) {
    std::vector<JournalPlace> places;
    Journal *journal = shop.journals.empty() ? nullptr : &random.pick(shop.journals);
    if (journal != nullptr) {
        for (const auto &[known, at] : records_of(*journal)) {
            if (known == code) {
                places.push_back({journal, at});
            }
        }
    }
    return places.empty() ? JournalPlace{} : random.pick(places);
}

JournalOrder order_at(const JournalPlace &place) {
    JournalOrder order{};
    std::memcpy(&order, place.journal->bytes.data() + place.at + 1, sizeof order);
    return order;
}

void put_order(const JournalPlace &place, const JournalOrder &order) {
    std::memcpy(place.journal->bytes.data() + place.at + 1, &order, sizeof order);
}

/// Gives an order of a journal this number, also in its labels and in its record.
bool number_below(Shop &shop, Random &random, std::uint32_t number) {
    const JournalPlace place = pick_record(shop, random, 'O');
    if (place.journal == nullptr) {
        return false;
    }
    JournalOrder order = order_at(place);
    const std::uint32_t old = order.number;
    order.number = number;
    order.kind = 0;
    put_order(place, order);
    for (LabelBlock &block : shop.label_blocks) {
        for (LabelEntry &entry : block.slots) {
            ShopLabel label = label_split(entry);
            if (label.status != label_empty && label.order == old) {
                label.order = number;
                entry = label_join(label);
            }
        }
    }
    for (OrderNumberRecord &record : shop.order_numbers) {
        if (record.number == old) {
            record.number = number;
        }
    }
    return true;
}

/// Puts bytes into a journal before a record with this code.
bool insert_before(Shop &shop, Random &random, char code, const std::string &bytes) {
    const JournalPlace place = pick_record(shop, random, code);
    if (place.journal != nullptr) {
        place.journal->bytes.insert(place.at, bytes);
    }
    return place.journal != nullptr;
}

constexpr ShopFault journals[] = {
    {"journal-code", "a journal holds a record of no known kind",
     [](Shop &shop, Random &random) { return insert_before(shop, random, 'M', "Q"); }},
    {"journal-order", "an order begins after the model of another",
     [](Shop &shop, Random &random) {
         const JournalPlace place = pick_record(shop, random, 'D');
         if (place.journal == nullptr) {
             return false;
         }
         std::string head = "M";
         head.append(journal_model_bytes, '1');
         head += 'O';
         head.append(journal_order_bytes, '\0');
         place.journal->bytes.insert(place.at, head);
         return true;
     }},
    {"journal-twice", "an order of a journal begins twice",
     [](Shop &shop, Random &random) {
         const JournalPlace place = pick_record(shop, random, 'O');
         if (place.journal == nullptr) {
             return false;
         }
         const std::string head = place.journal->bytes.substr(place.at, journal_order_bytes + 1);
         place.journal->bytes.insert(place.at, head);
         JournalOrder order = order_at(place);
         order.number = shop.serial.last_serial + 1;
         shop.serial.last_serial += 1;
         put_order(place, order);
         return true;
     }},
    {"journal-dropped", "a journal holds a record out of place",
     [](Shop &shop, Random &random) {
         return insert_before(shop, random, 'M', std::string("F") + std::string(journal_branch_bytes, '7'));
     }},
    {"journal-short", "a journal ends within a record",
     [](Shop &shop, Random &random) {
         if (shop.journals.empty()) {
             return false;
         }
         random.pick(shop.journals).bytes.append("S12");
         return true;
     }},
    {"journal-empty", "a journal is empty",
     [](Shop &shop, Random &) {
         if (shop.journals.empty()) {
             return false;
         }
         Journal empty = shop.journals.back();
         empty.number = 9999;
         empty.bytes.clear();
         shop.journals.push_back(empty);
         return true;
     }},
    {"journal-number-low", "an order has a number below 1000",
     [](Shop &shop, Random &random) { return number_below(shop, random, 17); }},
    {"journal-number-none", "a numbered order has number 0",
     [](Shop &shop, Random &random) { return number_below(shop, random, 0); }},
    {"order-missing", "an order is not in the list of order numbers",
     [](Shop &shop, Random &random) {
         if (shop.order_numbers.empty()) {
             return false;
         }
         shop.order_numbers.erase(shop.order_numbers.begin() +
                                  static_cast<std::ptrdiff_t>(random.below(shop.order_numbers.size())));
         return true;
     }},
    {"order-stray", "the list of order numbers has an order that is in no journal",
     [](Shop &shop, Random &random) {
         return spoil(shop.order_numbers, random, any<OrderNumberRecord>,
                      [&](const OrderNumberRecord &record) {
                          OrderNumberRecord stray = record;
                          // The file can't hold two orders with one number.
                          stray.number = 9000001 + static_cast<std::uint32_t>(shop.order_numbers.size());
                          shop.order_numbers.push_back(stray);
                      });
     }},
    {"order-text", "the list of order numbers has another text than the journal",
     [](Shop &shop, Random &random) {
         return spoil(shop.order_numbers, random, any<OrderNumberRecord>,
                      [](OrderNumberRecord &record) { put_text(record.text, "een andere tekst"); });
     }},
    {"order-journal", "the list of order numbers names another journal",
     [](Shop &shop, Random &random) {
         return spoil(shop.order_numbers, random, any<OrderNumberRecord>,
                      [](OrderNumberRecord &record) { record.journal = 8888; });
     }},
};

template <index_damage damage>
bool damage_series(Shop &shop, Random &) {
    shop.index_damages.emplace_back("RVSER", damage);
    return shop.series.size() > 1;
}

constexpr ShopFault indexes[] = {
    {"index-series-swapped", "two series have changed places without their index",
     damage_series<index_damage::swapped>},
    {"index-series-locks", "keys of a dead process are locked in the index of the series",
     damage_series<index_damage::stale_locks>},
    {"index-series-update", "an update of the series was left half done",
     damage_series<index_damage::in_update>},
    {"index-series-cut", "the index of the series ends early", damage_series<index_damage::cut>},
    {"index-ean-swapped", "two codes have changed places without their index",
     [](Shop &shop, Random &) {
         shop.index_damages.emplace_back("RVEAN", index_damage::swapped);
         return shop.ean_codes.size() > 1;
     }},
    {"index-barcode-cut", "the index of the replaced codes ends early",
     [](Shop &shop, Random &) {
         shop.index_damages.emplace_back("RVBARC", index_damage::cut);
         return !shop.barcodes.empty();
     }},
};

}  // namespace

const std::span<const ShopFault> code_faults = codes;
const std::span<const ShopFault> journal_faults = journals;
const std::span<const ShopFault> index_faults = indexes;
