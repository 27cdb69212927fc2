// The course of the check of the label prices.
#include "check/label_prices/label_prices.h"

#include <algorithm>

#include "check/prices/prices.h"

label_price_check::label_price_check()
    : chk_check({.date = &SysRow19::prices,
                 .repairs = false,
                 .refusal = {.ends = true, .keeps_flag = false, .keeps_date = false}}),
      prices("epchk",
             {{"prijs", false, {{'I', 0, 4}, {'I', 4, 2}, {'I', 6, 2}, {'I', 8, 2}, {'I', 10, 2}}}}) {}

const char *label_price_check::status() const {
    return title();
}

const char *label_price_check::title() const {
    return detail_text(13, 40, "controleren etiketprijzen");
}

void label_price_check::open() {
    size_view_forget();  // a size that is new in its kind must keep its price
    eti_file(eti_action::open);
    ink_open(ink_mode::write);
    finish_left_put();
    prices.open();
    rates.open();
}

bool label_price_check::walk() {
    const off_t total = chk_txt_size("RVSER") / static_cast<off_t>(sizeof(SeriesRecord));
    chk_phase(detail_text(13, 41, "series verwerkt"), static_cast<std::uint32_t>(std::max<off_t>(total, 0)));
    std::uint32_t done = 0;
    SeriesRecord series{};
    ICB *const file = chk_files.rvser;
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        walk_labels(series);
        chk_progress(++done, static_cast<std::uint32_t>(total), chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !op_interrupted();
}

void label_price_check::close() {
    companions.close();
    prices.close();
    ink_close();
    eti_file(eti_action::close);
}

void chk_label_prices() {
    label_price_check check;
    chk_perform(check);
}
