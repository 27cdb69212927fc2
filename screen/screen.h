// Chief header of the terminal dialogue: session, windows, text and keys. It includes the headers of fields,
// menus and prompts.
//
// Rows and columns count from 1, row before column. Attributes are the ncurses attribute words: A_DIM for
// labels, A_BOLD for values, A_REVERSE for the selection. Texts are bytes of code page 850.
#pragma once

#define NCURSES_NOMACROS 1
#ifndef NCURSES_WIDECHAR
#define NCURSES_WIDECHAR 1
#endif
#include <ncursesw/curses.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <initializer_list>

#include "base/base.h"
#include "screen/fields.h"
#include "screen/menu.h"
#include "screen/prompts.h"

// ---------------------------------------------------------------------------------------------------------
// Session

/// What the next input accepts. Each field clears it when it ends.
struct key_state {
    std::array<std::uint8_t, 64> mask{};  ///< one bit for each key code 0 to 511
    double ing_min = 0.0;                 ///< limits of the next field; 0.0 and -1.0 stand for none
    double ing_max = -1.0;
    std::uint32_t soft = 0;  ///< keys that validate the field; bit i belongs to key slot i
};

inline constexpr int scr_max_windows = 15;
inline constexpr int scr_max_terminals = 5;

/// A size of the screen in character cells.
struct screen_size {
    int lines = 0;
    int columns = 0;
    bool operator==(const screen_size &) const = default;
};

/// A terminal description in use; modes are "" (normal), "-w" (wide) and "-l" (long).
struct terminal_entry {
    char mode[4] = "";
    SCREEN *screen = nullptr;
    screen_size size;  ///< fixed for the life of the screen
};

/// A window on the stack.
struct window_entry {
    WINDOW *window = nullptr;
    int terminal = 0;     ///< index in the terminal table
    int base = 0;         ///< index of the bottom window of that terminal's group
    int kind = 0;         ///< 0 to 7, gives the colours
    bool border = false;  ///< true once the window has been titled
};

/// The state of the dialogue, one record for the process.
struct screen_state {
    int scr_lines = 0;  ///< size of the current terminal
    int scr_cols = 0;
    std::time_t scr_last_refresh = 0;
    bool scr_off = false;  ///< the terminal passes output to its printer: all screen output is skipped
    bool ing_insert = false;
    std::array<terminal_entry, scr_max_terminals> terminals{};
    int scr_nterm = 0;
    int scr_term = -1;
    std::array<window_entry, scr_max_windows> windows{};
    int scr_nwin = 0;
    int scr_cur = -1;
    int scr_base = 0;
    int scr_kind = 0;
    key_state *scr_keys = nullptr;
    int ing_status = 0;  ///< status and exit key of the last field
    int ing_exit = 0;
    field_description field;
    int ing_bprec = 2;       ///< decimals of an amount: 2, or 0 for a currency without cents
    char scr_msg[136] = "";  ///< the message now on the last line
};

/// The session; null while there is none.
extern screen_state *scr;

/// Starts the session on the terminal that TERM names. Failure is fatal; the status is 10 for an unknown
/// terminal.
void SCRINIT();
/// Makes the description of `mode` ("", "-w" or "-l") current and opens a full window on it. Closing that
/// window goes back.
void scr_switch_terminal(const char *mode);
/// Index of `mode` in the terminal table; opens the description if needed.
int scr_open_terminal(const char *mode);
/// Ends the session and leaves the terminal as it was.
void scr_end();
/// Gives the terminal to another program, and takes it back and repaints the screen.
void scr_suspend();
void scr_resume();
/// Ends the session, if there is one, and the process.
[[noreturn]] void scr_exit(int status);

// ---------------------------------------------------------------------------------------------------------
// Windows and text

/// Opens a window at a screen position. Kinds: 0 full screen, 1 dialogue, 2 small input, 3 fatal and alarm, 4
/// field help, 7 pop-up menu. A window that does not fit on the screen is moved and cut to fit.
void win_open(int row, int col, int height, int width, int kind);
void win_open1(int row, int col, int height, int width);
void win_open2(int row, int col, int height, int width);
void win_open3(int row, int col, int height, int width);
void win_open7(int row, int col, int height, int width);
/// Closes the current window; closing the first window of a terminal goes back to the terminal below.
void win_close();
/// The current window.
WINDOW *win_current();
/// Frames the current window and centres a title in the frame; a null or empty format draws the frame only.
/// From then on row 1, column 1 lies inside the frame.
[[gnu::format(printf, 1, 2)]] void win_title(const char *format, ...);
/// Sets the attribute of the output that follows.
void win_attr(attr_t attr);

/// Places text; what does not fit in the window is cut off. Returns the number of characters placed.
[[gnu::format(printf, 4, 5)]] int scr_text(attr_t attr, int row, int col, const char *format, ...);
/// Adds text at the cursor with the current attribute. Returns its length.
[[gnu::format(printf, 1, 2)]] int scr_add(const char *format, ...);
void scr_move(int row, int col);
void scr_clear_eol(int row, int col);
void scr_clear_eos(int row, int col);
/// As scr_text, on the bottom window of the terminal; the windows above it are then drawn over it again.
[[gnu::format(printf, 4, 5)]] int scr_base_text(attr_t attr, int row, int col, const char *format, ...);
/// Refreshes the current window, then sleeps.
void scr_flush(int seconds);
/// A page is read, without the cursor: a window too small for it shows its top and the last line.
void scr_reading(bool begins);

/// Shows text in a one-line window on the last screen line for `seconds`.
[[gnu::format(printf, 3, 4)]] void scr_last_line(attr_t attr, int seconds, const char *format, ...);
/// Message on the last screen line, with a beep; it lasts until the next. An empty text clears it silently.
[[gnu::format(printf, 1, 2)]] void error(const char *format, ...);
/// Fatal screen, wait for Enter, exit status 1.
[[noreturn]] [[gnu::format(printf, 1, 2)]] void scr_fatal(const char *format, ...);

// ---------------------------------------------------------------------------------------------------------
// Keys

inline constexpr int key_enter = 10;

inline constexpr int key_slots = 30;
/// The key slots: a logical key is named by the address of its slot.
extern std::array<int, key_slots> key_slot;
inline int &K_CANCEL = key_slot[0];
inline int &K_TAB = key_slot[1];
inline int &K_HELP = key_slot[2];
inline int &K_UP = key_slot[3];
inline int &K_DOWN = key_slot[4];
inline int &K_PGUP = key_slot[5];
inline int &K_PGDN = key_slot[6];
inline int &K_ESC = key_slot[7];
inline int &K_SHTAB = key_slot[8];
inline int &K_F1 = key_slot[12];
inline int &K_F2 = key_slot[13];
inline int &K_F3 = key_slot[14];
inline int &K_F4 = key_slot[15];
inline int &K_F5 = key_slot[16];
inline int &K_F6 = key_slot[17];
inline int &K_F7 = key_slot[18];
inline int &K_F8 = key_slot[19];
inline int &K_F9 = key_slot[20];
inline int &K_F10 = key_slot[21];
inline int &K_F11 = key_slot[22];
inline int &K_F12 = key_slot[23];

/// The next key for a window, blocking. -1 only while a timed read is in force.
int key_get(WINDOW *win);
/// True if a key is available now.
bool key_pending();
/// Pushes a key back; it is the next to be read. Returns the key.
int key_unget(int key);
/// Moves the cursor and waits up to `seconds` for a key, which stays available.
bool key_wait(int row, int col, int seconds);
/// Set, clear and read the bit of a key in the mask; codes outside 0 to 511 are never allowed.
void key_allow(int key);
void key_deny(int key);
bool key_allowed(int key);
/// True for an allowed key that is in a slot.
bool key_is_exit(int key);
/// Exit keys that validate the field.
void key_soft_set(int key);
void key_soft_clear(int key);
bool key_is_soft(int key);
/// A copy of the current key state (an empty one if there is none); null when memory is short.
key_state *key_state_new();
void key_state_restore(const key_state *saved);
void key_state_free(key_state *saved);
/// Name of a key, up to 6 characters and the terminator.
void key_name(int key, char *text);

/// Bits of `ing_status`.
inline constexpr int ING_FRESH = 1;    ///< nothing has moved yet; the first character replaces the text
inline constexpr int ING_CHANGED = 4;  ///< the content differs from that at the start
inline constexpr int ING_EMPTY = 8;    ///< the text was empty when the field ended
inline constexpr int ING_REDO = 128;   ///< validation refused the input
