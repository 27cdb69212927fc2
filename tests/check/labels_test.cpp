// The label check: what it finds and mends, alone and together; breaking off; ends without warning.
#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "base/strformat.h"
#include "data/labelfile.h"
#include "data/seriesfile.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_label_date = 0;
constexpr std::size_t at_label_row = 3 * 64;
constexpr std::size_t block_bytes = 376;
constexpr std::size_t series_bytes = 200;

class Labels : public CheckCase {
protected:
    /// Numbers of the kinds found, and whether some of the findings were left: "1 6", "5 NEE".
    static std::string found(const CheckRun &run) {
        constexpr std::size_t before_number = sizeof "labels." - 1;
        std::string all;
        for (const std::string &code : std::set<std::string>(run.codes.begin(), run.codes.end())) {
            all += (all.empty() ? "" : " ") + code.substr(before_number);
        }
        return all + (run.reports(" NEE  ") ? " NEE" : "");
    }
    LabelBlock &block(std::int32_t number) {
        return shop.label_blocks[static_cast<std::size_t>(number)];
    }
    std::vector<std::int32_t> chain(std::int32_t first) {
        std::vector<std::int32_t> blocks;
        for (; first >= 0 && first < shop.label_chain.end_mark && blocks.size() < 1000;
             first = block(first).next) {
            blocks.push_back(first);
        }
        return blocks;
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

// ---- One fault of each kind, and faults that meet

struct Spoiled {
    const char *what;
    std::vector<std::string> faults;
    void (*spoil)(Labels &);
    const char *found;
    const char *answer;  ///< to the question about blocks outside all chains; "" when it isn't asked
    const char *again;   ///< found by the second run, which passes when that is ""
};

class SpoiledLabels : public Labels {
public:
    using Labels::block;
    using Labels::chain;
    using Labels::series_of;
    using Labels::shop;
};

SpoiledLabels &in(Labels &test) {
    return static_cast<SpoiledLabels &>(test);
}

const Spoiled spoiled[] = {
    {"nothing", {}, nullptr, "", "", ""},
    {"outside", {"label-chain-outside"}, nullptr, "1", "N", ""},
    {"first outside", {"label-first-outside"}, nullptr, "1 6", "N", ""},
    {"no block", {"label-no-block"}, nullptr, "1 6", "J", ""},
    {"into another", {"label-chain-other"}, nullptr, "2", "N", ""},
    {"into the free chain", {"label-chain-free"}, nullptr, "3", "X", ""},
    {"loop", {"label-chain-loop"}, nullptr, "4", "N", ""},
    {"shared", {"label-chain-shared"}, nullptr, "2 6", "N", ""},
    {"cut", {"label-chain-cut"}, nullptr, "6", "N", ""},
    {"lost, unknown", {"label-orphan-unknown"}, nullptr, "5 NEE", "J", ""},
    {"lost, unknown, kept", {"label-orphan-unknown"}, nullptr, "5 NEE", "N", "5 NEE"},
    {"lost, unknown, cancelled", {"label-orphan-unknown"}, nullptr, "5 NEE", "X", "5 NEE"},
    {"lost, unknown, default", {"label-orphan-unknown"}, nullptr, "5 NEE", ".", "5 NEE"},
    {"lost, known", {"label-orphan-known"}, nullptr, "6 NEE", "J", ""},
    {"lost, impossible", {"label-orphan-invalid"}, nullptr, "8 NEE", "J", ""},
    {"impossible series", {"label-series-invalid"}, nullptr, "7 NEE", "J", "7 NEE"},
    {"free chain loops", {"label-free-loop"}, nullptr, "", "", ""},
    {"free chain leads into a series", {"label-free-used"}, nullptr, "", "", ""},
    {"free chain begins nowhere", {"label-free-head"}, nullptr, "", "", ""},
    {"free blocks counted wrong", {"label-free-count"}, nullptr, "", "", ""},
    {"tail", {"label-file-tail"}, nullptr, "", "", ""},
    {"all kinds of lost blocks",
     {"label-orphan-unknown", "label-orphan-known", "label-orphan-invalid"},
     nullptr,
     "5 6 8 NEE",
     "J",
     ""},
    {"numbers below zero",
     {},
     [](Labels &t) {
         in(t).series_of(1, 0).first_block = -9;
         in(t).block(in(t).series_of(1, 1).first_block).next = INT32_MIN;
         in(t).shop.label_chain.free_head = -1;
     },
     "1 6",
     "N",
     ""},
    // The rest of a chain comes back in the order of the blocks' numbers.
    {"cut in a long chain, out of order",
     {},
     [](Labels &t) {
         const auto blocks = in(t).chain(in(t).series_of(4).first_block);
         in(t).block(blocks[0]).next = blocks[2];
         in(t).block(blocks[2]).next = INT32_MAX;
     },
     "1 6",
     "N",
     ""},
    // Labels of the series were sold meanwhile, so nobody knows whether the blocks are its own.
    {"cut, and counted wrong",
     {"label-chain-cut"},
     [](Labels &t) {
         for (SeriesRecord &series : in(t).shop.series) {
             series.stock += 1;
         }
     },
     "6 NEE",
     "N",
     "6 NEE"},
    {"two series share a free block",
     {},
     [](Labels &t) {
         const std::int32_t head = in(t).shop.label_chain.free_head;
         in(t).block(in(t).chain(in(t).series_of(2, 0).first_block).back()).next = head;
         in(t).block(in(t).series_of(2, 1).first_block).next = head;
     },
     "3 6",
     "N",
     ""},
    {"two series begin at a free block",
     {},
     [](Labels &t) {
         const std::int32_t head = in(t).shop.label_chain.free_head;
         in(t).series_of(1, 0).first_block = head;
         in(t).series_of(1, 1).first_block = head;
     },
     "3 6",
     "N",
     ""},
    {"a loop that another series leads into",
     {},
     [](Labels &t) {
         const auto loop = in(t).chain(in(t).series_of(3, 0).first_block);
         in(t).block(loop.back()).next = loop[1];
         in(t).block(in(t).chain(in(t).series_of(1, 1).first_block).back()).next = loop[2];
     },
     "2 4",
     "N",
     ""},
    {"a shared block that lies on the free chain",
     {},
     [](Labels &t) {
         const std::int32_t shared = in(t).series_of(1, 0).first_block;
         in(t).block(in(t).chain(in(t).series_of(1, 1).first_block).back()).next = shared;
         in(t).block(shared).next = in(t).shop.label_chain.free_head;
         in(t).block(in(t).chain(in(t).shop.label_chain.free_head).back()).next = shared;
     },
     "2 3 6",
     "N",
     ""},
    {"no free block for a series without one",
     {"label-no-block"},
     [](Labels &t) {
         const auto free = in(t).chain(in(t).shop.label_chain.free_head);
         SeriesRecord &owner = in(t).series_of(1);
         for (const std::int32_t taken : free) {
             in(t).block(taken).key = owner.key;
             in(t).block(taken).next = owner.first_block;
             owner.first_block = taken;
         }
         in(t).shop.label_chain.free_head = in(t).shop.label_chain.end_mark;
         in(t).shop.label_chain.free_count = 0;
     },
     "1 6",
     "N",
     ""},
};

TEST_F(Labels, FindsAndMends) {
    for (const Spoiled &fault : spoiled) {
        SCOPED_TRACE(fault.what);
        ShopOptions options;
        options.series = 12;
        options.labels = 25;
        make(options, fault.faults);
        if (fault.spoil != nullptr) {
            fault.spoil(*this);
            write();
        }
        const std::string answer = fault.answer;
        const CheckRun run = check("full labels", answer.empty() ? "N" : answer);
        EXPECT_EQ(found(run), fault.found) << run;
        EXPECT_EQ(run.asked("Alle etiketblokken niet in ketting worden verwijderd. Akkoord? (J/N)"),
                  !answer.empty());
        const std::string first = fault.found;
        EXPECT_EQ(run.flags, first.empty() ? "labels" : "");
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
    const auto name = [](const SeriesKey &key) {
        return str_format("%lu.%u.%u", static_cast<unsigned long>(key.group), unsigned{key.colour},
                          unsigned{key.number});
    };
    block(sound[1]).next = foreign;
    write();
    const CheckRun run = check("labels", "JN");
    const std::string own = name(block(sound[0]).key);
    const std::string dashes(132, '-');
    const std::string expected[] = {
        "Index van het seriebestand hersteld",
        dashes,
        "serienr               etiketblok       P/N  serienr-etiketblok     hersteld  foutmelding",
        dashes,
        str_format("%-22s%10d %8dP  %-22s %-8s  2  etiketblok van andere serie", own.c_str(), foreign,
                   sound[1], name(block(foreign).key).c_str(), "JA"),
        str_format("%-22s%10d %8dN  %-22s %-8s  6  etiketblok niet in ketting, serie aanwezig", "", sound[2],
                   sound[3], own.c_str(), "JA"),
    };
    EXPECT_TRUE(std::search(run.report.begin(), run.report.end(), std::begin(expected), std::end(expected)) !=
                run.report.end())
        << run;

    const CheckRun clean = check("labels", "N");
    EXPECT_TRUE(clean.asked("Wilt u de index van het seriebestand herstellen? (J/N)"));
    EXPECT_FALSE(clean.reports("Index van")) << clean;
    const auto blocks = static_cast<int>(shop.label_blocks.size());
    EXPECT_TRUE(
        clean.reports(str_format("%-32s : %8d (100.0%%)", "Laatste etiketnummer in gebruik", blocks * 10)))
        << clean;
    const int unused = shop.label_chain.free_count;
    EXPECT_TRUE(clean.reports(str_format("%-32s : %8d (%5.1f%%)", "Waarvan vrije etiketnummers", unused * 10,
                                         unused * 100.0 / blocks)))
        << clean;
}

TEST_F(Labels, WithoutADestinationTheRunGoesOn) {
    make({.series = 5});
    EXPECT_EQ(check("refuse full labels").flags, "labels");
    EXPECT_EQ(date_on_file(at_label_date), 0U) << "no date without a report";
    spoil_shop(shop, "label-orphan-unknown", 1);
    write();
    EXPECT_TRUE(check("refuse full labels", "J").asked("Alle etiketblokken"));
    EXPECT_EQ(check("full labels").flags, "labels");
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
    make({.series = 12});
    const CheckRun sequence = check("trusted break=FASE-1 11", "J");
    EXPECT_TRUE(sequence.flags == "labels" && sequence.report.empty()) << sequence;
    // The later passes can't be broken off.
    for (const char *pass : {"FASE-2", "FASE-3"}) {
        make({.series = 12}, {"label-chain-loop"});
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

// ---- Ends without warning

/// Series and label blocks as they stand on file.
struct Files {
    std::vector<SeriesRecord> series;
    std::vector<LabelBlock> blocks;

    template <class Record>
    static std::vector<Record> read(const std::string &bytes) {
        std::vector<Record> records(bytes.size() / sizeof(Record));
        std::memcpy(records.data(), bytes.data(), records.size() * sizeof(Record));
        return records;
    }
    static Files now() {
        Files files{read<SeriesRecord>(ScratchDir::get("RVSER.TXT")),
                    read<LabelBlock>(ScratchDir::get("RVETI.TXT"))};
        std::erase_if(files.series, [](const SeriesRecord &record) { return record.brand == 0xFFFF; });
        return files;
    }
    /// The blocks of a series up to where its chain goes astray; `sound` tells whether it does.
    std::vector<std::size_t> chain(const SeriesRecord &record, bool &sound) const {
        std::vector<std::size_t> found;
        std::set<std::int32_t> seen;
        std::int32_t at = record.first_block;
        while (at >= 0 && at < static_cast<std::int32_t>(blocks.size()) &&
               blocks[static_cast<std::size_t>(at)].key == record.key && seen.insert(at).second) {
            found.push_back(static_cast<std::size_t>(at));
            at = blocks[static_cast<std::size_t>(at)].next;
        }
        sound = at == -1 && !found.empty();
        return found;
    }
};
static_assert(sizeof(SeriesRecord) == series_bytes && sizeof(LabelBlock) == block_bytes);

TEST_F(Labels, KilledAtAnyMomentLosesNoLabel) {
    const int rounds = CheckCase::rounds(6);
    std::mt19937 random(static_cast<unsigned>(rounds));
    int killed = 0;
    for (int round = 0; round < rounds; round++) {
        make({.series = 400, .labels = 20, .customers = 0, .seed = static_cast<std::uint64_t>(round + 1)});
        for (const char *fault :
             {"label-chain-outside", "label-first-outside", "label-no-block", "label-chain-other",
              "label-chain-free", "label-chain-loop", "label-chain-shared", "label-chain-cut",
              "label-orphan-unknown", "label-orphan-known", "label-free-used"}) {
            for (unsigned n = 0; n < 12; n++) {
                spoil_shop(shop, fault, random());
            }
        }
        write();
        const Files spoiled_files = Files::now();
        const long writes = check("labels", "NJ").writes;
        write();
        for (int n = 0; n < 3; n++) {
            // The second run rebuilds the index first, and is killed while it does.
            const char *answers = n == 1 ? "JJ" : "NJ";
            const std::string moment = std::to_string(static_cast<long>(random()) % (n == 1 ? 50 : writes));
            const CheckRun run = run_check("kill-at=" + moment + " labels", answers);
            ASSERT_TRUE(run.status == 0 || run.status == 128 + SIGKILL) << run;
            killed += run.status == 0 ? 0 : 1;
        }
        check("labels", "NJ");
        EXPECT_EQ(check("labels", "NJ").flags, "labels");

        const Files after = Files::now();
        std::set<std::size_t> used;
        std::map<std::string, std::vector<std::size_t>> chains;
        bool sound = false;
        for (const SeriesRecord &series : after.series) {
            const auto blocks = after.chain(series, sound);
            EXPECT_TRUE(sound);
            for (const std::size_t at : blocks) {
                EXPECT_TRUE(used.insert(at).second) << "block " << at << " lies on two chains";
            }
            chains[std::string(reinterpret_cast<const char *>(&series.key), sizeof series.key)] = blocks;
        }
        for (const SeriesRecord &series : spoiled_files.series) {
            const auto blocks = spoiled_files.chain(series, sound);
            const auto &kept =
                chains[std::string(reinterpret_cast<const char *>(&series.key), sizeof series.key)];
            for (const std::size_t at : blocks) {
                EXPECT_TRUE(std::find(kept.begin(), kept.end(), at) != kept.end() &&
                            std::memcmp(spoiled_files.blocks[at].slots, after.blocks[at].slots,
                                        sizeof after.blocks[at].slots) == 0)
                    << "block " << at;
            }
        }
        check("series", "J");
        EXPECT_EQ(audit(audit_labels), "") << "round " << round;
    }
    EXPECT_GE(killed, rounds / 2);
}

}  // namespace
