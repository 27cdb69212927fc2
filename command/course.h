// Which checks run, and what each needs of those before it.
#pragma once

#include <set>
#include <string>

#include "check/session/session.h"

enum class course_verdict { run, not_needed, not_run };

/// Whether a check may run when those of `ran` have run in this session. As in the menu, a check needs the
/// one before it in its entry, and that of the customers sound labels when they are linked. One that was not
/// chosen counts as passed when the shop's dates say that it has passed in the last days, as for the marker.
/// `reason` tells why the check does not run.
course_verdict course_judge(const chk_row &row, const std::set<const chk_row *> &ran, std::string &reason);
