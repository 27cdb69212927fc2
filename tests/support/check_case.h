// A case of a check: a made shop with faults, the answers of the operator, and what came of it.
//
//     class Labels : public CheckCase {};
//     TEST_F(Labels, ...) {
//         make({.series = 5}, {"label-other-series"});   // names of shop faults; or change `shop`, then
//         write() CheckRun run = check("labels", "J");           // words and answers of check_probe
//         EXPECT_EQ(run.flags, "");
//         EXPECT_TRUE(run.reports("etiketblok van andere serie")) << run;
//         EXPECT_EQ(check("labels").flags, "labels");    // the second run
//         EXPECT_EQ(audit(audit_labels), "");
//     }
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "support/scratch_dir.h"
#include "support/shop_audit.h"
#include "support/shop_bytes.h"
#include "tools/shop/shop.h"

/// What a run of check_probe left behind.
struct CheckRun {
    int status = -1;                     ///< exit status; 128 plus the signal that ended it; -1 after no end
    std::vector<std::string> report;     ///< lines of all reports, pages without their form feeds
    std::vector<std::string> questions;  ///< the line of each question and each wait for a key
    long writes = 0;                     ///< to files of data; none of a run that was killed
    std::string flags;                   ///< names of the checks that have passed, in the order of the menu
    std::string last_output;             ///< tail of what went to the terminal

    /// True when a line of the reports holds `text`.
    [[nodiscard]] bool reports(const std::string &text) const;
    /// How many lines hold `text`.
    [[nodiscard]] int count(const std::string &text) const;
    [[nodiscard]] bool asked(const std::string &text) const;
};
std::ostream &operator<<(std::ostream &out, const CheckRun &run);

/// Runs check_probe in the current directory. `words` are separated by blanks. A run that does not end within
/// a minute is killed.
CheckRun run_check(const std::string &words, const std::string &answers = "");

class CheckCase : public ScratchDir {
protected:
    Shop shop;

    /// Makes a shop with faults in `shop` and writes it to the directory of the test.
    void make(const ShopOptions &options, const std::vector<std::string> &faults = {});
    /// Writes `shop` once it was changed, over the files that are there.
    void write();
    /// Runs checks; a run that does not end well is a failure, unless it was to be killed.
    static CheckRun check(const std::string &words, const std::string &answers = "");
    /// What an independent reading of the files finds wrong, one line each; empty when they agree.
    std::string audit(unsigned parts) const;
    /// How often a test that goes on at random runs: `usual`, or the environment variable CHECK_ROUNDS.
    static int rounds(int usual);
    /// A date of row 19 as it stands on file, by its offset there.
    static unsigned date_on_file(unsigned offset);
};
