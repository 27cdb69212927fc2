// The check of replaced codes, in RVBARC: codes that a size of a series had before.
//
// A shop need not have the file. An entry must point to a series and to a size of it; the repair deletes
// those that don't.
#include <algorithm>

#include "check/codes/code_file.h"
#include "check/frame/columns.h"
#include "data/data.h"
#include "data/eanfile.h"

namespace {

constexpr char file_name[] = "RVBARC";
constexpr int no_supplier = 0;

const finding_kind *no_series() {
    return &barcode_findings()[0];
}
const finding_kind *no_size() {
    return &barcode_findings()[1];
}

/// What is wrong with a code, null for nothing. `series` is its series, if there is one.
const finding_kind *fault_of(const BarcodeRecord &record, SeriesRecord &series) {
    series = {};
    series.key = {record.group, record.colour, record.number};
    if (!IXREAD(chk_files.rvser, &series)) {
        return no_series();
    }
    const bool fits =
        record.size_kind == series.size_kind && (record.size == 0 || series.sizes.test(record.size));
    return fits ? nullptr : no_size();
}

void show_code(const article_code &code) {
    op_value(op_field::barcode, code_text(code).c_str());
}

struct code_line {
    const BarcodeRecord &record;
    const SeriesRecord &series;
    const finding_kind &fault;
};

constexpr report_column<code_line> columns[] = {
    {[] { return detail_text(21, 14, "barcode"); }, "%-13.13s ",
     [](const code_line &line) { return text_cell("%-13.13s ", code_text(line.record.code)); }},
    {[] { return detail_text(21, 11, "serienummer"); }, "%-14.14s ",
     [](const code_line &line) {
         return text_cell("%-14.14s", ser_text(line.record.group, line.record.colour, line.record.number));
     }},
    {[] { return detail_text(21, 13, "mt"); }, "%3.3s ",
     [](const code_line &line) {
         return &line.fault == no_size()
                    ? text_cell(" %-3.3s", size_code(line.series.size_kind, line.record.size))
                    : text_cell("%4s", "");
     }},
    {nullptr, "%s",
     [](const code_line &line) { return text_cell("                            %s", line.fault.text()); }},
};

class barcode_check final : public code_check {
public:
    barcode_check()
        : code_check({.flag = &ok_barcodes,
                      .date = &SysRow19::barcodes,
                      .report_time = chk_report_time::before_walk}) {}

    const char *status() const override {
        return detail_text(21, 24, "controleren barcodebestand");
    }
    const char *title() const override {
        return detail_text(21, 25, "CONTROLEREN BARCODEBESTAND");
    }
    void open() override {
        op_caption(op_field::barcode, detail_text(21, 26, "Eannummer"));
        code_check::open();
    }
    bool walk() override {
        std::string name = std::string(file_name) + ".TXT";
        if (!DIRECTORY(dir_action::open, name)) {
            return true;
        }
        const bool done = walk_file();
        DIRECTORY(dir_action::close, name);
        return done;
    }

protected:
    void print_columns() override {
        print_headings<code_line>(columns);
    }
    void remove_faulty(int, const article_code &code) override {
        if (!opened) {
            file = code_file_open(file_name, sizeof(BarcodeRecord));
            opened = true;
        }
        if (file == nullptr) {
            return;
        }
        BarcodeRecord record{};
        std::copy(std::begin(code), std::end(code), record.code);
        show_code(code);
        delete_faulty(file, record, [](const BarcodeRecord &fresh) {
            SeriesRecord series;
            return fault_of(fresh, series) != nullptr;
        });
    }
    void end_repair() override {
        if (file != nullptr) {
            IXCLOSE(file);
            file = nullptr;
        }
        opened = false;
    }

private:
    /// False when the operator cancelled.
    bool walk_file() {
        ICB *walked = code_file_open(file_name, sizeof(BarcodeRecord));
        if (walked == nullptr) {
            return true;
        }
        const bool done = each_in_key_order<BarcodeRecord>(walked, [this](const BarcodeRecord &record) {
            show_code(record.code);
            SeriesRecord series;
            if (const finding_kind *fault = fault_of(record, series)) {
                note_faulty(no_supplier, record.code);
                report_row({record, series, *fault});
            }
        });
        IXCLOSE(walked);
        return done;
    }
    void report_row(const code_line &line) {
        if (chk_is_heard()) {
            chk_found(line.fault, file_name,
                      {field_of("code", code_text(line.record.code)),
                       field_of({line.record.group, line.record.colour, line.record.number}),
                       field_of("size", std::int64_t{line.record.size})});
        }
        begin_row();
        print_cells<code_line>(columns, line);
        end_row();
    }

    ICB *file = nullptr;  ///< open during the repair
    bool opened = false;
};

}  // namespace

void chk_barcodes() {
    barcode_check check;
    chk_perform(check);
}
