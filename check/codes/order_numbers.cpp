// The check of the order numbers that suppliers use for articles.
//
// Each supplier with such numbers has a file, XNRS and the supplier's number in four digits. A number must
// belong to a series and to a size of it, and the series must have a price set of the supplier. The repair
// deletes the numbers that don't.
#include <algorithm>

#include "check/codes/code_file.h"
#include "check/frame/columns.h"
#include "data/data.h"
#include "data/eanfile.h"

namespace {

constexpr int key_parts_supplier = 4;  // of the key of a price set

std::string file_name(int supplier) {
    return str_format("XNRS%04d", supplier);
}

/// The supplier of a file name of the form XNRSnnnn.TXT; -1 for any other.
int supplier_of(const std::string &name) {
    constexpr std::size_t digits_at = 4;
    constexpr std::size_t length = 12;
    if (name.size() != length || name.find_first_not_of("0123456789", digits_at) != digits_at + 4) {
        return -1;
    }
    return std::stoi(name.substr(digits_at, 4));
}

SeriesKey key_of(const SupplierNumberRecord &record) {
    return {record.group, record.colour, record.number};
}

void show_supplier(int supplier) {
    op_value(op_field::number_supplier, std::to_string(supplier).c_str());
}

void show_code(const article_code &code) {
    op_value(op_field::number_code, code_text(code).c_str());
}

struct number_line {
    const SupplierNumberRecord &record;
    int supplier;
    const finding_kind &fault;
};

constexpr report_column<number_line> columns[] = {
    {[] { return detail_text(21, 10, "bestelnummer"); }, "%-13.13s ",
     [](const number_line &line) { return text_cell("%-13.13s ", code_text(line.record.code)); }},
    {[] { return detail_text(21, 11, "serienummer"); }, "%-14.14s ",
     [](const number_line &line) { return text_cell("%-14.14s", ser_text(key_of(line.record))); }},
    {[] { return detail_text(21, 12, "levnr"); }, "%5.5s ",
     [](const number_line &line) { return number_cell("  %4ld", long{line.supplier}); }},
    {[] { return detail_text(21, 13, "mt"); }, " %3.3s ",
     [](const number_line &line) {
         return line.record.size != 0 && line.record.size_kind != 0
                    ? text_cell("  %-3.3s", size_code(line.record.size_kind, line.record.size))
                    : text_cell("%5s", "");
     }},
    {nullptr, "%s", [](const number_line &line) { return text_cell("  %s", line.fault.text()); }},
};

class order_number_check final : public code_check {
public:
    order_number_check()
        : code_check({.flag = &ok_order_numbers,
                      .date = &SysRow19::order_numbers,
                      .report_time = chk_report_time::first}) {}

    const char *status() const override {
        return detail_text(21, 20, "controleren bestelnummers");
    }
    const char *title() const override {
        return detail_text(21, 21, "CONTROLEREN BESTELNUMMERS");
    }
    void open() override {
        price_sets = pair_open("RVIPA", ix_readonly, sizeof(PriceSetRecord));
        op_caption(op_field::number_supplier, detail_text(21, 22, "Leverancier"));
        op_caption(op_field::number_code, detail_text(21, 23, "Bestelnummer"));
        code_check::open();
    }
    bool walk() override;
    void close() override {
        code_check::close();
        IXCLOSE(price_sets);
        price_sets = nullptr;
    }

protected:
    void print_columns() override {
        print_headings<number_line>(columns);
    }
    void remove_faulty(int supplier, const article_code &code) override;
    void end_repair() override {
        if (file != nullptr) {
            IXCLOSE(file);
            file = nullptr;
        }
        file_supplier = -1;
    }

private:
    const finding_kind *fault_of(const SupplierNumberRecord &record, int supplier);
    bool walk_supplier(int supplier);
    void report_row(const number_line &line);

    ICB *price_sets = nullptr;  ///< RVIPA
    ICB *file = nullptr;        ///< open during the repair
    int file_supplier = -1;
};

/// True when a set of the series and supplier is being replaced, so that it may be in no file.
bool is_noted(const SeriesKey &series, int supplier) {
    PriceSetRecord noted;
    return ink_noted(noted) && noted.key == series && noted.supplier == supplier;
}

/// What is wrong with a number, null for nothing.
const finding_kind *order_number_check::fault_of(const SupplierNumberRecord &record, int supplier) {
    SeriesRecord series{};
    series.key = key_of(record);
    if (!IXREAD(chk_files.rvser, &series)) {
        return &order_number_findings()[0];
    }
    PriceSetRecord set{};
    set.key = key_of(record);
    set.supplier = static_cast<std::uint16_t>(supplier);
    if (!IXNEXTR(price_sets, &set, key_parts_supplier) && !is_noted(key_of(record), supplier)) {
        return &order_number_findings()[2];
    }
    const bool fits =
        record.size_kind == series.size_kind && (record.size == 0 || series.sizes.test(record.size));
    return fits ? nullptr : &order_number_findings()[1];
}

void order_number_check::report_row(const number_line &line) {
    if (chk_is_heard()) {
        chk_found(line.fault, file_name(line.supplier).c_str(),
                  {field_of("code", code_text(line.record.code)), field_of(key_of(line.record)),
                   field_of("supplier", std::int64_t{line.supplier}),
                   field_of("size", std::int64_t{line.record.size})});
    }
    begin_row();
    print_cells<number_line>(columns, line);
    end_row();
}

/// False when the operator cancelled.
bool order_number_check::walk_supplier(int supplier) {
    show_supplier(supplier);
    ICB *walked = code_file_open(file_name(supplier).c_str(), sizeof(SupplierNumberRecord));
    if (walked == nullptr) {
        return true;
    }
    op_ticker<SupplierNumberRecord> shown(op_field::number_code,
                                          [](const auto &record) { return code_text(record.code); });
    const bool done =
        each_in_key_order<SupplierNumberRecord>(walked, [&](const SupplierNumberRecord &record) {
            shown.show(record);
            if (const finding_kind *fault = fault_of(record, supplier)) {
                note_faulty(supplier, record.code);
                report_row({record, supplier, *fault});
            }
        });
    IXCLOSE(walked);
    return done;
}

bool order_number_check::walk() {
    std::string name = "XNRS%*4d.TXT";
    bool going_on = true;
    if (DIRECTORY(dir_action::open, name)) {
        while (going_on && DIRECTORY(dir_action::next, name)) {
            const int supplier = supplier_of(name);
            going_on = !op_interrupted() && (supplier < 0 || walk_supplier(supplier));
        }
        DIRECTORY(dir_action::close, name);
    }
    return going_on;
}

void order_number_check::remove_faulty(int supplier, const article_code &code) {
    if (supplier != file_supplier) {
        end_repair();
        file_supplier = supplier;
        file = code_file_open(file_name(supplier).c_str(), sizeof(SupplierNumberRecord));
    }
    show_supplier(supplier);
    show_code(code);
    if (file != nullptr) {
        SupplierNumberRecord record{};
        std::copy(std::begin(code), std::end(code), record.code);
        delete_faulty(file, record, [&](const SupplierNumberRecord &fresh) {
            return fault_of(fresh, supplier) != nullptr;
        });
    }
}

}  // namespace

void chk_order_numbers() {
    order_number_check check;
    chk_perform(check);
}
