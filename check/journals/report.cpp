// The lines of the report of the order journal check. A line is the name of the journal and a
// sentence with what the walk saw there, so it is no table of columns.
#include "report/report.h"

#include <cstring>

#include "check/journals/journals.h"

namespace {

/// A byte as the report can show it.
char shown(char c) {
    constexpr unsigned char first_visible = 32;
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0 ? ' ' : byte < first_visible ? '?' : c;
}

std::string season_text(const journal_name &name) {
    return str_format("%04d%c", name.year, name.letter);
}

void tell(journal_fault fault, const std::string &season, const std::string &journal, std::int64_t at) {
    if (chk_is_heard()) {
        chk_found(journal_findings()[static_cast<std::size_t>(fault)], journal.c_str(),
                  {field_of("season", season), field_of("offset", at)});
    }
}

}  // namespace

void journal_report_closed(const std::string &directory, const std::string &journal) {
    tell(journal_fault::closed, directory, journal, 0);
}

void journal_report(const journal_name &name, journal_fault fault, const std::string &text, std::int64_t at) {
    const std::string journal = str_format("ORD%04d.JRN", name.number);
    tell(fault, season_text(name), journal, at);
    if (chk_page_full(1)) {
        chk_report_header(detail_text(24, 3, "CONTROLE ORDERJOURNAALS"), false, 0);
    }
    prt_printf("%s %s: %s --> %s", season_text(name).c_str(), journal.c_str(), text.c_str(),
               detail_text(24, 8, "FOUT"));
    prt_newline();
}

void journal_report_end(const journal_name &name, const journal_walk &walk) {
    const long at = static_cast<long>(walk.at);
    const char *const code = detail_text(24, 10, "kode");
    switch (walk.end) {
        case journal_end::unknown_code:
            journal_report(
                name, journal_fault::unknown_code,
                str_format("%s (%s=%c, fpos=%ld)", journal_findings()[0].text(), code, shown(walk.code), at),
                at);
            break;
        case journal_end::order_misplaced:
            journal_report(name, journal_fault::misplaced,
                           str_format("%s (%s=%c, %s=%c, fpos=%ld)", journal_findings()[1].text(), code,
                                      walk.code, detail_text(24, 11, "prevkode"), walk.previous, at),
                           at);
            break;
        case journal_end::cut_off:
            journal_report(
                name, journal_fault::cut_off,
                str_format("%s (%s=%c, fpos=%ld)", journal_findings()[2].text(), code, walk.code, at), at);
            break;
        case journal_end::unreadable:
            journal_report(name, journal_fault::disk, std::strerror(walk.error), at);
            break;
        case journal_end::passed:
        case journal_end::empty:
            break;
        default:
            tell(journal_fault::last_dropped, season_text(name), str_format("ORD%04d.JRN", name.number), at);
    }
}
