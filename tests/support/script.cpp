// Scripts of keys and of what they must bring to the screen.
#include <cctype>
#include <cstdlib>
#include <iomanip>
#include <sstream>

#include "support/terminal.h"

namespace {

constexpr std::string_view mark = "\033]2;mark\007";

std::string_view trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) {
        return {};
    }
    return text.substr(start, text.find_last_not_of(' ') - start + 1);
}

std::vector<std::string_view> split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(end + separator.size());
    }
}

}  // namespace

void Terminal::press(std::string_view keys) {
    while (!keys.empty()) {
        const std::size_t start = keys.find('<');
        type(keys.substr(0, start));
        if (start == std::string_view::npos) {
            return;
        }
        keys.remove_prefix(start + 1);
        const std::size_t end = keys.starts_with('<') ? 0 : keys.find('>');
        const std::string name(keys.substr(0, end));
        if (end == 0) {
            type("<");
        } else if (name == ".") {
            settle();
        } else {
            key(name);
        }
        keys.remove_prefix(end + 1);
    }
}

void Terminal::settle() {
    // What is typed before the session has begun would go through the editing of the line.
    EXPECT_TRUE(wait_until([this] { return !raw_.empty(); }, "a session"));
    press("<F2>z");
    marks_++;
    const auto marked = [this] { return static_cast<int>(split(raw_, mark).size()) > marks_; };
    EXPECT_TRUE(wait_until(marked, "mark " + std::to_string(marks_)));
}

bool Terminal::holds(std::string_view wanted) const {
    const auto on_screen = [this](std::string_view text) { return screen().find(text) != std::string::npos; };
    if (wanted.starts_with('@')) {
        return cursor().starts_with(wanted.substr(1));
    }
    if (wanted.starts_with('!')) {
        return !on_screen(wanted.substr(1));
    }
    char *end = nullptr;
    const int line = static_cast<int>(std::strtol(wanted.data(), &end, 10));
    const std::string_view rest = wanted.substr(static_cast<std::size_t>(end - wanted.data()));
    if (line == 0 || rest.empty()) {
        return on_screen(wanted);
    }
    if (rest[0] == ':') {
        return row(line).find(rest.substr(1)) != std::string::npos;
    }
    if (rest[0] == '=') {
        return row(line) == rest.substr(1);
    }
    if (rest[0] != ',') {
        return on_screen(wanted);
    }
    const int column = static_cast<int>(std::strtol(end + 1, &end, 10));
    const std::string_view what = wanted.substr(static_cast<std::size_t>(end - wanted.data()) + 1);
    if (*end == '=') {
        return text(line, column, column) == what;
    }
    const bool without = what.starts_with('-');
    return (attr(line, column).find(what.substr(without ? 1 : 0)) == std::string::npos) == without;
}

testing::AssertionResult Terminal::play(std::string_view script) {
    for (const std::string_view step : split(script, "\n")) {
        const std::size_t arrow = step.find("=>");
        press(trimmed(step.substr(0, arrow)));
        if (arrow == std::string_view::npos || trimmed(step.substr(arrow + 2)).empty()) {
            continue;
        }
        const std::vector<std::string_view> parts = split(trimmed(step.substr(arrow + 2)), " | ");
        std::string missing;
        const auto all = [&] {
            missing.clear();
            for (const std::string_view part : parts) {
                if (!part.starts_with("exit ") && !holds(trimmed(part))) {
                    missing += "\n  " + std::string(part);
                }
            }
            return missing.empty();
        };
        const testing::AssertionResult shown = wait_until(all, "this step");
        if (!shown) {
            return testing::AssertionFailure() << step << "\nlacks" << missing << "\n" << shown.message();
        }
        if (parts.back().starts_with("exit ")) {
            const std::string ended = "exit " + std::to_string(wait_exit());
            if (ended != parts.back()) {
                return testing::AssertionFailure() << step << "\n" << ended << "\n" << dump();
            }
        }
    }
    return testing::AssertionSuccess();
}

TerminalOptions scene(const std::string &line,
                      std::map<std::string, std::optional<std::string>> environment) {
    TerminalOptions options{.program = RVCHK_PROBE, .environment = std::move(environment)};
    std::istringstream words(line);
    for (std::string word; words >> std::quoted(word, '\'');) {
        options.arguments.push_back(word);
    }
    return options;
}

testing::AssertionResult plays(const TerminalOptions &options, std::string_view script) {
    return Terminal(options).play(script);
}
