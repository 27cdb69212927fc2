// The check of the order numbers that suppliers use for articles.
//
// Each supplier with such numbers has a file, XNRS and the supplier's number in four digits. A number must
// belong to a series and to a size of it, and the series must have a price set of the supplier. The repair
// deletes the numbers that don't.
#include <algorithm>

#include "check/codes/code_file.h"
#include "check/frame/old_course.h"
#include "data/eanfile.h"
#include "data/seriesfile.h"
#include "report/report.h"

namespace {

constexpr int key_parts_supplier = 4;  // of the key of a price set

enum class fault { none, no_series, no_size, no_supplier };

ICB *price_sets = nullptr;  // RVIPA
delete_list faulty;
row_groups groups;

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

fault fault_of(const SupplierNumberRecord &record, int supplier) {
    SeriesRecord series{};
    series.key = key_of(record);
    if (!IXREAD(chk_files.rvser, &series)) {
        return fault::no_series;
    }
    PriceSetRecord set{};
    set.key = key_of(record);
    set.supplier = static_cast<std::uint16_t>(supplier);
    if (!IXNEXTR(price_sets, &set, key_parts_supplier)) {
        return fault::no_supplier;
    }
    const bool fits =
        record.size_kind == series.size_kind && (record.size == 0 || series.sizes.test(record.size));
    return fits ? fault::none : fault::no_size;
}

const char *text_of(fault found) {
    switch (found) {
        case fault::no_series:
            return detail_text(21, 1, "Serie niet aanwezig");
        case fault::no_size:
            return detail_text(21, 2, "Maat niet bekend bij serie");
        case fault::no_supplier:
            return detail_text(21, 3, "Leverancier niet bekend bij serie");
        default:
            return "";
    }
}

void show_supplier(int supplier) {
    op_value(op_field::number_supplier, std::to_string(supplier).c_str());
}

void show_code(const article_code &code) {
    op_value(op_field::number_code, code_text(code).c_str());
}

void print_heads(bool) {
    prt_printf(fmt_columns(0, -13, 1), detail_text(21, 10, "bestelnummer"));
    prt_printf(fmt_columns(0, -14, 1), detail_text(21, 11, "serienummer"));
    prt_printf(fmt_columns(0, 5, 1), detail_text(21, 12, "levnr"));
    prt_printf(fmt_columns(1, 3, 1), detail_text(21, 13, "mt"));
    prt_newline();
    chk_dashes();
}

void print_row(const SupplierNumberRecord &record, int supplier, fault found) {
    groups.begin_row();
    prt_printf("%-13.13s ", code_text(record.code).c_str());
    prt_printf("%-14.14s", ser_text(key_of(record)).c_str());
    prt_printf("  %4d", supplier);
    if (record.size != 0 && record.size_kind != 0) {
        prt_printf("  %-3.3s", size_code(record.size_kind, record.size).c_str());
    } else {
        prt_fill(5, ' ');
    }
    prt_printf("  %s", text_of(found));
    groups.end_row();
}

/// False when the operator cancelled.
bool walk_supplier(int supplier) {
    show_supplier(supplier);
    ICB *file = code_file_open(file_name(supplier).c_str(), sizeof(SupplierNumberRecord));
    if (file == nullptr) {
        return true;
    }
    const bool done =
        each_in_key_order<SupplierNumberRecord>(file, [supplier](const SupplierNumberRecord &record) {
            show_code(record.code);
            const fault found = fault_of(record, supplier);
            if (found != fault::none) {
                faulty.add(supplier, record.code);
                print_row(record, supplier, found);
            }
        });
    IXCLOSE(file);
    return done;
}

bool walk() {
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

void repair() {
    ICB *file = nullptr;
    int at = -1;
    faulty.for_each([&](int supplier, const article_code &code) {
        if (supplier != at) {
            if (file != nullptr) {
                IXCLOSE(file);
            }
            at = supplier;
            file = code_file_open(file_name(supplier).c_str(), sizeof(SupplierNumberRecord));
        }
        show_supplier(supplier);
        show_code(code);
        if (file != nullptr) {
            SupplierNumberRecord record{};
            std::copy(std::begin(code), std::end(code), record.code);
            delete_faulty(file, record, [supplier](const SupplierNumberRecord &fresh) {
                return fault_of(fresh, supplier) != fault::none;
            });
        }
    });
    if (file != nullptr) {
        IXCLOSE(file);
    }
}

const chk_course course{
    .status = [] { return detail_text(21, 20, "controleren bestelnummers"); },
    .title = [] { return detail_text(21, 21, "CONTROLEREN BESTELNUMMERS"); },
    .flag = &ok_order_numbers,
    .date = &SysRow19::order_numbers,
    .report_time = chk_report_time::first,
    .open =
        [] {
            price_sets = pair_open("RVIPA", ix_readonly, sizeof(PriceSetRecord));
            op_caption(op_field::number_supplier, detail_text(21, 22, "Leverancier"));
            op_caption(op_field::number_code, detail_text(21, 23, "Bestelnummer"));
            faulty.open();
            groups = {};
        },
    .walk = walk,
    .has_errors = [] { return !faulty.empty(); },
    .heads = print_heads,
    .repair = repair,
    .close =
        [] {
            faulty.close();
            IXCLOSE(price_sets);
            price_sets = nullptr;
        },
};

}  // namespace

void chk_order_numbers() {
    chk_perform(course);
}
