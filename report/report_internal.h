// What the report writer asks of the modules around it, and what its own files share.
#pragma once

#include <string>
#include <string_view>

#include "report/report.h"

/// What the report writer asks of the modules that know the screen and the printers. Any entry may be null.
struct print_modules {
    /// Finds the destination and opens the job (`prt_job` and its file). False when there is none, and always
    /// while the entry is null.
    bool (*job_open)(const print_setup &setup, std::uint16_t options, const char *output_file) = nullptr;
    /// Shows the finished job file; true to print it. While the entry is null a job is printed without a
    /// preview.
    bool (*preview)() = nullptr;
    /// Gives the closed job file to its destination, which deletes it there. While the entry is null the file
    /// stays where it is.
    void (*hand_off)(const char *lp_options) = nullptr;
    /// Tells the operator that a report's file can't be written.
    void (*cannot_open)(const std::string &path) = nullptr;
    /// Whether the operator broke the report off.
    bool (*interrupted)() = nullptr;
    /// The job has begun. A job that goes to the terminal's own printer can't be broken off.
    void (*begun)(bool can_be_broken_off) = nullptr;
    /// Called as the job closes, before anything is asked about it, and after it has gone to its destination
    /// or was dropped: the dialogues must find the keyboard at rest.
    void (*closing)() = nullptr;
    void (*closed)() = nullptr;
};
extern print_modules prt_modules;

// writer.cpp: the line being built.

/// True while a line is begun.
bool report_line_started();
/// Frees the line buffers; fatal when none are in use.
void report_stop();

// job.cpp: the job file.

/// Opens a new job file for the destination in `prt_job`, writes the set-up text and sets page and line to
/// before the first page. False, after telling the operator, when the file can't be made.
bool prt_job_start();
/// Writes a text and a line end, and counts the line.
void job_write_line(std::string_view text);
