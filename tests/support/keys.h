// The bytes that a terminal sends for its keys.
#pragma once

#include <map>
#include <string>

/// Bytes of the keys by name. `term` is looked up in `directory`, and in the places of the system, with a
/// capital as the program does, or as it stands for other programs. Keys that the description lacks are left
/// out.
std::map<std::string, std::string> key_bytes(const std::string &term, const std::string &directory);
