#include "base/strformat.h"

#include <cstdio>

std::string str_vformat(const char *format, std::va_list args) {
    std::va_list measured;
    va_copy(measured, args);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length <= 0) {
        return {};
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

std::string str_format(const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    std::string text = str_vformat(format, args);
    va_end(args);
    return text;
}
