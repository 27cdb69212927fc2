// The keyboard: the one routine through which all keys are read, the pushed-back keys, and the signals that
// arrive as keys.
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <new>

#include "screen/macros.h"
#include "screen/screen_internal.h"

macro_table macros{};

volatile std::sig_atomic_t scr_pending = 0;

std::array<int, key_slots> key_slot{};

namespace {

constexpr int key_xon = 17;
constexpr int key_xoff = 19;
constexpr int key_escape = 27;
constexpr int key_consumed = -2;
// Above all codes of keys and of the mask, and within the 16 bits of a recorded key.
constexpr int key_without_meaning = 0x7fff;
constexpr std::size_t queue_room = 64;

std::array<int, queue_room> queue{};
std::size_t queued = 0;

/// A key that has already arrived, -1 when there is none. A letter that code page 850 lacks is a key without
/// meaning.
int read_now(WINDOW *window) {
    nodelay(window, TRUE);
    int key = ERR;
    if (charset_is_utf8()) {
        wint_t wide = 0;
        const int kind = wget_wch(window, &wide);
        if (kind == KEY_CODE_YES) {
            key = static_cast<int>(wide);
        } else if (kind == OK) {
            key = charset_from_wide(static_cast<wchar_t>(wide));
            if (key < 0) {
                key = key_without_meaning;
            }
        }
    } else {
        key = wgetch(window);
    }
    nodelay(window, FALSE);
    return key == KEY_ENTER || key == '\r' ? key_enter : key;
}

/// Signals are let in only while the reader waits. So none can slip in between the test of its flag and the
/// wait, and none can stop the program in the middle of painting.
class signal_window {
public:
    signal_window() {
        sigset_t set;
        sigemptyset(&set);
        for (const int signal : {SIGINT, SIGQUIT, SIGWINCH, SIGTSTP, SIGCONT, SIGHUP, SIGTERM}) {
            sigaddset(&set, signal);
        }
        sigprocmask(SIG_BLOCK, &set, &open_);
    }
    ~signal_window() {
        sigprocmask(SIG_SETMASK, &open_, nullptr);
    }
    signal_window(const signal_window &) = delete;
    signal_window &operator=(const signal_window &) = delete;

    int wait(pollfd &input, int milliseconds) const {
        const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000L};
        return ppoll(&input, 1, milliseconds < 0 ? nullptr : &time, &open_);
    }

private:
    sigset_t open_;
};

/// True at the end of the input: the terminal is gone, or a file was read to its end.
bool input_ended(const pollfd &input, int reads_without_key) {
    constexpr int most_reads = 3;
    if ((input.revents & (POLLERR | POLLNVAL)) != 0 ||
        ((input.revents & POLLHUP) != 0 && (input.revents & POLLIN) == 0)) {
        return true;
    }
    int waiting = 0;
    if (ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0) {
        return waiting == 0;
    }
    return reads_without_key >= most_reads;
}

bool replaying() {
    return macros.replaying != nullptr && macros.replaying();
}

void stop_replay() {
    if (macros.stop != nullptr) {
        macros.stop();
    }
}

bool breaks_off(int key) {
    return key == KEY_CANCEL || key == key_escape;
}

bool dropped(int key) {
    return key == key_xon || key == key_xoff || key < -1;
}

int pending_signal_key() {
    const int key = scr_pending;
    if (key == 0) {
        return 0;
    }
    scr_pending = 0;
    return key;
}

void queue_key(int key) {
    if (queued < queue_room) {
        queue[queued++] = key;
    }
}

/// Waits for a key, which stays available.
bool wait_for_key(int seconds) {
    using clock = std::chrono::steady_clock;
    const auto deadline = clock::now() + std::chrono::seconds(seconds);
    while (!key_pending()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - clock::now());
        if (left.count() <= 0) {
            return false;
        }
        const int key = key_read(win_current(), static_cast<int>(left.count()));
        if (key != -1 && !dropped(key)) {
            key_unget(key);
        }
    }
    return true;
}

/// <F2>: records, deletes or starts a macro, chosen by the next key or in the menu. Returns the key that
/// results.
int macro_command(WINDOW *window) {
    constexpr int patience = 3;
    int row = 0;
    int col = 0;
    getyx(window, row, col);
    int key = 0;
    if (wait_for_key(patience)) {
        key = queued > 0 ? queue[--queued] : macros.next_key();
    } else {
        key = macros.choose();
        if (key == 0) {
            key = key_consumed;
        }
    }
    if (key != key_consumed) {
        stop_replay();
        switch (key) {
            case KEY_IC:
                macros.record();
                key = key_consumed;
                break;
            case KEY_DC:
                macros.remove();
                key = key_consumed;
                break;
            default:
                key = macros.start(key);
                break;
        }
    }
    wmove(window, row, col);
    return key;
}

}  // namespace

void key_init() {
    key_slot = {KEY_CANCEL, 9, KEY_HELP, KEY_UP, KEY_DOWN, KEY_PPAGE, KEY_NPAGE, 27, KEY_BTAB};
    for (int i = 0; i < 12; i++) {
        key_slot[12 + static_cast<std::size_t>(i)] = KEY_F(i + 1);
    }
    queued = 0;
}

void key_define_forms() {
    struct form {
        const char *sequence;
        int key;
    };
    static constexpr form forms[] = {
        {"\033[1~", KEY_HOME},  {"\033[7~", KEY_HOME},  {"\033[H", KEY_HOME},   {"\033OH", KEY_HOME},
        {"\033[4~", KEY_END},   {"\033[8~", KEY_END},   {"\033[F", KEY_END},    {"\033OF", KEY_END},
        {"\033[A", KEY_UP},     {"\033OA", KEY_UP},     {"\033[B", KEY_DOWN},   {"\033OB", KEY_DOWN},
        {"\033[C", KEY_RIGHT},  {"\033OC", KEY_RIGHT},  {"\033[D", KEY_LEFT},   {"\033OD", KEY_LEFT},
        {"\033OM", KEY_ENTER},  {"\033[11~", KEY_F(1)}, {"\033[12~", KEY_F(2)}, {"\033[13~", KEY_F(3)},
        {"\033[14~", KEY_F(4)}, {"\033[[A", KEY_F(1)},  {"\033[[B", KEY_F(2)},  {"\033[[C", KEY_F(3)},
        {"\033[[D", KEY_F(4)},
    };
    for (const form &each : forms) {
        if (key_defined(each.sequence) == 0) {
            define_key(each.sequence, each.key);
        }
    }
}

int key_read(WINDOW *window, int milliseconds) {
    using clock = std::chrono::steady_clock;
    const auto deadline = clock::now() + std::chrono::milliseconds(milliseconds);
    int reads_without_key = 0;
    for (;;) {
        scr_leave_if_due();
        const signal_window signals;
        if (leave_due()) {
            continue;
        }
        wnoutrefresh(window);
        terminal_update();
        if (const int key = pending_signal_key(); key != 0) {
            return key;
        }
        if (const int key = read_now(window); key != ERR) {
            return key;
        }
        int wait = -1;
        if (milliseconds >= 0) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - clock::now());
            wait = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
        }
        pollfd input{STDIN_FILENO, POLLIN, 0};
        const int ready = signals.wait(input, wait);
        if (ready > 0) {
            if (input_ended(input, ++reads_without_key)) {
                // The end of the input may be seen before the signal that reports it, or come without one.
                if (scr_leave_handler != nullptr) {
                    scr_leave_flag = 1;
                    scr_leave_if_due();
                }
                scr_exit(1);
            }
        } else if (ready < 0 && errno != EINTR) {
            scr_exit(1);
        } else if (ready == 0 && milliseconds >= 0 && clock::now() >= deadline) {
            return -1;
        }
    }
}

int key_get(WINDOW *win) {
    for (;;) {
        key_pending();
        int key = 0;
        if (queued > 0) {
            key = queue[--queued];
            if (breaks_off(key) && replaying()) {
                stop_replay();
                return key;
            }
        } else if (replaying() && macros.keys_left()) {
            key = macros.next_key();
        } else {
            key = key_read(win, -1);
            if (replaying()) {
                stop_replay();
            }
        }
        if (const int signal_key = pending_signal_key(); signal_key != 0) {
            // The key that was read at the same moment is kept for the next call.
            key_unget(key);
            key = signal_key;
        }
        if (key == KEY_F(2) && macros.enabled != nullptr && macros.enabled() && !key_allowed(K_F2)) {
            key = macro_command(win);
        }
        if (!dropped(key)) {
            return key;
        }
    }
}

bool key_pending() {
    if (queued > 0) {
        return true;
    }
    int key = key_read(win_current(), 0);
    while (dropped(key)) {
        key = key_read(win_current(), 0);
    }
    if (key == -1) {
        return replaying() && macros.keys_left();
    }
    if (replaying() && !macros.keys_left()) {
        // The replay has run out and the operator is typing again.
        stop_replay();
    }
    if (breaks_off(key)) {
        // It must not go on the replay list: read from the queue it breaks off the replay.
        queue_key(key);
    } else {
        key_unget(key);
    }
    return true;
}

int key_unget(int key) {
    if (replaying()) {
        macros.push(key);
    } else {
        queue_key(key);
    }
    return key;
}

bool key_wait(int row, int col, int seconds) {
    scr_move(row, col);
    return wait_for_key(seconds);
}
