#include "command/course.h"

namespace {

bool has_date_of_late(const chk_row &row) {
    return row.date != nullptr && chk_is_recent(chk_last_date(row.date));
}

/// The check that has to pass before `row`; null for none.
const chk_row *needed_before(const chk_row &row) {
    const auto rows = chk_rows();
    if (row.run == chk_customers) {
        return shop_links_customers() ? &rows.front() : nullptr;
    }
    const auto place = &row - rows.data();
    return place > 0 && rows[static_cast<std::size_t>(place) - 1].entry == row.entry ? &row - 1 : nullptr;
}

bool has_passed(const chk_row &row, const chk_row &next, const std::set<const chk_row *> &ran) {
    if (ran.contains(&row)) {
        return *row.passed;
    }
    // Linked customers take the word of the last program; see `chk_session_open`.
    const bool trusted = row.entry != next.entry && *row.passed;
    return trusted || (row.needed != nullptr && !row.needed()) || has_date_of_late(row);
}

}  // namespace

course_verdict course_judge(const chk_row &row, const std::set<const chk_row *> &ran, std::string &reason) {
    if (row.entry == entry_customers && !shop_has_customers()) {
        reason = detail_text(28, 30, "de winkel houdt geen klantgegevens bij");
        return course_verdict::not_needed;
    }
    const chk_row *before = needed_before(row);
    if (before != nullptr && !has_passed(*before, row, ran)) {
        reason = str_format(detail_text(28, 31, "%s is niet goed of niet gecontroleerd"), before->name);
        return course_verdict::not_run;
    }
    if (row.needed != nullptr && !row.needed()) {
        reason = detail_text(28, 32, "de winkel heeft deze gegevens niet");
        return course_verdict::not_needed;
    }
    return course_verdict::run;
}
