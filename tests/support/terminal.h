// Drives a program in a pseudo-terminal and reads its screen cell by cell.
//
// A thread of its own drains the program's output into a terminal emulator, so the program never blocks on a
// test that looks elsewhere. Rows and columns count from 1, row before column. Every wait is bounded and ends
// as soon as the screen shows what is waited for; its result carries the whole screen as failure message:
//
//     Terminal t({.directory = shop, .environment = {{"KPOS", ""}}});
//     ASSERT_TRUE(t.wait_for("Even geduld"));
//     t.key("F1");
//     EXPECT_EQ(t.wait_exit(), 0) << t.dump();
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
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
    /// Character set on the line, a name that iconv knows. Other ones than UTF-8 must have single bytes.
    std::string encoding = "UTF-8";
    /// Whether the window takes the size that the program asks for (CSI 8;rows;cols t, and DECCOLM).
    bool resizable = true;
};

struct TerminalAttributes {
    bool bold = false, dim = false, underline = false, reverse = false, blink = false;
    /// Index of the colour in the palette, -1 for the terminal's default, -2 for a direct colour.
    int fg = -1, bg = -1;
    bool operator==(const TerminalAttributes &) const = default;
};
void PrintTo(const TerminalAttributes &attributes, std::ostream *out);

struct TerminalCursor {
    int row = 1, col = 1;
    bool visible = true;
    bool operator==(const TerminalCursor &) const = default;
};
void PrintTo(const TerminalCursor &cursor, std::ostream *out);

class Terminal {
public:
    using Patience = std::chrono::milliseconds;

    explicit Terminal(const TerminalOptions &options);
    /// Kills the program if it still runs, and reaps it.
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    /// Types UTF-8 text, in the character set of the line.
    void type(std::string_view text);
    /// Sends bytes as they are.
    void send(std::string_view bytes);
    /// Presses a key: "F1" to "F12", "UP", "DOWN", "LEFT", "RIGHT", "HOME", "END", "PGUP", "PGDN", "INS",
    /// "DEL", "BACKSPACE", "SHTAB", "CANCEL", "HELP", "EXIT" by the bytes of the program's terminal
    /// description; "ENTER", "TAB", "ESC", "SPACE", "INTR", "QUIT"; and "^A" to "^_" for control keys.
    void key(const std::string &name);
    void keys(std::initializer_list<std::string> names);

    /// True as soon as the text stands in one row of the screen.
    [[nodiscard]] testing::AssertionResult wait_for(std::string_view text,
                                                    Patience patience = terminal_patience);
    [[nodiscard]] testing::AssertionResult wait_gone(std::string_view text,
                                                     Patience patience = terminal_patience);
    /// The text in that row.
    [[nodiscard]] testing::AssertionResult wait_row(int row, std::string_view text,
                                                    Patience patience = terminal_patience);
    [[nodiscard]] testing::AssertionResult wait_cursor(int row, int col,
                                                       Patience patience = terminal_patience);
    /// Any condition on this terminal; `what` names it in the failure message.
    [[nodiscard]] testing::AssertionResult wait_until(const std::function<bool()> &condition,
                                                      const std::string &what,
                                                      Patience patience = terminal_patience);
    /// Exit status when the program has ended, 128 plus the signal that ended it, or -1 if it still runs. All
    /// its output is on the screen by then.
    int wait_exit(Patience patience = terminal_patience);

    /// A row in UTF-8 without blanks at its end.
    std::string row(int row) const;
    /// All rows, each with a newline.
    std::string screen() const;
    /// The screen with row numbers, cursor and state, for messages.
    std::string dump() const;
    /// Character of a cell in UTF-8; a blank for an empty one.
    std::string cell(int row, int col) const;
    TerminalAttributes attr(int row, int col) const;
    /// Attributes of the first cell of a text, wherever it stands; none if it is not on the screen.
    std::optional<TerminalAttributes> attr_of(std::string_view text) const;
    TerminalCursor cursor() const;
    int lines() const;
    int columns() const;

    /// Bytes written by the program so far.
    std::string raw() const;
    /// Bytes sent to the printer behind the terminal: all between mc5 and mc4.
    std::string printed() const;
    int bells() const;

    /// The operator changes the size of the window.
    void resize(int lines, int columns);
    void send_signal(int signal);
    /// The line drops: the program gets SIGHUP and its terminal is gone.
    void hang_up();
    int pid() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};
