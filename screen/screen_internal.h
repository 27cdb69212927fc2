// What the files of this layer share with each other only.
#pragma once

#include <csignal>

#include "screen/screen.h"

// charset.cpp: the terminal's character set.

/// Learns the terminal's character set from the environment: UTF-8, or bytes as they are.
void charset_init();
bool charset_is_utf8();
/// The character of the terminal for a byte of code page 850; a control code shows as a question mark.
wchar_t charset_to_wide(unsigned char c);
/// The byte for a typed character, or -1 for one that code page 850 lacks.
int charset_from_wide(wchar_t c);
/// Adds `length` bytes of text at the cursor of `window`, in its present attribute.
void charset_add(WINDOW *window, const char *text, int length);

// terminal.cpp: the size of the real window.

/// Sends a capability of the current description by its terminfo name; false if the description lacks it.
bool terminal_put(const char *capability);
/// The size that `mode` asks for, cut to the real window where that is smaller.
screen_size terminal_size(const char *mode);
/// Makes `size` the size of the current terminal, in LINES, COLS and the session.
void terminal_set_size(screen_size size);
/// Waits a moment for a real window that has been asked to become as large as `mode` wants.
void terminal_await_size(const char *mode);
/// Installs the handlers of SIGINT, SIGQUIT and SIGWINCH.
void terminal_signals();
/// Brings the terminal up to date with all windows, unless the real window is now too small for them.
void terminal_update();
/// False while the real window is too small for the screen; looks again after a change of its size.
bool terminal_fits();
/// Paints everything anew at the next update.
void terminal_repaint();

// window.cpp

/// Sets up the entry on top of the stack for a window just made (kind in `scr_kind`).
void win_set_up(WINDOW *window);
/// Stages all lines of the windows `first` to `last`.
void win_stage_all(int first, int last);
/// Stages and shows the current window.
void win_refresh();

// keys.cpp

/// A key code stored by a signal handler, 0 for none.
extern volatile std::sig_atomic_t scr_pending;
/// One key from the terminal, past queue and macros: waits up to `milliseconds` (below 0: for ever). -1 when
/// none came in time. The end of the input ends the program with status 1.
int key_read(WINDOW *window, int milliseconds);
/// Fills the key slots and empties the queue.
void key_init();
/// Adds the forms in which other terminals than the one named send the same keys.
void key_define_forms();
