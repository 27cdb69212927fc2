#include "run/run_program.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "base/program_directory.h"
#include "print/print.h"
#include "screen/screen.h"

std::string program_place(const char *program) {
    if (const char *directory = getenv("BIN")) {
        return std::string(directory) + "/";
    }
    const std::string here = program_directory();
    for (const char *part : {"/", "/tools/"}) {
        const std::string place = here + part;
        if (!here.empty() && access((place + program).c_str(), X_OK) == 0) {
            return place;
        }
    }
    return "";
}

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
