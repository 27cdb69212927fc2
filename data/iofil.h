// The branch file RVFILGEG.TXT.
#pragma once

#include "data/branchfile.h"

enum class fil_action : char { open = 'O', close = 'C', read = 'R', write = 'W' };

/// Works on the record of `branch` (0 to the number of branches of row 1; that number itself is the head
/// office). In `record` names are in plain text: the company name for the head office, its own name for a
/// branch. Returns 1, or 0 when the record is not in the file. A missing file or a branch above the number of
/// branches is fatal.
int iofil(fil_action action, int branch, BranchRecord &record);
