// The check of the master data: what it tells, what it puts right, what it deletes, run after run.
#include <cstring>

#include "base/base.h"
#include "check/check.h"
#include "data/serieskey.h"
#include "store/store.h"
#include "support/check_case.h"
#include "tools/shop/plan.h"

namespace {

constexpr unsigned at_master_date = 30;
constexpr std::uint16_t session_ahead = 900;

class Master : public CheckCase {
protected:
    /// The lines of findings.
    static std::vector<std::string> findings(const CheckRun &run) {
        return run.rows({"Stamgegevens  ", "Systeemgegevens  ", "Omzetgegevens  ", "Kleine artikelen  ",
                         "Seriegegevens  "});
    }
    SmallArticleRecord &article(int n) {
        for (SmallArticleRecord &record : shop.small_articles) {
            if (record.branch == 0 && n-- == 0) {
                return record;
            }
        }
        return shop.small_articles.front();
    }
};

std::string finding(const char *category, const char *item, unsigned number, const char *text) {
    return str_format("%-20s%-20s%6u       %s", category, item, number, text);
}
std::string finding(const SeriesKey &key, const char *text) {
    return "Seriegegevens       serienummer " + ser_text(key) + "       " + text;
}

TEST_F(Master, TellsEveryClassInOrderAndMendsWhatItCan) {
    make({.series = 20, .customers = 0});
    auto &groups = shop.groups;
    put_text(groups[0].description, "");
    groups[2].turnover = 9990;
    groups[4].changed = session_ahead;
    groups[0].session = session_ahead;
    shop.suppliers[0].session = session_ahead;
    shop.brands[0].changed = session_ahead;
    shop.size_kinds[0].session = session_ahead;
    shop.size_kinds[0].changed = session_ahead;
    shop.size_kinds[2].entries[1].code[0] = '\0';
    put_text(shop.branches[2].name, "");
    put_text(shop.settings.company, "");
    put_text(shop.turnover_groups[0].description, "");
    TurnoverGroupRecord five_digits{};
    five_digits.number = 10001;
    shop.turnover_groups.push_back(five_digits);
    put_text(shop.staff[0].name, "");
    put_text(article(1).description, "");
    article(0).turnover = 9991;
    article(1).turnover = 0;
    shop.settings.mode |= mode_saving;
    for (SavingAction &action : shop.till_settings.actions) {
        action = {};
    }
    for (const int i : {0, 1, 2, 8}) {
        shop.till_settings.actions[i].in_use = 1;
        shop.till_settings.actions[i].begin_date = i == 1 ? 0 : 40000;
        shop.till_settings.actions[i].end_date = i == 2 ? 0 : 41000;
        put_text(shop.till_settings.actions[i].description, i < 8 ? "sparen" : "");
    }

    auto &series = shop.series;
    series[0].key.colour = 1000;
    series[0].brand = 9998;
    series[1].key.group = 99990;
    series[2].key.colour = 997;
    series[3].key.colour = 997;
    put_text(shop.colours[996].text, "");
    series[4].brand = 9998;
    series[5].brand = 9998;
    series[5].size_kind = 98;
    series[8].season_number = 10;
    series[9].target_group = 0;
    for (ArticleGroupRecord &group : groups) {
        if (group.number == series[9].key.group) {
            group.label_kind = 0;
        }
    }
    series[10].supplier = 0;
    write();

    const auto number = [](const auto &record) { return unsigned{record.number}; };
    constexpr char none[] = "omschrijving niet aanwezig";
    constexpr char lowered[] = "Ongeldige sessienummer, is automatisch gecorrigeerd.";
    constexpr char turnover[] = "omzetgroep niet aanwezig of onbekend";
    constexpr char period[] = "periode vanaf t/m niet correct";
    constexpr bool lasts = true;
    constexpr bool mended = false;
    const auto master = [](const char *item, unsigned at, const char *text) {
        return finding("Stamgegevens", item, at, text);
    };
    const std::pair<bool, std::string> lines[] = {
        {lasts, master("artikelgroep", number(groups[0]), none)},
        {lasts, master("artikelgroep", number(groups[2]),
                       "Omzetgroep onbekend              : definieer omzetgroep of wijzig omzetgroep")},
        {mended, master("artikelgroep", number(groups[0]), lowered)},
        {mended, master("artikelgroep", number(groups[4]), lowered)},
        {mended, master("leverancier", number(shop.suppliers[0]), lowered)},
        {mended, master("merk", number(shop.brands[0]), lowered)},
        {mended, master("maatsoort", shop.size_kinds[0].kind, lowered)},
        {lasts, master("maatsoort", shop.size_kinds[2].kind, "maatcode niet gevuld")},
        {lasts, finding("Systeemgegevens", "filiaalnummer", 1, none)},
        {lasts, std::string("Systeemgegevens     firma                            ") + none},
        {lasts, finding("Omzetgegevens", "omzetgroep", number(shop.turnover_groups[0]), none)},
        {lasts, finding("Omzetgegevens", "omzetgroep", 10001, none)},
        {lasts, finding("Omzetgegevens", "verkoper", number(shop.staff[0]), none)},
        {lasts, finding("Kleine artikelen", "artikelnr", number(article(1)), none)},
        {lasts, finding("Kleine artikelen", "artikelnr", number(article(0)), turnover)},
        {lasts, finding("Kleine artikelen", "artikelnr", number(article(1)), turnover)},
        {lasts, finding("Omzetgegevens", "spaaractie", 2, period)},
        {lasts, finding("Omzetgegevens", "spaaractie", 3, period)},
        {lasts, finding("Omzetgegevens", "spaaractie", 9, none)},
        {lasts, finding(series[0].key, "Ongeldige serie")},
        {lasts, finding(series[1].key, "Artikelgroep niet aanwezig")},
        {mended, finding(series[2].key, "Kleur niet aanwezig. Kleur toegevoegd")},
        {lasts, finding(series[4].key, "Merk niet aanwezig")},
        {lasts, finding(series[5].key, "Merk niet aanwezig")},
        {lasts, finding(series[5].key, "Maatsoort niet aanwezig")},
        {lasts, finding(series[8].key, "ongeldige deelseizoen")},
        {lasts, finding(series[9].key, "etiketsoort niet gevuld")},
    };
    for (const int round : {1, 2, 3}) {
        std::vector<std::string> expected;
        for (const auto &[stays, line] : lines) {
            if (stays || round == 1) {
                expected.push_back(line);
            }
        }
        const CheckRun run = check("full master");
        EXPECT_EQ(findings(run), expected);
        EXPECT_EQ(run.flags, "");
        EXPECT_TRUE(run.questions.empty()) << run;
        EXPECT_EQ(date_on_file(at_master_date), 0U);
    }
}

// In a shop without any of what is put right in silence each fault of that kind is undone to the byte.
TEST_F(Master, PutsRightWhatTheShopItselfSays) {
    make({.series = 12, .customers = 0});
    const auto for_all = [this](auto &records, auto change) {
        for (auto &record : records) {
            record.session = record.changed = shop.limits.session_limit;
            change(record);
        }
    };
    for_all(shop.groups, [](ArticleGroupRecord &group) { group.label_kind = 4; });
    for_all(shop.suppliers, [this](SupplierRecord &supplier) {
        std::memcpy(supplier.currency, shop.country.home_currency, sizeof supplier.currency);
        supplier.size_system = 0;
    });
    for_all(shop.brands, [](BrandRecord &brand) { brand.size_system = 0; });
    for_all(shop.size_kinds, [](SizeKindRecord &) {});
    for (SeriesRecord &series : shop.series) {
        put_text(series.model, "###");
        series.letter = ' ';
        series.target_group = 4;
        const unsigned colour = series.key.colour;
        put_text(shop.colours[colour - 1].text, str_format("kleur %u", colour));
    }
    write();
    const auto all_of_it = [] {
        std::string all = get("RVSYS.TXT").substr(region_colours.offset(1), 999 * sizeof(NameRecord));
        for (const char *file :
             {"RVART", "RVLEV", "RVMERK", "RVMAAT", "RVOMZGRP", "RVVKP", "RVARTREG", "RVSER"}) {
            all += live(file);
        }
        return all;
    };
    const std::string sound = all_of_it();
    const Shop whole = shop;
    for (const char *fault :
         {"group-vat", "group-session", "group-invalid", "supplier-no-currency", "supplier-size-system",
          "supplier-session", "supplier-invalid", "brand-size-system", "brand-session", "brand-invalid",
          "sizekind-session", "turnover-invalid", "staff-invalid", "small-invalid", "master-no-model",
          "master-no-letter", "master-no-target", "master-colour-missing"}) {
        shop = whole;
        EXPECT_TRUE(spoil_shop(shop, fault, 1)) << fault;
        write();
        check("full master");
        EXPECT_TRUE(all_of_it() == sound) << fault;
        EXPECT_EQ(check("full master").flags, "master") << fault;
    }
}

struct Setting {
    const char *what;
    bool first_passes;
    bool second_passes;
    std::vector<std::string> first;  ///< parts of the lines, in order
    void (*change)(Shop &shop);
};

const Setting settings[] = {
    {"no limit: session numbers go to 0",
     false,
     true,
     {},
     [](Shop &shop) { shop.settings.session_options &= static_cast<std::uint8_t>(~1U); }},
    {"one shop: the company only",
     false,
     false,
     {"Systeemgegevens     firma                            omschrijving"},
     [](Shop &shop) {
         shop.settings.branches = 1;
         put_text(shop.settings.company, "");
         put_text(shop.branches[1].name, "");
     }},
    {"records of the branches, and a season year without sense",
     true,
     true,
     {},
     [](Shop &shop) {
         SmallArticleRecord record = shop.small_articles.front();
         record.branch = 60;
         record.turnover = 0;
         put_text(record.description, "");
         shop.small_articles.push_back(record);
         shop.series[0].season_year = 0;
         shop.series[1].season_number = 9;
         shop.series[2].supplier = 0;
     }},
    {"numbers far out",
     false,
     false,
     {"maatsoort              255       maatcode niet gevuld", "Maatsoort niet aanwezig",
      "Merk niet aanwezig"},
     [](Shop &shop) {
         ArticleGroupRecord group{};
         group.number = 0xffffff00U;
         shop.groups.push_back(group);
         BrandRecord brand{};
         brand.number = 65000;
         brand.session = 9999;
         shop.brands.push_back(brand);
         SizeKindRecord kind{};
         kind.kind = 255;
         for (SizeEntry &entry : kind.entries) {
             entry.link = 255;
         }
         shop.size_kinds.push_back(kind);
         shop.series[0].size_kind = 255;
         shop.series[1].brand = 0;
     }},
};

TEST_F(Master, FollowsTheSettingsOfTheShop) {
    for (const Setting &setting : settings) {
        SCOPED_TRACE(setting.what);
        make({.series = 6, .customers = 0});
        setting.change(shop);
        write();
        const CheckRun run = check("full master");
        const std::vector<std::string> lines = findings(run);
        if (setting.first_passes < setting.second_passes) {
            EXPECT_GT(lines.size(), 10U);
            EXPECT_EQ(run.rows({"Ongeldige sessienummer"}), lines);
        } else {
            ASSERT_EQ(lines.size(), setting.first.size()) << run;
            for (std::size_t i = 0; i < lines.size(); i++) {
                EXPECT_NE(lines[i].find(setting.first[i]), std::string::npos) << lines[i];
            }
        }
        EXPECT_EQ(run.flags, setting.first_passes ? "master" : "");
        EXPECT_EQ(check("full master").flags, setting.second_passes ? "master" : "");
    }
}

TEST_F(Master, FilesTooShortAreFindingsAndTheReportGoesOnBelowTheHeadOfANewPage) {
    make({.series = 20, .customers = 0});
    std::filesystem::resize_file("KASPARM.TXT", 500);
    std::filesystem::resize_file("RVFILGEG.TXT", 612 * 2 + 100);
    EXPECT_EQ(findings(check("full master")),
              (std::vector<std::string>{
                  finding("Systeemgegevens", "filiaalnummer", 1, "omschrijving niet aanwezig"),
                  finding("Systeemgegevens", "filiaalnummer", 2, "omschrijving niet aanwezig")}));
    for (ArticleGroupRecord &group : shop.groups) {
        put_text(group.description, "");
    }
    write();
    const CheckRun run = play({.page_lines = 20}, chk_master);
    EXPECT_GT(run.count("Stamgegevens"), 20) << run;
    EXPECT_TRUE(run.reports("CONTROLEREN SERIE-STAMGEGEVENS") && run.reports("blad:   3")) << run;
}

}  // namespace
