// Internal header of the lowest layer: the pattern language of directory walks.
//
// A pattern is literal text with '?' for one character, '*' (at the end or next to a full stop) for a run of
// them, and scanf directives that skip, such as "%*02hd". It is turned into a scanf format once, and each
// name is then read with that format.
#pragma once

#include <string>

/// The scanf format of a pattern without its directory; empty when no name can match, as for a pattern with
/// directives that would store something.
std::string pattern_format(const std::string &pattern);
/// True when `name` matches a format that `pattern_format` made. Fractions follow the locale.
bool format_match(const std::string &format, const std::string &name);
