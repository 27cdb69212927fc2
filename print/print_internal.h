// What only the files of this layer share.
#pragma once

#include <string>
#include <string_view>

#include "print/print.h"

/// What the report writer asks of the modules above it.
struct print_modules {
    /// Finds the destination and opens the job (`prt_job` and its file). False when there is none, and always
    /// while the entry is empty.
    bool (*job_open)(const print_setup &setup, std::uint16_t options, const char *output_file);
    /// Shows the finished job file; true to print it. While the entry is empty a job is printed without a
    /// preview.
    bool (*preview)();
};
extern print_modules prt_modules;

// report.cpp: the line being built.

/// True while a line is begun.
bool report_line_started();
/// Frees the line buffers; fatal when none are in use.
void report_stop();

// job.cpp: the job file.

/// Opens a new job file for the destination in `prt_job`, writes the set-up text and sets page and line to
/// before the first page. Finds out whether the device is a destination of the spooler. False, after telling
/// the operator, when the file can't be made.
bool prt_job_start();
/// Tells the operator that a report's file can't be written.
void job_cannot_open(const std::string &path);
/// Writes a text and a line end, and counts the line.
void job_write_line(std::string_view text);
/// Whether the operator broke off; never without a screen.
bool job_interrupted();

// preview.cpp

/// Shows the closed job file page by page; the operator may set the number of copies. True to print it.
bool PRT_SCR();

// handoff.cpp: from the job file to the destination.

/// Gives the closed job file to its destination, which deletes it there.
void job_hand_off(const char *lp_options);
/// Runs a shell command that shows nothing on the terminal; true when it ends with status 0.
bool shell_run(const std::string &command);
/// Path of the terminal that the operator sits at; empty when there is none.
std::string terminal_path();
