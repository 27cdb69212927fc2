#include "support/terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
// Short words that term.h takes.
#undef lines
#undef columns

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

using Clock = std::chrono::steady_clock;

// A clean environment, so that what the developer has set does not change what a test sees.
void set_environment(const TerminalOptions &options) {
    std::map<std::string, std::optional<std::string>> all = options.environment;
    for (const char *name : {"PATH", "HOME", "TMPDIR", "TZ", "LD_LIBRARY_PATH", "ASAN_OPTIONS",
                             "UBSAN_OPTIONS", "LSAN_OPTIONS", "LLVM_PROFILE_FILE"}) {
        if (const char *value = getenv(name)) {
            all.emplace(name, value);
        }
    }
    all.emplace("TERM", options.term);
    all.emplace("TERMINFO", options.terminfo);
    all.emplace("LC_ALL", "C.UTF-8");
    clearenv();
    for (const auto &[name, value] : all) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        }
    }
}

}  // namespace

Terminal::Terminal(const TerminalOptions &given)
    : options_(given),
      vterm_(vterm_new(given.lines, given.columns)),
      screen_(vterm_obtain_screen(vterm_)),
      keys_(key_bytes(given.term, given.terminfo)) {
    std::vector<char *> arguments{options_.program.data()};
    for (std::string &argument : options_.arguments) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    vterm_set_utf8(vterm_, 1);
    vterm_screen_set_callbacks(screen_, &callbacks, this);
    vterm_screen_enable_altscreen(screen_, 1);
    vterm_screen_reset(screen_, 1);
    winsize size{static_cast<unsigned short>(given.lines), static_cast<unsigned short>(given.columns), 0, 0};
    pid_ = forkpty(&line_, nullptr, nullptr, &size);
    if (pid_ == 0) {
        for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
            signal(number, SIG_DFL);
        }
        if (chdir(given.directory.c_str()) == 0) {
            set_environment(given);
            execv(arguments[0], arguments.data());
        }
        _exit(127);
    }
    EXPECT_GT(pid_, 0) << "no pseudo-terminal: " << strerror(errno);
    fcntl(line_, F_SETFD, FD_CLOEXEC);
    fcntl(line_, F_SETFL, O_NONBLOCK);
}

Terminal::~Terminal() {
    if (pid_ > 0 && !status_) {
        kill(-pid_, SIGKILL);
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (line_ >= 0) {
        close(line_);
    }
    vterm_free(vterm_);
}

/// Shows what the program has written, after waiting for it at most so long.
void Terminal::take_output(int milliseconds) {
    pollfd ready{closed_ ? -1 : line_, POLLIN, 0};
    for (; poll(&ready, 1, milliseconds) > 0; milliseconds = 0) {
        char buffer[16384];
        const ssize_t length = read(line_, buffer, sizeof buffer);
        if (length > 0) {
            const std::string_view bytes(buffer, static_cast<std::size_t>(length));
            raw_ += bytes;
            show(bytes);
        } else if (length == 0 || (errno != EAGAIN && errno != EINTR)) {
            closed_ = true;
            return;
        }
    }
}

std::string Terminal::dump() const {
    std::ostringstream out;
    out << "screen of " << lines() << " by " << columns() << ", cursor " << cursor()
        << (closed_ ? ", line closed" : "") << "\n";
    for (int line = 1; line <= lines(); line++) {
        out << (line < 10 ? "  " : " ") << line << "|" << row(line) << "\n";
    }
    return out.str();
}

void Terminal::send(std::string_view bytes) {
    const Clock::time_point end = Clock::now() + terminal_patience;
    while (!bytes.empty()) {
        const ssize_t length = write(line_, bytes.data(), bytes.size());
        if (length > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(length));
        } else if (errno == EAGAIN && Clock::now() < end) {
            take_output(10);  // the program may wait until somebody reads
        } else if (errno != EINTR) {
            ADD_FAILURE() << "the program does not take its input: " << strerror(errno) << "\n" << dump();
            return;
        }
    }
}

void Terminal::key(const std::string &name) {
    if (name.size() == 2 && name[0] == '^') {
        const char control = static_cast<char>(name[1] - '@');
        send({&control, 1});
    } else if (const auto bytes = keys_.find(name); bytes != keys_.end()) {
        send(bytes->second);
    } else {
        ADD_FAILURE() << "no key of " << options_.term << " is named " << name;
    }
}

/// Whether the program waits, so that nothing more of what it shows now is to come.
bool Terminal::at_rest() const {
    std::ifstream stat("/proc/" + std::to_string(pid_) + "/stat");
    std::string text;
    std::getline(stat, text);
    const std::size_t name_end = text.rfind(')');
    return name_end == std::string::npos || text[name_end + 2] != 'R';
}

testing::AssertionResult Terminal::wait_until(const std::function<bool()> &condition,
                                              const std::string &what) {
    const Clock::time_point end = Clock::now() + terminal_patience;
    for (take_output(0); !condition(); take_output(10)) {
        if (closed_ || Clock::now() > end) {
            take_output(0);
            if (condition()) {
                break;
            }
            return testing::AssertionFailure()
                   << (closed_ ? "the program ended without " : "waited in vain for ") << what << "\n"
                   << dump();
        }
    }
    // A program that works on is not waited for.
    for (int rounds = 0; rounds < 20 && !at_rest(); rounds++) {
        take_output(1);
    }
    take_output(0);
    return testing::AssertionSuccess();
}

int Terminal::wait_exit(Patience patience) {
    const Clock::time_point end = Clock::now() + patience;
    for (int status = 0; !status_; take_output(10)) {
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        } else if (Clock::now() > end) {
            return -1;
        }
    }
    // The last output may still be on its way. A process that the program left behind can hold the line open,
    // so this wait is short.
    const Clock::time_point close_end = Clock::now() + std::chrono::seconds(1);
    while (!closed_ && Clock::now() < close_end) {
        take_output(10);
    }
    return *status_;
}

void Terminal::resize(int lines, int columns) {
    take_output(0);
    set_size(lines, columns);
}

void Terminal::hang_up() {
    take_output(0);
    close(line_);
    line_ = -1;
    closed_ = true;
}

std::map<std::string, std::string> key_bytes(const std::string &term, const std::string &directory) {
    std::map<std::string, std::string> keys = {{"ENTER", "\r"}, {"TAB", "\t"},    {"ESC", "\033"},
                                               {"SPACE", " "},  {"INTR", "\003"}, {"QUIT", "\034"}};
    std::map<std::string, std::string> capabilities = {
        {"UP", "kcuu1"},   {"DOWN", "kcud1"}, {"LEFT", "kcub1"},    {"RIGHT", "kcuf1"}, {"HOME", "khome"},
        {"END", "kend"},   {"PGUP", "kpp"},   {"PGDN", "knp"},      {"INS", "kich1"},   {"DEL", "kdch1"},
        {"SHTAB", "kcbt"}, {"HELP", "khlp"},  {"BACKSPACE", "kbs"}, {"CANCEL", "kcan"}, {"EXIT", "kext"}};
    for (int number = 1; number <= 12; number++) {
        capabilities["F" + std::to_string(number)] = "kf" + std::to_string(number);
    }
    setenv("TERMINFO", directory.c_str(), 1);
    TERMINAL *const current = cur_term;  // a test may have a terminal of its own
    std::string name = term;
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    int result = 0;
    if (setupterm(name.c_str(), STDOUT_FILENO, &result) == OK ||
        setupterm(term.c_str(), STDOUT_FILENO, &result) == OK) {
        for (const auto &[key, capability] : capabilities) {
            const char *bytes = tigetstr(capability.c_str());
            if (bytes && bytes != reinterpret_cast<char *>(-1)) {
                keys[key] = bytes;
            }
        }
        del_curterm(set_curterm(current));
    }
    return keys;
}
