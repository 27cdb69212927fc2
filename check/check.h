// Chief header of the check run.
#pragma once

#include <cstdint>

#include "sub/sub.h"

/// Session flags: true when the check has passed in this session.
struct session_flags {
    bool ok_labels = false;
    bool ok_series = false;
    bool ok_prices = false;
    bool ok_sizes = false;
    bool ok_transit = false;
    bool ok_order_criteria = false;
    bool ok_customers = false;
    bool ok_titles = false;
    bool ok_countries = false;
    bool ok_master = false;
    bool ok_ean = false;
    bool ok_order_numbers = false;
    bool ok_barcodes = false;
    bool ok_journals = false;
    bool chk_full_run = false;  ///< one of the three entries of the menu is running its sequence
};
extern session_flags session;

/// The whole run: start-up to hand-over. Ends the process.
[[noreturn]] void chk_run(int argc, char **argv);

enum class session_action : char { open = 'O', close = 'C' };
/// Opens or closes the indexed files of `session_files`, which stay open for the whole run.
void chk_session_files(session_action action);

/// True when every required date of row 19, read fresh from the file, is later than today minus 7 days.
bool chk_all_recent();
/// Zeroes what row 19 must not carry from one session into the next.
void chk_reset_dates();

/// Deletes the temporary files of earlier days and tells what that yields when it is much.
void chk_remove_temp();

/// The marker RVCHK860.OK. A marker that can't be removed or made is fatal: it would tell a lie.
void chk_marker_remove();
void chk_marker_write();
bool chk_marker_exists();
