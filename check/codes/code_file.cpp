#include "check/codes/code_file.h"

#include <algorithm>
#include <cstring>

#include "data/iomaat.h"
#include "report/report.h"

namespace {

constexpr int rows_a_group = 5;
constexpr int margin = 3;
constexpr int escape_bytes = 3;

/// A code without its trailing zero bytes.
std::string plain_text(const article_code &code) {
    std::string text(code, code_bytes);
    text.resize(text.find_last_not_of('\0') + 1);
    return text;
}

/// Text from a file as a report can show it.
std::string printable(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, '?');
    return text;
}

void from_word(const char *word, article_code &code) {
    std::fill(std::begin(code), std::end(code), '\0');
    for (char &c : code) {
        unsigned byte = 0;
        if (*word == '\0') {
            break;
        }
        if (*word == '\\' && std::sscanf(word + 1, "%2x", &byte) == 1) {
            c = static_cast<char>(byte);
            word += escape_bytes;
        } else {
            c = *word++;
        }
    }
}

}  // namespace

std::string code_as_word(const article_code &code) {
    std::string word;
    for (const char c : plain_text(code)) {
        const auto byte = static_cast<unsigned char>(c);
        word += byte > ' ' && c != '\\' ? std::string(1, c) : str_format("\\%02x", byte);
    }
    return word.empty() ? "\\00" : word;
}

std::string code_text(const article_code &code) {
    return printable(plain_text(code));
}

ICB *code_file_open(const char *name, std::size_t record_bytes) {
    pair_finish(name, record_bytes);
    if (IXCHECK(name) < 0) {
        return nullptr;
    }
    ICB *file = IXOPEN(name, ix_shared);
    if (static_cast<std::size_t>(file->reclen) != record_bytes) {
        IXCLOSE(file);
        return nullptr;
    }
    return file;
}

bool code_next(std::FILE *list, int &supplier, article_code &code) {
    char line[80];
    char word[escape_bytes * code_bytes + 1];
    if (std::fgets(line, sizeof line, list) == nullptr ||
        std::sscanf(line, "%d %39s", &supplier, word) != 2) {
        return false;
    }
    from_word(word, code);
    return true;
}

std::string size_code(std::uint8_t kind, std::uint8_t size) {
    size_cursor cursor{};
    cursor.index = size;
    size_view(session_sizes, sys_settings.size_system, kind);
    if (session_sizes == nullptr || mtread(session_sizes, mt_action::read, cursor, mt_key::index) == 0) {
        return std::string(sizeof cursor.code, ' ');
    }
    return printable({cursor.code, strnlen(cursor.code, sizeof cursor.code)});
}

// ---- The checks

void code_check::open() {
    faulty.create();
    rows = 0;
}

void code_check::heads(bool) {
    print_columns();
    chk_dashes();
}

void code_check::note_faulty(int supplier, const article_code &code) {
    faulty.print("%4d %-13s\n", supplier, code_as_word(code).c_str());
}

void code_check::begin_row() {
    if (chk_room(margin)) {
        rows = 0;
    }
}

void code_check::end_row() {
    prt_newline();
    if (++rows == rows_a_group) {
        chk_dashes();
        rows = 0;
    }
}

void code_check::repair() {
    article_code code;
    int supplier = 0;
    faulty.rewind();
    while (code_next(faulty.stream(), supplier, code)) {
        remove_faulty(supplier, code);
    }
    end_repair();
}

void code_check::close() {
    faulty.remove();
}
