// What only the files of this layer share.
#pragma once

#include <csignal>
#include <vector>

#include "screen/screen.h"

// charset.cpp: the terminal's character set.

/// Finds out the terminal's character set from the environment: UTF-8, or plain bytes.
void charset_init();
bool charset_is_utf8();
/// The character of the terminal for a byte of code page 850; a control code shows as a question mark.
wchar_t charset_to_wide(unsigned char c);
/// The byte for a typed character, or -1 for one that code page 850 lacks.
int charset_from_wide(wchar_t c);
/// Adds `length` bytes of text at the cursor of `window`, in its current attribute.
void charset_add(WINDOW *window, const char *text, int length);
/// The byte that A_ALTCHARSET turns into a line, an arrow or a checkerboard; `name` is its name in the VT100
/// set.
char charset_drawing(char name);

// terminal.cpp: the size of the real window.

/// Sends a capability of the current description by its terminfo name; false if the description lacks it.
bool terminal_put(const char *capability);
/// Makes the whole real window scroll again; ncurses limits scrolling to the lines of the screen.
void terminal_free_lines();
/// First byte of what a key of the current description sends, 0 if the description lacks it.
int terminal_first_byte(const char *capability);
/// The size that `mode` asks for.
screen_size terminal_mode_size(const char *mode);
/// The size that `mode` asks for, cut to the real window where that is smaller.
screen_size terminal_size(const char *mode);
/// Sets LINES, COLS and the session to the size of the current terminal.
void terminal_use_size(screen_size size);
/// Waits a moment for the real window, which was asked to become as large as `mode` wants.
void terminal_await_size(const char *mode);
/// Installs the handlers of SIGINT, SIGQUIT, SIGWINCH, SIGCONT, SIGHUP and SIGTERM.
void terminal_signals();
/// Brings the terminal up to date with what is staged; in a real window that has become too small, with the
/// part of it that matters most.
void terminal_update();
/// Makes the next update paint everything anew.
void terminal_mark_stale();

// window.cpp

/// Sets up the top entry of the stack for a window just made (kind in `scr_kind`).
void win_set_up(WINDOW *window);
/// Ends the program when the stack is full.
void win_require_room();
/// The last line without the message on it: kept while a field is open, since the field may belong to a
/// question on that line.
class kept_last_line {
public:
    kept_last_line();
    /// Removes the message and redraws what it hid.
    void clear_message() const;

private:
    std::vector<cchar_t> cells_;
};
/// Last row and last column of the current window that can hold text.
int win_rows();
int win_columns();
/// Where a text position of the current window lies on the screen.
struct screen_place {
    int row = 0;
    int col = 0;
};
screen_place win_screen_place(int row, int col);
/// Stages all lines of the windows `first` to `last`, bottom first.
void win_stage(int first, int last);
/// Stages the current window, and shows everything that is staged.
void win_refresh();

// keys.cpp

/// A key code stored by a signal handler, 0 for none.
extern volatile std::sig_atomic_t scr_pending;
/// Reads one key from the terminal, bypassing queue and macros: waits up to `milliseconds` (below 0: for
/// ever). -1 when none came in time. The end of the input ends the program with status 1.
int key_read(WINDOW *window, int milliseconds);
/// Keeps the caller's key state during a nested question, and puts it back.
struct kept_key_state {
    kept_key_state() : kept_(*scr->scr_keys) {
        *scr->scr_keys = key_state{};
    }
    ~kept_key_state() {
        *scr->scr_keys = kept_;
    }
    kept_key_state(const kept_key_state &) = delete;
    kept_key_state &operator=(const kept_key_state &) = delete;

private:
    key_state kept_;
};
/// Fills the key slots and empties the queue.
void key_init();
/// Adds the forms in which terminals other than the one named send the same keys.
void key_define_forms();

// leave.cpp

/// Set by the handlers of SIGHUP and SIGTERM.
extern volatile std::sig_atomic_t scr_leave_flag;
/// True if a signal asked to leave and nothing holds it off.
bool leave_due();
/// From now on there is no orderly end; leaving means status 1.
void leave_is_fatal();

// progress.cpp

/// The bars of `ix_progress`: actions 0 to 2 in a window above the last line, 3 to 5 on the last line.
void progress_draw(int action, std::uint32_t value, std::uint32_t total, const char *title);
