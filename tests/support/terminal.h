// Drives a program in a pseudo-terminal and reads its screen cell by cell.
//
// The screen changes only while a test waits for it. Every wait is bounded and ends as soon as the screen
// shows what is waited for; its result carries the whole screen as failure message. Most tests are scripts.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <vterm.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::chrono::milliseconds terminal_patience{15000};

struct TerminalOptions {
    std::string program = RVCHK_PROGRAM;
    std::vector<std::string> arguments = {};
    std::string directory = ".";
    int lines = 25;
    int columns = 80;
    std::string term = "xterm-256color";
    /// Variables to set, or with no value to leave out. Only the search path and the like are inherited.
    std::map<std::string, std::optional<std::string>> environment = {};
    /// Directory of compiled terminal descriptions, for the program and for the bytes of the keys.
    std::string terminfo = RVCHK_TERMINFO;
    /// Character set on the line.
    std::string encoding = "UTF-8";
    /// Whether the window takes the size that the program asks for (CSI 8;rows;cols t).
    bool resizable = true;
};

class Terminal {
public:
    using Patience = std::chrono::milliseconds;

    explicit Terminal(const TerminalOptions &given);
    /// Kills the program if it still runs, and reaps it.
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    /// A row in UTF-8 without blanks at its end. Rows and columns count from 1, row before column.
    std::string row(int row) const;
    /// All rows, each with a newline.
    std::string screen() const;
    /// Those of "bold dim underline reverse blink " that a cell has, and the index of its colour, -1 for that
    /// of the terminal, as in "fg 2".
    std::string attr(int row, int col) const;
    /// "3,9", or "3,9 hidden".
    std::string cursor() const;
    int lines() const {
        return options_.lines;
    }
    int columns() const {
        return options_.columns;
    }
    int bells() const {
        return bells_;
    }
    /// Bytes sent to the printer behind the terminal: all between mc5 and mc4.
    const std::string &printed() const {
        return printed_;
    }

    /// Types UTF-8 text, in the character set of the line.
    void type(std::string_view text);
    /// Sends bytes as they are.
    void send(std::string_view bytes);
    /// Presses a key: "F1" to "F12", "UP", "DOWN", "LEFT", "RIGHT", "HOME", "END", "PGUP", "PGDN", "INS",
    /// "DEL", "BACKSPACE", "SHTAB", "CANCEL", "HELP", "EXIT" by the bytes of the program's terminal
    /// description; "ENTER", "TAB", "ESC", "SPACE", "INTR", "QUIT"; and "^A" to "^_" for control keys.
    void key(const std::string &name);
    /// Types text in which <NAME> is a key and << a less-than sign. <.> waits until all keys have been worked
    /// off, in a program that writes a mark when it reads <F2> and z.
    void press(std::string_view keys);

    /// Each line of a script is a step: keys as for `press`, "=>", and what must then be on the screen all at
    /// once, with " | " in between:
    ///     TEXT        in some row          !TEXT       in no row
    ///     3:TEXT      within row 3         3=TEXT      all of row 3; nothing for an empty one
    ///     3,5 dim     the attribute there  3,5 -dim    without it
    ///     3,5=x       the cell             @3,5        the cursor
    ///     exit 0      the end of the program; stands last
    [[nodiscard]] testing::AssertionResult play(std::string_view script);

    /// Any condition, on this terminal or on what the program does elsewhere; `what` names it.
    [[nodiscard]] testing::AssertionResult wait_until(const std::function<bool()> &condition,
                                                      const std::string &what);
    /// Exit status when the program has ended, 128 plus the signal that ended it, or -1 if it still runs. All
    /// its output is on the screen by then.
    int wait_exit(Patience patience = terminal_patience);

    /// The screen with row numbers, cursor and state, for messages.
    std::string dump() const;
    /// Bytes written by the program so far.
    const std::string &raw() const {
        return raw_;
    }

    /// The operator changes the size of the window.
    void resize(int lines, int columns);
    void send_signal(int signal) {
        kill(pid_, signal);
    }
    /// The line drops: the program gets SIGHUP and its terminal is gone.
    void hang_up();

private:
    void take_output(int milliseconds);
    bool at_rest() const;
    void settle();
    bool holds(std::string_view wanted) const;
    void show(std::string_view bytes);
    void put(char c);
    void control_sequence();
    void flush();
    void set_size(int lines, int columns);
    std::string text(int row, int col, int end_col) const;

    static const VTermScreenCallbacks callbacks;

    TerminalOptions options_;
    VTerm *vterm_;
    VTermScreen *screen_;
    bool printing_ = false;
    std::string sequence_;  // the escape sequence being read
    std::string pending_;   // for libvterm, not yet handed over
    std::string printed_;
    int bells_ = 0;
    bool cursor_visible_ = true;
    std::map<std::string, std::string> keys_;
    std::string raw_;
    bool closed_ = false;  // the program's side of the line is closed
    std::optional<int> status_;
    pid_t pid_ = -1;
    int line_ = -1;  // our side
    int marks_ = 0;  // that were asked for
};

/// Bytes of the keys of a terminal by name; those that its description lacks are left out. `term` is looked
/// up in `directory`, and in the places of the system, with a capital as the program does, or as it stands.
std::map<std::string, std::string> key_bytes(const std::string &term, const std::string &directory);

/// A scene of the program `probe` with its arguments, '' for an empty one.
TerminalOptions scene(const std::string &line,
                      std::map<std::string, std::optional<std::string>> environment = {});
[[nodiscard]] testing::AssertionResult plays(const TerminalOptions &options, std::string_view script);
