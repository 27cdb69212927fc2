// The checks of suppliers' order numbers and of replaced codes: rows, repair, files that are passed over.
#include <algorithm>
#include <functional>
#include <map>

#include "base/strformat.h"
#include "data/ioink_internal.h"
#include "data/serieskey.h"
#include "store/store.h"
#include "support/check_case.h"
#include "tools/shop/plan.h"

namespace {

const std::string dashes(132, '-');

class Codes : public CheckCase {
protected:
    /// Refused, the check lists `expected` and writes nothing; with leave it deletes what it has listed, and
    /// of each file so many records from the front stay.
    void expect_deleted_on_yes(const std::string &name, unsigned at_date,
                               const std::map<std::string, std::size_t> &kept) {
        std::map<std::string, std::string> before;
        for (const auto &[file, bytes] : kept) {
            before[file] = live(file);
        }
        const CheckRun refused = check("full " + name, "N");
        EXPECT_TRUE(refused.shows(expected)) << refused;
        EXPECT_EQ(refused.codes.size(), expected.size() - 3) << refused;
        EXPECT_EQ(refused.flags, "");
        EXPECT_EQ(date_on_file(at_date), 0U);
        for (const auto &[file, bytes] : kept) {
            EXPECT_TRUE(live(file) == before[file]) << file;
        }
        const CheckRun repaired = check(name, "J");
        EXPECT_TRUE(repaired.shows(expected)) << repaired;
        EXPECT_EQ(repaired.questions.size(), 1U) << repaired;
        EXPECT_TRUE(repaired.reports("Geen fouten gevonden!")) << repaired;
        EXPECT_EQ(repaired.flags, name);
        EXPECT_EQ(date_on_file(at_date), date_today());
        for (const auto &[file, bytes] : kept) {
            EXPECT_TRUE(live(file) == before[file].substr(0, bytes)) << file;
        }
        EXPECT_EQ(check("full " + name).flags, name);
        EXPECT_FALSE(temporary_files());
    }
    /// A shop with a series that has prices, and one size: the first of its kind, which has another one too.
    void SetUp() override {
        CheckCase::SetUp();
        make({.series = 20, .customers = 0});
        set = shop.price_sets.front();
        series = &*std::find_if(shop.series.begin(), shop.series.end(),
                                [this](const SeriesRecord &one) { return one.key == set.key; });
        text = ser_text(series->key);
        kind = series->size_kind;
        unsigned index = 0;
        for (std::uint8_t *found : {&size, &unused}) {
            while (kind_of(kind).entries[++index].link == 0) {
            }
            *found = static_cast<std::uint8_t>(index);
        }
        series->sizes = {};
        series->sizes.set(size);
    }
    std::string size_text(unsigned of_kind, unsigned index) {
        std::string code(kind_of(of_kind).entries[index].code, 3);
        std::replace(code.begin(), code.end(), '\0', ' ');
        return code;
    }
    /// Adds a code; the report shows `after` behind the key of the series, unless the code is sound.
    template <class Record>
    Record &add(std::vector<Record> &list, const char *code, unsigned of_kind, unsigned index,
                const std::string &after = "") {
        Record &record = list.emplace_back();
        put_text(record.code, code);
        record.group = series->key.group;
        record.colour = series->key.colour;
        record.number = series->key.number;
        record.size_kind = static_cast<std::uint8_t>(of_kind);
        record.size = static_cast<std::uint8_t>(index);
        if (!after.empty()) {
            expected.push_back(str_format("%-13s %s", code, text.c_str()) + after);
        }
        return record;
    }
    PriceSetRecord set{};
    SeriesRecord *series = nullptr;
    std::string text;
    unsigned kind = 0;
    std::uint8_t size = 0;
    std::uint8_t unused = 0;
    std::vector<std::string> expected;  ///< in the report, below the heads
};

TEST_F(Codes, OrderNumbersAreListedAndDeletedOnYes) {
    const unsigned supplier = set.supplier;
    const unsigned other_kind = kind == 1 ? 2 : 1;
    kind_of(other_kind).entries[1].code[2] = '\0';  // a code of two characters
    const auto after = [&](const std::string &shown) {
        return str_format("  %4d  ", supplier) + shown + "  Maat niet bekend bij serie";
    };
    expected = {"bestelnummer  serienummer    levnr   mt ", dashes};
    std::vector<SupplierNumberRecord> list;
    add(list, "A1", kind, 0);
    add(list, "A2", kind, size);
    add(list, "A3 met blanco", 0, 0, after("   "));
    add(list, "A4", 0, size, after("   "));
    add(list, "A5", other_kind, 1, after(size_text(other_kind, 1)));
    add(list, "A6\\41 %s", kind, 91, after("   "));
    add(list, "A7", 200, 95, after("   "));
    expected.push_back(dashes);
    add(list, "A8\tx\n1", kind, 0).group = 4000000000U;
    const std::string rest = str_format("%u.%u", unsigned{series->key.colour}, unsigned{series->key.number});
    expected.push_back(
        str_format("A8?x?1        4000000000.%-3.3s  %4d       Serie niet aanwezig", rest.c_str(), supplier));
    shop.supplier_numbers = {{supplier, list}, {9997, {}}};
    add(shop.supplier_numbers[9997], "B1", kind, 91, "  9997       Leverancier niet bekend bij serie");
    write();
    expect_deleted_on_yes("order_numbers", 22,
                          {{"XNRS9997", 0}, {str_format("XNRS%04d", supplier), 2 * sizeof list[0]}});
    // A set that a program was replacing when it died stands in no file.
    put_note note{};
    note.set.key = series->key;
    note.set.supplier = 9997;
    put("RVIPA.PUT", {reinterpret_cast<const char *>(&note), sizeof note});
    write();
    EXPECT_FALSE(check("full order_numbers", "N").reports("Leverancier niet bekend bij serie"));
}

TEST_F(Codes, ReplacedCodesAreListedAndDeletedOnYes) {
    const auto after = [](const std::string &shown) {
        return " " + shown + std::string(28, ' ') + "Maat niet bekend bij serie";
    };
    expected = {"barcode       serienummer     mt ", dashes};
    std::vector<BarcodeRecord> &list = shop.barcodes;
    list.clear();
    add(list, "5410000000001", kind, 0);
    add(list, "5410000000002", kind, size);
    add(list, "541 000 07", 77, size, after(size_text(kind, size)));  // a blank comes before a digit
    add(list, "5410000000003", 77, size, after(size_text(kind, size)));
    add(list, "5410000000004", 0, 0, after("   "));
    add(list, "5410000000005", kind, unused, after(size_text(kind, unused)));
    add(list, "5410000000006", kind, 255, after("   "));
    expected.push_back(dashes);
    add(list, "5410000000008", kind, size).number = 0;
    const std::string key = str_format("%u.%u.0", unsigned{series->key.group}, unsigned{series->key.colour});
    expected.push_back(str_format("5410000000008 %-14s%32sSerie niet aanwezig", key.c_str(), ""));
    write();
    expect_deleted_on_yes("barcodes", 24, {{"RVBARC", 2 * sizeof list[0]}});
}

TEST_F(Codes, WhatIsNoSoundFileIsPassedOver) {
    make({.series = 20, .customers = 0}, {"barcode-kind"});
    const auto copy_of_groups = [](const std::string &pair) {
        for (const char *end : {".TXT", ".INX"}) {
            put(pair + end, get(std::string("RVART") + end));
        }
    };
    // Names that are no supplier's, a file without an index, an index that is cut, other records.
    for (const char *name : {"XNRS12.TXT", "XNRS12345.TXT", "XNRS-012.TXT", "XNRS 012.TXT", "XNRS012A.TXT",
                             "XNRS0777.TXT", "XNRS0779.TXT"}) {
        put(name, "x");
    }
    put("XNRS0779.INX", std::string(512, '\0'));
    copy_of_groups("XNRS0778");
    const std::function<void()> cases[] = {
        [] { std::filesystem::resize_file("RVBARC.INX", 1024); },
        [] { std::filesystem::remove("RVBARC.INX"); },
        [&] { copy_of_groups("RVBARC"); },
        [] { std::filesystem::remove("RVBARC.TXT"); },
    };
    for (const auto &prepare : cases) {
        SCOPED_TRACE(&prepare - cases);
        prepare();
        const CheckRun run = check("full order_numbers barcodes", "N");
        EXPECT_EQ(run.flags, "order_numbers barcodes") << run;
        EXPECT_TRUE(run.report.empty()) << run;
    }
}

}  // namespace
