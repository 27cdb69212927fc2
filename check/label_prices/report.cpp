// The report of the label prices.
#include "check/frame/columns.h"
#include "check/label_prices/label_prices.h"

namespace {

constexpr int line_margin = 2;
constexpr int sizes_a_line = 20;
constexpr int size_column = 27;

constexpr report_column<LabelPrice> columns[] = {
    {[] { return detail_text(6, 918, "serienr"); }, "%-14.14s ",
     [](const LabelPrice &price) { return text_cell("%-14.14s ", ser_text(price.key)); }},
    {[] { return detail_text(13, 31, "lvnr"); }, "%4.4s ",
     [](const LabelPrice &price) { return number_cell("%4ld ", long{price.supplier}); }},
    {[] { return detail_text(13, 32, "dat.tm"); }, "%6.6s ",
     [](const LabelPrice &price) {
         return text_cell("%6.6s ", price.end_date == price_open_ended ? "" : date_plain(price.end_date));
     }},
    // The sizes come behind the other cells, in as many lines as they need.
    {[] { return detail_text(13, 43, "maten"); }, "%s",
     [](const LabelPrice &) { return text_cell("%s", ""); }},
};

void print_sizes(const LabelPrice &price) {
    size_view(session_sizes, sys_settings.size_system, price.size_kind);
    int in_line = 0;
    size_cursor cursor{};
    while (mtread(session_sizes, mt_action::next, cursor, mt_key::sequence) != 0) {
        if (!price.sizes.test(cursor.index)) {
            continue;
        }
        if (in_line == sizes_a_line) {
            prt_newline();
            chk_room(line_margin);
            prt_fill(size_column, ' ');
            in_line = 0;
        }
        prt_printf("%-3.3s ", std::string(cursor.code, sizeof cursor.code).c_str());
        in_line++;
    }
}

void print_price(const LabelPrice &price) {
    chk_room(line_margin);
    print_cells<LabelPrice>(columns, price);
    print_sizes(price);
    prt_newline();
}

}  // namespace

void label_price_check::heads(bool first_page) {
    if (first_page) {
        prt_printf("%s", detail_text(13, 42,
                                     "Bij de volgende series zijn ontbrekende etiketprijzen. "
                                     "Deze worden indien mogelijk opnieuw gegenereerd."));
        prt_newline();
        chk_note_prices();
        chk_dashes();
    }
    print_headings<LabelPrice>(columns);
}

void label_price_check::report() {
    prices.for_each(print_price);
}
