// A dialogue in a terminal: types keys and waits until they have been worked off.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/terminal.h"

inline TerminalOptions dialogue_options(const std::vector<std::string> &arguments) {
    TerminalOptions options;
    options.program = FIELD_PROBE;
    options.arguments = arguments;
    return options;
}

class Dialogue : public Terminal {
public:
    explicit Dialogue(const std::vector<std::string> &arguments) : Dialogue(dialogue_options(arguments)) {}
    /// Ready to type: what is typed before the terminal is set up would go through its line editing.
    explicit Dialogue(const TerminalOptions &options) : Terminal(options) {
        EXPECT_TRUE(wait_mark());
    }

    /// Types text in which <NAME> is a key, as "12<LEFT>3<ENTER>"; << is a less-than sign.
    void press(std::string_view keys) {
        while (!keys.empty()) {
            const auto start = keys.find('<');
            type(keys.substr(0, start));
            if (start == std::string_view::npos) {
                return;
            }
            keys.remove_prefix(start + 1);
            if (keys.starts_with('<')) {
                type("<");
                keys.remove_prefix(1);
                continue;
            }
            const auto end = keys.find('>');
            key(std::string(keys.substr(0, end)));
            keys.remove_prefix(end + 1);
        }
    }
    /// Waits for the mark that the program writes when it reads <F2> and z.
    [[nodiscard]] testing::AssertionResult settle() {
        press("<F2>z");
        ++marks_;
        return wait_marks();
    }
    /// Waits for a mark that the program writes of itself.
    [[nodiscard]] testing::AssertionResult wait_mark() {
        ++marks_;
        return wait_marks();
    }
    [[nodiscard]] testing::AssertionResult settle(std::string_view keys) {
        press(keys);
        return settle();
    }

private:
    testing::AssertionResult wait_marks() {
        return wait_until(
            [this] {
                const std::string output = raw();
                int found = 0;
                for (auto at = output.find(mark); at != std::string::npos; at = output.find(mark, at + 1)) {
                    found++;
                }
                return found >= marks_;
            },
            "mark " + std::to_string(marks_));
    }
    static constexpr const char *mark = "\033]2;mark\007";
    int marks_ = 0;
};
