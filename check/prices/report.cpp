// The report of the price check.
#include "check/frame/columns.h"
#include "check/prices/prices.h"

namespace {

constexpr int line_margin = 2;

report_cell block_cell(const PriceError &error) {
    return error.block < 0 ? text_cell("%10s", "") : number_cell("%10ld", long{error.block});
}

report_cell previous_cell(const PriceError &error) {
    return error.previous == price_no_block ? text_cell("%10s", "")
                                            : number_cell(" %8ldP", long{error.previous});
}

constexpr report_column<PriceError> columns[] = {
    {[] { return detail_text(12, 18, "serienummer"); }, "%-22.22s",
     [](const PriceError &error) { return text_cell("%-22s", field_of(error.key).value); }},
    {[] { return detail_text(13, 31, "lvnr"); }, "%6.6s",
     [](const PriceError &error) { return number_cell(" %5ld ", long{error.supplier}); }},
    {[] { return detail_text(13, 32, "dat.tm"); }, "%7.7s",
     [](const PriceError &error) {
         return text_cell("%6.6s", error.end_date == price_open_ended ? "" : date_plain(error.end_date));
     }},
    {[] { return chk_name(phrase_price_block); }, "%10.10s", block_cell},
    {[] { return detail_text(13, 33, "P/N"); }, "%10.10s ", previous_cell},
    {[] { return detail_text(12, 13, "foutmelding"); }, "%s",
     [](const PriceError &error) { return text_cell(" %s", price_finding(error.code).text()); }},
};

}  // namespace

void price_check::heads(bool first_page) {
    if (first_page) {
        prt_printf("%s", detail_text(13, 30,
                                     "Bij de volgende series zijn foutieve of ontbrekende prijzen. "
                                     "Deze worden indien mogelijk hersteld."));
        prt_newline();
        chk_note_prices();
        chk_dashes();
    }
    print_headings<PriceError>(columns);
    chk_dashes();
}

void price_check::report() {
    const auto total = static_cast<std::uint32_t>(errors.icb()->nrecs);
    std::uint32_t done = 0;
    chk_phase(detail_text(13, 34, "afdrukken foutverslag"), total);
    errors.for_each([&](const PriceError &error) {
        chk_room(line_margin);
        print_line<PriceError>(columns, error);
        chk_progress(++done, total, chk_bar::step);
    });
    chk_progress(0, 0, chk_bar::close);
    ok_prices = false;
}
