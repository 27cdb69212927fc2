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
    while (scr->scr_nwin >= scr_max_windows) {
        win_close();
    }
    win_open3(18, 10, 5, width);
    win_title("%s", term_text(1, 94, "PROGRAMMA AFGEBROKEN"));
    scr_text(A_BOLD, 1, 2, "%s", text);
    scr_text(A_BOLD, 2, 2, "%s", support);
    scr_text(A_DIM, 3, 2, "%s", term_text(1, 96, "<ENTER> voor vervolg"));
    scr_flush(0);
    while (key_read(win_current(), -1) != key_enter) {
    }
}

}  // namespace

void scr_fatal(const char *format, ...) {
    // An error while the first one is shown must not hide it.
    static char text[1024];
    const bool first = text[0] == '\0';
    leave_is_fatal();
    if (first) {
        std::va_list args;
        va_start(args, format);
        std::vsnprintf(text, sizeof text, format, args);
        va_end(args);
    }
    const bool session = scr != nullptr && scr->scr_nwin > 0;
    if (session && first && memory_left()) {
        show_and_wait(text);
        while (scr->scr_nwin > 1) {
            win_close();
        }
    } else {
        if (session) {
            endwin();
        }
        fatal_plain(text);
    }
    scr_exit(1);
}
