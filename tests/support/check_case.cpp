#include "support/check_case.h"

#include <algorithm>
#include <csignal>
#include <map>
#include <sstream>

#include "base/dates.h"
#include "check/session/session.h"

namespace {

/// Does what a word says. A break waits for the check that comes next.
void obey(const std::string &word) {
    static const std::map<std::string, void (*)()> words = {
        {"full", [] { chk_full_run = true; }},
        {"trusted", [] { ok_labels = true; }},
        {"sound", [] { ok_series = true; }},
        {"refuse", [] { script_now().refuses = true; }},
        {"break", [] { script_now().break_at_once = true; }},
        {"11", chk_entry_series},
        {"12", chk_entry_customers},
        {"13", chk_entry_other},
    };
    const std::string value = word.substr(word.find('=') + 1);
    if (const auto known = words.find(word); known != words.end()) {
        known->second();
    } else if (word.starts_with("break=")) {
        script_now().break_at = value;
    } else if (word.starts_with("kill-at=")) {
        signal_after(std::stol(value), SIGKILL);
    } else if (word.starts_with("leave-at=")) {
        signal_after(std::stol(value), SIGTERM);
    } else {
        chk_row_of(word)->run();
    }
}

}  // namespace

CheckRun run_check(const std::string &words, const std::string &answers) {
    return play({.answers = answers.empty() ? "J" : answers}, [&] {
        ok_labels = false;
        std::istringstream list(words);
        for (std::string word; list >> word;) {
            obey(word);
        }
    });
}

std::vector<std::int32_t> CheckCase::chain(std::int32_t first) {
    std::vector<std::int32_t> blocks;
    for (; first >= 0 && first < shop.label_chain.end_mark && blocks.size() < 1000;
         first = block(first).next) {
        blocks.push_back(first);
    }
    return blocks;
}

SizeKindRecord &CheckCase::kind_of(unsigned number) {
    return *std::find_if(shop.size_kinds.begin(), shop.size_kinds.end(), [&](const SizeKindRecord &record) {
        return record.kind == number && record.system == shop.settings.size_system;
    });
}

LabelBlock CheckCase::block_on_file(std::int32_t block) {
    LabelBlock found{};
    std::memcpy(&found, &get("RVETI.TXT").at(static_cast<std::size_t>(block) * sizeof found), sizeof found);
    return found;
}

std::multiset<std::string> CheckCase::criteria_blocks() {
    const Bytes file("RVBAPAR.TXT");
    std::multiset<std::string> found;
    for (std::size_t at = 0; at + sizeof(CriteriaBlock) <= file.size(); at += sizeof(CriteriaBlock)) {
        if (!file.zero(at, sizeof(SeriesKey))) {
            found.insert(file.data.substr(at, offsetof(CriteriaBlock, next)));
        }
    }
    return found;
}

std::string CheckCase::live(const std::string &pair) {
    const std::size_t length = Bytes(pair + ".INX").u16(offsetof(ix_header, reclen));
    const std::string data = get(pair + ".TXT");
    std::string found;
    for (std::size_t at = 0; at + length <= data.size(); at += length) {
        found += ix_live(data.data() + at, static_cast<int>(length)) ? data.substr(at, length) : "";
    }
    return found;
}

void CheckCase::make(const ShopOptions &options, const std::vector<std::string> &faults) {
    ShopOptions wanted = options;
    if (wanted.today == 0) {
        wanted.today = date_from_str("26112026");
    }
    wanted.faults.insert(wanted.faults.end(), faults.begin(), faults.end());
    std::string why;
    ASSERT_TRUE(shop_options_valid(wanted, why)) << why;
    // Not every shop has what a fault needs.
    constexpr std::uint64_t shops = 20;
    bool built = build_shop(wanted, shop, why);
    while (!built && ++wanted.seed < options.seed + shops) {
        built = build_shop(wanted, shop, why);
    }
    ASSERT_TRUE(built) << why;
    write();
}

void CheckCase::write() {
    std::string why;
    ASSERT_TRUE(write_shop(shop, ".", shop_target::any, why)) << why;
}

CheckRun CheckCase::check(const std::string &words, const std::string &answers) {
    CheckRun run = run_check(words, answers);
    if (words.find("kill-at") == std::string::npos) {
        EXPECT_EQ(run.status, 0) << words << "\n" << run;
    }
    return run;
}

bool CheckCase::temporary_files() {
    std::string pattern = "TP*";
    return FILES_PRESENT(pattern) != 0;
}

unsigned CheckCase::date_on_file(unsigned offset) {
    constexpr unsigned row_bytes = 64;
    constexpr unsigned row_dates = 19;
    return Bytes("RVSYS.TXT").u16((row_dates - 1) * row_bytes + offset);
}
