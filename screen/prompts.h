// Questions, message boxes, the busy text, and requests to break off or to leave.
#pragma once

#include <initializer_list>

#define NCURSES_NOMACROS 1
#ifndef NCURSES_WIDECHAR
#define NCURSES_WIDECHAR 1
#endif
#include <ncursesw/curses.h>

/// Waits for one of the slots' keys or of the characters of `text`. Returns the key.
int ing_key(std::initializer_list<const int *> slots, const char *text);
/// Shows "<ENTER> voor vervolg" and waits for Enter.
void ing_enter(int row, int col);
/// Asks a yes/no question; 1 for yes. The text may start with a preset answer, "[+]" or "[-]"; without one
/// the operator has to choose. With an empty text the question is "Akkoord". Cancelling counts as no;
/// `ing_exit` shows the difference.
[[gnu::format(printf, 3, 4)]] int ing_akkoord(int row, int col, const char *format, ...);

/// Values of `wait` for FFLASH.
inline constexpr int flash_enter = -1;
inline constexpr int flash_question = -2;
/// Box with a text of up to 20 lines, centred on the screen. `wait` is in seconds, or one of the two above;
/// for a question the last line of the text is the question. `place` 1 gives the colours of a small input
/// window, 2 those of an alarm. `title` may be null. Returns the answer to a question, else 1.
[[gnu::format(printf, 5, 6)]] int FFLASH(int wait, int place, attr_t attribute, const char *title,
                                         const char *format, ...);

/// Boxes above the last lines that wait for Enter; any line may be null. The second and third beep.
void msg_info(const char *line1, const char *line2 = nullptr, const char *line3 = nullptr);
void msg_error(const char *line1, const char *line2 = nullptr, const char *line3 = nullptr);
void msg_warning(const char *line1, const char *line2 = nullptr, const char *line3 = nullptr);
enum class msg_kind : int { info = 1, error = 2, warning = 3 };
void msg_box(msg_kind kind, const char *line1, const char *line2, const char *line3);
/// Shows "Even geduld a.u.b." in the middle of the screen, until something is drawn over it.
void wait_box();

/// The busy text "Even geduld aub": show, erase, keep away, allow again.
void busy_on();
void busy_off();
void busy_hold();
void busy_release();

/// True once the operator has confirmed a break-off. It looks at the keyboard once a second at most, so any
/// loop can call it.
bool ing_interrupted();
/// Forgets an earlier break-off and arms the test.
void ing_break_reset();
/// Disarms the test.
void ing_break_off();
bool ing_break_is_on();

/// True when a signal (a terminal that is closed, or SIGTERM) asks the program to leave. Unless held, it
/// leaves by itself as soon as it reads a key, tests for an interrupt or releases the last hold.
bool scr_leave_requested();
/// Leaves now if that was asked for and no hold is in force; for loops that wait without reading keys.
void scr_leave_if_due();
/// Hold off leaving while files are between two states; holds nest. Releasing the last one leaves if that was
/// asked for.
void scr_leave_hold();
void scr_leave_release();
/// What leaving does: the orderly end of a higher layer. If null, the session ends with status 0.
extern void (*scr_leave_handler)();
