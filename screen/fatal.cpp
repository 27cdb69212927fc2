// The fatal screen.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "screen/screen_internal.h"

namespace {

bool memory_left() {
    void *probe = std::malloc(1000);
    std::free(probe);
    return probe != nullptr;
}

void show_and_wait(const char *text) {
    const char *support = term_text(1, 95, "Neem contact op met de Support-groep");
    const auto width = static_cast<int>(std::max(std::strlen(text), std::strlen(support))) + 4;
    scr->scr_off = false;
    win_open3(18, 10, 5, width);
    win_title("%s", term_text(1, 94, "PROGRAMMA AFGEBROKEN"));
    scr_text(A_BOLD, 1, 2, "%s", text);
    scr_text(A_BOLD, 2, 2, "%s", support);
    scr_text(A_DIM, 3, 2, "%s", term_text(1, 96, "<ENTER> voor vervolg"));
    scr_flush(0);
    while (key_read(stdscr, -1) != key_enter) {
    }
}

}  // namespace

void scr_fatal(const char *format, ...) {
    static bool in_progress = false;
    leave_is_fatal();
    char text[1024];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (scr != nullptr && scr->scr_nwin > 0 && !in_progress && memory_left()) {
        in_progress = true;
        show_and_wait(text);
        while (scr->scr_nwin > 1) {
            win_close();
        }
    } else {
        fatal_plain(text);
    }
    scr_exit(1);
}
