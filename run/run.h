// Chief header of the run: from start-up by way of the menu to the hand-over.
#pragma once

#include "check/session/session.h"
#include "run/startup.h"

/// The whole run: start-up to hand-over. Ends the process.
[[noreturn]] void chk_run(int argc, char **argv);

/// The menu of the three check sequences, until the operator leaves it.
void chk_menu();
