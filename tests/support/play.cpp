#include "support/play.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>

#include "check/session/session.h"
#include "report/report_internal.h"

namespace {

constexpr char result_name[] = "uitkomst.txt";

Script script;
long writes_done = 0;
long last_write = -1;
int last_signal = SIGKILL;
std::size_t answered = 0;
bool broken_off = false;
int holds = 0;
volatile std::sig_atomic_t leaving = 0;

// ---- What becomes known of a run, a line each: a letter and what it is about

void note(char what, std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::ofstream(result_name, std::ios::app) << what << text << "\n";
}

void note_flags() {
    std::string all;
    for (const chk_row &row : chk_rows()) {
        all += *row.passed ? std::string(all.empty() ? "" : " ") + row.name : "";
    }
    note('F', all);
}

void note_finding(const finding &found) {
    std::string text = std::string(found.kind.code) + " " + found.file;
    for (const finding_field &field : found.fields) {
        text += std::string(" ") + field.name + "=" + field.value;
    }
    note('C', text);
}

// ---- The operator

/// The next answer; a question to which nobody gives an end would go on for ever.
char answer(const std::string &text) {
    constexpr std::size_t too_many = 5000;
    note('Q', text);
    if (answered > too_many) {
        note('!', "no end of questions");
        std::raise(SIGKILL);
    }
    const char given = script.answers[std::min(answered, script.answers.size() - 1)];
    answered++;
    return given;
}

bool ask(op_question question, const char *text, const std::vector<std::string> &) {
    const op_default preset = default_of(question);
    const char *const shown = preset == op_default::yes ? " J" : preset == op_default::no ? " N" : "";
    const char given = answer(std::string(text) + "? (J/N)" + shown);
    return given == 'J' || (given == '.' && preset == op_default::yes);
}

void leave_if_due() {
    if (leaving != 0 && holds == 0) {
        shop_close();
        _exit(0);
    }
}

bool interrupted() {
    leave_if_due();
    if (script.break_at_once) {
        script.break_at_once = false;
        broken_off = true;
    }
    return broken_off;
}

void progress(int action, std::uint32_t, std::uint32_t, const char *title) {
    constexpr int opens = 0;
    if (action == opens && !script.break_at.empty() && title != nullptr &&
        std::strstr(title, script.break_at.c_str()) != nullptr) {
        script.break_at.clear();
        script.break_at_once = true;
    }
}

void install_operator() {
    isam_operator = {};
    isam_operator.fatal = [](const char *text) {
        note('!', text);
        _exit(1);
    };
    isam_operator.flash = [](int wait, const char *, const char *text) {
        return wait < 0 ? static_cast<int>(answer(text) == 'J') : 1;
    };
    isam_operator.last_line = [](bool, const char *, int) { usleep(20000); };
    isam_operator.progress = progress;
    isam_operator.interrupted = interrupted;
    isam_operator.interrupt_reset = isam_operator.interrupt_arm = [] { broken_off = false; };
    isam_operator.hold = [] { holds++; };
    isam_operator.release = [] {
        holds--;
        leave_if_due();
    };
    isam_operator.leave_if_due = leave_if_due;
    isam_operator.tell = [](op_notice, const std::vector<std::string> &lines) {
        std::string all;
        for (const std::string &line : lines) {
            all += (all.empty() ? "" : " ") + line;
        }
        answer(all);
    };
    isam_operator.ask = ask;
    chk_finding_listener = note_finding;
    std::signal(SIGTERM, [](int) { leaving = 1; });
}

// ---- Reports

bool open_job(const print_setup &, std::uint16_t options, const char *) {
    if (script.refuses || (options & prt_fits_132) == 0) {
        return false;
    }
    prt_job = {};
    prt_job.preview = true;
    prt_job.rpt_width = 132;
    prt_job.rpt_lines = script.page_lines;
    return prt_job_start();
}

bool keep_report() {
    std::ifstream job(prt_job.job_file);
    for (std::string line; std::getline(job, line);) {
        note('R', line[0] == '\f' ? line.substr(1) : line);
    }
    note('E', "");
    return false;
}

auto open_descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

[[noreturn]] void perform(const std::function<void()> &course) {
    install_operator();
    prt_modules = {.job_open = open_job, .preview = keep_report};
    catalog_open();
    shop_open();
    shop_begin();
    if (shop_whole_amounts()) {
        setenv("KPOS", "geset", 1);
    }
    set_program_title("bestandscontroles");
    const auto open_before = open_descriptors();
    chk_release_indexes();
    chk_session_open();
    const long before = writes_done;
    course();
    note_flags();
    note('W', std::to_string(writes_done - before));
    chk_session_close();
    if (open_descriptors() != open_before) {
        note('!', "a check has left a file open");
        _exit(2);
    }
    shop_close();
    _exit(0);
}

CheckRun read_results(int status) {
    std::map<char, std::vector<std::string>> notes;
    std::ifstream results(result_name);
    for (std::string line; std::getline(results, line);) {
        notes[line.empty() ? '!' : line[0]].push_back(line.substr(std::min<std::size_t>(1, line.size())));
    }
    CheckRun run;
    run.status = status;
    run.report = notes['R'];
    run.jobs = static_cast<int>(notes['E'].size());
    run.questions = notes['Q'];
    run.findings = notes['C'];
    for (const std::string &finding : run.findings) {
        run.codes.push_back(finding.substr(0, finding.find(' ')));
    }
    if (!notes['W'].empty()) {
        run.flags = notes['F'].back();
        run.writes = std::stol(notes['W'].back());
    }
    run.fatal = notes['!'].empty() ? "" : notes['!'].back();
    return run;
}

/// The end of the child: its exit status, or 128 plus the signal that ended it.
int await_end(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

/// The writes to files of data pass here.
extern "C" ssize_t pwrite(int fd, const void *from, size_t size, off_t offset) {
    if (writes_done++ == last_write) {
        kill(getpid(), last_signal);
    }
    return syscall(SYS_pwrite64, fd, from, size, offset);
}

Script &script_now() {
    return script;
}

void signal_after(long writes, int signal) {
    last_write = writes_done + writes;
    last_signal = signal;
}

std::string trimmed(const std::string &line) {
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

CheckRun play(const Script &wanted, const std::function<void()> &course) {
    unlink(result_name);
    const pid_t child = fork();
    if (child == 0) {
        constexpr unsigned a_minute = 60;
        alarm(a_minute);
        script = wanted;
        perform(course);
    }
    return read_results(await_end(child));
}

std::string CheckRun::found() const {
    std::string all;
    for (std::size_t i = 0; i < codes.size(); i++) {
        if (i == 0 || codes[i] != codes[i - 1]) {
            all += (all.empty() ? "" : " ") + codes[i];
        }
    }
    return all;
}

bool CheckRun::reports(const std::string &text) const {
    return count(text) > 0;
}

int CheckRun::count(const std::string &text) const {
    return static_cast<int>(std::count_if(report.begin(), report.end(), [&](const std::string &line) {
        return line.find(text) != std::string::npos;
    }));
}

bool CheckRun::shows(const std::vector<std::string> &lines) const {
    return std::search(report.begin(), report.end(), lines.begin(), lines.end()) != report.end();
}

std::vector<std::string> CheckRun::rows(const std::vector<std::string> &texts) const {
    std::vector<std::string> found;
    for (const std::string &line : report) {
        if (std::any_of(texts.begin(), texts.end(),
                        [&](const std::string &text) { return line.find(text) != line.npos; })) {
            found.push_back(trimmed(line));
        }
    }
    return found;
}

bool CheckRun::asked(const std::string &text) const {
    return std::any_of(questions.begin(), questions.end(),
                       [&](const std::string &question) { return question.find(text) != std::string::npos; });
}

std::ostream &operator<<(std::ostream &out, const CheckRun &run) {
    out << "status " << run.status << ", flags [" << run.flags << "]\n";
    for (const std::string &line : run.report) {
        out << "| " << line << "\n";
    }
    for (const std::string &line : run.findings) {
        out << "! " << line << "\n";
    }
    for (const std::string &line : run.questions) {
        out << "? " << line << "\n";
    }
    return out << run.fatal << "\n";
}
