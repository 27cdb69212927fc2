// What the two checks of files of article codes share.
//
//   1  each record is tested in the order of its key; one at fault is printed, and noted in a work list
//   2  question; on yes each code of the list is looked at again under its lock, and deleted if still wrong
//
// They write in the repair only. A file that is not sound, or has other records, is passed over.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/record_place.h"
#include "check/frame/walk_bound.h"
#include "check/frame/work_file.h"

inline constexpr std::size_t code_bytes = 13;
using article_code = char[code_bytes];

/// A code as it is shown, without its trailing zero bytes.
std::string code_text(const article_code &code);

/// Opens an indexed file for reading and deleting; null when it is not sound or has other records. What a
/// program that died left is mended first, so that a killed repair hides nothing.
ICB *code_file_open(const char *name, std::size_t record_bytes);

/// A byte that would split a code into several words of a line is written as a backslash and two hexadecimal
/// digits.
std::string code_as_word(const article_code &code);
/// Reads a supplier and such a word; false at the end of the list.
bool code_next(std::FILE *list, int &supplier, article_code &code);

/// The code of a size in a size kind, up to three characters; blanks when there is none.
std::string size_code(std::uint8_t kind, std::uint8_t size);

/// Calls `visit` for each record in key order. Each step starts from the key in the index, not from the one
/// in the record. A damaged index can lead in a circle, so there are no more steps than records. False when
/// the operator cancelled.
template <class Record, class Visit>
bool each_in_key_order(ICB *file, Visit visit) {
    Record record{};
    walk_bound bound(file);
    for (bool more = IXFIRST(file, &record); more && bound.step(); more = IXNEXT(file, &record)) {
        if (op_interrupted()) {
            return false;
        }
        const record_place place(file);
        Record key = record;
        IXKEYTOREC(file, &key);
        visit(record);
        record = key;
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

// ---- The checks

class code_check : public chk_check {
public:
    using chk_check::chk_check;

    void open() override;
    bool has_errors() override {
        return !faulty.empty();
    }
    void heads(bool first_page) override;
    /// Deletes what is still wrong.
    void repair() override;
    void close() override;

protected:
    /// What is to be deleted; 0 stands for no supplier.
    void note_faulty(int supplier, const article_code &code);
    /// Begins and ends a row; there is a line of dashes after every five. A new page starts the count again.
    void begin_row();
    void end_row();

    virtual void print_columns() = 0;
    /// Deletes a code of the work list, if it is still wrong.
    virtual void remove_faulty(int supplier, const article_code &code) = 0;
    /// The last code was looked at.
    virtual void end_repair() = 0;

private:
    work_file faulty;
    int rows = 0;  ///< since the last line of dashes
};

std::span<const finding_kind> order_number_findings();
std::span<const finding_kind> barcode_findings();
