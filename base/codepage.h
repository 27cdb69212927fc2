// Code page 850 and Unicode.
#pragma once

#include <string>
#include <string_view>

/// The characters of the bytes 128 to 255 of code page 850.
extern const wchar_t codepage_upper_half[129];
/// A text of code page 850 in UTF-8; control characters stay as they are.
std::string codepage_to_utf8(std::string_view text);
