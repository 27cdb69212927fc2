// The table of the checks.
#include <algorithm>

#include "check/codes/code_file.h"
#include "check/customers/customers.h"
#include "check/ean/ean.h"
#include "check/journals/journals.h"
#include "check/label_prices/label_prices.h"
#include "check/labels/labels.h"
#include "check/master/master.h"
#include "check/order_criteria/order_criteria.h"
#include "check/prices/prices.h"
#include "check/series/series.h"
#include "check/session/session.h"
#include "check/sizes/sizes.h"
#include "check/transit/transit.h"

namespace {

bool transit_in_use() {
    const auto first_byte = chk_transit_settings.in_use & 0xff;
    return sys_settings.branches > 1 && first_byte != 0;
}

constexpr chk_row rows[] = {
    {.name = "labels",
     .run = chk_labels,
     .passed = &ok_labels,
     .date = &SysRow19::labels,
     .entry = entry_series,
     .marker = chk_marker::always,
     .at_start = true,
     .findings = label_findings},
    {.name = "series",
     .run = chk_series,
     .passed = &ok_series,
     .date = &SysRow19::series,
     .entry = entry_series,
     .marker = chk_marker::always,
     .findings = series_findings},
    {.name = "prices",
     .run = chk_prices,
     .passed = &ok_prices,
     .date = &SysRow19::prices,
     .entry = entry_series,
     .marker = chk_marker::always,
     .at_start = true,
     .findings = price_findings,
     .more_findings = label_price_findings},
    {.name = "sizes",
     .run = chk_sizes,
     .passed = &ok_sizes,
     .date = &SysRow19::sizes,
     .entry = entry_series,
     .marker = chk_marker::always,
     .at_start = true,
     .findings = size_findings},
    {.name = "transit",
     .run = chk_transit,
     .passed = &ok_transit,
     .date = &SysRow19::transit,
     .entry = entry_series,
     .needed = transit_in_use,
     .findings = transit_findings},
    {.name = "order_criteria",
     .run = chk_order_criteria,
     .passed = &ok_order_criteria,
     .entry = entry_series,
     .findings = criteria_findings},
    {.name = "customers",
     .run = chk_customers,
     .passed = &ok_customers,
     .date = &SysRow19::customers,
     .entry = entry_customers,
     .marker = chk_marker::with_customers,
     .findings = customer_findings},
    {.name = "titles",
     .run = chk_titles,
     .passed = &ok_titles,
     .date = &SysRow19::titles,
     .entry = entry_customers,
     .marker = chk_marker::with_customers,
     .findings = title_findings},
    {.name = "countries",
     .run = chk_countries,
     .passed = &ok_countries,
     .date = &SysRow19::countries,
     .entry = entry_customers,
     .marker = chk_marker::with_customers,
     .findings = country_findings},
    {.name = "master",
     .run = chk_master,
     .passed = &ok_master,
     .date = &SysRow19::master,
     .entry = entry_other,
     .marker = chk_marker::always,
     .findings = master_findings},
    {.name = "ean",
     .run = chk_ean,
     .passed = &ok_ean,
     .date = &SysRow19::ean,
     .entry = entry_other,
     .marker = chk_marker::always,
     .findings = ean_findings},
    {.name = "order_numbers",
     .run = chk_order_numbers,
     .passed = &ok_order_numbers,
     .date = &SysRow19::order_numbers,
     .entry = entry_other,
     .findings = order_number_findings},
    {.name = "barcodes",
     .run = chk_barcodes,
     .passed = &ok_barcodes,
     .date = &SysRow19::barcodes,
     .entry = entry_other,
     .marker = chk_marker::always,
     .findings = barcode_findings},
    {.name = "journals",
     .run = chk_journals,
     .passed = &ok_journals,
     .date = &SysRow19::journals,
     .entry = entry_other,
     .findings = journal_findings},
};

}  // namespace

std::span<const chk_row> chk_rows() {
    return rows;
}

std::vector<const finding_kind *> chk_all_findings() {
    std::vector<const finding_kind *> all;
    for (const chk_row &row : rows) {
        for (const auto part : {row.findings, row.more_findings}) {
            for (const finding_kind &kind : part == nullptr ? std::span<const finding_kind>{} : part()) {
                all.push_back(&kind);
            }
        }
    }
    return all;
}

const chk_row *chk_row_of(const std::string &name) {
    const auto *found =
        std::find_if(std::begin(rows), std::end(rows), [&](const chk_row &row) { return row.name == name; });
    return found == std::end(rows) ? nullptr : found;
}

bool chk_run_row(const chk_row &row) {
    if (row.needed != nullptr && !row.needed()) {
        *row.passed = true;
        return true;
    }
    chk_broken_off = false;
    row.run();
    return *row.passed && !chk_broken_off;
}

bool shop_has_customers() {
    return (sys_settings.mode & mode_customers) != 0;
}

bool shop_links_customers() {
    return (sys_settings.mode & mode_customer_labels) != 0;
}
