// The course of the label check, and the series file before it is walked.
#include "check/labels/labels.h"

#include "data/pairopen.h"

namespace {

/// Deletes what unfinished work on the series file left: index halves under other names that no program can
/// use.
void remove_leftovers() {
    std::string name = str_format("%s.*", "RVSER");
    if (!DIRECTORY(dir_action::open, name)) {
        return;
    }
    while (DIRECTORY(dir_action::next, name)) {
        std::string capitals = name;
        str_upper(capitals.data());
        const bool half =
            capitals.find("TXT") != std::string::npos || capitals.find("INX") != std::string::npos;
        if (!half && IXCHECK(name.c_str()) < 0) {
            file_delete(name.c_str());
        }
    }
    DIRECTORY(dir_action::close, name);
}

}  // namespace

label_check::label_check()
    : chk_check({.flag = &ok_labels,
                 .date = &SysRow19::labels,
                 .withdraws = true,
                 .runs_again = false,
                 .refusal = {.ends = false, .keeps_flag = true, .keeps_date = false}}) {}

const char *label_check::status() const {
    return detail_text(2, 946, "controleren etiketten");
}

const char *label_check::title() const {
    return chk_name(phrase_labels);
}

/// Rebuilds the index of the series file once a session; outside a full run only when the operator wants it.
void label_check::rebuild_series_index() {
    if (chk_series_index_made ||
        (!chk_full_run && !op_ask(op_question::series_index,
                                  detail_text(8, 244, "Wilt u de index van het seriebestand herstellen")))) {
        return;
    }
    const leave_guard undisturbed;
    const int mode = chk_files.rvser->mode;
    IXCLOSE(chk_files.rvser);
    chk_files.rvser = nullptr;
    tell_rebuilt = chk_series_index_made = IXBLDIX("RVSER");
    chk_files.rvser = pair_open("RVSER", mode, sizeof(SeriesRecord));
}

void label_check::open() {
    rebuild_series_index();
    remove_leftovers();
    iotab_row(tab_action::read, row_label_chain, chain);
    chk_eti_raw(raw_action::open);
    known = end = labels_in_file();
    chk_bits_open(static_cast<std::size_t>(end) / 8 + 1);
    errors.open();
}

bool label_check::walk() {
    if (!walk_series()) {
        return false;
    }
    walk_free();
    walk_rest();
    return true;
}

bool label_check::ask() {
    return op_ask(op_question::release_labels,
                  detail_text(2, 398, "Alle etiketblokken niet in ketting worden verwijderd. Akkoord"));
}

void label_check::close() {
    chk_eti_raw(raw_action::close);
    chk_bits_close();
    errors.close();
}

void chk_labels() {
    label_check check;
    chk_perform(check);
}
