// Chief header of the report writer: lines, pages, and formats for columns.
//
// A report is written line by line into a job file. `XPRT_OPEN` opens the job, `prt_close` gives it to its
// destination. Only one job is open at a time; without one the calls below do nothing, except `prt_close`.
// The writer knows neither screen nor printer: `prt_modules` is what it asks of those that do.
//
//     if (!XPRT_OPEN(setup, prt_fits_132, nullptr)) return;
//     if (prt_job.rpt_line > prt_job.rpt_lines - 2) prt_head(company, "%s", title);
//     prt_printf("%7ld %3hu %8.2f\n", group, colour, price);
//     prt_close("");
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "base/base.h"

// ---------------------------------------------------------------------------------------------------------
// The job

/// Where the user's reports go, as the user slot keeps it.
struct print_setup {
    std::uint16_t printer = 0;    ///< 0 for none
    std::uint8_t flags = 0;       ///< prt_flag_ bits
    std::uint8_t connection = 0;  ///< 0 for none
};
inline constexpr std::uint8_t prt_flag_screen = 1;  ///< the screen will do when no printer fits
inline constexpr std::uint8_t prt_flag_file = 2;    ///< print to the file that the caller names

/// Options of a report: the pages that it fits.
inline constexpr std::uint16_t prt_fits_40 = 1;
inline constexpr std::uint16_t prt_fits_80 = 2;
inline constexpr std::uint16_t prt_fits_132 = 4;
inline constexpr std::uint16_t prt_long_page = 16;   ///< more than 66 lines
inline constexpr std::uint16_t prt_short_page = 32;  ///< at most 66 lines
inline constexpr std::uint16_t prt_any_page = 65535;

/// The open job. Callers read the page and the line to decide on a new page.
struct print_job {
    bool preview = false;       ///< show the job on the screen first
    bool spooler = false;       ///< the device is a destination of the spooler
    bool aux = false;           ///< the device is a printer on a user's terminal
    bool to_directory = false;  ///< the device is a file in a directory that takes one file a job
    int rpt_lines = 0;          ///< page length in lines
    int rpt_width = 0;          ///< line width in characters
    int rpt_page = 0;           ///< current page, 0 before the first
    int rpt_line = 0;           ///< line on the page, from 1; past every page before the first
    int rpt_pages = 0;          ///< pages begun
    long start_offset = 0;      ///< size of the job file after the set-up text
    std::string setup_text;     ///< bytes sent to the printer at the start and at the end
    std::string end_text;
    std::string device;  ///< path or name of the spooler's destination
    std::string job_file;
    int copies = 1;
};
extern print_job prt_job;

/// Opens a report for a destination that fits `options`; `output_file` may be null. False when there is none;
/// the caller then has no job.
bool XPRT_OPEN(const print_setup &setup, std::uint16_t options, const char *output_file);
/// Ends the report and gives it to its destination, after a preview where the job has one. A job without
/// output is dropped. `lp_options` goes into the spooler's command unchanged.
void prt_close(const char *lp_options);

// ---------------------------------------------------------------------------------------------------------
// Lines and pages

/// Adds to the current line; a line feed in the text ends it. The format states the nominal layout: a number
/// that outgrows its column grows into blanks at its left, or moves to a second print line just below. A
/// formatted field is cut below MAXFMT characters (environment, 350). Conversions: s d i o u x X e f g E G c.
[[gnu::format(printf, 1, 2)]] void prt_printf(const char *format, ...);
/// Ends the current line: one print line, or two.
void prt_newline();
/// Adds `n` copies of `c` to the current line.
void prt_fill(int n, char c);
/// Ends a started line and begins a page.
void prt_newpage();
/// Begins a page with its head: `left`, the title in the middle, date, time and page number at the right.
[[gnu::format(printf, 2, 3)]] void prt_head(const char *left, const char *format, ...);

// ---------------------------------------------------------------------------------------------------------
// Formats made for a column width

/// A format for one value of type T. The text is valid until the next call of the same helper.
template <typename T>
struct column_format {
    const char *text;
    operator const char *() const {
        return text;
    }
};

/// "%", the width (none for 0) and the letters.
column_format<int> fmt_c(int width);
column_format<const char *> fmt_s(int width);
column_format<int> fmt_d(int width);
column_format<short> fmt_hd(int width);
column_format<long> fmt_ld(int width);
column_format<unsigned> fmt_u(int width);
column_format<unsigned short> fmt_hu(int width);
column_format<unsigned long> fmt_lu(int width);
/// Text cut and filled to the width, at the left or the right of its column, or with ": " after it.
column_format<const char *> fmt_left_s(int width);
column_format<const char *> fmt_right_s(int width);
column_format<const char *> fmt_left_label(int width);
/// A text column between blanks; a width below 0 puts the text at its left.
column_format<const char *> fmt_columns(int before, int width, int after);

/// prt_printf without the compiler's check of the format: only for the overload below.
void prt_column(const char *format, ...);
/// One value in a column.
template <typename T>
void prt_printf(column_format<T> format, std::type_identity_t<T> value) {
    prt_column(format.text, value);
}
