// ixreorgk NAME: rebuilds the index of one pair in the current directory. Exit status 0 on success, 1 with a
// message otherwise. `ixreorgk --version` tells which version was built. It runs with or without a terminal;
// progress is shown only on a terminal.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/base.h"
#include "store/store.h"
#include "tools/version.h"

namespace {

std::string what;  // name of the pair, for messages

void say(const char *text) {
    std::fprintf(stderr, "ixreorgk: %s: %s\n", what.c_str(), text);
}

void stop(const char *text) {
    say(text);
    std::_Exit(1);
}

int box(int wait, const char *, const char *text) {
    say(text);
    return wait == -2 ? 0 : 1;
}

void note(bool, const char *text, int seconds) {
    say(text);
    sleep(static_cast<unsigned>(seconds));
}

void progress(int action, std::uint32_t value, std::uint32_t total, const char *) {
    static std::uint32_t shown = 101;
    if (action == 2) {
        std::fprintf(stdout, "\n");
        return;
    }
    const std::uint32_t percent =
        total == 0 ? 0 : static_cast<std::uint32_t>(std::uint64_t{value} * 100 / total);
    if (percent != shown) {
        shown = percent;
        std::fprintf(stdout, "\r%s: %3u%%", what.c_str(), percent);
        std::fflush(stdout);
    }
}

/// Why a rebuild was refused, as far as this can be seen from outside.
const char *reason(const std::string &name) {
    const off_t data = file_size((name + ".TXT").c_str());
    if (!file_exists((name + ".INX").c_str())) {
        return "het indexbestand ontbreekt";
    }
    if (access((name + ".INX").c_str(), R_OK) != 0) {
        return "het indexbestand kan niet gelezen worden";
    }
    if (data < 0) {
        return "de definitie in het indexbestand is onbruikbaar";
    }
    return "de definitie in het indexbestand is onbruikbaar, of past niet bij de lengte van het databestand";
}

}  // namespace

int main(int argc, char **argv) {
    catalog_open();
    what = argc == 2 ? argv[1] : "";
    if (what == "--version") {
        print_version("ixreorgk");
        return 0;
    }
    if (argc != 2 || what.empty() || what.find_first_of("./") != std::string::npos) {
        std::fprintf(stderr,
                     "Gebruik: ixreorgk NAAM\n"
                     "Herstelt de index van NAAM.INX en NAAM.TXT in de huidige directory.\n");
        return 1;
    }
    isam_operator.fatal = stop;
    isam_operator.flash = box;
    isam_operator.last_line = note;
    if (isatty(STDOUT_FILENO) != 0) {
        isam_operator.progress = progress;
    }
    const bool done = IXBLDIX(what.c_str());
    if (!done) {
        say(reason(what));
    }
    catalog_close();
    return done ? 0 : 1;
}
