// The check of replaced codes, in RVBARC: codes that a size of a series had before.
//
// A shop need not have the file. An entry must point to a series and to a size of it; the repair deletes
// those that don't.
#include <algorithm>

#include "check/codes/code_file.h"
#include "check/frame/old_course.h"
#include "data/eanfile.h"
#include "data/seriesfile.h"
#include "report/report.h"

namespace {

constexpr char file_name[] = "RVBARC";
constexpr int no_supplier = 0;

enum class fault { none, no_series, no_size };

delete_list faulty;
row_groups groups;

/// The series of an entry; false when there is none.
bool read_series(const BarcodeRecord &record, SeriesRecord &series) {
    series = {};
    series.key = {record.group, record.colour, record.number};
    return IXREAD(chk_files.rvser, &series);
}

fault fault_of(const BarcodeRecord &record, SeriesRecord &series) {
    if (!read_series(record, series)) {
        return fault::no_series;
    }
    const bool fits =
        record.size_kind == series.size_kind && (record.size == 0 || series.sizes.test(record.size));
    return fits ? fault::none : fault::no_size;
}

void show_code(const article_code &code) {
    op_value(op_field::barcode, code_text(code).c_str());
}

void print_heads(bool) {
    prt_printf(fmt_columns(0, -13, 1), detail_text(21, 14, "barcode"));
    prt_printf(fmt_columns(0, -14, 1), detail_text(21, 11, "serienummer"));
    prt_printf(fmt_columns(0, 3, 1), detail_text(21, 13, "mt"));
    prt_newline();
    chk_dashes();
}

void print_row(const BarcodeRecord &record, const SeriesRecord &series, fault found) {
    groups.begin_row();
    prt_printf("%-13.13s ", code_text(record.code).c_str());
    prt_printf("%-14.14s", ser_text(record.group, record.colour, record.number).c_str());
    if (found == fault::no_size) {
        prt_printf(" %-3.3s", size_code(series.size_kind, record.size).c_str());
    } else {
        prt_fill(4, ' ');
    }
    prt_fill(28, ' ');
    prt_printf("%s", found == fault::no_size ? detail_text(21, 2, "Maat niet bekend bij serie")
                                             : detail_text(21, 1, "Serie niet aanwezig"));
    groups.end_row();
}

/// False when the operator cancelled.
bool walk_file() {
    ICB *file = code_file_open(file_name, sizeof(BarcodeRecord));
    if (file == nullptr) {
        return true;
    }
    const bool done = each_in_key_order<BarcodeRecord>(file, [](const BarcodeRecord &record) {
        show_code(record.code);
        SeriesRecord series;
        const fault found = fault_of(record, series);
        if (found != fault::none) {
            faulty.add(no_supplier, record.code);
            print_row(record, series, found);
        }
    });
    IXCLOSE(file);
    return done;
}

bool walk() {
    std::string name = std::string(file_name) + ".TXT";
    if (!DIRECTORY(dir_action::open, name)) {
        return true;
    }
    const bool done = walk_file();
    DIRECTORY(dir_action::close, name);
    return done;
}

void repair() {
    ICB *file = code_file_open(file_name, sizeof(BarcodeRecord));
    if (file == nullptr) {
        return;
    }
    faulty.for_each([file](int, const article_code &code) {
        BarcodeRecord record{};
        std::copy(std::begin(code), std::end(code), record.code);
        show_code(code);
        delete_faulty(file, record, [](const BarcodeRecord &fresh) {
            SeriesRecord series;
            return fault_of(fresh, series) != fault::none;
        });
    });
    IXCLOSE(file);
}

const chk_course course{
    .status = [] { return detail_text(21, 24, "controleren barcodebestand"); },
    .title = [] { return detail_text(21, 25, "CONTROLEREN BARCODEBESTAND"); },
    .flag = &ok_barcodes,
    .date = &SysRow19::barcodes,
    .report_time = chk_report_time::before_walk,
    .open =
        [] {
            op_caption(op_field::barcode, detail_text(21, 26, "Eannummer"));
            faulty.open();
            groups = {};
        },
    .walk = walk,
    .has_errors = [] { return !faulty.empty(); },
    .heads = print_heads,
    .repair = repair,
    .close = [] { faulty.close(); },
};

}  // namespace

void chk_barcodes() {
    chk_perform(course);
}
