#include "support/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

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
