// Runs that end without warning, or are asked to leave, at any of their writes: nothing of the shop is lost,
// and a run or two that follow leave what a whole one leaves. Runs that are broken off, or have no report.
#include <map>
#include <set>
#include <sstream>

#include "store/store.h"
#include "support/check_case.h"

namespace {

struct Killed {
    std::string words;
    unsigned parts;  ///< of the audit afterwards
    int series;
    const char *faults;
    void (*spoil)(Shop &shop) = [](Shop &) {};
    const char *answers = "J";
};

const Killed cases[] = {
    {"labels", audit_labels, 300,
     "label-chain-outside label-first-outside label-no-block label-chain-other label-chain-free "
     "label-chain-loop label-chain-shared label-chain-cut label-orphan-unknown label-orphan-known "
     "label-free-used",
     [](Shop &) {}, "NJ"},  // no new index of the series, which takes most of the writes
    {"full labels", audit_labels, 100, "label-chain-cut"},
    {"full series", audit_labels, 100, "series-count series-stamp series-branch series-label-status"},
    {"full prices", audit_prices, 60,
     "price-chain-cut price-no-block price-chain-free price-set-late price-free-used"},
    {"full sizes", audit_sizes, 60, "size-series-missing size-series-groups",
     [](Shop &shop) {
         for (SeriesRecord &series : shop.series) {
             series.sizes.set(93);
         }
     }},
    {"full transit", 0, 150, "", [](Shop &shop) { shop.in_transit.clear(); }},
    {"full order_criteria", audit_criteria, 60,
     "criteria-chain-outside criteria-chain-cut criteria-block-lost"},
    {"full customers titles countries", audit_customers, 60,
     "customer-chain-cut customer-missing customer-chain-other customer-no-stamp"},
    // Without a limit of session numbers nearly every record of four files is written.
    {"full master", 0, 100, "master-no-model",
     [](Shop &shop) {
         shop.settings.session_options = 0;
         for (SeriesRecord &series : shop.series) {
             series.letter = '\0';
         }
     }},
    {"full ean", audit_codes, 25, "ean-double ean-missing ean-series-unknown index-ean-swapped"},
    {"full order_numbers", 0, 60, "number-kind number-size number-supplier"},
    {"full barcodes", 0, 60, "barcode-kind barcode-size barcode-series-unknown"},
    {"full journals", 0, 120, "order-stray order-missing",
     [](Shop &shop) { spoil_shop(shop, "journal-number-low", 1); }},
};

class Ends : public CheckCase {
protected:
    /// What a whole run and one that was killed have to leave alike: how many records each indexed file has,
    /// the labels with series, status and amounts, the blocks of order criteria.
    static std::multiset<std::string> kept() {
        std::multiset<std::string> found;
        for (const auto &entry : std::filesystem::directory_iterator(".")) {
            const std::string name = entry.path().stem();
            // The work lists of a run that was killed stay behind.
            if (entry.path().extension() == ".INX" && !name.starts_with("T")) {
                found.insert(name + std::to_string(live(name).size()));
            }
        }
        const Bytes labels("RVETI.TXT");
        constexpr std::size_t amounts = 12;
        for (std::size_t at = 0; at + sizeof(LabelBlock) <= labels.size(); at += sizeof(LabelBlock)) {
            for (std::size_t slot = at + 16; slot < at + sizeof(LabelBlock); slot += sizeof(LabelEntry)) {
                if (labels.u32(slot + 8) % 10 != 0) {
                    found.insert(labels.data.substr(at, 8) + labels.data.substr(slot, amounts));
                }
            }
        }
        found.merge(criteria_blocks());
        return found;
    }
    /// The journals: each is the old or the new one at any moment.
    static std::map<std::string, std::string> journals() {
        std::map<std::string, std::string> found;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(".")) {
            if (entry.path().extension() == ".JRN") {
                found[entry.path()] = get(entry.path());
            }
        }
        return found;
    }
    void run_to_the_end(const Killed &one) {
        const std::string passed = one.words.substr(one.words.starts_with("full ") ? 5 : 0);
        CheckRun run;
        for (int runs = 0; runs < 3 && run.flags != passed; runs++) {
            run = check(one.words, one.answers);
        }
        EXPECT_EQ(run.flags, passed) << run;
        EXPECT_EQ(audit(one.parts), "");
    }
};

TEST_F(Ends, LoseNothingAndTheNextRunMendsTheRest) {
    const int kills = rounds(4);
    for (const Killed &one : cases) {
        SCOPED_TRACE(one.words);
        make({.series = one.series, .labels = 15, .tills = 0});
        std::istringstream faults(one.faults);
        for (std::string fault; faults >> fault;) {
            for (unsigned n = 0; n < 10; n++) {
                spoil_shop(shop, fault, n);
            }
        }
        one.spoil(shop);
        write();
        const std::map<std::string, std::string> old_journals = journals();
        const long writes = check(one.words, one.answers).writes;
        const std::map<std::string, std::string> new_journals = journals();
        run_to_the_end(one);
        const std::multiset<std::string> whole = kept();
        for (int n = 0; n < kills; n++) {
            const std::string end =
                (n % 2 == 0 ? "kill-at=" : "leave-at=") + std::to_string(kill_moment(writes, n, kills));
            SCOPED_TRACE(end);
            write();
            const CheckRun run = run_check(end + " " + one.words, one.answers);
            EXPECT_EQ(run.status, n % 2 == 0 ? 128 + SIGKILL : 0) << run;
            for (const auto &[name, bytes] : journals()) {
                EXPECT_TRUE(bytes == old_journals.at(name) || bytes == new_journals.at(name)) << name;
            }
            run_to_the_end(one);
            EXPECT_TRUE(kept() == whole);
        }
    }
}

struct Course {
    const char *words;
    const char *fault;    ///< "" for a sound shop
    const char *answers;  ///< one for each question
    const char *flags;
    int reports = 0;
    bool dated = false;
};

TEST_F(Ends, CourseFollowsErrorsAnswersAndDestination) {
    const Course courses[] = {
        {"full series", "", "", "series", 0, true},
        {"series", "", "", "series", 1, true},
        {"full customers", "", "", "customers", 0, true},
        {"customers", "", "", "customers", 1, true},
        // The default answer, and <N>, leave everything as it is.
        {"full series", "series-count", ".", "", 1},
        {"full ean", "ean-missing", "N", "", 1},
        {"sound full series", "series-count", "N", "series", 1},
        {"trusted full labels", "label-chain-loop", "N", "", 1},
        // A repair is followed by a run, which alone may set the date.
        {"full series", "series-count", "J", "series", 1, true},
        {"series", "series-count", "J", "series", 2, true},
        {"full customers", "customer-no-name", "JJN", "", 3},
        // No destination was chosen.
        {"refuse full labels", "", "", "labels"},
        {"refuse full labels", "label-orphan-unknown", "N", ""},
        {"refuse full series", "series-count", "", ""},
        {"sound refuse full series", "series-count", "", "series"},
        {"refuse prices", "", "", ""},
        {"refuse prices", "price-set-sizes", "J", "prices"},
        {"refuse sizes", "", "", ""},
        {"refuse transit", "", "", ""},
        {"refuse customers", "", "", "customers", 0, true},
        {"refuse customers", "customer-chain-cut", "", ""},
        {"refuse order_criteria", "criteria-chain-cut", "", ""},
        {"full refuse master", "group-vat", "", ""},
        // Broken off.
        {"break=FASE-1 full labels", "label-chain-loop", "", ""},
        {"break=controleren full series", "series-count", "", ""},
        {"break=FASE-1 prices", "price-set-sizes", "", ""},
        {"break=series full prices", "", "", "prices"},
        {"break=series full sizes", "", "", ""},
        {"break=FASE-1 customers", "customer-chain-cut", "", ""},
        {"break=FASE-2 customers", "customer-chain-cut", "", ""},
        {"break=FASE-1 order_criteria", "criteria-chain-cut", "", ""},
        {"full break master", "group-vat", "", ""},
        {"full break ean", "ean-missing", "", ""},
        {"full break order_numbers", "number-kind", "", ""},
        {"full break barcodes", "barcode-kind", "", ""},
    };
    for (const Course &one : courses) {
        SCOPED_TRACE(std::string(one.words) + " " + one.fault);
        make({.series = 30});
        if (*one.fault != '\0') {
            spoil_shop(shop, one.fault, 1);
            write();
        }
        const std::multiset<std::string> before = kept();
        const std::string answers = one.answers;
        const CheckRun run = check(one.words, answers.empty() ? "J" : answers);
        EXPECT_EQ(run.flags, one.flags) << run;
        EXPECT_TRUE(answers.find('J') != std::string::npos || kept() == before) << "something was lost";
        EXPECT_EQ(run.questions.size(), answers.size()) << run;
        EXPECT_EQ(run.jobs, one.reports) << run;
        EXPECT_FALSE(temporary_files()) << "an error list was left";
        constexpr std::size_t row_of_dates = 18 * 64;
        EXPECT_EQ(Bytes("RVSYS.TXT").zero(row_of_dates, 40), !one.dated);
    }
    // What an earlier run has passed, this one does not when the repair is declined.
    make({.series = 30}, {"price-no-supplier"});
    EXPECT_EQ(check("prices refuse prices", "JN").flags, "");
}

}  // namespace
