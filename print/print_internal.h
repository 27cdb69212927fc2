// What only the files of this layer share.
#pragma once

#include <string>

#include "print/print.h"
#include "report/report_internal.h"

/// Tells the operator that a report's file can't be written.
void job_cannot_open(const std::string &path);
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
