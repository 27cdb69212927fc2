// File patterns: the first line of the input is the pattern, the rest the name. A pattern may store nothing
// past the end mark's character and the length, whatever directives it holds.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/file_pattern.h"
#include "base/files.h"
#include "fuzz/stop.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::size_t line = input.find('\n');
    const std::string pattern = input.substr(0, line).c_str();
    const std::string name = line == std::string::npos ? pattern : input.substr(line + 1).c_str();
    const std::string format = pattern_format(pattern);
    format_match(format, name);
    const bool plain = pattern.find_first_of("*?%") == std::string::npos;
    if (plain) {
        FUZZ_DEMAND(wildcard_match(pattern.c_str(), pattern.c_str()));
    }
    FUZZ_DEMAND(wildcard_match("*", name.c_str()));
    wildcard_match(pattern.c_str(), name.c_str());
    return 0;
}
