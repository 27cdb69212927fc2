// Progress of long work. The screen layer draws the bar.
#include <cstdarg>
#include <cstdio>

#include "store/store_internal.h"

void ix_progress(int action, std::uint32_t value, std::uint32_t total, const char *title, ...) {
    if (isam_operator.progress == nullptr || action < 0 || action > 5) {
        return;
    }
    char text[256];
    if (title != nullptr) {
        std::va_list args;
        va_start(args, title);
        std::vsnprintf(text, sizeof text, title, args);
        va_end(args);
    }
    isam_operator.progress(action, value, total, title == nullptr ? nullptr : text);
}
