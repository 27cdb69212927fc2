// Runs checks without the menu, with an operator whose answers are known beforehand.
//   check_probe WORD...
// Words, in the order in which they are done:
//   labels series prices ...  the check of that name, as outside a full run
//   11 12 13                  the entry of the menu with that number
//   full                      the checks after this word run as in a full run
//   trusted                   the labels count as sound, as after an orderly end of the run before
//   answers=JN.X              answers to the questions and waits, in order: yes, no, the default, cancel.
//                             When they have run out the last one is given again; without any: yes
//   break=TEXT                breaks off in the pass whose caption holds TEXT
//   break                     breaks off at the first look for the wish to
//   kill-at=N                 ends itself with SIGKILL before the write to a file of data that comes N writes
//                             from here: there is no state between two writes
//   leave-at=N                likewise, but by SIGTERM, which it obeys at its next safe place
//   refuse                    no destination is found for reports
// It runs in the directory of the shop, and wants a terminal and its description like the program itself, for
// example TERM=xterm-256color TERMINFO=<build>/terminfo. Where standard input is no terminal it ends at once,
// with no results.
// Reports are added to `rapport.txt`, the line in which a question was asked to `vragen.txt`, and the flags
// that stand after each check to `uitkomst.txt`, with the number of writes in the end.
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <string>

#include "check/check.h"
#include "print/macros.h"
#include "print/print_internal.h"
#include "run/run.h"
#include "screen/screen.h"

namespace {
long writes = 0;
long last_write = -1;
int last_signal = SIGKILL;
}  // namespace

/// The writes to files of data pass here.
extern "C" ssize_t pwrite(int fd, const void *from, size_t size, off_t offset) {
    if (writes++ == last_write) {
        kill(getpid(), last_signal);
    }
    return syscall(SYS_pwrite64, fd, from, size, offset);
}

namespace {

struct named_check {
    const char *name;
    void (*run)();
    const bool *passed;
};

const named_check checks[] = {
    {"11", chk_entry_series, nullptr},
    {"12", chk_entry_customers, nullptr},
    {"13", chk_entry_other, nullptr},
#define CHECK(name) \
    { #name, chk_##name, &ok_##name }
    CHECK(labels),
    CHECK(series),
    CHECK(prices),
    CHECK(sizes),
    CHECK(transit),
    CHECK(order_criteria),
    CHECK(customers),
    CHECK(titles),
    CHECK(countries),
    CHECK(master),
    CHECK(ean),
    CHECK(order_numbers),
    CHECK(barcodes),
    CHECK(journals),
#undef CHECK
};

void add_line(const char *file, const std::string &line) {
    std::ofstream(file, std::ios::app) << line << "\n";
}

void note_flags(const std::string &word) {
    std::string line = word + ":";
    for (const named_check &check : checks) {
        if (check.passed != nullptr && *check.passed) {
            line += std::string(" ") + check.name;
        }
    }
    add_line("uitkomst.txt", line);
}

// ---- The operator

std::string answers = "J";
std::size_t answered = 0;
bool enter_is_due = false;
int keys_given = 0;

/// The line of the screen in which the cursor stands.
void note_question() {
    WINDOW *window = win_current();
    const int row = getbegy(window) + getcury(window);
    wchar_t text[256] = L"";
    mvwinnwstr(curscr, row, 0, text, 255);
    std::string line;
    for (const wchar_t *at = text; *at != L'\0'; at++) {
        line += *at < 128 ? static_cast<char>(*at) : '#';
    }
    const std::size_t first = line.find_first_not_of(" #");
    const std::size_t last = line.find_last_not_of(" #");
    add_line("vragen.txt", first == std::string::npos ? "" : line.substr(first, last - first + 1));
}

int next_key() {
    constexpr int too_many = 20000;
    if (++keys_given > too_many) {
        add_line("uitkomst.txt", "no end of questions");
        std::raise(SIGKILL);
    }
    if (enter_is_due) {
        enter_is_due = false;
        return key_enter;
    }
    note_question();
    const char answer = answers[std::min(answered, answers.size() - 1)];
    answered++;
    if (answer == 'X') {
        return KEY_CANCEL;
    }
    if (answer == '.') {
        return key_enter;
    }
    enter_is_due = true;
    return answer;
}

// ---- Breaking off

std::string break_caption;
bool break_is_due = false;
bool answering = true;
void (*draw_progress)(int action, std::uint32_t value, std::uint32_t total, const char *title);

void watch_progress(int action, std::uint32_t value, std::uint32_t total, const char *title) {
    constexpr int opens = 0;
    if (action == opens && !break_caption.empty()) {
        break_is_due = title != nullptr && std::strstr(title, break_caption.c_str()) != nullptr;
        if (break_is_due) {
            ing_break_reset();
        } else {
            ing_break_off();
        }
    }
    draw_progress(action, value, total, title);
}

/// The program looks for a wish to break off, and the answers have to wait.
void hold_answers() {
    answering = false;
    if (break_is_due) {
        break_is_due = false;
        break_caption.clear();
        key_unget(key_enter);
        key_unget(KEY_CANCEL);
    }
}

void install_operator() {
    macros.enabled = [] { return false; };
    macros.enable = [] { answering = true; };
    macros.disable = hold_answers;
    macros.replaying = [] { return answering; };
    macros.keys_left = [] { return answering; };
    macros.next_key = next_key;
    macros.push = [](int) {};
    macros.stop = [] {};
    draw_progress = isam_operator.progress;
    isam_operator.progress = watch_progress;
}

// ---- Reports

bool refused = false;

bool open_job(const print_setup &, std::uint16_t, const char *) {
    if (refused) {
        return false;
    }
    prt_job = {};
    prt_job.aux = prt_job.preview = true;
    prt_job.rpt_width = 132;
    prt_job.rpt_lines = 60;
    return prt_job_start();
}

bool keep_report() {
    std::ofstream("rapport.txt", std::ios::app) << std::ifstream(prt_job.job_file).rdbuf();
    return false;
}

/// The value of "name=value"; null for any other word.
const char *value_of(const std::string &word, const char *name) {
    const std::size_t length = std::strlen(name);
    return word.compare(0, length, name) == 0 && word[length] == '=' ? word.c_str() + length + 1 : nullptr;
}

void obey(const std::string &word) {
    if (word == "full") {
        chk_full_run = true;
    } else if (word == "trusted") {
        ok_labels = true;
    } else if (word == "refuse") {
        refused = true;
    } else if (word == "break") {
        break_is_due = true;
    } else if (const char *list = value_of(word, "answers")) {
        answers = list;
        answered = 0;
    } else if (const char *caption = value_of(word, "break")) {
        break_caption = caption;
    } else if (const char *count = value_of(word, "kill-at")) {
        last_write = writes + std::stol(count);
    } else if (const char *leave = value_of(word, "leave-at")) {
        last_signal = SIGTERM;
        last_write = writes + std::stol(leave);
    } else {
        for (const named_check &check : checks) {
            if (word == check.name) {
                check.run();
                note_flags(word);
                return;
            }
        }
        scr_fatal("%s?", word.c_str());
    }
}

}  // namespace

int main(int argc, char **argv) {
    start_program("", {"", ""}, 1, argv);
    prt_modules.job_open = open_job;
    prt_modules.preview = keep_report;
    set_program_title("bestandscontroles");
    chk_release_indexes();
    chk_session_files_open();
    iotab_row(tab_action::read, row_transit, chk_transit_settings);
    install_operator();
    const long at_start = writes;
    for (int i = 1; i < argc; i++) {
        obey(argv[i]);
    }
    add_line("uitkomst.txt", "writes " + std::to_string(writes - at_start));
    chk_session_files_close();
    chain_program("");
}
