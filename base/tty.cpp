#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "base/files.h"

namespace {

termios saved_settings;
bool settings_saved = false;

}  // namespace

void tty_noecho() {
    // The settings at the start count for the whole session, whatever a program run meanwhile leaves behind.
    if (!settings_saved && tcgetattr(STDIN_FILENO, &saved_settings) != 0) {
        return;
    }
    settings_saved = true;
    termios quiet = saved_settings;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
}

void tty_restore() {
    if (settings_saved) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved_settings);
    }
}

void tty_close_others() {
    for (int fd = 3; fd < 40; fd++) {
        struct stat status {};
        if (fstat(fd, &status) == 0 && S_ISCHR(status.st_mode)) {
            close(fd);
        }
    }
}
