// What the files of the EAN code check share.
#pragma once

#include "check/frame/error_list.h"
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

using ean_findings = error_list<ean_finding>;

/// Checks that each key of RVEAN leads to each of its records. Of several records for one size the latest
/// stays. A faulty index is rebuilt by ixreorgk, with the file closed meanwhile. False when the operator
/// cancelled; `sound` is false when a faulty index had to be left as it is.
bool ean_check_index(ICB *&file, bool &sound);
/// Deletes the record with that number, if it is still `expected`.
void ean_delete(ICB *file, std::int32_t number, const EanRecord &expected);

/// Column heads and rows of the report.
void ean_heads(bool first_page);
void ean_report(ean_findings &findings, ICB *file);
