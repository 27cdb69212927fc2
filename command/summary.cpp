#include "command/summary.h"

#include <fmt/format.h>

#include <algorithm>

#include "check/session/session.h"
#include "command/options.h"

namespace {

std::string verdict_of(int status) {
    if ((status & status_cancelled) != 0) {
        return shown_text(detail_text(28, 50, "afgebroken"));
    }
    if ((status & status_unchecked) != 0) {
        return shown_text(detail_text(28, 51, "niet gecontroleerd"));
    }
    if ((status & status_left) != 0) {
        return shown_text(detail_text(28, 52, "fouten over"));
    }
    return (status & status_mended) != 0 ? shown_text(detail_text(28, 53, "hersteld"))
                                         : shown_text(detail_text(28, 54, "in orde"));
}

std::string remark_of(const shop_result &result) {
    std::string text;
    for (const auto &[check, found] : result.by_check) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", check, found);
    }
    return text + (text.empty() || result.reason.empty() ? "" : "; ") + name_in_line(result.reason);
}

/// Characters, not bytes.
std::size_t width_of(const std::string &text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U; }));
}

using table_row = std::vector<std::string>;

/// Columns as wide as their widest cell; a cell of digits stands at the right, the last one is not filled.
std::string table_of(const std::vector<table_row> &rows, const std::vector<bool> &right) {
    std::vector<std::size_t> widths(right.size());
    for (const table_row &row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); i++) {
            widths[i] = std::max(widths[i], width_of(row[i]));
        }
    }
    std::string text;
    for (const table_row &row : rows) {
        for (std::size_t i = 0; i < row.size(); i++) {
            text += right[i] ? fmt::format("{:>{}}", row[i], widths[i])
                             : fmt::format("{:<{}}", row[i], widths[i]);
            text += i + 1 < row.size() ? "  " : "";
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += "\n";
    }
    return text;
}

}  // namespace

std::string summary_table(std::vector<shop_result> results) {
    std::sort(results.begin(), results.end(),
              [](const shop_result &a, const shop_result &b) { return a.directory < b.directory; });
    std::vector<table_row> rows{
        {shown_text(detail_text(28, 60, "winkel")), shown_text(detail_text(28, 61, "uitslag")),
         shown_text(detail_text(28, 62, "gevonden")), shown_text(detail_text(28, 63, "hersteld")),
         shown_text(detail_text(28, 64, "over")), shown_text(detail_text(28, 65, "seconden")),
         shown_text(detail_text(28, 66, "bevindingen per controle"))}};
    for (const shop_result &result : results) {
        rows.push_back({name_in_line(result.directory), verdict_of(result.status),
                        fmt::format("{}", result.counts.found), fmt::format("{}", result.counts.mended),
                        fmt::format("{}", result.counts.left), fmt::format("{:.1f}", result.seconds),
                        remark_of(result)});
    }
    return table_of(rows, {false, false, true, true, true, true, false});
}

std::string findings_table() {
    std::vector<table_row> rows;
    for (const finding_kind *kind : chk_all_findings()) {
        rows.push_back({kind->code,
                        kind->fate == finding_fate::mended  ? "mended"
                        : kind->fate == finding_fate::asked ? "asked"
                                                            : "human",
                        shown_text(kind->text()), shown_text(kind->remedy())});
    }
    return table_of(rows, {false, false, false, false});
}
