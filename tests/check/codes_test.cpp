// The checks of suppliers' order numbers and of replaced codes: rows, repair, files that are passed over.
#include <algorithm>
#include <set>

#include "base/strformat.h"
#include "data/serieskey.h"
#include "store/store.h"
#include "support/check_case.h"
#include "tools/shop/plan.h"

namespace {

constexpr unsigned at_order_numbers_date = 22;
constexpr unsigned at_barcodes_date = 24;

class Codes : public CheckCase {
protected:
    /// The rows and lines of dashes of the first report, from the second dashes on (the first end the head).
    static std::vector<std::string> rows(const CheckRun &run) {
        std::vector<std::string> lines;
        int dashes = 0;
        for (const std::string &line : run.report) {
            const bool ruled = line.starts_with("-----");
            if (dashes >= 2 && line.find("blad:") != std::string::npos) {
                break;
            }
            if (dashes >= 2 && (ruled || line.find(" niet ") != std::string::npos)) {
                lines.push_back(ruled ? "---" : line);
            }
            dashes += ruled;
        }
        return lines;
    }
    template <class Record>
    static std::multiset<std::string> codes(const std::string &file) {
        std::multiset<std::string> found;
        for (const Record &record : records<Record>(file)) {
            found.emplace(record.code, sizeof record.code);
        }
        return found;
    }
    template <class Record>
    Record record_of(const SeriesRecord &series, const std::string &code) {
        Record record{};
        put_text(record.code, code);
        record.group = series.key.group;
        record.colour = series.key.colour;
        record.number = series.key.number;
        record.size_kind = series.size_kind;
        return record;
    }
    /// A series of the supplier with the number `n` in the list, with a price set of his.
    const SeriesRecord &priced_series() {
        for (const SeriesRecord &series : shop.series) {
            for (const PriceSetRecord &set : shop.price_sets) {
                if (set.key == series.key && set.supplier == series.supplier) {
                    return series;
                }
            }
        }
        return shop.series.front();
    }
};

unsigned first_size(const SeriesRecord &series) {
    unsigned size = 1;
    while (!series.sizes.test(size)) {
        size++;
    }
    return size;
}

const SizeKindRecord &kind_of(const Shop &shop, unsigned kind) {
    return *std::find_if(shop.size_kinds.begin(), shop.size_kinds.end(), [&](const SizeKindRecord &record) {
        return record.kind == kind && record.system == shop.settings.size_system;
    });
}

std::string size_text(const Shop &shop, unsigned kind, unsigned size) {
    std::string text(kind_of(shop, kind).entries[size].code, 3);
    std::replace(text.begin(), text.end(), '\0', ' ');
    return text;
}

/// A size of the kind that the series doesn't have; 0 for none.
unsigned unused_size(const Shop &shop, const SeriesRecord &series) {
    for (unsigned size = 1; size <= size_highest; size++) {
        if (!series.sizes.test(size) && kind_of(shop, series.size_kind).entries[size].link != 0) {
            return size;
        }
    }
    return 0;
}

TEST_F(Codes, OrderNumbersAreListedAndDeletedOnYes) {
    make({.series = 20, .customers = 0});
    const SeriesRecord &series = priced_series();
    const auto size = static_cast<std::uint8_t>(first_size(series));
    const int supplier = series.supplier;
    const std::uint8_t other_kind = series.size_kind == 1 ? 2 : 1;
    for (SizeKindRecord &kind : shop.size_kinds) {
        kind.entries[1].code[2] = '\0';  // a code of two characters
    }
    std::vector<SupplierNumberRecord> list;
    std::vector<std::string> expected;
    const auto add = [&](const std::string &code, std::uint8_t kind, std::uint8_t index, const char *text,
                         const std::string &shown) {
        list.push_back(record_of<SupplierNumberRecord>(series, code));
        list.back().size_kind = kind;
        list.back().size = index;
        if (text != nullptr) {
            expected.push_back(
                str_format("%-13s %s  %4d", code.c_str(), ser_text(series.key).c_str(), supplier) + shown +
                "  " + text);
        }
    };
    const char *no_size = "Maat niet bekend bij serie";
    add("A1", series.size_kind, 0, nullptr, "");
    add("A2", series.size_kind, size, nullptr, "");
    add("A3 met blanco", 0, 0, no_size, "     ");
    add("A4", 0, size, no_size, "     ");
    add("A5", other_kind, 1, no_size, "  " + size_text(shop, other_kind, 1));
    add("A6\\41 %s", series.size_kind, 91, no_size, "     ");
    add("A7", 200, 95, no_size, "     ");
    expected.push_back("---");
    list.push_back(record_of<SupplierNumberRecord>(series, "A8\tx\n1"));
    list.back().group = 4000000000U;
    const std::string rest = str_format("%u.%u", unsigned{series.key.colour}, unsigned{series.key.number});
    expected.push_back(
        str_format("A8?x?1        4000000000.%-3.3s  %4d       Serie niet aanwezig", rest.c_str(), supplier));
    shop.supplier_numbers = {{supplier, list}, {9997, {record_of<SupplierNumberRecord>(series, "B1")}}};
    shop.supplier_numbers[9997].back().size = 91;
    expected.push_back(str_format("B1            %s  9997  ", ser_text(series.key).c_str()) +
                       "     Leverancier niet bekend bij serie");
    write();
    const std::vector<std::string> files{get("XNRS9997.TXT"), get(str_format("XNRS%04d.TXT", supplier))};

    const CheckRun refused = check("order_numbers", "N");
    EXPECT_EQ(rows(refused), expected) << refused;
    EXPECT_TRUE(refused.reports("bestelnummer  serienummer    levnr   mt ")) << refused;
    EXPECT_EQ(refused.flags, "");
    EXPECT_EQ(files[0], get("XNRS9997.TXT"));
    EXPECT_EQ(files[1], get(str_format("XNRS%04d.TXT", supplier)));

    const CheckRun repaired = check("order_numbers", "J");
    EXPECT_EQ(rows(repaired), expected) << repaired;
    EXPECT_EQ(repaired.questions.size(), 1U) << repaired;
    EXPECT_TRUE(repaired.reports("Geen fouten gevonden!")) << repaired;
    EXPECT_EQ(repaired.flags, "order_numbers");
    EXPECT_EQ(date_on_file(at_order_numbers_date), date_today());
    EXPECT_TRUE(codes<SupplierNumberRecord>("XNRS9997.TXT").empty());
    EXPECT_EQ(codes<SupplierNumberRecord>(str_format("XNRS%04d.TXT", supplier)),
              (std::multiset<std::string>{std::string(list[0].code, 13), std::string(list[1].code, 13)}));
    EXPECT_EQ(check("full order_numbers").flags, "order_numbers");
    EXPECT_FALSE(temporary_files());
}

TEST_F(Codes, ReplacedCodesAreListedAndDeletedOnYes) {
    make({.series = 20, .customers = 0});
    // A series that doesn't have all sizes of its kind.
    std::size_t at = 0;
    while (unused_size(shop, shop.series[at]) == 0) {
        at++;
    }
    const SeriesRecord &series = shop.series[at];
    const unsigned unused = unused_size(shop, series);
    const auto size = static_cast<std::uint8_t>(first_size(series));
    shop.barcodes.clear();
    std::vector<std::string> expected;
    const auto add = [&](const std::string &code, std::uint8_t kind, unsigned index, const char *text,
                         const std::string &shown = "    ") {
        shop.barcodes.push_back(record_of<BarcodeRecord>(series, code));
        shop.barcodes.back().size_kind = kind;
        shop.barcodes.back().size = static_cast<std::uint8_t>(index);
        if (text != nullptr) {
            expected.push_back(str_format("%-13s %s", code.c_str(), ser_text(series.key).c_str()) + shown +
                               std::string(28, ' ') + text);
        }
    };
    const char *no_size = "Maat niet bekend bij serie";
    add("5410000000001", series.size_kind, 0, nullptr);
    add("5410000000002", series.size_kind, size, nullptr);
    add("5410000000003", 77, size, no_size, " " + size_text(shop, series.size_kind, size));
    add("5410000000004", 0, 0, no_size);
    add("5410000000005", series.size_kind, unused, no_size, " " + size_text(shop, series.size_kind, unused));
    add("5410000000006", series.size_kind, 255, no_size);
    add("541 000 07", 77, size, no_size, " " + size_text(shop, series.size_kind, size));
    expected.insert(expected.begin(), expected.back());  // a blank comes before a digit
    expected.pop_back();
    expected.emplace_back("---");
    add("5410000000008", series.size_kind, size, nullptr);
    shop.barcodes.back().number = 0;
    expected.push_back(
        str_format("5410000000008 %-14s",
                   str_format("%u.%u.0", unsigned{series.key.group}, unsigned{series.key.colour}).c_str()) +
        std::string(32, ' ') + "Serie niet aanwezig");
    write();

    const CheckRun refused = check("full barcodes", "N");
    EXPECT_EQ(rows(refused), expected) << refused;
    EXPECT_TRUE(refused.reports("barcode       serienummer     mt ")) << refused;
    EXPECT_EQ(refused.flags, "");
    EXPECT_EQ(codes<BarcodeRecord>("RVBARC.TXT").size(), 8U);
    EXPECT_EQ(date_on_file(at_barcodes_date), 0U);

    const CheckRun repaired = check("full barcodes", "J");
    EXPECT_EQ(repaired.questions.size(), 1U) << repaired;
    EXPECT_EQ(repaired.flags, "barcodes");
    EXPECT_EQ(codes<BarcodeRecord>("RVBARC.TXT"),
              (std::multiset<std::string>{"5410000000001", "5410000000002"}));
    EXPECT_EQ(date_on_file(at_barcodes_date), date_today());
    EXPECT_EQ(check("full barcodes").flags, "barcodes");
    EXPECT_FALSE(temporary_files());
}

struct PassedOver {
    const char *what;
    void (*prepare)();
};

void write_file(const std::string &name, const std::string &bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
}

const PassedOver passed_over[] = {
    {"nothing to check",
     [] {
         for (const auto &entry : std::filesystem::directory_iterator(".")) {
             const std::string name = entry.path().filename();
             if (name.starts_with("XNRS") || name.starts_with("RVBARC")) {
                 std::filesystem::remove(entry.path());
             }
         }
     }},
    {"names that are no supplier's",
     [] {
         for (const char *name :
              {"XNRS12.TXT", "XNRS12345.TXT", "XNRS-012.TXT", "XNRS 012.TXT", "XNRS012A.TXT"}) {
             write_file(name, "x");
         }
     }},
    {"no index",
     [] {
         write_file("XNRS0777.TXT", "x");
         std::filesystem::remove("RVBARC.INX");
     }},
    {"an index that is cut",
     [] {
         write_file("XNRS0777.TXT", "x");
         write_file("XNRS0777.INX", std::string(512, '\0'));
         std::filesystem::resize_file("RVBARC.INX", 1024);
     }},
    {"other records",
     [] {
         for (const char *end : {".TXT", ".INX"}) {
             for (const char *name : {"XNRS0778", "RVBARC"}) {
                 std::filesystem::copy_file(std::string("RVART") + end, std::string(name) + end,
                                            std::filesystem::copy_options::overwrite_existing);
             }
         }
     }},
};

TEST_F(Codes, WhatIsNoSoundFileIsPassedOver) {
    for (const PassedOver &one : passed_over) {
        SCOPED_TRACE(one.what);
        make({.series = 20, .customers = 0}, {"barcode-kind"});
        if (std::string(one.what).starts_with("names")) {
            EXPECT_EQ(check("full barcodes", "J").flags, "barcodes");
        }
        one.prepare();
        const CheckRun run = check("full order_numbers barcodes", "N");
        EXPECT_EQ(run.flags, "order_numbers barcodes") << run;
        EXPECT_TRUE(run.report.empty()) << run;
    }
}

}  // namespace
