// The session of the checks: what is opened and put in order before the first check and closed after the
// last, the table of the checks, the dates, and the marker.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "check/check.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"

// ---- The checks

/// Whether the marker asks for a recent date of the check.
enum class chk_marker : std::uint8_t {
    never,
    always,
    with_customers,  ///< in a shop with data of customers
};

/// A check: a row of the table, from which the menu's sequences, the rule of the recent dates, the tests and
/// the tools take what they need.
struct chk_row {
    const char *name;
    void (*run)();
    bool *passed;  ///< in this session
    chk_date date = nullptr;
    int entry;  ///< of the menu
    chk_marker marker = chk_marker::never;
    bool at_start = false;       ///< runs before the menu in a damaged system
    bool (*needed)() = nullptr;  ///< false: the check counts as passed without running; null: always needed
    std::span<const finding_kind> (*findings)();
    std::span<const finding_kind> (*more_findings)() = nullptr;  ///< of a second part of the check
};
/// The checks in the order in which they run.
std::span<const chk_row> chk_rows();
/// All that the checks can find, in the order of the checks.
std::vector<const finding_kind *> chk_all_findings();
/// The check of that name, null for none.
const chk_row *chk_row_of(const std::string &name);
inline constexpr int entry_series = 11;
inline constexpr int entry_customers = 12;
inline constexpr int entry_other = 13;

/// Runs a check, unless the shop has no need of it. True when it has passed in this session and was not
/// cancelled just now.
bool chk_run_row(const chk_row &row);
/// Whether the shop keeps data of customers, and whether these are linked to labels.
bool shop_has_customers();
bool shop_links_customers();

/// The sequences of the menu entries, each with a summary when all its checks have passed.
void chk_entry_series();
void chk_entry_customers();
void chk_entry_other();
/// The checks that a damaged system needs before the menu is shown.
void chk_startup_run();

// ---- Start and end

/// Row 20, read at the start of the session.
extern SysRow20 chk_transit_settings;

/// Opens what stays open for the whole session and withdraws all flags. The labels count as sound when the
/// last program of the user slot has ended well.
void chk_session_open();
void chk_session_close();

/// Deletes the temporary files of earlier days, and tells the operator when that frees much space.
void chk_remove_temp();
/// True when master data still waits to be processed. Ends the program when the directory can't be read:
/// such a directory would look like one without waiting data.
bool chk_master_data_waits();
/// Releases the stale key locks of all indexed files.
void chk_release_indexes();
/// Releases those of one pair.
void ixclear(const std::string &name);

// ---- Dates and marker

/// True when every required date of row 19, read fresh from the file, is later than today minus 7 days.
bool chk_all_recent();
/// Zeroes what row 19 must not carry from one session into the next.
void chk_reset_dates();

/// The marker RVCHK860.OK. Failing to remove or write it is fatal: what it says would not be true.
void chk_marker_remove();
void chk_marker_write();
bool chk_marker_exists();
