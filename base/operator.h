// How the store and the utilities speak to the operator.
//
// This layer knows no screen. The screen layer fills in `isam_operator` when its session starts and clears it
// when the session ends. Any entry may be null; the store then prints plain text and waits by itself.
#pragma once

#include <cstdint>

struct operator_table {
    /// Shows the fatal screen with `text` and ends the process with status 1. Must not return.
    void (*fatal)(const char *text);
    /// Message box FFLASH: `wait` is seconds, -1 waits for Enter, -2 asks yes or no. Returns the answer
    /// (1 or 0) for -2, else 1. `title` may be null.
    int (*flash)(int wait, const char *title, const char *text);
    /// Shows `text` on the last screen line for `seconds`, reversed or blinking, then clears the line.
    void (*last_line)(bool blink, const char *text, int seconds);
    /// Draws one step of the progress bar; actions 0 to 5 as described at `ix_progress`.
    void (*progress)(int action, std::uint32_t value, std::uint32_t total, const char *title);
    /// True once the operator has confirmed a break-off.
    bool (*interrupted)();
    /// Forgets an earlier break-off, if the test is armed.
    void (*interrupt_reset)();
};

extern operator_table isam_operator;

/// Ends the program over a fault it cannot go on from: the fatal screen when there is one, else the same
/// lines on standard output and a wait for a line feed. Exit status 1.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void isam_fatal(const char *format, ...);

/// Writes the four lines of a fatal stop on standard output, waits for a line feed (or the end of the
/// input) and returns.
void fatal_plain(const char *text);
