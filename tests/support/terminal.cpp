#include "support/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <iomanip>
#include <mutex>
#include <ostream>
#include <sstream>
#include <thread>

#include "support/emulator.h"
#include "support/keys.h"

namespace {

using Clock = std::chrono::steady_clock;

// A clean environment, so that what the developer has set does not change what a test sees.
std::vector<std::string> environment_of(const TerminalOptions &options) {
    std::map<std::string, std::string> all;
    for (const char *name : {"PATH", "HOME", "TMPDIR", "TZ", "LD_LIBRARY_PATH", "ASAN_OPTIONS",
                             "UBSAN_OPTIONS", "LSAN_OPTIONS", "LLVM_PROFILE_FILE"}) {
        if (const char *value = getenv(name)) {
            all[name] = value;
        }
    }
    all["TERM"] = options.term;
    all["TERMINFO"] = options.terminfo;
    all["LC_ALL"] = "C.UTF-8";
    for (const auto &[name, value] : options.environment) {
        if (value) {
            all[name] = *value;
        } else {
            all.erase(name);
        }
    }
    std::vector<std::string> strings;
    for (const auto &[name, value] : all) {
        strings.push_back(name + "=" + value);
    }
    return strings;
}

std::vector<char *> pointers_of(std::vector<std::string> &strings) {
    std::vector<char *> pointers;
    for (std::string &string : strings) {
        pointers.push_back(string.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// In the child, between fork and exec: only calls that are safe there, other threads may hold any lock.
[[noreturn]] void run_child(const char *line, const winsize &size, const char *directory, char **arguments,
                            char **environment) {
    setsid();
    const int fd = open(line, O_RDWR);
    if (fd < 0 || ioctl(fd, TIOCSCTTY, 0) < 0 || ioctl(fd, TIOCSWINSZ, &size) < 0) {
        _exit(125);
    }
    for (int standard = 0; standard <= 2; ++standard) {
        dup2(fd, standard);
    }
    if (fd > 2) {
        close(fd);
    }
    for (const int signal_number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD, SIGWINCH, SIGALRM}) {
        signal(signal_number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (chdir(directory) < 0) {
        _exit(126);
    }
    execve(arguments[0], arguments, environment);
    _exit(127);
}

}  // namespace

struct Terminal::State {
    TerminalOptions options;
    std::map<std::string, std::string> keys;
    mutable std::recursive_mutex mutex;
    std::condition_variable_any changed;
    Emulator emulator;
    std::string raw;
    bool closed = false;  // the program's side of the line is closed
    std::optional<int> status;
    pid_t pid = -1;
    int line = -1;     // our side
    int waker = -1;    // ends the reader
    int process = -1;  // readable when the program has ended
    std::thread reader;

    explicit State(const TerminalOptions &given)
        : options(given),
          keys(key_bytes(given.term, given.terminfo)),
          emulator(given.lines, given.columns, given.encoding, given.resizable) {}
    void start();
    void read_output();
    void stop_reading();
    void write_line(std::string_view bytes);
    void set_line_size(int rows, int cols) const;
    std::string dump() const;
};

void Terminal::State::start() {
    line = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char name[64];
    if (line < 0 || grantpt(line) < 0 || unlockpt(line) < 0 || ptsname_r(line, name, sizeof name) != 0) {
        ADD_FAILURE() << "no pseudo-terminal: " << strerror(errno);
        return;
    }
    winsize size{};
    size.ws_row = static_cast<unsigned short>(options.lines);
    size.ws_col = static_cast<unsigned short>(options.columns);
    std::vector<std::string> words = options.arguments;
    words.insert(words.begin(), options.program);
    std::vector<std::string> settings = environment_of(options);
    const std::vector<char *> arguments = pointers_of(words), environment = pointers_of(settings);

    pid = fork();
    if (pid == 0) {
        run_child(name, size, options.directory.c_str(), const_cast<char **>(arguments.data()),
                  const_cast<char **>(environment.data()));
    }
    if (pid < 0) {
        ADD_FAILURE() << "no process: " << strerror(errno);
        return;
    }
    process = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    waker = eventfd(0, EFD_CLOEXEC);
    emulator.on_answer = [this](std::string_view bytes) { write_line(bytes); };
    emulator.on_resize = [this](int rows, int cols) { set_line_size(rows, cols); };
    reader = std::thread([this] { read_output(); });
}

void Terminal::State::read_output() {
    // Until the child has opened its side the line reads as closed (EIO); it counts as closed only after it
    // was open, or when the child is gone.
    bool opened = false;
    while (true) {
        pollfd fds[] = {{line, POLLIN, 0}, {waker, POLLIN, 0}};
        if (poll(fds, 2, opened ? -1 : 1000) < 0 && errno != EINTR) {
            break;
        }
        if (fds[1].revents != 0) {
            return;
        }
        char buffer[16384];
        const ssize_t length = read(line, buffer, sizeof buffer);
        if (length > 0) {
            opened = true;
            const std::lock_guard lock(mutex);
            raw.append(buffer, static_cast<std::size_t>(length));
            emulator.write({buffer, static_cast<std::size_t>(length)});
            changed.notify_all();
        } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
            pollfd ended{process, POLLIN, 0};
            if (opened || poll(&ended, 1, 5) > 0) {
                break;
            }
        }
    }
    const std::lock_guard lock(mutex);
    closed = true;
    changed.notify_all();
}

void Terminal::State::stop_reading() {
    if (reader.joinable()) {
        const std::uint64_t one = 1;
        (void)!write(waker, &one, sizeof one);
        reader.join();
    }
}

void Terminal::State::write_line(std::string_view bytes) {
    const Clock::time_point end = Clock::now() + terminal_patience;
    while (!bytes.empty() && line >= 0) {
        const ssize_t length = write(line, bytes.data(), bytes.size());
        if (length > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(length));
        } else if (errno == EAGAIN && Clock::now() < end) {
            pollfd ready{line, POLLOUT, 0};
            poll(&ready, 1, 100);
        } else if (errno != EINTR) {
            ADD_FAILURE() << "the program does not take its input: " << strerror(errno) << "\n" << dump();
            return;
        }
    }
}

void Terminal::State::set_line_size(int rows, int cols) const {
    winsize size{};
    size.ws_row = static_cast<unsigned short>(rows);
    size.ws_col = static_cast<unsigned short>(cols);
    ioctl(line, TIOCSWINSZ, &size);
}

std::string Terminal::State::dump() const {
    const std::lock_guard lock(mutex);
    std::ostringstream out;
    const TerminalCursor at = emulator.cursor();
    out << "screen of " << emulator.lines() << " by " << emulator.columns() << ", cursor " << at.row << ","
        << at.col << (at.visible ? "" : " hidden") << (closed ? ", line closed" : "") << "\n";
    for (int row = 1; row <= emulator.lines(); ++row) {
        out << std::setw(3) << row << "|" << emulator.row(row) << "\n";
    }
    return out.str();
}

Terminal::Terminal(const TerminalOptions &options) : state_(std::make_unique<State>(options)) {
    state_->start();
}

Terminal::~Terminal() {
    if (state_->pid > 0 && !state_->status) {
        kill(-state_->pid, SIGKILL);
        kill(state_->pid, SIGKILL);
        while (waitpid(state_->pid, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    state_->stop_reading();
    for (const int fd : {state_->line, state_->waker, state_->process}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

void Terminal::type(std::string_view text) {
    send(state_->emulator.encode(text));
}

void Terminal::send(std::string_view bytes) {
    state_->write_line(bytes);
}

void Terminal::key(const std::string &name) {
    if (name.size() == 2 && name[0] == '^' && name[1] >= '@' && name[1] <= '_') {
        const char control = static_cast<char>(name[1] - '@');
        send({&control, 1});
        return;
    }
    if (const auto bytes = state_->keys.find(name); bytes != state_->keys.end()) {
        send(bytes->second);
    } else {
        ADD_FAILURE() << "no key of " << state_->options.term << " is named " << name;
    }
}

void Terminal::keys(std::initializer_list<std::string> names) {
    for (const std::string &name : names) {
        key(name);
    }
}

testing::AssertionResult Terminal::wait_until(const std::function<bool()> &condition, const std::string &what,
                                              Patience patience) {
    const Clock::time_point end = Clock::now() + patience;
    std::unique_lock lock(state_->mutex);
    while (!condition()) {
        if (state_->closed) {
            return testing::AssertionFailure() << "the program ended without " << what << "\n" << dump();
        }
        if (state_->changed.wait_until(lock, end) == std::cv_status::timeout && !condition()) {
            return testing::AssertionFailure() << "waited " << patience.count() << " ms for " << what << "\n"
                                               << dump();
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult Terminal::wait_for(std::string_view text, Patience patience) {
    return wait_until([&] { return screen().find(text) != std::string::npos; },
                      "\"" + std::string(text) + "\"", patience);
}

testing::AssertionResult Terminal::wait_gone(std::string_view text, Patience patience) {
    return wait_until([&] { return screen().find(text) == std::string::npos; },
                      "the end of \"" + std::string(text) + "\"", patience);
}

testing::AssertionResult Terminal::wait_row(int row, std::string_view text, Patience patience) {
    return wait_until([&] { return this->row(row).find(text) != std::string::npos; },
                      "\"" + std::string(text) + "\" in row " + std::to_string(row), patience);
}

testing::AssertionResult Terminal::wait_cursor(int row, int col, Patience patience) {
    return wait_until(
        [&] {
            const TerminalCursor at = cursor();
            return at.row == row && at.col == col;
        },
        "the cursor at " + std::to_string(row) + "," + std::to_string(col), patience);
}

int Terminal::wait_exit(Patience patience) {
    if (!state_->status) {
        const Clock::time_point end = Clock::now() + patience;
        while (true) {
            const auto left = std::chrono::duration_cast<Patience>(end - Clock::now());
            pollfd ended{state_->process, POLLIN, 0};
            const int ready = poll(&ended, 1, static_cast<int>(std::max<Patience::rep>(left.count(), 0)));
            if (ready > 0) {
                break;
            }
            if (ready == 0) {
                return -1;
            }
        }
        int status = 0;
        while (waitpid(state_->pid, &status, 0) < 0 && errno == EINTR) {
        }
        state_->status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    // The last output may still be on its way to the screen. A process that the program left behind can hold
    // the line open, so this wait is short.
    std::unique_lock lock(state_->mutex);
    state_->changed.wait_for(lock, std::chrono::seconds(1), [this] { return state_->closed; });
    return *state_->status;
}

std::string Terminal::row(int row) const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.row(row);
}

std::string Terminal::screen() const {
    const std::lock_guard lock(state_->mutex);
    std::string text;
    for (int row = 1; row <= state_->emulator.lines(); ++row) {
        text += state_->emulator.row(row) + "\n";
    }
    return text;
}

std::string Terminal::dump() const {
    return state_->dump();
}

std::string Terminal::cell(int row, int col) const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.cell(row, col);
}

TerminalAttributes Terminal::attr(int row, int col) const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.attr(row, col);
}

std::optional<TerminalAttributes> Terminal::attr_of(std::string_view text) const {
    const std::lock_guard lock(state_->mutex);
    for (int row = 1; row <= lines(); ++row) {
        std::string rest;
        for (int col = columns(); col >= 1; --col) {
            rest.insert(0, cell(row, col));
            if (rest.starts_with(text)) {
                return attr(row, col);
            }
        }
    }
    return std::nullopt;
}

TerminalCursor Terminal::cursor() const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.cursor();
}

int Terminal::lines() const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.lines();
}

int Terminal::columns() const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.columns();
}

std::string Terminal::raw() const {
    const std::lock_guard lock(state_->mutex);
    return state_->raw;
}

std::string Terminal::printed() const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.printed();
}

int Terminal::bells() const {
    const std::lock_guard lock(state_->mutex);
    return state_->emulator.bells();
}

void Terminal::resize(int lines, int columns) {
    const std::lock_guard lock(state_->mutex);
    state_->emulator.resize(lines, columns);
    state_->set_line_size(lines, columns);
}

void Terminal::send_signal(int signal) {
    kill(state_->pid, signal);
}

void Terminal::hang_up() {
    state_->stop_reading();
    const std::lock_guard lock(state_->mutex);
    close(state_->line);
    state_->line = -1;
    state_->closed = true;
}

int Terminal::pid() const {
    return state_->pid;
}

void PrintTo(const TerminalAttributes &attributes, std::ostream *out) {
    *out << "{" << (attributes.bold ? "bold " : "") << (attributes.dim ? "dim " : "")
         << (attributes.underline ? "underline " : "") << (attributes.reverse ? "reverse " : "")
         << (attributes.blink ? "blink " : "") << "fg " << attributes.fg << " bg " << attributes.bg << "}";
}

void PrintTo(const TerminalCursor &cursor, std::ostream *out) {
    *out << cursor.row << "," << cursor.col << (cursor.visible ? "" : " hidden");
}
