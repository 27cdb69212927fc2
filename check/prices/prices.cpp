// The price check: the price sets and their blocks agree, no block is lost, every label has a price.
//
//   1  series that prefer no supplier are given the one that has prices for them
//   2  FASE-1, each set: its series is there, its chain is sound, its sizes are those of its blocks
//   3  FASE-2, the free chain must end at the end of the file, and is cut where it goes wrong
//   4  FASE-3, blocks that were seen on no chain
//   5  report, question, repair; then all blocks on no chain go to the free chain
//   6  the prices of the labels, which also write the date
#include "check/prices/prices.h"

#include <algorithm>
#include <limits>

#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "report/report.h"

price_run price_work;
error_list<PriceError> price_errors(
    "prschk",
    {{"fout",
      false,
      {{'I', 0, 4}, {'I', 4, 2}, {'I', 6, 2}, {'I', 8, 2}, {'I', 10, 2}, {'I', 12, 4}, {'I', 20, 1}}}});

namespace {

constexpr char set_file[] = "RVIPA";
constexpr int line_margin = 2;

void open_files() {
    price_work = {};
    iotab_row(tab_action::read, row_price_chain, price_work.chain);
    price_work.end = price_blocks_in_file();
    chk_bits_open(static_cast<std::size_t>(price_work.end) / 8 + 1);
    chk_ipg_raw(raw_action::open);
    price_work.sets = pair_open(set_file, ix_shared, sizeof(PriceSetRecord));
    price_errors.open();
}

bool walk() {
    const off_t sets = chk_txt_size(set_file) / static_cast<off_t>(sizeof(PriceSetRecord));
    chk_phase(detail_text(13, 2, "FASE-1: controleren prijssets"),
              static_cast<std::uint32_t>(std::max<off_t>(sets, 0)));
    const bool whole = prices_walk_series() && prices_walk_sets();
    chk_progress(0, 0, chk_bar::close);
    if (!whole) {
        return false;
    }
    prices_walk_free();
    prices_walk_rest();
    price_work.walked = true;
    return true;
}

// ---- The report

const char *error_text(int code) {
    switch (code) {
        case price_outside:
            return detail_text(13, 11, "prijsblok buiten bestand");
        case price_other_set:
            return detail_text(13, 12, "prijsblok van andere prijsset");
        case price_in_free_chain:
            return detail_text(13, 13, "prijsblok van vrijketting");
        case price_seen_before:
            return detail_text(13, 14, "prijsblok reeds aanwezig");
        case price_lost_no_set:
            return detail_text(13, 15, "prijsblok niet in ketting, prijsset NIET aanwezig");
        case price_lost:
            return detail_text(13, 16, "prijsblok niet in ketting, prijsset aanwezig");
        case price_lost_no_series:
            return detail_text(13, 17, "prijsblok niet in ketting, serie NIET aanwezig");
        case price_wrong_sizes:
            return detail_text(13, 21, "ontbrekende/foutieve maatprijzen");
        case price_set_no_series:
            return detail_text(13, 22, "serie NIET aanwezig");
        case price_no_main_supplier:
            return detail_text(13, 23, "Geen voorkeursleverancier bij prijssets");
        default:
            return "";
    }
}

void print_heads(bool first_page) {
    if (first_page) {
        prt_printf("%s", detail_text(13, 30,
                                     "Bij de volgende series zijn foutieve of ontbrekende prijzen. "
                                     "Deze worden indien mogelijk hersteld."));
        prt_newline();
        chk_note_prices();
        chk_dashes();
    }
    prt_printf("%-22.22s%6.6s%7.7s", detail_text(12, 18, "serienummer"), detail_text(13, 31, "lvnr"),
               detail_text(13, 32, "dat.tm"));
    prt_printf("%10.10s%10.10s ", chk_name(phrase_price_block), detail_text(13, 33, "P/N"));
    prt_printf("%s", detail_text(12, 13, "foutmelding"));
    prt_newline();
    chk_dashes();
}

void print_error(const PriceError &error) {
    chk_room(line_margin);
    const std::string series = str_format("%lu.%u.%u", static_cast<unsigned long>(error.key.group),
                                          unsigned{error.key.colour}, unsigned{error.key.number});
    prt_printf("%-22s %5u ", series.c_str(), unsigned{error.supplier});
    prt_printf("%6.6s", error.end_date == price_open_ended ? "" : date_plain(error.end_date));
    if (error.block < 0) {
        prt_printf("%10s", "");
    } else {
        prt_printf("%10ld", long{error.block});
    }
    if (error.previous == price_no_block) {
        prt_printf("%10s", "");
    } else {
        prt_printf(" %8ldP", long{error.previous});
    }
    prt_printf(" %s", error_text(error.code));
    prt_newline();
}

void print_errors() {
    const auto total = static_cast<std::uint32_t>(price_errors.icb()->nrecs);
    std::uint32_t done = 0;
    chk_phase(detail_text(13, 34, "afdrukken foutverslag"), total);
    price_errors.for_each([&](const PriceError &error) {
        print_error(error);
        chk_progress(++done, total, chk_bar::step);
    });
    chk_progress(0, 0, chk_bar::close);
    ok_prices = false;
}

// ---- Question, repair, end

bool ask() {
    const bool yes = op_ask(op_question::repair_prices,
                            detail_text(13, 37, "Er zijn fouten gevonden. Automatisch herstellen"));
    ok_prices = ok_prices && yes;  // an earlier run may have passed, and this one have no report
    return yes;
}

void repair() {
    prices_mend();
    ok_prices = true;
}

void close_files() {
    if (price_work.walked && ok_prices && price_work.lost > 0) {
        prices_free_lost();
    }
    IXCLOSE(price_work.sets);
    chk_ipg_raw(raw_action::close);
    chk_bits_close();
    price_errors.close();
}

}  // namespace

std::int32_t price_blocks_in_file() {
    const off_t blocks = chk_txt_size("RVIPG") / static_cast<off_t>(sizeof(PriceBlock));
    return static_cast<std::int32_t>(std::clamp<off_t>(blocks, 0, std::numeric_limits<std::int32_t>::max()));
}

void chk_prices() {
    chk_course course{.status = [] { return detail_text(13, 1, "controleren prijzen"); },
                      .title = [] { return chk_name(phrase_prices); },
                      .flag = &ok_prices,
                      .date = &SysRow19::prices};
    course.writes_date = false;
    course.runs_again = false;
    course.refusal = {.ends = false, .keeps_flag = false, .keeps_date = false};
    course.open = open_files;
    course.walk = walk;
    course.has_errors = [] { return !price_errors.empty(); };
    course.heads = print_heads;
    course.report = print_errors;
    course.ask = ask;
    course.repair = repair;
    course.close = close_files;
    chk_perform(course);
    if (ok_prices) {
        chk_label_prices();
    }
}
