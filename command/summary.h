// What a person sees of the results: the table at the end, and that of all findings.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "command/record.h"

/// What has become of a shop.
struct shop_result {
    std::string directory;
    int status = 0;
    finding_counts counts;
    std::vector<std::pair<std::string, long>> by_check;  ///< checks with findings, and how many
    std::string reason;                                  ///< why it could not be checked; UTF-8
    double seconds = 0;
};

/// The table of the shops, sorted by directory, in UTF-8.
std::string summary_table(std::vector<shop_result> results);
/// The table of all that the checks can find.
std::string findings_table();
