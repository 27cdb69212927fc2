// How the checks and the modules over the data speak to the operator of this program.
#pragma once

/// Fills in `isam_operator` with the windows, lines and questions of this program. The session of the screen
/// must have been started.
void dialogue_install();
