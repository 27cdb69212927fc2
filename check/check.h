// Chief header of the check run.
#pragma once

#include <cstdint>
#include <string>

#include "sub/sub.h"

/// Session flags: true when the check has passed in this session.
extern bool ok_labels;
extern bool ok_series;
extern bool ok_prices;
extern bool ok_sizes;
extern bool ok_transit;
extern bool ok_order_criteria;
extern bool ok_customers;
extern bool ok_titles;
extern bool ok_countries;
extern bool ok_master;
extern bool ok_ean;
extern bool ok_order_numbers;
extern bool ok_barcodes;
extern bool ok_journals;
/// One of the three entries of the menu is running its sequence.
extern bool chk_full_run;
/// The operator cancelled a check of the sequence. The sequence then stops without a summary, even when that
/// check passed earlier in the session.
extern bool chk_broken_off;

/// Open and close the files of `chk_files`, which stay open for the whole run.
void chk_session_files_open();
void chk_session_files_close();

/// Row 20, read at the start of the session.
extern SysRow20 chk_transit_settings;

/// The whole run: start-up to hand-over. Ends the process.
[[noreturn]] void chk_run(int argc, char **argv);

/// True when every required date of row 19, read fresh from the file, is later than today minus 7 days.
bool chk_all_recent();
/// Zeroes what row 19 must not carry from one session into the next.
void chk_reset_dates();

/// Deletes the temporary files of earlier days, and tells the operator when that frees much space.
void chk_remove_temp();

/// The marker RVCHK860.OK. Failing to remove or write it is fatal: what it says would not be true.
void chk_marker_remove();
void chk_marker_write();
bool chk_marker_exists();

/// Releases the stale key locks of all indexed files, with a notice on the last line.
void chk_release_indexes();
/// Releases those of one pair.
void ixclear(const std::string &name);

/// The checks. Each walks its files, reports, repairs what the operator agrees to, and sets its session flag
/// when it has passed.
void chk_labels();
void chk_series();
void chk_prices();
void chk_sizes();
void chk_transit();
void chk_order_criteria();
void chk_customers();
void chk_titles();
void chk_countries();
void chk_master();
void chk_ean();
void chk_order_numbers();
void chk_barcodes();
void chk_journals();

/// The checks that a damaged system needs before the menu is shown.
void chk_startup_run();
/// The menu of the three check sequences, until the operator leaves it.
void chk_menu();
/// The menu entries.
void chk_entry_series();
void chk_entry_customers();
void chk_entry_other();
