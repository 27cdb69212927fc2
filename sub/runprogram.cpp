#include "sub/runprogram.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "print/print.h"
#include "screen/screen.h"

int run_program(const char *directory, const char *command, bool wait) {
    std::string path = directory;
    if (!path.empty() && path.back() != '/') {
        const char *value = getenv(directory);
        if (value == nullptr) {
            return -1;
        }
        path = value;
        if (path.empty() || path.back() != '/') {
            path += '/';
        }
    }
    scr_suspend();
    const int result = std::system(((path.empty() ? path : shell_word(path)) + command).c_str());
    tty_noecho();
    if (wait) {
        std::printf("\n%s ", term_text(1, 96, "<ENTER> voor vervolg"));
        std::fflush(stdout);
        for (int c = std::getchar(); c != '\n' && c != EOF;) {
            c = std::getchar();
        }
    }
    scr_resume();
    return result;
}
