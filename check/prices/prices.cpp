// The course of the price check.
#include "check/prices/prices.h"

#include <algorithm>
#include <limits>

namespace {

constexpr char set_file[] = "RVIPA";

}  // namespace

price_check::price_check()
    : chk_check({.flag = &ok_prices,
                 .date = &SysRow19::prices,
                 .writes_date = false,
                 .runs_again = false,
                 .refusal = {.ends = false, .keeps_flag = false, .keeps_date = false}}),
      errors("prschk", {{"fout",
                         false,
                         {{'I', 0, 4},
                          {'I', 4, 2},
                          {'I', 6, 2},
                          {'I', 8, 2},
                          {'I', 10, 2},
                          {'I', 12, 4},
                          {'I', 20, 1}}}}) {}

const char *price_check::status() const {
    return detail_text(13, 1, "controleren prijzen");
}

const char *price_check::title() const {
    return chk_name(phrase_prices);
}

void price_check::open() {
    moved = false;
    whole = false;
    lost = 0;
    iotab_row(tab_action::read, row_price_chain, chain);
    end = price_blocks_in_file();
    chk_bits_open(static_cast<std::size_t>(end) / 8 + 1);
    chk_ipg_raw(raw_action::open);
    sets = pair_open(set_file, ix_shared, sizeof(PriceSetRecord));
    errors.open();
}

bool price_check::walk() {
    const off_t total = chk_txt_size(set_file) / static_cast<off_t>(sizeof(PriceSetRecord));
    chk_phase(detail_text(13, 2, "FASE-1: controleren prijssets"),
              static_cast<std::uint32_t>(std::max<off_t>(total, 0)));
    const bool done = walk_series() && walk_sets();
    chk_progress(0, 0, chk_bar::close);
    if (!done) {
        return false;
    }
    walk_free();
    walk_rest();
    whole = true;
    return true;
}

bool price_check::ask() {
    const bool yes = op_ask(op_question::repair_prices,
                            detail_text(13, 37, "Er zijn fouten gevonden. Automatisch herstellen"));
    ok_prices = ok_prices && yes;  // an earlier run may have passed, and this one have no report
    return yes;
}

void price_check::close() {
    if (whole && ok_prices && lost > 0) {
        free_lost();
    }
    IXCLOSE(sets);
    chk_ipg_raw(raw_action::close);
    chk_bits_close();
    errors.close();
}

std::int32_t price_blocks_in_file() {
    const off_t blocks = chk_txt_size("RVIPG") / static_cast<off_t>(sizeof(PriceBlock));
    return static_cast<std::int32_t>(std::clamp<off_t>(blocks, 0, std::numeric_limits<std::int32_t>::max()));
}

void chk_prices() {
    price_check check;
    chk_perform(check);
    if (ok_prices) {
        chk_label_prices();
    }
}
