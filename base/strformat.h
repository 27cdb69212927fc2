// printf into a string of any length.
#pragma once

#include <cstdarg>
#include <string>

[[gnu::format(printf, 1, 2)]] std::string str_format(const char *format, ...);
[[gnu::format(printf, 1, 0)]] std::string str_vformat(const char *format, std::va_list args);
