#include "command/question.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include "command/options.h"

namespace {

constexpr char cancel = 'X';

/// A line of standard input without its line feed; false at its end, and when a signal came first.
bool read_line(std::string &line, const sigset_t &mask) {
    line.clear();
    for (;;) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        char c = 0;
        if (ppoll(&input, 1, nullptr, &mask) < 0 || read(STDIN_FILENO, &c, 1) != 1) {
            return false;
        }
        if (c == '\n') {
            return true;
        }
        line += c;
    }
}

}  // namespace

std::FILE *question_place(const std::string &json) {
    for (std::FILE *place : {json == "-" ? stderr : stdout, stderr}) {
        if (isatty(fileno(place)) != 0) {
            return place;
        }
    }
    return nullptr;
}

char question_ask(std::FILE *place, const std::string &shop, const std::string &text,
                  const std::string &preset, const sigset_t &mask) {
    const std::string choice = shown_text(detail_text(1, 866, "(J/N)"));
    for (std::string line;;) {
        write_out(place, fmt::format("{}: {}? {} {}", name_in_line(shop), text, choice,
                                     preset.empty() ? "" : "[" + preset + "] "));
        if (!read_line(line, mask)) {
            write_out(place, "\n");
            return cancel;
        }
        const char given = line.empty() ? preset.empty() ? '\0' : preset[0] : line[0];
        switch (given) {
            case 'j':
            case 'J':
            case 'y':
            case 'Y':
                return 'J';
            case 'n':
            case 'N':
                return 'N';
            default:
                break;
        }
    }
}
