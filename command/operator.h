// The operator of an unattended run: answers as the command line says, or lets the starting process ask.
#pragma once

#include <csignal>
#include <string>

#include "command/options.h"
#include "command/record.h"

/// Why a shop is left before its checks are through.
enum class stop_cause {
    cancelled,  ///< by a signal, at a safe place
    waited,     ///< another user did not give way in time
    fatal,      ///< the checks can't go on
};

struct operator_wishes {
    answer_mode answers = answer_mode::no;
    int wait = 0;       ///< seconds, all waits together
    bool bars = false;  ///< somebody looks at the progress
    /// Leaves the shop. `orderly` when no file is between two states. Must not return.
    void (*stop)(stop_cause cause, const std::string &why, bool orderly) = nullptr;
};

/// Lets `handler` hear SIGINT, SIGTERM and SIGHUP, which are returned. Under nohup a hangup stays unheard.
sigset_t operator_hear_signals(void (*handler)(int), int flags);
/// Fills in `isam_operator`, and takes SIGINT, SIGTERM and SIGHUP for the wish to break off.
void operator_install(const operator_wishes &wishes);
/// The record of the check that runs: it knows when a repair is in vain, and then the answer is no. Null
/// between two checks.
void operator_follow(check_record *record, const char *check);
/// The run is to be broken off.
bool operator_cancelled();
