// The report of the EAN code check.
#include <array>
#include <cstring>

#include "check/ean/ean.h"
#include "check/frame/columns.h"
#include "data/data.h"
#include "data/iomaat.h"
#include "data/leesstam.h"
#include "data/serieslabels.h"

namespace {

constexpr int margin = 5;
constexpr unsigned first_branch = 0;
constexpr int statuses = 4;

/// What the rows of one series share.
struct report_group {
    bool known = false;  ///< the series exists
    SeriesRecord series{};
    std::array<std::array<std::uint32_t, size_highest + 1>, statuses> counts{};  ///< of the first branch
    day_number last_sold = 0;
};

void column(const char *text, int width, int after) {
    prt_printf(fmt_columns(0, width, after), text);
}

void date_column(day_number date, int after) {
    char text[9];
    column(date_to_str(text, date, false), 6, after);
}

void count_label(report_group &group, const LabelParts &label) {
    if (label.status < label_ordered || label.status > label_corrected) {
        return;
    }
    if (label.status == label_corrected && label.date_third > group.last_sold) {
        group.last_sold = label.date_third;
    }
    const bool in_transit = label.status == label_stock && label.extra > 0;
    const int branch = in_transit ? label.extra - 1 : label.branch;
    if (branch == first_branch && label.size >= 0 && label.size <= static_cast<int>(size_highest)) {
        group.counts[static_cast<std::size_t>(label.status - 1)][static_cast<std::size_t>(label.size)]++;
    }
}

report_group group_of(const SeriesKey &key) {
    report_group group;
    group.series.key = key;
    group.known = IXREAD(chk_files.rvser, &group.series);
    if (group.known) {
        for (label_chain chain = label_chain_of(group.series); label_chain_next(chain);) {
            for (const LabelEntry &entry : chain.content.slots) {
                count_label(group, label_split(entry));
            }
        }
    }
    return group;
}

template <std::size_t N>
std::string text_of(const char (&text)[N]) {
    return {text, strnlen(text, N)};
}

/// `brand` is the last one read.
void print_series(const report_group &group, BrandRecord &brand) {
    const SeriesRecord &series = group.series;
    merk_read(chk_files.rvmerk, brand, series.brand);
    column(series.registration == registration_sizes ? detail_text(23, 26, "maat registratie")
                                                     : detail_text(23, 27, "etiket registratie"),
           -19, 1);
    column(text_of(brand.name).c_str(), -4, 1);
    column(text_of(series.model).c_str(), -15, 1);
    prt_printf("%-6.6s%hu  ",
               str_format("%04u-%c", static_cast<unsigned>(series.season_year),
                          series.season_letter == '\0' ? ' ' : series.season_letter)
                   .c_str(),
               static_cast<unsigned short>(series.season_number));
    date_column(day_of_stamp(series.stamp), 2);
    date_column(series.date, 2);
    date_column(series.last_delivery, 2);
    date_column(series.last_sale, 2);
    date_column(group.last_sold, 0);
}

void print_finding(const ean_finding &finding, const report_group &group, ICB *file) {
    size_cursor size{};
    size.position = finding.size;
    const SizeBitmap none{};
    size_view(session_sizes, sys_settings.size_system, finding.size_kind,
              group.known ? &group.series.sizes : &none);
    const bool placed = mtread(session_sizes, mt_action::read, size, mt_key::position) != 0;
    EanRecord code{};
    const std::string text = text_of(finding.code);
    prt_fill(16, ' ');
    column(placed ? std::string(size.code, strnlen(size.code, sizeof size.code)).c_str() : "", -3, 2);
    column(!text.empty() && ean_read_code(file, code, text) ? text.c_str() : "", -13, 1);
    prt_fill(36, ' ');
    if (group.known) {
        for (const auto &count : group.counts) {
            const std::uint32_t n = placed ? count[size.index] : 0;
            prt_printf("%8s", n == 0 ? "" : std::to_string(n).c_str());
        }
    }
    prt_newline();
}

/// The rows of one kind: of series, or of small articles.
void print_rows(ean_list &findings, ICB *file, bool of_series) {
    bool begun = false;
    report_group group;
    BrandRecord brand{};
    findings.for_each([&](const ean_finding &finding) {
        if ((finding.key.colour != 0 || finding.key.number != 0) != of_series) {
            return;
        }
        chk_room(margin);
        if (!begun || !(group.series.key == finding.key)) {
            group = of_series ? group_of(finding.key) : report_group{};
            group.series.key = finding.key;
            begun = true;
            if (of_series) {
                column(ser_text(finding.key).c_str(), -14, 1);
            } else {
                prt_printf("%ld", static_cast<long>(finding.key.group));
            }
            if (group.known) {
                print_series(group, brand);
            }
            prt_newline();
        }
        print_finding(finding, group, file);
    });
}

/// The two lines of headings stand above rows of two kinds, so they have no values of their own.
struct heading {};
constexpr report_column<heading> series_headings[] = {
    {[] { return detail_text(23, 10, "serienummer"); }, "%-14.14s ", nullptr},
    {[] { return detail_text(23, 11, "registratietype"); }, "%-19.19s ", nullptr},
    {[] { return detail_text(23, 12, "merk"); }, "%4.4s ", nullptr},
    {[] { return detail_text(23, 13, "model"); }, "%-15.15s ", nullptr},
    {[] { return detail_text(23, 14, "seiz"); }, "%7.7s  ", nullptr},
    {[] { return detail_text(23, 15, "creadt"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 16, "lorddt"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 17, "lontdt"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 18, "lvrkdt"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 19, "lcordt"); }, "%6.6s", nullptr},
};
constexpr report_column<heading> size_headings[] = {
    {[] { return detail_text(23, 10, "serienummer"); }, "%-14.14s ", nullptr},
    {[] { return detail_text(23, 20, "maat"); }, "%-4.4s  ", nullptr},
    {[] { return detail_text(23, 21, "EAN serie"); }, "%13.13s                                       ",
     nullptr},
    {[] { return detail_text(23, 22, "NOT"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 23, "VRD"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 24, "VRK"); }, "%6.6s  ", nullptr},
    {[] { return detail_text(23, 25, "COR"); }, "%6.6s", nullptr},
};

}  // namespace

void ean_heads() {
    print_headings<heading>(series_headings);
    print_headings<heading>(size_headings);
    chk_dashes();
}

void ean_report(ean_list &findings, ICB *file) {
    print_rows(findings, file, true);
    print_rows(findings, file, false);
}
