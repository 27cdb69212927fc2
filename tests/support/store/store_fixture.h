// A directory of its own for each test, and an operator who only takes notes.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "base/base.h"
#include "store/store.h"
#include "support/scratch_dir.h"
#include "support/store/reference.h"
#include "support/store/verify.h"

inline std::vector<std::string> operator_notes;
inline int operator_answer = 0;

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
        isam_operator = {};
        ScratchDir::TearDown();
    }
};

inline bytes file_bytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void put_bytes(const std::string &path, std::size_t offset, const bytes &what) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(reinterpret_cast<const char *>(what.data()), static_cast<std::streamsize>(what.size()));
}

/// "01 02 FF*12": hexadecimal bytes, each with a count where it repeats.
inline bytes hex(const std::string &text) {
    bytes out;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == ' ') {
            ++at;
            continue;
        }
        std::size_t used = 0;
        const int value = std::stoi(text.substr(at, 2), nullptr, 16);
        at += 2;
        int count = 1;
        if (at < text.size() && text[at] == '*') {
            count = std::stoi(text.substr(at + 1), &used);
            at += 1 + used;
        }
        out.insert(out.end(), static_cast<std::size_t>(count), static_cast<std::uint8_t>(value));
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
