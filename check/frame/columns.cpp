#include "check/frame/columns.h"

void print_cell(const report_cell &cell) {
    if (const auto *text = std::get_if<std::string>(&cell.value)) {
        prt_column(cell.format, text->c_str());
    } else {
        prt_column(cell.format, std::get<long>(cell.value));
    }
}
