// Findings: what a check can find wrong. Every kind of finding has a row in the table of its check.
//
// A walk that finds something says so with `chk_found` when it notes it. Whoever listens gets the finding as
// it is made: its kind, and the fields that say where it is. The report looks up number and text in the same
// row.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "data/seriesfile.h"

/// What becomes of a finding.
enum class finding_fate : std::uint8_t {
    mended,  ///< put right without a question
    asked,   ///< put right when the operator agrees
    human,   ///< left to a human
};

/// A kind of finding.
struct finding_kind {
    const char *code;         ///< "labels.4"; programs read it, so it never gets another meaning
    finding_fate fate;        ///< of most of its kind; a finding may fare worse
    int number;               ///< under which the report shows it; 0 for none
    const char *(*text)();    ///< what the report says
    const char *(*remedy)();  ///< what the repair does, or what a human has to do
};

/// A field of a finding: which series, which block. Numbers are decimal.
struct finding_field {
    const char *name;
    std::string value;
    bool number = false;  ///< the value is a number
};
finding_field field_of(const char *name, std::int64_t value);
finding_field field_of(const char *name, std::string value);
/// The series, as the reports show it: "group.colour.number".
finding_field field_of(const SeriesKey &series);

struct finding {
    const finding_kind &kind;
    std::string file;  ///< the file at fault, without ".TXT"
    std::vector<finding_field> fields;
};

/// Hears of each finding as it is made; null for nobody.
extern void (*chk_finding_listener)(const finding &found);
inline bool chk_is_heard() {
    return chk_finding_listener != nullptr;
}
/// Tells the listener.
void chk_found(const finding_kind &kind, const std::string &file, std::vector<finding_field> fields);
/// Adds a number to the fields, unless it stands for none.
void add_unless_none(std::vector<finding_field> &fields, const char *name, std::int64_t value,
                     std::int64_t none);
