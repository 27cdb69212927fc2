// Where the running program was started from.
#pragma once

#include <string>

/// The directory of the running binary, links resolved and without a slash at the end; empty when unknown.
std::string program_directory();
