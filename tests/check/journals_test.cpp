// The check of the order journals: what becomes of a journal, of the list of its orders and of their labels.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>

#include "base/base.h"
#include "check/check.h"
#include "check/journals/walk.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_journal_date = 38;
constexpr std::uint16_t order_date = 41000;
constexpr char journal_file[] = "2012Z/ORD0001.JRN";
constexpr char copy_file[] = "2012Z/ORD0001.TMP";

class Journals : public CheckCase {
protected:
    void SetUp() override {
        CheckCase::SetUp();
        make({.series = 2, .labels = 4, .customers = 0, .tills = 0});
        shop.journals.clear();
        shop.order_numbers.clear();
        shop.serial.last_serial = 5000;
        // One label of the first series is of order 17, all others of orders with a number of their own.
        LabelEntry &slot = block(shop.series[0].first_block).slots[0];
        LabelParts label = label_split(slot);
        label.order = 17;
        label.date_in = order_date;
        slot = label_join(label);
    }

    /// A record as one word: its code, and of an order the number. A small o is an order of the kind that
    /// keeps its text, n one that has no number yet, P one of the day before; any other character stands for
    /// itself.
    std::string record(const std::string &word) const {
        const auto bytes = [&](const auto &content) {
            return word.substr(0, 1) + std::string(reinterpret_cast<const char *>(&content), sizeof content);
        };
        JournalOrder order{};
        JournalDetail detail{};
        JournalModel model{};
        switch (word[0]) {
            case 'O':
            case 'o':
            case 'n':
            case 'P':
                std::memset(&order, 'x', sizeof order);
                order.journal = 1;
                order.year = 2012;
                order.letter = 'Z';
                order.date = word[0] == 'P' ? order_date - 1 : order_date;
                order.kind = word[0] == 'o' ? order_kind_own_text : 0;
                order.status = word[0] == 'n' ? 1 : order_status_numbered;
                order.number = static_cast<std::uint32_t>(std::stoul(word.substr(1)));
                std::memset(order.text, 0, sizeof order.text);
                std::memcpy(order.text, text.data(), text.size());
                return "O" + bytes(order).substr(1);
            case 'M':
                model.group = shop.series[0].key.group;
                return bytes(model);
            case 'D':
                detail.colour = shop.series[0].key.colour;
                detail.number = shop.series[0].key.number;
                return bytes(detail);
            case '~':
                return "S12";
            default:
                return word.substr(0, 1) +
                       std::string(static_cast<std::size_t>(std::max(journal_payload(word[0]), 0)), 'p');
        }
    }
    std::string journal(const std::string &words) const {
        std::string bytes;
        std::istringstream list(words);
        for (std::string word; list >> word;) {
            bytes += record(word);
        }
        return bytes;
    }
    void list_order(std::uint32_t number, const std::string &order_text = "lijst") {
        OrderNumberRecord &listed = shop.order_numbers.emplace_back();
        listed.number = number;
        std::memcpy(listed.text, order_text.data(), order_text.size());
        listed.journal = 1;
        listed.year = 2012;
        listed.letter = 'Z';
    }
    void write_journal(const std::string &words, const std::string &listed) {
        shop.journals = {{2012, 'Z', 1, journal(words)}};
        shop.order_numbers.clear();
        std::istringstream list(listed);
        for (std::uint32_t number = 0; list >> number;) {
            list_order(number);
        }
        write();
        unlink(copy_file);
    }
    /// The numbers of the list of orders as it stands on file, in order.
    static std::string listed() {
        std::set<std::uint32_t> numbers;
        for (const OrderNumberRecord &record : records<OrderNumberRecord>("RVORDNR.TXT")) {
            numbers.insert(record.number);
        }
        std::string text;
        for (const std::uint32_t number : numbers) {
            text += (text.empty() ? "" : " ") + std::to_string(number);
        }
        return text;
    }
    /// Order number of the label that was of order 17.
    [[nodiscard]] std::uint32_t label_number() const {
        return block_on_file(shop.series[0].first_block).slots[0].order % 10000000;
    }
    std::string text = "tekst";
};

struct Outcome {
    const char *what;
    const char *journal;
    const char *listed;
    const char *clean;             ///< the journal afterwards
    const char *kept;              ///< the list after the first run
    unsigned label;                ///< order number of the label that was of order 17
    const char *second = nullptr;  ///< the list after the second run, where it changes once more
    unsigned later = 0;            ///< and of the label
    std::int32_t last_serial = 5000;
};

const Outcome outcomes[] = {
    {"nothing to do", "O1001 M D T S E B L F O1002 M D S", "1001 1002", "O1001 M D T S E B L F O1002 M D S",
     "1001 1002", 1001},
    {"an order of another day passes the label by", "P1001 M D S O1002 M D S", "1001 1002",
     "P1001 M D S O1002 M D S", "1001 1002", 1002},
    {"a number below 1000", "O17 M D S O1002 M D S", "17 1002", "O5001 M D S O1002 M D S", "1002 5001", 5001},
    {"two of them", "O17 M D S O999 M D S", "", "O5001 M D S O5002 M D S", "5001 5002", 5001},
    {"number 0 stays, and takes the labels along", "O0 M D S", "", "O0 M D S", "0", 0},
    {"a number that no label has room for", "O10000000 M D S", "10000000", "O10000000 M D S", "10000000", 17},
    {"a kind that is not renumbered", "o17 M D S", "17", "o17 M D S", "17", 17},
    {"no number yet", "n17 M D S", "", "n17 M D S", "", 17},
    {"no number yet, and listed", "n17 M D S", "17", "n17 M D S", "17", 17},
    {"the last head of a row stands", "O1001 O1002 M D S", "1001 1002", "O1002 M D S", "", 17, "1002", 1002},
    {"the last of three", "O17 O1002 O1003 M D S", "17 1003", "O1003 M D S", "", 17, "1003", 1003},
    {"a second head with a low number goes", "O1001 O18 M D S", "1001 18", "O1001 M D S", "1001", 1001},
    {"a second head of another kind goes", "O1001 o1002 M D S", "1001 1002", "O1001 M D S", "1001", 1002},
    {"records out of place go", "O1001 M F S D S E E B L L F M D S", "1001", "O1001 M D S E B L L F M D S",
     "1001", 1001},
    {"an order behind one that went is found later", "O1001 M F D S O1002 M D S", "1001 1002",
     "O1001 M D S O1002 M D S", "1001", 1001, "1001 1002"},
    {"strays in the list", "O1001 M D S", "1001 77 9000", "O1001 M D S", "1001", 1001},
    {"strays when the numbers begin again", "O17 M D S", "17 18", "O1000 M D S", "1000", 1000, nullptr, 0,
     9999999},
    {"not in the list", "O1001 M D S", "", "O1001 M D S", "1001", 1001},
    {"a copy of 69 bytes", "T S E B L L F F", "", "", "", 17},
};

TEST_F(Journals, EachHasItsOutcomeAndTheNextRunMendsTheRest) {
    for (const Outcome &outcome : outcomes) {
        SCOPED_TRACE(outcome.what);
        shop.serial.last_serial = outcome.last_serial;
        write_journal(outcome.journal, outcome.listed);
        for (const bool again : {false, true}) {
            const CheckRun run = check("journals");
            EXPECT_EQ(run.flags, "journals") << run;
            EXPECT_EQ(date_on_file(at_journal_date), date_today());
            EXPECT_EQ(listed(), again && outcome.second != nullptr ? outcome.second : outcome.kept);
            EXPECT_EQ(get(journal_file), journal(outcome.clean));
            EXPECT_FALSE(file_exists(copy_file));
            EXPECT_TRUE(run.reports("Geen fouten gevonden!") && run.questions.empty()) << run;
            EXPECT_TRUE(run.codes.empty() && !run.reports("FOUT")) << run;
            EXPECT_EQ(label_number(), again && outcome.later != 0 ? outcome.later : outcome.label);
        }
    }
}

TEST_F(Journals, FailuresAreToldAndLeaveTheJournalAsItIs) {
    const std::pair<const char *, const char *> failures[] = {
        {"O17 M D S Q", "Ongeldige kode (kode=Q, fpos=288) --> FOUT"},
        {"X", "Ongeldige kode (kode=X, fpos=0) --> FOUT"},
        {"O17 M O1001 M D S", "Ongeldige volgorde (kode=O, prevkode=M, fpos=146) --> FOUT"},
        {"O17 T O1001", "Ongeldige volgorde (kode=O, prevkode=T, fpos=183) --> FOUT"},
        {"O17 M D ~", "Onvolledig record (kode=S, fpos=275) --> FOUT"},
        {"O17 M D F", nullptr},  // the last record is out of place
    };
    for (const auto &[words, report] : failures) {
        SCOPED_TRACE(words);
        write_journal(words, "17");
        for (int i = 0; i < 2; i++) {
            const CheckRun run = check("journals");
            EXPECT_EQ(run.flags, "") << run;
            EXPECT_EQ(date_on_file(at_journal_date), 0U);
            EXPECT_EQ(listed(), "17");
            EXPECT_EQ(get(journal_file), journal(words));
            EXPECT_TRUE(file_exists(copy_file) && run.questions.empty()) << run;
            EXPECT_EQ(run.codes.size(), 1U) << run;
            EXPECT_EQ(run.count("FOUT"), report == nullptr ? 0 : 1) << run;
            if (report != nullptr) {
                EXPECT_TRUE(run.reports(std::string("2012Z ORD0001.JRN: ") + report)) << run;
                EXPECT_TRUE(run.reports("CONTROLE ORDERJOURNAALS")) << run;
            }
            EXPECT_FALSE(run.reports("Geen fouten gevonden!")) << run;
            EXPECT_EQ(label_number(), 17U);
        }
    }
    EXPECT_EQ(check("journals").found(), "journals.7");
}

TEST_F(Journals, TextsOfJournalAndListBecomeEqual) {
    const struct {
        const char *in_journal, *in_list;
        unsigned option;
        std::string kind;
        const char *afterwards;  ///< in both
    } cases[] = {
        {"journaal", "lijst", 0, "O", "journaal"}, {"", "lijst", 0, "O", "lijst"},
        {"journaal", "", 0, "O", "journaal"},      {"", "", 0, "O", ""},
        {"journaal", "lijst", 4, "o", "journaal"}, {"", "lijst", 4, "o", "lijst"},
        {"gelijk", "gelijk", 4, "O", "gelijk"},
    };
    for (const auto &wanted : cases) {
        SCOPED_TRACE(wanted.in_journal + std::string(" and ") + wanted.in_list);
        text = wanted.in_journal;
        shop.settings.journal_options = static_cast<std::uint8_t>(wanted.option);
        write_journal(wanted.kind + "1001 M D S", "");
        list_order(1001, wanted.in_list);
        shop.order_numbers.back().journal = 7;
        write();
        EXPECT_EQ(check("full journals").flags, "journals");
        const Bytes list("RVORDNR.TXT");
        EXPECT_EQ(list.text(4, 35), wanted.afterwards);
        EXPECT_EQ(list.u16(40), 1U);
        EXPECT_EQ(list.u16(42), 2012U);
        EXPECT_EQ(list.text(44, 1), "Z");
        text = wanted.afterwards;
        EXPECT_EQ(get(journal_file), journal(wanted.kind + "1001 M D S"));
    }
}

TEST_F(Journals, OddNamesAndEmptyJournalsAreLeftAlone) {
    const std::string bad = "Q";
    const char *passed_over[] = {"1979Z/ORD0001.JRN",  "2080W/ORD0001.JRN", "201ZZ/ORD0001.JRN",
                                 "+000Z/ORD0001.JRN",  "2012A/ORD0001.JRN", "2012ZZ/ORD0001.JRN",
                                 "2012Z/ORD12345.JRN", "2012Z/ORD 123.JRN", "2012Z/ORD001.JRNX",
                                 "2012Z/ord0001.jrn",  "0ZZZZ/ORD0001.JRN"};
    write_journal("O1001 M D S", "1001");
    for (const char *name : passed_over) {
        std::filesystem::create_directories(std::filesystem::path(name).parent_path());
        put(name, bad);
    }
    put("2013Z", "no directory");
    put("2012Z/ORD0003.JRN");
    mkdir("2012Z/ORD0004.JRN", 0700);
    mkdir("2014K", 0700);
    EXPECT_EQ(check("journals").flags, "journals");
    for (const char *name : passed_over) {
        EXPECT_EQ(get(name), bad) << name;
    }
    EXPECT_EQ(file_size("2012Z/ORD0003.JRN"), 0);
    EXPECT_FALSE(file_exists("2012Z/ORD0003.TMP"));
    mkdir("0000W", 0700);
    put("0000W/ORD0000.JRN", bad);
    const CheckRun run = check("journals");
    EXPECT_TRUE(run.reports("0000W ORD0000.JRN: Ongeldige kode (kode=Q, fpos=0) --> FOUT")) << run;
    EXPECT_EQ(run.flags, "");
}

TEST_F(Journals, OneThatFailsDoesNotKeepTheOthersBack) {
    write_journal("O17 M D S", "17 4444 6001");
    shop.journals.push_back({2012, 'Z', 2, journal("O18 M D S Q")});
    shop.journals.push_back({2013, 'W', 1, journal("O19 M D S")});
    shop.journals.push_back({2013, 'W', 2, journal("O6001 O6002 M D S")});
    write();
    EXPECT_EQ(check("journals").flags, "");
    EXPECT_EQ(get(journal_file), journal("O5001 M D S"));
    EXPECT_EQ(get("2012Z/ORD0002.JRN"), journal("O18 M D S Q"));
    EXPECT_EQ(listed(), "4444 5001 5003 6002") << "what is in no journal goes when all have passed";
    put("2012Z/ORD0002.JRN", journal("O18 M D S"));
    EXPECT_EQ(check("journals").flags, "journals");
    EXPECT_EQ(listed(), "5001 5003 5004 6002");
}

TEST_F(Journals, TroubleAroundAJournalIsToldByItsCode) {
    const auto found_with = [](void (*trouble)()) {
        return play({},
                    [&] {
                        trouble();
                        chk_journals();
                    })
            .found();
    };
    // A program that ignores the lock writes behind the back of the walk.
    write_journal("O17 M D S", "17");
    EXPECT_EQ(found_with([] {
                  isam_operator.leave_if_due = [] {
                      std::filesystem::last_write_time(
                          journal_file,
                          std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
                  };
              }),
              "journals.4");
    // Another program deletes the journal between its listing and its opening.
    write_journal("O17 M D S", "17");
    EXPECT_EQ(found_with([] {
                  isam_operator.show = [](op_field, const char *, const char *value) {
                      unlink(value == nullptr ? "" : journal_file);
                  };
              }),
              "journals.6");
    // It cuts off a journal that nobody changes, in the midst of the last walk: no order loses its number.
    std::string words = "O1000 M D S ";
    for (int order = 1001; order < 3000; order++) {
        words += "O" + std::to_string(order) + " M D S ";
    }
    write_journal(words, "1000 2999");
    EXPECT_EQ(found_with([] {
                  isam_operator.leave_if_due = [] {
                      static int orders = 0;  // 2000 of them in the first walk
                      if (++orders == 2100) {
                          std::filesystem::resize_file(journal_file, 70000);
                      }
                  };
              }),
              "journals.4");
    EXPECT_TRUE(listed().ends_with(" 2999"));
    // There is no room for the copy.
    words.replace(0, 5, "O17");
    write_journal(words, "");
    EXPECT_EQ(found_with([] {
                  constexpr rlimit room{100000, 100000};
                  std::signal(SIGXFSZ, SIG_IGN);
                  setrlimit(RLIMIT_FSIZE, &room);
              }),
              "journals.5");
    EXPECT_EQ(get(journal_file), journal(words));
}

TEST_F(Journals, LabelChainsThatLeadAstrayStopNothing) {
    write_journal("O1001 M D S", "1001");
    const std::int32_t first = shop.series[0].first_block;
    for (const std::int32_t next : {first, 99999999, -7}) {
        block(first).next = next;
        write();
        EXPECT_EQ(check("journals").flags, "journals");
        EXPECT_EQ(label_number(), 1001U);
    }
}

}  // namespace
