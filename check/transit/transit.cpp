// The check of goods in transit: a label that carries the mark has an entry in RVGO.
//
// The labels without one are reported during the walk and noted in a work list, a text file. When the
// operator agrees, each gets an entry, with one new document number for each pair of branches; a second
// report gives these numbers. If the program stops half-way, the next run no longer finds the labels that
// already got an entry.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>

#include "base/owned_file.h"
#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "data/iomaat.h"
#include "data/transitfile.h"
#include "report/report.h"

namespace {

constexpr int line_margin = 3;
constexpr int document_margin = 4;
constexpr int labels_a_group = 4;
constexpr int width_series = 15;
constexpr int width_label = 10;
constexpr int width_branch = 3;
constexpr int width_size = 3;

// ---- Work list

/// Numbers of labels, one a line, in a file, because there may be too many for memory.
struct {
    std::string name;
    open_stream file;
    std::uint32_t count = 0;
} work;

[[noreturn]] void work_fail() {
    isam_fatal("%s: errno=%d%s", work.name.c_str(), errno, disk_full_text(errno));
}

void work_close() {
    if (!close_stream(work.file)) {
        work_fail();
    }
}

void work_open(const char *mode) {
    work_close();
    work.file.reset(std::fopen(work.name.c_str(), mode));
    if (work.file == nullptr) {
        err_open(program_name, work.name.c_str());
    }
}

void work_add(std::int32_t number) {
    if (std::fprintf(work.file.get(), "%ld\n", static_cast<long>(number)) < 0) {
        work_fail();
    }
    work.count++;
}

/// The next number; false at the end of the list.
bool work_next(std::int32_t &number) {
    char line[1024 + 1];
    if (std::fgets(line, sizeof line, work.file.get()) == nullptr) {
        return false;
    }
    number = static_cast<std::int32_t>(std::strtol(line, nullptr, 10));
    return true;
}

// ---- Labels and their entries

bool transit_has_entry(std::int32_t number) {
    TransitRecord entry{};
    entry.label = number;
    const key_switch by_label(chk_files.rvgo, 1);
    return IXFINDP(chk_files.rvgo, &entry, 1);
}

bool was_received(std::int32_t number) {
    // The key may reach past the known part of the record.
    struct {
        ReceiptRecord known;
        std::uint8_t rest[ix_max_reclen - sizeof(ReceiptRecord)];
    } receipt{};
    receipt.known.label = number;
    return IXFIND(chk_files.rvontv, &receipt);
}

SeriesKey key_of(const eti_rec &label) {
    SeriesKey key;
    key.group = label.group;
    key.colour = label.colour;
    key.number = label.number;
    return key;
}

void show_number(std::int32_t number) {
    op_value(op_field::label_in_transit, std::to_string(number).c_str());
}

// ---- First report: labels without an entry

int group_count = 0;

void print_heads(bool) {
    prt_printf(fmt_left_s(width_series), detail_text(26, 2, "serienummer"));
    prt_printf(" ");
    prt_printf(fmt_right_s(width_label), detail_text(26, 6, "etiketnr"));
    prt_printf(" ");
    prt_printf(fmt_right_s(width_branch), detail_text(3, 272, "vf"));
    prt_printf(" ");
    prt_printf(fmt_right_s(width_branch), detail_text(3, 289, "bf"));
    prt_printf(" ");
    prt_printf(fmt_right_s(width_size), detail_text(5, 423, "mt"));
    prt_newline();
    chk_dashes();
    group_count = 0;
}

/// The code of the label's size; blank where the series or the size is unknown.
std::string size_code(const SeriesRecord &series, std::uint8_t size) {
    size_cursor cursor{};
    cursor.index = size;
    size_view(session_sizes, sys_settings.size_system, series.size_kind);
    if (session_sizes == nullptr || mtread(session_sizes, mt_action::read, cursor, mt_key::index) == 0) {
        return "";
    }
    return {cursor.code, strnlen(cursor.code, sizeof cursor.code)};
}

void print_label(std::int32_t number) {
    eti_rec label;
    eti_file(eti_action::read, number, label);
    SeriesRecord series{};
    series.key = key_of(label);
    const bool known = IXREAD(chk_files.rvser, &series);
    chk_room(line_margin);
    if (group_count == labels_a_group) {
        chk_dashes();
        group_count = 0;
    }
    group_count++;
    prt_printf(fmt_left_s(width_series), ser_text(label.group, label.colour, label.number).c_str());
    prt_printf(" ");
    if (known && series.registration == registration_sizes) {
        prt_fill(width_label + 1, ' ');
    } else {
        prt_printf("%10ld ", static_cast<long>(number));
    }
    prt_printf("%3d ", int{label.branch});
    prt_printf("%3d ", int{label.dest_branch});
    prt_printf(fmt_left_s(width_size), known ? size_code(series, label.size).c_str() : "");
    prt_newline();
}

// ---- Walk

void open_files() {
    op_caption(op_field::label_in_transit, detail_text(3, 502, "Etiketnummer"));
    chk_eti_raw(raw_action::open);
    eti_file(eti_action::open);
    work.name = chk_tempname();
    work.count = 0;
    work_open("w");
}

void close_files() {
    work_close();
    file_delete(work.name.c_str());
    eti_file(eti_action::close);
    chk_eti_raw(raw_action::close);
}

bool in_transit(const LabelEntry &entry) {
    return label_split(entry).status == label_stock && entry.extra > 0;
}

void check_block(std::int32_t block, const LabelBlock &buffer) {
    for (int slot = 0; slot < labels_per_block; slot++) {
        const std::int32_t number = eti_number(block, slot);
        if (in_transit(buffer.slots[slot]) && !transit_has_entry(number)) {
            work_add(number);
            print_label(number);
        }
    }
    show_number(eti_number(block, labels_per_block - 1));
}

/// Blocks above the highest number hold no labels, since no label has such a number.
bool walk() {
    LabelBlock buffer;
    for (std::int32_t block = 0; block <= eti_max_block() && chk_eti_raw(raw_action::read_on, 0, buffer) != 0;
         block++) {
        if (buffer.key.group != 0 && buffer.key.colour != 0 && buffer.key.number != 0) {
            check_block(block, buffer);
        }
    }
    work_close();
    return true;
}

// ---- Repair: entries, and the second report

/// Document number of each pair of branches, from and to.
using document_list = std::map<std::pair<int, int>, std::int32_t>;

/// The digit that makes the sum of all digits a multiple of 10, when they are weighted by 3 and 1 in turn
/// from the last digit of `number` on.
int check_digit(std::int32_t number) {
    int sum = 0;
    int weight = 3;
    for (; number > 0; number /= 10) {
        sum += number % 10 * weight;
        weight = 4 - weight;
    }
    return (10 - sum % 10) % 10;
}

/// A new document number: 2, a running number of six digits, a check digit.
std::int32_t doc_next() {
    constexpr std::int32_t highest = 999999;
    constexpr std::int32_t kind = 2000000;
    SysRow18 row{};
    iotab_row(tab_action::lock_read, row_document, row);
    const std::int32_t last = row.last_document;
    const std::int32_t next = last < 0 || last >= highest ? 1 : last + 1;
    row.last_document = next;
    iotab_row(tab_action::write, row_document, row);
    return (kind + next) * 10 + check_digit(kind + next);
}

void make_entry(std::int32_t number, const eti_rec &label, document_list &documents) {
    TransitRecord entry{};
    entry.from = label.branch;
    entry.to = label.dest_branch;
    entry.label = number;
    entry.key = key_of(label);
    entry.created = date_today();
    entry.changed = entry.created;
    entry.kind = was_received(number) ? 2 : 1;
    std::int32_t &document = documents[{label.branch, label.dest_branch}];
    if (document == 0) {
        document = doc_next();
    }
    entry.document = document;
    IXWRITE(chk_files.rvgo, &entry);
}

void print_document_heads() {
    chk_report_header(detail_text(8, 750, "GOEDEREN ONDERWEG"), false, 0);
    prt_printf(" %s", detail_text(8, 751, "gegenereerde documentnummers"));
    prt_newline();
    prt_printf(fmt_right_s(width_branch), detail_text(3, 272, "vf"));
    prt_printf(" ");
    prt_printf(fmt_right_s(width_branch), detail_text(3, 289, "bf"));
    prt_printf(" ");
    prt_printf(fmt_right_s(10), detail_text(3, 309, "documentnr"));
    prt_newline();
    chk_dashes();
}

void print_documents(const document_list &documents) {
    for (const auto &[branches, document] : documents) {
        if (chk_page_full(document_margin)) {
            print_document_heads();
        }
        prt_printf("%3d ", branches.first);
        prt_printf("%3d   ", branches.second);
        prt_printf("%8ld", static_cast<long>(document));
        prt_newline();
    }
    if (!documents.empty()) {
        prt_newline();
        prt_printf(" %s", detail_text(8, 752, "s.v.p. deze documentnummers afwerken"));
        prt_newline();
    }
}

void repair() {
    if (!chk_open_report()) {
        return;
    }
    document_list documents;
    std::int32_t number = 0;
    work_open("r");
    while (work_next(number)) {
        eti_rec label;
        const bool found = eti_file(eti_action::read, number, label) != 0;
        show_number(number);
        // Another program may have moved the label while the question was open.
        if (found && label.in_transit != 0 && !transit_has_entry(number)) {
            make_entry(number, label, documents);
        }
    }
    work_close();
    print_documents(documents);
    prt_close("");
}

const char *title() {
    return detail_text(8, 663, "controleren goederen onderweg");
}

}  // namespace

void chk_transit() {
    chk_course course{.status = title, .title = title, .flag = &ok_transit, .date = &SysRow19::transit};
    course.report_time = chk_report_time::before_walk;
    course.open = open_files;
    course.walk = walk;
    course.has_errors = [] { return work.count > 0; };
    course.heads = print_heads;
    course.repair = repair;
    course.close = close_files;
    chk_perform(course);
}
