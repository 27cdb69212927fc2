// Chief header of the run: from start-up by way of the menu to the hand-over.
#pragma once

#include <string>

#include "check/check.h"
#include "run/startup.h"

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

/// The checks that a damaged system needs before the menu is shown.
void chk_startup_run();
/// The menu of the three check sequences, until the operator leaves it.
void chk_menu();
/// The menu entries.
void chk_entry_series();
void chk_entry_customers();
void chk_entry_other();
