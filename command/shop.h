// The run of one shop, in a process of its own.
#pragma once

#include <csignal>
#include <string>

#include "command/options.h"

/// What the starting process tells the one of a shop.
struct shop_orders {
    std::string directory;  ///< as it was given
    std::string report;     ///< where this shop's reports, copy and backup go; empty for nowhere
    std::string keep;
    std::string backup;
    bool bars = false;
};

/// Checks the shop as rvchk860 does when its menu is gone through from top to bottom, and ends the process.
/// What becomes of it goes out by the courier. Signals are let through as `mask` says.
[[noreturn]] void shop_run(const run_options &options, const shop_orders &orders, const sigset_t &mask);
