// The repair of goods in transit: entries, and the report of their document numbers.
#include <cstdlib>
#include <map>
#include <utility>

#include "check/frame/columns.h"
#include "check/transit/transit.h"
#include "data/data.h"
#include "data/transitfile.h"

namespace {

constexpr int document_margin = 4;

bool was_received(std::int32_t number) {
    // The key may reach past the known part of the record.
    struct {
        ReceiptRecord known;
        std::uint8_t rest[ix_max_reclen - sizeof(ReceiptRecord)];
    } receipt{};
    receipt.known.label = number;
    return IXFIND(chk_files.rvontv, &receipt);
}

/// The next number of the work list; false at its end.
bool next_number(std::FILE *list, std::int32_t &number) {
    char line[1024 + 1];
    if (std::fgets(line, sizeof line, list) == nullptr) {
        return false;
    }
    number = static_cast<std::int32_t>(std::strtol(line, nullptr, 10));
    return true;
}

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
    entry.key = transit_series(label);
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

/// A line of the second report.
struct document_line {
    int from;
    int to;
    std::int32_t document;
};

constexpr report_column<document_line> document_columns[] = {
    {[] { return detail_text(3, 272, "vf"); }, "%3.3s ",
     [](const document_line &line) { return number_cell("%3ld ", long{line.from}); }},
    {[] { return detail_text(3, 289, "bf"); }, "%3.3s ",
     [](const document_line &line) { return number_cell("%3ld   ", long{line.to}); }},
    {[] { return detail_text(3, 309, "documentnr"); }, "%10.10s",
     [](const document_line &line) { return number_cell("%8ld", static_cast<long>(line.document)); }},
};

void print_document_heads() {
    chk_report_header(detail_text(8, 750, "GOEDEREN ONDERWEG"), false, 0);
    prt_printf(" %s", detail_text(8, 751, "gegenereerde documentnummers"));
    prt_newline();
    print_headings<document_line>(document_columns);
    chk_dashes();
}

void print_documents(const document_list &documents) {
    for (const auto &[branches, document] : documents) {
        if (chk_page_full(document_margin)) {
            print_document_heads();
        }
        print_line<document_line>(document_columns, {branches.first, branches.second, document});
    }
    if (!documents.empty()) {
        prt_newline();
        prt_printf(" %s", detail_text(8, 752, "s.v.p. deze documentnummers afwerken"));
        prt_newline();
    }
}

}  // namespace

void transit_check::repair() {
    if (!chk_open_report()) {
        return;
    }
    document_list documents;
    std::int32_t number = 0;
    work.rewind();
    while (next_number(work.stream(), number)) {
        eti_rec label;
        const bool found = eti_file(eti_action::read, number, label) != 0;
        transit_show_number(number);
        // Another program may have moved the label while the question was open.
        if (found && label.in_transit != 0 && !transit_has_entry(number)) {
            make_entry(number, label, documents);
        }
    }
    print_documents(documents);
    prt_close("");
}
