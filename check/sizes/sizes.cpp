// The size check: the size kinds are sound, and labels, price sets and series use only sizes of their kind.
//
//   1  size kinds: the sequence numbers of a kind run from 1 without a gap. A human has to mend this. Then
//      the descriptions that their size kind does not know of are deleted
//   2  labels: each has a size of the kind of its series. A human has to mend this
//   3  series: the sizes and the price groups of each agree with its labels and price sets. Differences are
//      mended on the way, so they do not keep the check from passing
//
// Each phase has a report of its own, and runs only when the one before has passed. The chains of labels have
// been checked before, so they can be followed.
#include "check/sizes/sizes.h"

#include <algorithm>
#include <array>

#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "data/ioink.h"
#include "report/report.h"

namespace {

/// A phase. `walk` prints its findings and gives their number.
struct size_phase {
    op_field field;
    const char *(*caption)();
    const char *(*title)();
    void (*columns)();
    std::int64_t (*walk)();
    const char *(*alarm)();  ///< what the operator is told about findings; null: they are mended
    void (*tidy)();          ///< work after the report; null for none
    bool has_bar;            ///< long enough to be cancelled
};
const size_phase *phase = nullptr;
day_number last_date = 0;

/// The bar over all series.
std::uint32_t series_total = 0;
std::uint32_t series_done = 0;

// ---- Phase 1: size kinds

void print_kind_columns() {
    prt_printf("%9.9s %6.6s  %s", detail_text(12, 11, "maatsoort"), detail_text(12, 12, "volgnr"),
               detail_text(12, 13, "foutmelding"));
}

void print_number(int kind, int number, const char *text) {
    chk_room(sizes_margin);
    prt_printf("%9d %6d  %s", kind, number, text);
    prt_newline();
}

int check_numbers(const SizeKindRecord &record) {
    std::array<int, size_highest + 1> counts{};
    int errors = 0;
    int highest = 0;
    for (unsigned i = 1; i <= size_highest; i++) {
        const SizeEntry &entry = record.entries[i];
        if (entry.code[0] == '\0') {
            continue;
        }
        if (entry.link < 1 || entry.link > size_highest) {
            print_number(record.kind, entry.link, detail_text(12, 14, "Ongeldig volgnr"));
            errors++;
            continue;
        }
        counts[entry.link]++;
        highest = std::max<int>(highest, entry.link);
    }
    for (int number = 1; number <= highest; number++) {
        const int count = counts[static_cast<std::size_t>(number)];
        if (count == 1) {
            continue;
        }
        errors++;
        print_number(record.kind, number,
                     count == 0 ? detail_text(12, 15, "Ontbrekend volgnr")
                                : str_format(detail_text(12, 16, "Komt %d keer voor"), count).c_str());
    }
    return errors;
}

std::int64_t check_kinds() {
    std::int64_t errors = 0;
    const key_switch key(chk_files.rvmaat, 1);
    SizeKindRecord record{};
    record.system = sys_settings.size_system;
    sizes_walk_by_key(chk_files.rvmaat, record, 1, [&] {
        errors += check_numbers(record);
        return true;
    });
    return errors;
}

/// True when the size has a description according to its kind. A record of another kind, which only a damaged
/// index leads to, does not count against it.
bool is_described(const SizeNameRecord &name) {
    SizeKindRecord kind{};
    kind.system = name.system;
    kind.kind = name.kind;
    if (!IXREAD(chk_files.rvmaat, &kind)) {
        return false;
    }
    return kind.system != name.system || kind.kind != name.kind || kind.described.test(name.index);
}

void delete_stale_names() {
    const key_switch kinds(chk_files.rvmaat, 1);
    const key_switch names(chk_files.rvmtom, 1);
    SizeNameRecord record{};
    sizes_walk_by_key(chk_files.rvmtom, record, 0, [&] {
        SizeNameRecord name = record;
        if (!is_described(name)) {
            if (IXREADLOCK(chk_files.rvmtom, &name)) {
                IXDELETE(chk_files.rvmtom, &name);
            } else {
                IXFREE(chk_files.rvmtom, &name);
            }
        }
        return true;
    });
}

// ---- Phase 2: sizes of labels

/// How often each size is missing. There is room for the first `Room` sizes.
template <std::size_t Room>
class missing_sizes {
public:
    struct size {
        unsigned kind;
        unsigned index;
        std::uint32_t count;
    };
    void clear() {
        used = 0;
    }
    /// False, and nothing counted, when there is no room.
    bool add(unsigned kind, unsigned index) {
        const auto same = [&](const size &each) { return each.kind == kind && each.index == index; };
        size *const free = sizes.begin() + used;
        size *const place = std::find_if(sizes.begin(), free, same);
        if (place == sizes.end()) {
            return false;
        }
        if (place == free) {
            *place = {kind, index, 0};
            used++;
        }
        place->count++;
        return true;
    }
    [[nodiscard]] const size *begin() const {
        return sizes.begin();
    }
    [[nodiscard]] const size *end() const {
        return sizes.begin() + used;
    }

private:
    std::array<size, Room> sizes{};
    std::size_t used = 0;
};

constexpr std::size_t sizes_in_run = 250;
constexpr std::size_t sizes_in_series = 100;
missing_sizes<sizes_in_run> missing_in_run;
missing_sizes<sizes_in_series> missing_in_series;

void print_label_columns() {
    prt_printf("%9.9s %9.9s %9.9s  ", detail_text(12, 11, "maatsoort"), detail_text(12, 17, "maatindex"),
               detail_text(3, 495, "etiketten"));
    prt_printf("%-16.16s %-14.14s %-15.15s", detail_text(12, 13, "foutmelding"),
               detail_text(12, 18, "serienummer"), detail_text(12, 19, "etiketnummer"));
}

/// The part that the three rows of a missing size share.
void start_row(unsigned kind, unsigned index, std::uint32_t count) {
    chk_room(sizes_margin);
    prt_printf("%9u %9u %9u  ", kind, index, count);
}

const char *missing_size_text() {
    return detail_text(12, 20, "Ontbrekende maat");
}

/// False when the table of the whole run is full.
bool check_label_sizes(const SeriesRecord &series) {
    const std::string text = ser_text(series.key);
    const unsigned kind = series.size_kind;
    bool room = true;
    missing_in_series.clear();
    sizes_view_kind(series);
    sizes_walk_labels(series, [&](std::int32_t number, const eti_rec &label) {
        if (session_sizes->has(label.size)) {
            return true;
        }
        if (!missing_in_series.add(kind, label.size)) {
            return false;
        }
        room = missing_in_run.add(kind, label.size);
        if (room) {
            start_row(kind, label.size, 1);
            prt_printf("%-16.16s %s %ld", missing_size_text(), text.c_str(), long{number});
            prt_newline();
        }
        return room;
    });
    for (const auto &size : missing_in_series) {
        start_row(size.kind, size.index, size.count);
        prt_printf("%-16.16s %s", missing_size_text(), text.c_str());
        prt_newline();
    }
    return room;
}

std::int64_t check_labels() {
    ICB *file = chk_files.rvser;
    missing_in_run.clear();
    sizes_bar_open();
    SeriesRecord series;
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        if (op_interrupted() || !check_label_sizes(series)) {
            file->recno = file->nrecs;  // a scan has to be run to its end
        }
        sizes_bar_step();
    }
    sizes_bar_close();
    if (op_interrupted()) {
        return 0;
    }
    std::int64_t labels = 0;
    for (const auto &size : missing_in_run) {
        start_row(size.kind, size.index, size.count);
        prt_printf("%s", missing_size_text());
        prt_newline();
        labels += size.count;
    }
    return labels;
}

// ---- The course

void print_heads(bool first_page) {
    if (!first_page) {
        chk_dashes();  // the head of the first page ends with them
    }
    phase->columns();
    prt_newline();
    chk_dashes();
}

void print_nothing_found() {
    chk_report_header(phase->title(), true, last_date);
    if (phase->alarm != nullptr) {
        print_heads(true);
    }
    prt_printf("%s", chk_name(phrase_no_errors));
    prt_newline();
}

void alarm_operator(const char *text) {
    op_tell(op_notice::size_findings, {text, term_text(1, 95, "Neem contact op met de Support-groep")});
}

/// False when the check ends here: findings for a human, no report, or cancelled.
bool run_phase(const size_phase &which) {
    phase = &which;
    op_caption(which.field, which.caption());
    if (!chk_open_report()) {
        return false;
    }
    const std::int64_t findings = which.walk();
    const bool broken_off = which.has_bar && op_interrupted();
    if (findings == 0 && !broken_off && !chk_full_run) {
        print_nothing_found();
    }
    prt_close("");
    if (broken_off) {
        return false;
    }
    const bool failed = findings != 0 && which.alarm != nullptr;
    if (failed) {
        alarm_operator(which.alarm());
    }
    if (which.tidy != nullptr) {
        which.tidy();
    }
    if (!failed) {
        op_value(which.field, "OK");
    }
    return !failed;
}

constexpr size_phase phases[] = {
    {op_field::size_kinds, [] { return detail_text(12, 30, "FASE-1: controleren maatsoorten"); },
     [] { return detail_text(12, 31, "CONTROLEREN MAATSOORTEN"); }, print_kind_columns, check_kinds,
     [] { return detail_text(12, 32, "Foutieve maatsoorten!"); }, delete_stale_names, false},
    {op_field::label_sizes, [] { return detail_text(12, 33, "FASE-2: controleren etiketmaten"); },
     [] { return detail_text(12, 34, "CONTROLEREN ETIKETMATEN"); }, print_label_columns, check_labels,
     [] { return detail_text(12, 35, "Foutieve/ontbrekende etiketmaten!"); }, nullptr, true},
    {op_field::series_sizes, [] { return detail_text(12, 36, "FASE-3: controleren maten per serie"); },
     [] { return detail_text(12, 37, "CONTROLEREN MATEN PER SERIE"); }, sizes_series_columns,
     sizes_check_series, nullptr, nullptr, true},
};

void open_files() {
    last_date = chk_last_date(&SysRow19::sizes);
    size_view_forget();  // the kinds may have been mended since
    eti_file(eti_action::open);
    ink_open(ink_mode::write);
}

void close_files() {
    eti_file(eti_action::close);
    ink_close();
}

}  // namespace

void sizes_bar_open() {
    series_done = 0;
    const off_t bytes = std::max<off_t>(chk_txt_size("RVSER"), 0);
    series_total = static_cast<std::uint32_t>(bytes / static_cast<off_t>(sizeof(SeriesRecord)));
    chk_phase(detail_text(12, 10, "series verwerken"), series_total);
}

void sizes_bar_step() {
    chk_progress(++series_done, series_total, chk_bar::step);
}

void sizes_bar_close() {
    chk_progress(0, 0, chk_bar::close);
}

void sizes_view_kind(const SeriesRecord &series) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind);
}

void chk_sizes() {
    chk_course course{.status = [] { return chk_name(phrase_check_sizes); },
                      .title = [] { return phase->title(); },
                      .flag = &ok_sizes,
                      .date = &SysRow19::sizes};
    course.runs_again = false;
    course.report_time = chk_report_time::by_check;
    course.open = open_files;
    course.walk = [] { return std::all_of(std::begin(phases), std::end(phases), run_phase); };
    course.heads = print_heads;
    course.close = close_files;
    chk_perform(course);
}
