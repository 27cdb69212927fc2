// The label check: faults that meet, and what the operator wants; breaking off; a file that lost its end.
#include <set>

#include "base/strformat.h"
#include "data/labelfile.h"
#include "data/seriesfile.h"
#include "data/serieskey.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_label_date = 0;
constexpr std::size_t at_label_row = 3 * 64;
constexpr std::size_t block_bytes = 376;

class Labels : public CheckCase {
public:
    using CheckCase::block, CheckCase::chain, CheckCase::shop;
    /// Numbers of the kinds found, and whether some of the findings were left: "1 6", "5 NEE".
    static std::string found(const CheckRun &run) {
        constexpr std::size_t before_number = sizeof "labels." - 1;
        std::string all;
        for (const std::string &code : std::set<std::string>(run.codes.begin(), run.codes.end())) {
            all += (all.empty() ? "" : " ") + code.substr(before_number);
        }
        return all + (run.reports(" NEE  ") ? " NEE" : "");
    }
    /// The n-th series with a chain of so many blocks or more.
    SeriesRecord &series_of(std::size_t blocks, int n = 0) {
        for (SeriesRecord &series : shop.series) {
            if (chain(series.first_block).size() >= blocks && n-- == 0) {
                return series;
            }
        }
        ADD_FAILURE() << "no such series";
        return shop.series[0];
    }
};

struct Spoiled {
    const char *what;    ///< a fault of a made shop, or what `spoil` does
    const char *found;   ///< kinds, and NEE when findings are left
    const char *answer;  ///< to the question about blocks outside all chains; "" when it isn't asked
    const char *again;   ///< found by the second run, which passes when that is ""
    void (*spoil)(Labels &) = nullptr;
};

const Spoiled spoiled[] = {
    {"label-orphan-unknown", "5 NEE", "J", ""},
    {"label-orphan-unknown", "5 NEE", "N", "5 NEE"},
    {"label-orphan-unknown", "5 NEE", "X", "5 NEE"},
    {"label-orphan-unknown", "5 NEE", ".", "5 NEE"},
    {"label-series-invalid", "7 NEE", "J", "7 NEE"},
    {"numbers below zero", "1 6", "N", "",
     [](Labels &t) {
         t.series_of(1, 0).first_block = -9;
         t.block(t.series_of(1, 1).first_block).next = INT32_MIN;
         t.shop.label_chain.free_head = -1;
     }},
    {"an empty block that a series has given up", "", "", "",
     [](Labels &t) {
         LabelBlock &left = t.block(t.shop.label_chain.free_head);
         t.shop.label_chain.free_head = left.next;
         t.shop.label_chain.free_count -= 1;
         left.key = t.shop.series[0].key;
     }},
    // The rest of a chain comes back in the order of the blocks' numbers.
    {"cut in a long chain, out of order", "1 6", "N", "",
     [](Labels &t) {
         const auto blocks = t.chain(t.series_of(4).first_block);
         t.block(blocks[0]).next = blocks[2];
         t.block(blocks[2]).next = INT32_MAX;
     }},
    // Labels of the series were sold meanwhile, so nobody knows whether the blocks are its own.
    {"cut, and counted wrong", "6 NEE", "N", "6 NEE",
     [](Labels &t) {
         spoil_shop(t.shop, "label-chain-cut", 1);
         for (SeriesRecord &series : t.shop.series) {
             series.stock += 1;
         }
     }},
    {"two series share a free block", "3 6", "N", "",
     [](Labels &t) {
         const std::int32_t head = t.shop.label_chain.free_head;
         t.block(t.chain(t.series_of(2, 0).first_block).back()).next = head;
         t.block(t.series_of(2, 1).first_block).next = head;
     }},
    {"two series begin at a free block", "3 6", "N", "",
     [](Labels &t) {
         t.series_of(1, 0).first_block = t.series_of(1, 1).first_block = t.shop.label_chain.free_head;
     }},
    {"a loop that another series leads into", "2 4", "N", "",
     [](Labels &t) {
         const auto loop = t.chain(t.series_of(3, 0).first_block);
         t.block(loop.back()).next = loop[1];
         t.block(t.chain(t.series_of(1, 1).first_block).back()).next = loop[2];
     }},
    {"a shared block that lies on the free chain", "2 3 6", "N", "",
     [](Labels &t) {
         const std::int32_t shared = t.series_of(1, 0).first_block;
         t.block(t.chain(t.series_of(1, 1).first_block).back()).next = shared;
         t.block(shared).next = t.shop.label_chain.free_head;
         t.block(t.chain(t.shop.label_chain.free_head).back()).next = shared;
     }},
    {"no free block for a series without one", "1 6", "N", "",
     [](Labels &t) {
         spoil_shop(t.shop, "label-no-block", 1);
         SeriesRecord &owner = t.series_of(1);
         for (const std::int32_t taken : t.chain(t.shop.label_chain.free_head)) {
             t.block(taken).key = owner.key;
             t.block(taken).next = owner.first_block;
             owner.first_block = taken;
         }
         t.shop.label_chain.free_head = t.shop.label_chain.end_mark;
         t.shop.label_chain.free_count = 0;
     }},
};

TEST_F(Labels, FindsAndMends) {
    for (const Spoiled &fault : spoiled) {
        SCOPED_TRACE(fault.what);
        make({.series = 12, .labels = 25});
        fault.spoil == nullptr ? void(spoil_shop(shop, fault.what, 1)) : fault.spoil(*this);
        write();
        const std::string answer = fault.answer;
        const std::string first = fault.found;
        const CheckRun run = check("full labels", answer.empty() ? "N" : answer);
        EXPECT_EQ(found(run), first) << run;
        EXPECT_EQ(run.asked("Alle etiketblokken niet in ketting worden verwijderd. Akkoord? (J/N)"),
                  !answer.empty());
        EXPECT_EQ(date_on_file(at_label_date), first.empty() ? date_today() : 0U);

        const CheckRun again = check("full labels", "N");
        EXPECT_EQ(found(again), fault.again) << again;
        const bool passes = *fault.again == '\0';
        EXPECT_EQ(again.flags, passes ? "labels" : "");
        EXPECT_EQ(date_on_file(at_label_date), passes ? date_today() : 0U);
        if (passes) {
            EXPECT_EQ(audit(audit_labels), "");
        }
    }
}

TEST_F(Labels, ReportShowsWhereAChainIsWrong) {
    make({.series = 12, .labels = 25});
    const auto sound = chain(series_of(4).first_block);
    const std::int32_t foreign = series_of(1, 3).first_block;
    block(sound[1]).next = foreign;
    write();
    const CheckRun run = check("labels", "JN");
    const std::string own = ser_text(block(sound[0]).key);
    const std::string dashes(132, '-');
    EXPECT_TRUE(run.shows({
        "Index van het seriebestand hersteld",
        dashes,
        "serienr               etiketblok       P/N  serienr-etiketblok     hersteld  foutmelding",
        dashes,
        str_format("%-22s%10d %8dP  %-22s %-8s  2  etiketblok van andere serie", own.c_str(), foreign,
                   sound[1], ser_text(block(foreign).key).c_str(), "JA"),
        str_format("%-22s%10d %8dN  %-22s %-8s  6  etiketblok niet in ketting, serie aanwezig", "", sound[2],
                   sound[3], own.c_str(), "JA"),
    })) << run;

    const CheckRun clean = check("labels", "N");
    EXPECT_TRUE(clean.asked("Wilt u de index van het seriebestand herstellen? (J/N)"));
    EXPECT_FALSE(clean.reports("Index van")) << clean;
    const auto blocks = static_cast<int>(shop.label_blocks.size());
    const int unused = shop.label_chain.free_count;
    EXPECT_TRUE(clean.shows({
        "Geen fouten gevonden!",
        "",
        str_format("%-32s : %8d (100.0%%)", "Laatste etiketnummer in gebruik", blocks * 10),
        str_format("%-32s : %8d (%5.1f%%)", "Waarvan vrije etiketnummers", unused * 10,
                   unused * 100.0 / blocks),
    })) << clean;
}

TEST_F(Labels, BreakingOffLeavesRow4) {
    make({.series = 12}, {"label-free-count", "label-chain-loop"});
    put("RVSER.OUD", "not an index half");
    put("rvser.txt", "a file of the operator's own");
    const std::string row = get("RVSYS.TXT").substr(at_label_row, 64);
    const std::string blocks = get("RVETI.TXT");
    const CheckRun run = check("break=FASE-1 full labels", "J");
    EXPECT_TRUE(run.flags.empty() && run.report.empty()) << run;
    EXPECT_EQ(date_on_file(at_label_date), 0U);
    EXPECT_EQ(get("RVSYS.TXT").substr(at_label_row, 64), row);
    EXPECT_TRUE(get("RVETI.TXT") == blocks);
    EXPECT_FALSE(std::filesystem::exists("RVSER.OUD"));
    EXPECT_TRUE(std::filesystem::exists("rvser.txt"));
    EXPECT_EQ(found(check("break=FASE-1 full labels labels", "N")), "4") << "the next run starts afresh";
    // What the run before left does not let the menu's sequence go on to a summary.
    make({.series = 12}, {"label-chain-loop"});
    const CheckRun sequence = check("trusted break=FASE-1 11", "J");
    EXPECT_TRUE(sequence.flags == "labels" && sequence.report.empty()) << sequence;
    // The later passes can't be broken off.
    for (const char *pass : {"FASE-2", "FASE-3"}) {
        write();
        EXPECT_EQ(found(check(std::string("break=") + pass + " full labels", "N")), "4") << pass;
    }
}

TEST_F(Labels, FileThatLostItsEnd) {
    make({.series = 40, .labels = 25});
    for (const double part : {0.7, 0.3, 0.0}) {
        const auto bytes = static_cast<double>(shop.label_blocks.size() * block_bytes);
        std::filesystem::resize_file("RVETI.TXT", static_cast<std::uintmax_t>(bytes * part));
        EXPECT_EQ(check("full labels", "J").flags, "") << part;
        EXPECT_EQ(check("full labels series", "J").flags, "labels series") << part;
        EXPECT_EQ(audit(audit_labels), "") << part;
    }
}

}  // namespace
