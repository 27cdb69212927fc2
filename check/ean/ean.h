// The check of the EAN codes.
//
//   A  every size of every series has a code, in a shop that requires codes
//   B  every code points to a size of a series, or to a small article
//   C  the index of the codes is sound, and no size has two codes. Doubles are deleted, and a faulty index is
//      made anew, without a question
//
// The question comes before the report, because the report shows what is left to do after the answer: on yes
// the sizes without a code get one of the shop's own, the report follows, and then the codes that point to
// nothing are deleted.
#pragma once

#include "check/frame/error_list.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/work_file.h"
#include "data/eanhdl.h"

/// A size without a code, or a code that points to nothing. Key 1: series, size.
struct ean_finding {
    SeriesKey key;           ///< for a code of a small article only the group counts
    std::uint8_t size;       ///< without a code: position in the series; otherwise the size index of the code
    std::uint8_t size_kind;  //
    std::uint8_t carried[2];
    char code[13];  ///< empty for a size without a code
    std::uint8_t carried_25[3];
};
static_assert(sizeof(ean_finding) == 28 && offsetof(ean_finding, code) == 12);

using ean_list = error_list<ean_finding>;

/// The table of what this check can find.
enum class ean_kind : std::uint8_t { size_without_code, code_of_series, code_of_article, faulty_index };
std::span<const finding_kind> ean_findings();
const finding_kind &ean_kind_of(ean_kind kind);

/// Checks that each key of RVEAN leads to each of its records. Of several records for one size the latest
/// stays. A faulty index is made anew, with the file closed meanwhile. False when the operator cancelled;
/// `sound` is false when a faulty index had to be left as it is.
bool ean_check_index(ICB *&file, bool &sound);
/// Deletes the record with that number, if it is still `expected`.
void ean_delete(ICB *file, std::int32_t number, const EanRecord &expected);

/// Column heads and rows of the report.
void ean_heads();
void ean_report(ean_list &findings, ICB *file);

class ean_check final : public chk_check {
public:
    ean_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !sound || !findings.empty();
    }
    void heads(bool first_page) override;
    void report() override;
    const char *success() const override;
    bool ask() override {
        return accepted;
    }
    void repair() override;
    void close() override;

private:
    void add_finding(const SeriesKey &key, std::uint8_t size, std::uint8_t kind, const EanRecord *code);

    // A: sizes without a code.
    void check_series(const SeriesRecord &series);
    bool check_sizes();

    // B: codes that point to nothing.
    bool article_exists(std::uint32_t number);
    bool points_to_nothing(const EanRecord &code, SeriesRecord &series);
    void list_code(const EanRecord &code, std::int32_t number);
    bool check_codes();

    /// Gives codes to the sizes without one; what stays on the list is what the report shows.
    void assign_codes();

    ICB *codes = nullptr;
    ICB *articles = nullptr;
    ean_list findings{"tmp_prt", {{"key-1", false, {{'I', 0, 4}, {'I', 4, 2}, {'I', 6, 2}, {'I', 8, 1}}}}};
    work_file list;  ///< codes to delete: a line for each, with the number of its record
    bool sound = true;
    bool accepted = false;
};
