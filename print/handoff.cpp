// Hand-off of a finished job: a spooler, a device, the printer on a terminal, a directory.
//
// Work that a shell does runs in the background, so that a slow printer keeps nobody waiting. All copies of a
// job are one background command: its steps have to follow each other, since each copy uses the file that the
// one before has left.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "print/print_internal.h"

// After the headers above: it defines short lower-case names.
#include <term.h>

namespace {

/// Sends standard error nowhere while it lives: the messages of a command would land in the middle of the
/// screen.
class quiet_errors {
public:
    quiet_errors() : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
        if (const int null = open("/dev/null", O_WRONLY | O_CLOEXEC); null >= 0 && saved_ >= 0) {
            dup2(null, STDERR_FILENO);
            close(null);
        }
    }
    ~quiet_errors() {
        if (saved_ >= 0) {
            dup2(saved_, STDERR_FILENO);
            close(saved_);
        }
    }
    quiet_errors(const quiet_errors &) = delete;
    quiet_errors &operator=(const quiet_errors &) = delete;

private:
    int saved_;
};

/// What is started while it lives outlives the terminal: a report is not lost when the program ends, or its
/// window is closed, before the printer has taken it.
class hang_up_ignored {
public:
    hang_up_ignored() {
        struct sigaction ignore {};
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGHUP, &ignore, &before_);
    }
    ~hang_up_ignored() {
        sigaction(SIGHUP, &before_, nullptr);
    }
    hang_up_ignored(const hang_up_ignored &) = delete;
    hang_up_ignored &operator=(const hang_up_ignored &) = delete;

private:
    struct sigaction before_ {};
};

void run_behind(const std::string &commands) {
    const hang_up_ignored guard;
    shell_run("(" + commands + ") &");
}

void to_spooler(const char *lp_options) {
    const std::string file = shell_word(prt_job.job_file);
    run_behind("lp -d" + shell_word(prt_job.device) + " -n" + std::to_string(prt_job.copies) + " -c -s " +
               lp_options + " " + file + "; rm " + file);
}

/// Each copy but the last leaves a file with the same content for the next one.
void to_device() {
    const std::string device = shell_word(prt_job.device);
    std::string commands;
    for (int copy = 1; copy <= prt_job.copies; copy++) {
        const std::string file = shell_word(prt_job.job_file);
        commands.append("cat ").append(file).append(" >>").append(device).append("; ");
        if (copy < prt_job.copies) {
            prt_job.job_file = file_tempname("", "PR");
            commands.append("cp ").append(file).append(" ").append(shell_word(prt_job.job_file));
            commands.append("; rm ").append(file).append("; ");
        }
        if (copy == prt_job.copies || job_interrupted()) {
            commands += "rm " + shell_word(prt_job.job_file);
            break;
        }
    }
    run_behind(commands);
}

/// The printer on the terminal of another user.
void to_other_terminal() {
    const std::string file = shell_word(prt_job.job_file);
    std::string commands;
    for (int copy = 1; copy <= prt_job.copies; copy++) {
        commands += "cat " + file + " > " + shell_word(prt_job.device) + "; ";
        if (copy < prt_job.copies && job_interrupted()) {
            break;
        }
    }
    run_behind(commands + "rm " + file);
}

int put_byte(int c) {
    return std::fputc(c, stdout);
}

/// Sends a capability of the terminal, or nothing when its description lacks it.
void send_capability(const char *name) {
    const char *sequence = scr == nullptr ? nullptr : tigetstr(name);
    if (sequence != nullptr && sequence != reinterpret_cast<const char *>(-1)) {
        tputs(sequence, 1, put_byte);
    }
}

void copy_to_output(std::FILE *file) {
    char block[4096];
    for (std::size_t n = std::fread(block, 1, sizeof block, file); n > 0;
         n = std::fread(block, 1, sizeof block, file)) {
        std::fwrite(block, 1, n, stdout);
    }
}

/// One copy through the operator's own terminal, which shows nothing meanwhile.
void pass_through(std::FILE *file) {
    if (scr != nullptr) {
        scr_flush(0);
        scr->scr_off = true;
    }
    send_capability("mc5");
    copy_to_output(file);
    send_capability("mc4");
    std::fflush(stdout);
    if (scr != nullptr) {
        scr->scr_off = false;
    }
}

void to_own_terminal() {
    for (int copy = 1; copy <= prt_job.copies; copy++) {
        if (std::FILE *file = std::fopen(prt_job.job_file.c_str(), "re")) {
            pass_through(file);
            std::fclose(file);
        }
        if (copy < prt_job.copies && job_interrupted()) {
            break;
        }
    }
    file_delete(prt_job.job_file.c_str());
    if (scr != nullptr) {
        // When the terminal has no printer, the text has appeared on the screen.
        wrefresh(curscr);
    }
}

void to_terminal_printer() {
    if (prt_job.device == terminal_path()) {
        to_own_terminal();
    } else {
        to_other_terminal();
    }
}

/// `path` with a "T" as the first character of its last component.
std::string final_name(std::string path) {
    const std::size_t slash = path.rfind('/');
    path[slash == std::string::npos ? 0 : slash + 1] = 'T';
    return path;
}

/// A job appears under its final name only when it is complete. When a job of that name has not been fetched
/// yet, it is left alone and another name is taken.
void to_directory() {
    constexpr int attempts = 100;
    const std::string arriving = prt_job.device;
    const bool arrived = file_copy(prt_job.job_file.c_str(), arriving.c_str(), 1);
    file_delete(prt_job.job_file.c_str());
    if (!arrived) {
        job_cannot_open(arriving);
        return;
    }
    const std::size_t slash = arriving.rfind('/');
    const std::string directory = slash == std::string::npos ? "" : arriving.substr(0, slash);
    std::string name = arriving;
    for (int i = 0; i < attempts && !file_move(arriving.c_str(), final_name(name).c_str(), false); i++) {
        name = file_tempname(directory.c_str(), "PR");
        if (name.empty()) {
            return;
        }
    }
}

}  // namespace

std::string shell_word(std::string_view text) {
    const auto safe = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               (c != '\0' && std::strchr("._-/:@%", c) != nullptr);
    };
    bool plain = !text.empty();
    std::string quoted = "'";
    for (const char c : text) {
        plain = plain && safe(c);
        if (c == '\'') {
            quoted += "'\\''";
        } else if (c != '\0') {
            quoted += c;
        }
    }
    return plain ? std::string(text) : quoted + "'";
}

bool shell_run(const std::string &command) {
    const quiet_errors quiet;
    return std::system(command.c_str()) == 0;
}

std::string terminal_path() {
    const char *name = ttyname(STDIN_FILENO);
    if (name == nullptr) {
        name = ttyname(STDOUT_FILENO);
    }
    return name == nullptr ? "" : name;
}

void job_hand_off(const char *lp_options) {
    const leave_guard guard;
    if (prt_job.aux) {
        to_terminal_printer();
    } else if (prt_job.to_directory) {
        to_directory();
    } else if (prt_job.spooler) {
        to_spooler(lp_options);
    } else {
        to_device();
    }
}
