// What the checks of the files of article codes share: files that may be unsound, codes to be deleted, rows
// in groups of five.
#pragma once

#include <cstdio>
#include <string>

#include "check/frame/frame.h"

inline constexpr std::size_t code_bytes = 13;
using article_code = char[code_bytes];

/// A code as it is shown, without its trailing zero bytes.
std::string code_text(const article_code &code);

/// Opens an indexed file for reading and deleting; null when it is not sound or has other records. What a
/// program that died left is mended first, so that a killed repair hides nothing.
ICB *code_file_open(const char *name, std::size_t record_bytes);

/// The codes that a repair is to delete, in a temporary text file: a line for each, the supplier before the
/// code. A byte that would split a code into several words is written as a backslash and two hexadecimal
/// digits.
class delete_list {
public:
    delete_list() = default;
    ~delete_list() {
        close();
    }
    delete_list(const delete_list &) = delete;
    delete_list &operator=(const delete_list &) = delete;

    void open();
    /// Closes the file and removes it.
    void close();
    void add(int supplier, const article_code &code);
    /// Calls `visit` with each supplier and code, in the order in which they were added.
    template <class Visit>
    void for_each(Visit visit) {
        article_code code;
        int supplier = 0;
        std::rewind(file);
        while (next(supplier, code)) {
            visit(supplier, code);
        }
    }
    [[nodiscard]] bool empty() const {
        return count == 0;
    }

private:
    bool next(int &supplier, article_code &code);

    std::string name;
    std::FILE *file = nullptr;
    long count = 0;
};

/// Report rows with a line of dashes after every five; a new page starts the count again.
class row_groups {
public:
    void begin_row();
    void end_row();

private:
    int rows = 0;
};

/// The code of a size in a size kind, up to three characters; blanks when there is none.
std::string size_code(std::uint8_t kind, std::uint8_t size);

/// Calls `visit` for each record in key order. Each step starts from the key in the index, not from the one
/// in the record. A damaged index can lead in a circle, so there are no more steps than records. False when
/// the operator cancelled.
template <class Record, class Visit>
bool each_in_key_order(ICB *file, Visit visit) {
    Record record{};
    std::int32_t left = file->nrecs;
    for (bool more = IXFIRST(file, &record); more && left-- > 0; more = IXNEXT(file, &record)) {
        if (op_interrupted()) {
            return false;
        }
        const std::int32_t place = file->recno;
        Record key = record;
        IXKEYTOREC(file, &key);
        visit(record);
        record = key;
        file->recno = place;
    }
    return !op_interrupted();
}

/// Deletes the record with the code of `key`, if `faulty` still says yes to it under its lock.
template <class Record, class Faulty>
void delete_faulty(ICB *file, const Record &key, Faulty faulty) {
    Record record = key;
    if (IXREADLOCK(file, &record) && std::memcmp(record.code, key.code, code_bytes) == 0 && faulty(record)) {
        IXDELETE(file, &record);
    } else {
        IXFREE(file, &key);
    }
}
