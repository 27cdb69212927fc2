// The operator of the terminal program: where on the screen the checks show what they show, and ask what they
// ask.
#include "run/dialogue.h"

#include <unistd.h>

#include <iterator>

#include "run/run_program.h"
#include "run/startup.h"
#include "screen/screen.h"

namespace {

constexpr int behind_caption = 0;

// ---- Fields: the number, the code or the file that is being looked at

/// Where a field stands. Rows of 0 and below count from the last line of the screen.
struct field_place {
    op_field field;
    int row;
    int column = 1;  ///< of the caption
    attr_t look = A_DIM;
    int caption_width = 0;  ///< of a caption that is cut and filled; 0 for the text as it is
    int value_column = behind_caption;
    int value_width = 0;           ///< to which a value is filled; below 0 it stands at the left
    bool caption_at_once = false;  ///< brought to the screen without delay
    bool value_at_once = false;
    bool wipes = false;      ///< the line is wiped before the value
    bool new_phase = false;  ///< the caption also wipes the line above the last
};

constexpr field_place places[] = {
    {.field = op_field::temporary_files, .row = 0, .look = A_BOLD, .caption_at_once = true},
    {.field = op_field::index_release, .row = 0, .look = A_BOLD, .caption_at_once = true},
    {.field = op_field::series_repaired, .row = 0, .look = A_BOLD, .value_at_once = true},
    {.field = op_field::series_referring, .row = -1},
    {.field = op_field::label_in_transit, .row = 0, .value_width = -10},
    {.field = op_field::criteria_lost, .row = 7},
    {.field = op_field::criteria_lost_count,
     .row = 8,
     .caption_width = 20,
     .value_column = 21,
     .value_width = -8},
    {.field = op_field::criteria_free, .row = 10},
    {.field = op_field::criteria_free_count,
     .row = 11,
     .caption_width = 20,
     .value_column = 21,
     .value_width = -8},
    {.field = op_field::size_kinds, .row = 3, .value_column = 41, .new_phase = true},
    {.field = op_field::label_sizes, .row = 5, .value_column = 41, .new_phase = true},
    {.field = op_field::series_sizes, .row = 7, .value_column = 41, .new_phase = true},
    {.field = op_field::number_supplier, .row = -2, .column = 2, .value_column = 15, .value_width = 4},
    {.field = op_field::number_code, .row = -1, .column = 2, .value_column = 15, .value_width = -13},
    {.field = op_field::barcode, .row = -1, .value_column = 11, .value_width = -13},
    {.field = op_field::ean_code, .row = -1, .value_column = 12, .value_width = -13},
    {.field = op_field::journal, .row = -1, .value_column = 1, .value_at_once = true, .wipes = true},
    {.field = op_field::journal_series, .row = -1, .value_column = 25},
};

/// The column behind the caption that a field has now.
int behind[std::size(places)] = {};

int row_of(const field_place &place) {
    return place.row > 0 ? place.row : scr->scr_lines + place.row;
}

void show_caption(const field_place &place, const char *caption) {
    const int width = place.caption_width;
    const int length =
        scr_text(place.look, row_of(place), place.column, "%-*.*s", width, width == 0 ? -1 : width, caption);
    behind[&place - places] = place.column + length + 1;
    if (place.new_phase) {
        scr_clear_eol(scr->scr_lines - 1, 1);
    }
    if (place.caption_at_once) {
        scr_flush(0);
    }
}

void show_value(const field_place &place, const char *value) {
    if (place.wipes) {
        scr_clear_eol(row_of(place), 1);
    }
    const int column = place.value_column == behind_caption ? behind[&place - places] : place.value_column;
    scr_text(A_BOLD, row_of(place), column, "%*s", place.value_width, value);
    if (place.value_at_once) {
        scr_flush(0);
    }
}

void show(op_field field, const char *caption, const char *value) {
    const field_place &place = places[static_cast<std::size_t>(field)];
    if (caption != nullptr) {
        show_caption(place, caption);
    } else if (value != nullptr) {
        show_value(place, value);
    } else {
        scr_clear_eol(row_of(place), 1);
    }
}

// ---- Notices

void tell_size_fault(const std::vector<std::string> &lines) {
    win_open1(scr->scr_lines - 6, 1, 5, 80);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", lines[0].c_str());
    scr_text(A_BOLD, 2, 2, "%s", lines[1].c_str());
    beep();
    ing_enter(3, 2);
    win_close();
}

void tell_price_blocks(const std::vector<std::string> &lines) {
    win_open3(10, 10, 5, 70);
    win_title("%s", lines[0].c_str());
    scr_text(A_BOLD, 2, 2, "%s", lines[1].c_str());
    ing_enter(3, 2);
    win_close();
}

/// In a window of its own at a fixed place, so that no window on the screen, such as a progress bar, hides
/// it.
void tell_price_sizes(const std::vector<std::string> &lines) {
    win_open1(10, 10, 2, 60);
    scr_text(A_BOLD, 1, 1, "%s", lines[0].c_str());
    ing_enter(2, 1);
    win_close();
}

void tell_size_findings(const std::vector<std::string> &lines) {
    win_open1(scr->scr_lines - 5, 1, 5, 80);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", lines[0].c_str());
    scr_text(A_BOLD, 2, 2, "%s", lines[1].c_str());
    ing_enter(3, 2);
    win_close();
}

/// What was found, and below a blank line what the shop can do.
void tell_titles_unknown(const std::vector<std::string> &lines) {
    win_open3(scr->scr_lines - 11, 1, 10, 80);
    win_title("%s", "");
    scr_text(A_BOLD, 2, 2, "%s", lines[0].c_str());
    scr_text(A_BOLD, 3, 2, "%s", lines[1].c_str());
    scr_text(A_BOLD, 5, 2, "%s", lines[2].c_str());
    scr_text(A_BOLD, 6, 2, "%s", lines[3].c_str());
    ing_enter(8, 2);
    win_close();
}

void tell_space_freed(const std::vector<std::string> &lines) {
    win_open1(scr->scr_lines - 5, 1, 5, 80);
    win_title("%s", "");
    scr_text(A_BOLD, 1, 2, "%s", lines[0].c_str());
    const int length = scr_text(A_BOLD, 2, 2, "%s", lines[1].c_str());
    scr_text(A_BOLD, 2, 2 + length + 1, "%s", lines[2].c_str());
    ing_enter(3, 2);
    win_close();
}

void tell_bad_marks(const std::vector<std::string> &lines) {
    scr_clear_eos(2, 1);
    FFLASH(flash_enter, 0, A_DIM, nullptr, "%s", lines[0].c_str());
}

void tell(op_notice notice, const std::vector<std::string> &lines) {
    switch (notice) {
        case op_notice::size_fault:
            return tell_size_fault(lines);
        case op_notice::price_blocks:
            return tell_price_blocks(lines);
        case op_notice::price_sizes:
            return tell_price_sizes(lines);
        case op_notice::size_findings:
            return tell_size_findings(lines);
        case op_notice::titles_unknown:
            return tell_titles_unknown(lines);
        case op_notice::space_freed:
            return tell_space_freed(lines);
        case op_notice::bad_marks:
            return tell_bad_marks(lines);
    }
}

// ---- Questions

constexpr int question_column = 2;

/// The question with the answer that stands when the operator only presses Enter.
bool ask_at(op_question question, int row, int column, const char *text) {
    switch (default_of(question)) {
        case op_default::yes:
            return ing_akkoord(row, column, "[+]%s", text) != 0;
        case op_default::no:
            return ing_akkoord(row, column, "[-]%s", text) != 0;
        default:
            return ing_akkoord(row, column, "%s", text) != 0;
    }
}

/// Two lines, at `row` and the row below, that tell the operator to ask for advice first.
void warn_consult(int row) {
    const int width = scr->scr_cols - 4;
    scr_text(A_REVERSE, row, 2, " %-*.*s ", width, width,
             detail_text(25, 1, "Deze keuze alleen uitvoeren in overleg met ZUV Support."));
    scr_text(A_REVERSE, row + 1, 2, " %-*.*s ", width, width,
             detail_text(25, 2, "Uitvoering hiervan kan onherstelbare schade aan uw bestanden veroorzaken!"));
    beep();
}

bool ask_release_labels(const char *text) {
    const int last = scr->scr_lines;
    warn_consult(last - 2);
    busy_hold();  // the question is so long that it reaches the place of the busy text
    const bool yes = ask_at(op_question::release_labels, last, question_column, text);
    busy_release();
    scr_clear_eos(last - 2, 1);
    return yes;
}

bool ask_repair(const char *text) {
    win_open3(scr->scr_lines - 3, 1, 3, 80);
    win_title("%s", "");
    const bool yes = ask_at(op_question::repair, 1, question_column, text);
    win_close();
    return yes;
}

bool ask_repair_prices(const char *text) {
    const int last = scr->scr_lines;
    warn_consult(last - 4);
    const bool yes = ask_at(op_question::repair_prices, last - 1, question_column, text);
    scr_clear_eos(last - 4, 1);
    return yes;
}

bool ask_assign_codes(const char *text, const char *found) {
    constexpr int height = 7;
    win_open1(scr->scr_lines - height, 1, height, 80);
    win_title("%s", "");
    scr_text(A_BOLD, 2, 2, "%s", found);
    const bool yes = ask_at(op_question::assign_codes, height - 2, question_column, text);
    win_close();
    return yes;
}

bool ask(op_question question, const char *text, const std::vector<std::string> &lines) {
    switch (question) {
        case op_question::series_index:
            return ask_at(question, scr->scr_lines, question_column, text);
        case op_question::release_labels:
            return ask_release_labels(text);
        case op_question::repair:
            return ask_repair(text);
        case op_question::repair_prices:
            return ask_repair_prices(text);
        case op_question::repair_customers:
            return ask_at(question, scr->scr_lines - 1, 1, text);
        case op_question::assign_codes:
            return ask_assign_codes(text, lines[0].c_str());
    }
    return false;
}

// ---- Waiting for another program

/// Waits a second; false when the operator was asked and does not want to wait any longer.
bool keep_waiting(bool may_ask) {
    constexpr int row = 2;
    if (!may_ask) {
        scr_flush(1);
        return true;
    }
    if (!key_wait(row, question_column, 1)) {
        return true;
    }
    key_get(win_current());
    return ing_akkoord(row, question_column, "%s", detail_text(9, 528, "Wilt u wachten")) != 0;
}

bool await_turn(bool may_ask, const std::function<bool()> &granted) {
    win_open1(10, 6, 4, 70);
    win_title("%s", "");
    scr_text(A_BLINK, 1, 2, "%s", detail_text(8, 672, "Verwerking is actief"));
    if (may_ask) {
        scr_text(A_DIM, 2, 2, "%s? %s", detail_text(9, 528, "Wilt u wachten"), detail_text(1, 866, "(J/N)"));
    }
    scr_flush(0);
    scr_flush(0);
    bool our_turn = false;
    while (!our_turn && keep_waiting(may_ask)) {
        scr_leave_if_due();
        our_turn = granted();
    }
    win_close();
    return our_turn;
}

// ---- Indexes

/// By the program that does nothing else, which shows its own progress on the bare terminal.
bool rebuild_index(const char *pair) {
    constexpr char rebuild_program[] = "ixreorgk";
    const std::string place = program_place(rebuild_program);
    const std::string program = place + rebuild_program;
    if (place.empty() || access(program.c_str(), X_OK) != 0) {
        msg_error(str_format(detail_text(23, 6, "Programma %s niet gevonden"), rebuild_program).c_str(),
                  place.empty() ? detail_text(23, 7, "omgevingsvariabele BIN ontbreekt") : program.c_str(),
                  str_format(detail_text(23, 8, "De index van %s is niet hersteld"), pair).c_str());
        return false;
    }
    run_program(place.c_str(), str_format("%s %s", rebuild_program, pair).c_str(), false);
    return true;
}

}  // namespace

void dialogue_install() {
    isam_operator.status = [](const char *text) { chk_status('C', "%s", text); };
    isam_operator.phase = [] { scr_clear_eos(scr->scr_lines - 2, 1); };
    isam_operator.tell = tell;
    isam_operator.ask = ask;
    isam_operator.show = show;
    isam_operator.await_turn = await_turn;
    isam_operator.end = [] { chain_program(""); };
    isam_operator.rebuild_index = rebuild_index;
}
