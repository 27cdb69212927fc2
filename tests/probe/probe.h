// Scenes that the tests of screen/, print/ and run/ play in a terminal, each a function of the program
// `probe`.
#pragma once

#include <utility>

#include "screen/screen.h"

/// Shows all that was written, and waits for a key.
void hold();

// What stands in the arguments is said at the function.
using scene = void (*)(char **arguments);
using named_scene = std::pair<const char *, scene>;
extern const named_scene screen_scenes[16];
extern const named_scene print_scenes[7];
