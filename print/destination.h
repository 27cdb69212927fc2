// The printer table, and the way from a user's print set-up to the destination of a job.
#pragma once

#include <cstdint>
#include <string>

#include "base/base.h"
#include "print/print.h"
#include "print/printerfile.h"
#include "store/store.h"

// printer_files.cpp

/// Path of a printer file: in the directory that ZUVPRT names, otherwise in the current one. A value that is
/// not a directory is reported to the operator, only once until prt_path_forget is called.
std::string prt_path(const char *name);
void prt_path_forget();
/// Makes sure that the four printer files exist and are sound; new ones get the screen as printer 1. False
/// when that can't be done.
bool prt_tables_ready();

/// A printer file, open for reading.
class printer_file {
public:
    explicit printer_file(const char *name);
    ~printer_file();
    printer_file(const printer_file &) = delete;
    printer_file &operator=(const printer_file &) = delete;
    /// Null when the file can't be opened.
    ICB *icb;
};

/// The three files that describe destinations.
struct printer_table {
    printer_file general{"TR_PTRG"};
    printer_file connections{"TR_PTRC"};
    printer_file properties{"TR_PTRP"};
    bool is_open() const {
        return general.icb != nullptr && connections.icb != nullptr && properties.icb != nullptr;
    }
};

/// The record with that key; what is read goes into `record`.
bool find_printer(const printer_table &table, int printer, PrinterRecord &record);
bool find_connection(const printer_table &table, int printer, int connection, ConnectionRecord &record);
bool find_property(const printer_table &table, int printer, int property, PropertyRecord &record);

/// A text field of a record, without its padding.
template <std::size_t N>
std::string printer_text(const char (&field)[N]) {
    std::string text(field, N);
    text.resize(std::min(text.find('\0'), N));
    text.resize(text.find_last_not_of(' ') + 1);
    return text;
}

// destination.cpp

/// Where a job goes: the records of printer, connection and page form, zero where there is none.
struct print_destination {
    PrinterRecord general{};
    ConnectionRecord connection{};
    PropertyRecord property{};
    bool screen = false;
};

/// True when a form of that many columns suits a report with these options.
bool prt_columns_fit(int columns, std::uint16_t options);
/// Finds the destination, fills `prt_job` and opens the job file. False when there is none.
bool prt_setup(const print_setup &setup, std::uint16_t options, const char *output_file);
/// A new job: prt_setup and one copy. Tells the operator when there is no destination; false then.
bool prt_job_open(const print_setup &setup, std::uint16_t options, const char *output_file);

// destination_list.cpp

/// Lets the operator pick a destination, limited to the printer and the connection of the set-up where it has
/// them. A single destination is taken without a question. False when there is none.
bool prt_use_maintain(const printer_table &table, const print_setup &setup, std::uint16_t options,
                      print_destination &found);
/// Asks for the columns of a report: 40, 80 or 132; 0 when the operator cancels.
int prt_ask_columns(std::uint16_t options);
