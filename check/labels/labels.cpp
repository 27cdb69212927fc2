// The label check: every block of the label file belongs to exactly one chain, that of a series or the free
// chain. All other checks rely on it.
#include "check/labels/labels.h"

#include "check/frame/frame.h"
#include "print/print.h"
#include "screen/screen.h"

label_run label_work;
chain_error_list label_errors;

namespace {

constexpr int line_margin = 2;
constexpr int question_column = 2;

bool index_rebuilt = false;  ///< in this session
bool tell_rebuilt = false;   ///< in this run

// ---- The series file, before it is walked

/// Rebuilds the index of the series file once a session; outside a full run only when the operator wants it.
void rebuild_series_index() {
    tell_rebuilt = false;
    if (index_rebuilt ||
        (!chk_full_run &&
         ing_akkoord(scr->scr_lines, question_column, "[-]%s",
                     detail_text(8, 244, "Wilt u de index van het seriebestand herstellen")) == 0)) {
        return;
    }
    const leave_guard undisturbed;
    const int mode = chk_files.rvser->mode;
    IXCLOSE(chk_files.rvser);
    chk_files.rvser = nullptr;
    tell_rebuilt = index_rebuilt = IXBLDIX("RVSER");
    chk_files.rvser = pair_open("RVSER", mode, sizeof(SeriesRecord));
}

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

void open_files() {
    rebuild_series_index();
    remove_leftovers();
    label_work = {};
    iotab_row(tab_action::read, row_label_chain, label_work.chain);
    chk_eti_raw(raw_action::open);
    label_work.known = label_work.end = labels_in_file();
    chk_bits_open(static_cast<std::size_t>(label_work.end) / 8 + 1);
    label_errors.open();
}

bool walk() {
    if (!labels_walk_series()) {
        return false;
    }
    labels_walk_free();
    labels_walk_rest();
    return true;
}

// ---- The report

const char *error_text(int code) {
    switch (code) {
        case label_outside:
            return detail_text(3, 548, "etiketblok buiten bestand");
        case label_other_series:
            return detail_text(3, 555, "etiketblok van andere serie");
        case label_in_free_chain:
            return detail_text(3, 552, "etiketblok van vrijketting");
        case label_seen_before:
            return detail_text(3, 549, "etiketblok reeds aanwezig");
        case label_lost_unknown:
            return detail_text(3, 579, "etiketblok niet in ketting, serie NIET aanwezig");
        case label_lost:
            return detail_text(3, 571, "etiketblok niet in ketting, serie aanwezig");
        case label_series_invalid:
            return detail_text(5, 945, "ongeldige serie");
        case label_lost_invalid:
            return detail_text(3, 575, "etiketblok niet in ketting, ongeldige serie");
        default:
            return "";
    }
}

void print_preface() {
    if (tell_rebuilt) {
        prt_printf("%s", detail_text(4, 274, "Index van het seriebestand hersteld"));
        prt_newline();
        chk_dashes();
    }
}

void print_heads(bool) {
    prt_printf("%-22.22s", detail_text(6, 918, "serienr"));
    prt_printf("%10.10s", detail_text(3, 499, "etiketblok"));
    prt_printf("%10.10s  ", "P/N");
    prt_printf("%-22.22s ", detail_text(6, 931, "serienr-etiketblok"));
    prt_printf("%-8.8s  ", detail_text(4, 150, "hersteld"));
    prt_printf("%s", detail_text(3, 920, "foutmelding"));
    prt_newline();
    chk_dashes();
}

void print_key(bool known, const SeriesKey &key) {
    const std::string text = str_format("%lu.%u.%u", static_cast<unsigned long>(key.group),
                                        unsigned{key.colour}, unsigned{key.number});
    prt_printf("%-22.22s", known ? text.c_str() : "");
}

/// The block after or before the one at fault.
void print_neighbour(std::int32_t block, bool next) {
    if (block == stdchk_none) {
        prt_printf("%10s", "");
    } else if (next) {
        prt_printf(" %8ldN", long{block});
    } else {
        prt_printf(" %8ldP", long{block});
    }
}

void print_error(const ChainError &error) {
    LabelBlock content{};
    const bool readable = labels_read(error.block, content);
    const bool lost =
        error.code == label_lost_unknown || error.code == label_lost || error.code == label_lost_invalid;
    chk_room(line_margin);
    print_key(!lost, error.key);
    if (error.block == stdchk_none) {
        prt_printf("%10s", "");
    } else {
        prt_printf("%10ld", long{error.block});
    }
    print_neighbour(!lost ? error.previous.value() : readable ? content.next.value() : stdchk_none, lost);
    prt_printf("%s", "  ");
    print_key(readable && (lost || error.code == label_other_series), content.key);
    prt_printf(" %-8.8s  ", error.repaired != 0 ? detail_text(4, 471, "JA") : detail_text(5, 506, "NEE"));
    prt_printf("%-2d %s", int{error.code}, error_text(error.code));
    prt_newline();
}

void print_figures() {
    const std::int32_t all = label_work.end;
    const std::int32_t unused = label_work.free_in_chain;
    const auto labels = [](std::int32_t blocks) { return long{blocks} * labels_per_block; };
    prt_printf("%-32.32s : %8ld (100.0%%)", detail_text(4, 880, "Laatste etiketnummer in gebruik"),
               labels(all));
    prt_newline();
    prt_printf("%-32.32s : %8ld (%5.1f%%)", detail_text(8, 152, "Waarvan vrije etiketnummers"),
               labels(unused), all == 0 ? 0.0 : unused * 100.0 / all);
    prt_newline();
}

bool ask_release() {
    const int last = scr->scr_lines;
    chk_warn_consult(last - 2);
    busy_hold();  // the question is so long that it reaches the place of the busy text
    const bool yes =
        ing_akkoord(last, question_column, "[-]%s",
                    detail_text(2, 398, "Alle etiketblokken niet in ketting worden verwijderd. Akkoord")) !=
        0;
    busy_release();
    scr_clear_eos(last - 2, 1);
    return yes;
}

void close_files() {
    chk_eti_raw(raw_action::close);
    chk_bits_close();
    label_errors.close();
}

}  // namespace

void chk_labels() {
    chk_course course{.status = [] { return detail_text(2, 946, "controleren etiketten"); },
                      .title = [] { return chk_name(phrase_labels); },
                      .flag = &ok_labels,
                      .date = &SysRow19::labels};
    course.withdraws = true;
    course.runs_again = false;
    course.refusal = {.ends = false, .keeps_flag = true, .keeps_date = false};
    course.open = open_files;
    course.walk = walk;
    course.has_errors = [] { return !label_errors.empty(); };
    course.mend = labels_mend;
    course.preface = print_preface;
    course.heads = print_heads;
    course.report = [] { label_errors.for_each(print_error); };
    course.figures = print_figures;
    course.ask = ask_release;
    course.repair = labels_release;
    course.close = close_files;
    chk_perform(course);
}
