// A directory of its own for each test, an operator who only takes notes, and the record of most tests.
#pragma once

#include <cstring>
#include <sstream>

#include "base/base.h"
#include "store/store_internal.h"
#include "support/rounds.h"
#include "support/scratch_dir.h"
#include "support/store/verify.h"

inline std::vector<std::string> operator_notes;
inline int operator_answer = 0;
/// What the verifier says of a pair with nothing wrong.
inline const std::vector<std::string> sound;

class store_test : public ScratchDir {
protected:
    void SetUp() override {
        ScratchDir::SetUp();
        operator_notes.clear();
        operator_answer = 0;
        isam_operator = {};
        isam_operator.fatal = [](const char *text) {
            std::fprintf(stderr, "%s\n", text);
            std::_Exit(1);
        };
        isam_operator.flash = [](int wait, const char *title, const char *text) {
            operator_notes.push_back("flash " + std::to_string(wait) + "|" + (title == nullptr ? "" : title) +
                                     "|" + text);
            return wait == -2 ? operator_answer : 1;
        };
        isam_operator.last_line = [](bool blink, const char *text, int) {
            operator_notes.push_back(std::string(blink ? "blink|" : "line|") + text);
        };
    }

    void TearDown() override {
        ix_lock_wait = plain_wait;
        isam_operator = {};
        ScratchDir::TearDown();
    }

    void (*plain_wait)(ICB *) = ix_lock_wait;
};

inline void put_bytes(const std::string &path, std::size_t offset, const bytes &what) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(reinterpret_cast<const char *>(what.data()), static_cast<std::streamsize>(what.size()));
}

/// Makes a file that is there hold just these bytes again.
inline void put_back(const std::string &path, const bytes &what) {
    std::filesystem::resize_file(path, what.size());
    put_bytes(path, 0, what);
}

/// "01 02 FF*12": hexadecimal bytes, each with a count where it repeats.
inline bytes hex(const std::string &text) {
    bytes out;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const std::size_t star = word.find('*');
        out.insert(out.end(), star == std::string::npos ? 1 : std::stoul(word.substr(star + 1)),
                   static_cast<std::uint8_t>(std::stoi(word, nullptr, 16)));
    }
    return out;
}

inline ICB *make_pair_of(const char *name, const std::vector<const char *> &texts, int mode = ix_exclusive) {
    ICB *icb = IXCREATE(name, ix_exclusive);
    for (std::size_t k = 0; k < texts.size(); ++k) {
        IXUPDFCB(icb, static_cast<int>(k), texts[k]);
    }
    IXINIT(icb);
    if (mode != ix_exclusive) {
        IXCLOSE(icb);
        icb = IXOPEN(name, mode);
    }
    return icb;
}

struct item {
    boost::endian::little_int32_t number;
    boost::endian::little_int32_t count;
    char name[8];
    char text[48];
};
inline bool operator==(const item &a, const item &b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
static_assert(sizeof(item) == 64);  // no record lies in two pages, so none can be written in part

// Key 3 has ten entries to a block, so that one update goes through several levels and splits.
inline const std::vector<const char *> item_keys = {"dingen,64", "k,I,1,4", "naam,C,9,16", "tekst,C,17,60"};

inline item item_of(int number, int count = 0) {
    item i{};
    i.number = number;
    i.count = count;
    std::snprintf(i.name, sizeof i.name, "n%d", (number + count) % 17);
    std::snprintf(i.text, sizeof i.text, "%d/%d", number * 7919 % 1009, count / 2);
    return i;
}

/// An item whose number is `number`, written or deleted.
inline void write_item(ICB *icb, int number, int count = 0) {
    const item i = item_of(number, count);
    EXPECT_TRUE(IXWRITE(icb, &i));
}
inline void delete_item(ICB *icb, int number) {
    item i = item_of(number);
    EXPECT_TRUE(IXREAD(icb, &i)) << number;
    EXPECT_FALSE(IXDELETE(icb, &i));
}
