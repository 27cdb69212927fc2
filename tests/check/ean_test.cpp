// The check of the EAN codes: findings, codes of the shop's own, tills, doubles and the index.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <tuple>

#include "base/base.h"
#include "check/check.h"
#include "data/eanhdl.h"
#include "support/check_case.h"
#include "support/store/verify.h"

namespace {

constexpr unsigned at_ean_date = 12;

bool is_of(const SeriesRecord &series, const EanRecord &code) {
    return code.type == 'M' && code.group == series.key.group && code.colour == series.key.colour &&
           code.number == series.key.number;
}

class EanCodes : public CheckCase {
protected:
    void build(const std::vector<std::string> &faults = {}, int tills = 2) {
        make({.series = 25, .branches = 3, .customers = 0, .tills = tills}, faults);
        shop.country.ean_check_option = 1;
        write();
    }
    std::vector<EanRecord *> codes_of(const SeriesRecord &series) {
        std::vector<EanRecord *> own;
        for (EanRecord &code : shop.ean_codes) {
            if (is_of(series, code)) {
                own.push_back(&code);
            }
        }
        return own;
    }
    /// The code of a size, read without the program's module.
    static std::string code_of(const SeriesRecord &series, unsigned size) {
        for (const EanRecord &code : records<EanRecord>("RVEAN.TXT")) {
            if (is_of(series, code) && code.size == size) {
                return std::string(code.code, sizeof code.code);
            }
        }
        return "";
    }
};

TEST_F(EanCodes, FindingsAreReportedAndMendedOnlyWithLeave) {
    build({"ean-article-unknown"});
    const auto rich = std::find_if(shop.series.begin(), shop.series.end(),
                                   [this](const SeriesRecord &one) { return codes_of(one).size() >= 3; });
    ASSERT_NE(rich, shop.series.end());
    SeriesRecord &series = *rich;
    EanRecord &stray = *codes_of(series)[1];
    // Its second size has no code; a size that it does not have has one.
    const EanRecord missing = stray;
    stray.size = 95;
    std::memcpy(stray.code, "5400000000027", sizeof stray.code);
    series.season_year = 2013;
    series.season_letter = 'W';
    series.season_number = 4;
    series.registration = registration_sizes;
    series.date = 36526;
    series.stamp = stamp_of_day(36527);
    series.last_delivery = 36528;
    series.last_sale = 36529;
    const auto label = [&](int status, int branch, int extra = 0) {
        LabelParts parts;
        parts.status = status;
        parts.size = missing.size;
        parts.branch = branch;
        parts.extra = extra;
        parts.date_third = 36530;
        return label_join(parts);
    };
    LabelBlock &own = block(series.first_block);
    // Two on their way in, and one on its way out.
    const LabelEntry labels[] = {label(label_stock, 0),    label(label_stock, 1, 1), label(label_stock, 1, 1),
                                 label(label_stock, 0, 2), label(label_sold, 0),     label(label_sold, 1),
                                 label(label_corrected, 1)};
    std::copy(std::begin(labels), std::end(labels), own.slots);
    std::fill(own.slots + std::size(labels), std::end(own.slots), LabelEntry{});
    own.next = -1;
    write();
    const CheckRun run = check("ean", "N");
    const auto row = std::find_if(run.report.begin(), run.report.end(), [](const std::string &line) {
        return line.find("maat registratie") != std::string::npos;
    });
    ASSERT_LT(row, run.report.end() - 2) << run;
    const auto brand = std::find_if(shop.brands.begin(), shop.brands.end(),
                                    [&](const BrandRecord &other) { return other.number == series.brand; });
    EXPECT_EQ(row[0],
              str_format("%s maat registratie    %.4s %-15.15s 2013-W4  020100  010100  030100  040100  "
                         "050100",
                         ser_text(series.key).c_str(), brand->name, series.model));
    EXPECT_EQ(trimmed(row[1]), str_format("%16s%-3.3s%60s%8d%8d", "",
                                          kind_of(series.size_kind).entries[missing.size].code, "", 3, 1));
    EXPECT_EQ(trimmed(row[2]), std::string(21, ' ') + "5400000000027");
    EXPECT_TRUE(run.reports("5400000000034")) << run;
    EXPECT_EQ(run.flags, "");
    EXPECT_EQ(date_on_file(at_ean_date), 0U);
    const CheckRun mended = check("ean", "J");
    EXPECT_EQ(mended.flags, "ean");
    EXPECT_EQ(mended.questions.size(), 1U);
    EXPECT_TRUE(mended.asked("Instore EAN-codes toekennen")) << mended;
    EXPECT_TRUE(mended.reports("Serie-maten met EAN-code correct")) << mended;
    EXPECT_EQ(date_on_file(at_ean_date), date_today());
    EXPECT_EQ(audit(audit_codes), "");
    // Not every shop asks for a code for every size.
    build({"ean-missing"});
    shop.country.ean_check_option = 0;
    write();
    EXPECT_EQ(check("ean", "N").flags, "ean");
}

TEST_F(EanCodes, OfDoublesTheLatestStaysAndAtEqualDatesTheHighest) {
    build();
    const EanRecord own = shop.ean_codes[5];
    const auto twin = [&](const char *code, int later) {
        EanRecord record = own;
        std::memcpy(record.code, code, sizeof record.code);
        record.date = static_cast<std::uint16_t>(own.date + later);
        shop.ean_codes.push_back(record);
    };
    twin("5400000000003", 30);
    twin("5400000000072", 30);
    twin("5400000000065", 30);
    twin("5400000000058", 29);
    write();
    const CheckRun run = check("ean", "N");
    EXPECT_EQ(run.flags, "ean") << run;
    EXPECT_TRUE(run.questions.empty()) << run;
    EXPECT_EQ(audit(audit_codes), "");
    EXPECT_NE(Bytes("RVEAN.TXT").data.find("5400000000072"), std::string::npos);
    EXPECT_EQ(ix_verify("RVEAN"), std::vector<std::string>{});
}

TEST_F(EanCodes, AnIndexThatIsLeftAsItIsDoesNotPass) {
    build({"index-ean-swapped"});
    const CheckRun run = play({.answers = "."}, [] {
        isam_operator.rebuild_index = [](const char *pair) {
            op_tell(op_notice::price_sizes, {pair});
            return false;
        };
        chk_ean();
    });
    EXPECT_EQ(run.flags, "labels") << run;
    EXPECT_EQ(run.questions, std::vector<std::string>{"RVEAN"});
    EXPECT_EQ(date_on_file(at_ean_date), 0U);
    EXPECT_NE(ix_verify("RVEAN"), std::vector<std::string>{});
    // Where nobody knows another way the index is made anew by the check itself.
    EXPECT_EQ(check("ean").flags, "ean");
    EXPECT_EQ(ix_verify("RVEAN"), std::vector<std::string>{});
}

TEST_F(EanCodes, InstoreCodesComeFromTheGeneratorAndTakeNobodysPlace) {
    build({}, 0);
    // Of the first series no size has a code; the last number before the generator begins again is in use,
    // and so are many after it.
    const SeriesRecord &series = shop.series[0];
    std::vector<unsigned> sizes;
    std::erase_if(shop.ean_codes, [&](const EanRecord &code) {
        if (is_of(series, code)) {
            sizes.push_back(code.size);
        }
        return is_of(series, code);
    });
    ASSERT_GE(sizes.size(), 3U);
    shop.ean_generator.last_ean = 99999997;
    EanRecord taken = shop.ean_codes.back();
    ASSERT_EQ(taken.type, 'A');
    std::memcpy(shop.ean_codes.back().code, "2013999999994", sizeof taken.code);
    write();
    unlink("KASMUT.TXT");
    EXPECT_EQ(check("ean", "J").flags, "ean");
    EXPECT_EQ(code_of(series, sizes[0]), "2013999999987");
    for (const unsigned size : sizes) {
        EXPECT_EQ(code_of(series, size).substr(0, 4), "2013");
        EXPECT_NE(code_of(series, size), "2013999999994");
    }
    EXPECT_EQ(audit(audit_codes), "");
    EXPECT_EQ(Bytes("RVEAN.TXT").text(Bytes("RVEAN.TXT").data.find("2013999999994") + 13, 1), "A");
    EXPECT_FALSE(file_exists("KASMUT.TXT"));
}

TEST_F(EanCodes, TillsAreToldOfNewCodes) {
    const struct {
        unsigned mode;  ///< bit 4: the list of tills is kept
        unsigned module_option, branch_option, registration;
        std::string
            kinds;  ///< of the new lines in KASMUT.TXT; with any, the files of the branches are written
    } cases[] = {
        {4, 0, 1, 1, "E"}, {4, 0, 0, 1, "E"}, {4, 1, 0, 1, "Eg"},
        {4, 1, 1, 1, "g"}, {4, 0, 0, 0, ""},  {0, 1, 0, 1, ""},
    };
    for (const auto &wanted : cases) {
        SCOPED_TRACE(&wanted - cases);
        build();
        SeriesRecord &series = shop.series[2];
        const EanRecord first = *codes_of(series)[0];
        const EanRecord *code = codes_of(series)[1];
        const unsigned size = code->size;
        // The first price group ends before the size; the second is not in use in every shop.
        const unsigned price_group = wanted.module_option;
        series.group_last[0] = first.size;
        series.group_last[1] = static_cast<std::uint8_t>(price_group * size);
        series.group_price[0] = 4500;
        series.group_price[1] = 5500;
        shop.ean_codes.erase(shop.ean_codes.begin() + (code - shop.ean_codes.data()));
        series.registration = static_cast<std::uint8_t>(wanted.registration);
        shop.settings.mode = static_cast<std::uint8_t>((shop.settings.mode & ~4) | wanted.mode);
        shop.country.ean_module_option = static_cast<std::uint8_t>(wanted.module_option);
        shop.till_changes.clear();
        for (BranchRecord &branch : shop.branches) {
            branch.till_option = static_cast<std::uint8_t>(wanted.branch_option);
        }
        shop.branches[2].till_count = 0;
        shop.actions.resize(9);
        shop.actions[6] = {};
        shop.actions[6].last_day = shop.today;
        shop.actions[6].value = 15;
        // A label in stock in the first branch has action 7; in the third, one that has ended.
        for (const int slot : {0, 1}) {
            LabelEntry &entry = block(series.first_block).slots[slot];
            LabelParts label = label_split(entry);
            label.status = label_stock;
            label.size = static_cast<int>(size);
            label.branch = 2 * slot;
            label.extra = 0;
            label.code_m = 7 + slot;
            label.amount_c = 4995;
            entry = label_join(label);
        }
        write();
        unlink("KASMUT.TXT");
        EXPECT_EQ(check("ean", "J").flags, "ean");
        const std::string made = code_of(series, size);
        ASSERT_EQ(made.size(), 13U);
        const std::string key =
            str_format("%05u%03u%04u", static_cast<unsigned>(series.key.group),
                       static_cast<unsigned>(series.key.colour), static_cast<unsigned>(series.key.number));
        std::string lines;
        for (const char kind : wanted.kinds) {
            lines += std::string("255255") + kind + (kind == 'E' ? made : key) + "\n";
        }
        EXPECT_EQ(Bytes("KASMUT.TXT").data, lines);
        for (const int branch : {0, 1, 2}) {
            const Bytes plu(str_format("PLU%02d.TXT", branch));
            const std::size_t at = plu.data.find(made);
            EXPECT_EQ(at != std::string::npos, !wanted.kinds.empty() && branch != 1) << branch;
            if (at == std::string::npos) {
                continue;
            }
            const auto group = std::find_if(
                shop.groups.begin(), shop.groups.end(),
                [&](const ArticleGroupRecord &other) { return other.number == series.key.group; });
            EXPECT_EQ(plu.u16(at + 14), group->turnover);
            EXPECT_EQ(plu.u32(at + 16), price_group == 0 ? 4500U : 5500U);
            EXPECT_EQ(plu.u8(at + 20), branch == 0 ? 7U : 0U);
            EXPECT_EQ(plu.u16(at + 22), branch == 0 ? 15U : 0U);
            EXPECT_EQ(plu.u32(at + 24), branch == 0 ? 4995U : 0U);
        }
    }
}

TEST(EanCode, ValidIsWhatTheSumAndTheLengthSay) {
    const std::tuple<const char *, bool, bool> codes[] = {
        {"8712345678906", true, true},    {"8712345678905", false, false}, {"036000291452", true, true},
        {"96385074", true, true},         {"06385071", false, false},      {"16385078", true, false},
        {"26385075", true, false},        {"2013000012340", false, false}, {"2013000012346", true, true},
        {"871234567890", false, false},   {"87123456789a6", false, false}, {"", false, false},
        {"00000000000000", false, false},
    };
    for (const auto &[code, valid, valid_with_long_labels] : codes) {
        sys_country.label_digits = 7;
        EXPECT_EQ(ean_valid(code), valid) << code;
        sys_country.label_digits = 8;
        EXPECT_EQ(ean_valid(code), valid_with_long_labels) << code;
    }
    EXPECT_EQ(ean_instore(1234).substr(0, 12), "201300001234");
    EXPECT_TRUE(ean_valid(ean_instore(1234)));
}

}  // namespace
