// The checks of one shop, from the first to the last, and again for as long as that mends something: the
// repair of one check can uncover what an earlier one looks for.
#pragma once

#include <chrono>
#include <map>
#include <set>
#include <string>

#include "command/options.h"
#include "command/record.h"

class shop_checks {
public:
    /// `shop` is the name under which the findings are told.
    shop_checks(const run_options &options, std::string shop);
    ~shop_checks();
    shop_checks(const shop_checks &) = delete;
    shop_checks &operator=(const shop_checks &) = delete;

    /// Runs them all.
    void take();
    /// Tells the result of each check. The one that runs, if any, has ended as `result` says.
    void tell(const char *result, const std::string &why);

    /// True when no check that has run failed.
    [[nodiscard]] bool sound() const;
    /// Why a check has not run, or failed without a finding, when no finding that is left explains it; else
    /// empty.
    [[nodiscard]] std::string unexplained() const;

private:
    /// What is known of a check.
    struct state {
        check_record record;
        const char *result = nullptr;  ///< null before its turn
        std::string reason;            ///< why it has not run
        bool passed = false;
        std::uint64_t made = 0;  ///< what its last looks had made then
        double seconds = 0;
    };

    void hear(const finding &found);
    void take_start();
    void take_one(const chk_row &row);
    void run(const chk_row &row);
    void look(const chk_row &row, state &here);
    void print_summary(int entry, int title);
    void tell_one(const chk_row &row, const state &here);
    [[nodiscard]] finding_counts counts() const;

    const run_options &options_;
    std::string shop_;
    std::map<const chk_row *, state> states_;
    std::set<const chk_row *> ran_;
    std::set<const chk_row *> done_;  ///< in this round
    int round_ = 1;
    const chk_row *running_ = nullptr;
};
