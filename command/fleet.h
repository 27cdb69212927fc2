// The run over one shop or a thousand, each in a process of its own.
#pragma once

#include "command/options.h"

/// Runs the checks in all shops, so many at a time, writes what comes of them and gives the exit status.
int fleet_run(const run_options &options);
