// A check with nothing of its own, for the tests of the frame.
//   frame_probe WORD...
// It lists the numbers in `fouten.txt`; its repair takes out those below 100, one round after the other.
// Reports go to `rapport.txt`, the end of each run to `uitkomst.txt`. Words:
//   full           a full run            before needed own   when the report is opened
//   refuse         no destination        passes              a clean run without a report counts
//   goes-on        with no destination the question is asked all the same
//   passed         the flag stands already                   withdraws           errors take it back
//   endless        the walk ends when it is broken off
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "print/print_internal.h"
#include "run/startup.h"
#include "screen/screen.h"

namespace {

struct ProbeError {
    little_uint32_t number;
    std::uint8_t carried[4];
};

std::set<std::string> words;
error_list<ProbeError> found("probe", {{"key-1", false, {{'I', 0, 4}}}});

bool has(const char *word) {
    return words.count(word) != 0;
}

std::set<unsigned> read_errors() {
    std::ifstream file("fouten.txt");
    std::set<unsigned> numbers;
    for (unsigned number = 0; file >> number;) {
        numbers.insert(number);
    }
    return numbers;
}

void note(const char *what) {
    std::ofstream("uitkomst.txt", std::ios::app) << what << "\n";
}

bool walk() {
    const std::set<unsigned> numbers = read_errors();
    chk_phase("FASE-1: proef", static_cast<std::uint32_t>(numbers.size()));
    std::uint32_t step = 0;
    bool broken_off = false;
    do {
        for (const unsigned number : numbers) {
            ProbeError error{};
            error.number = number;
            found.add(error);
            chk_progress(++step, static_cast<std::uint32_t>(numbers.size()), chk_bar::step);
        }
        broken_off = ing_interrupted();
    } while (has("endless") && !broken_off);
    chk_progress(0, 0, chk_bar::close);
    return !broken_off;
}

void report() {
    if (has("own") && !chk_open_report()) {
        return;
    }
    found.for_each([](const ProbeError &error) {
        chk_room(2);
        prt_printf("%8ld", static_cast<long>(error.number.value()));
        prt_newline();
    });
    if (has("own")) {
        prt_close("");
    }
}

void repair() {
    std::ostringstream left;
    for (const unsigned number : read_errors()) {
        if (number >= 100) {
            left << number - 100 << "\n";
        }
    }
    std::ofstream("fouten.txt") << left.str();
    note("hersteld");
}

chk_course course() {
    chk_course probe{.status = [] { return "proef controleren"; },
                     .title = [] { return has("full") ? "proef: vol" : "proef controleren"; },
                     .flag = &ok_series,
                     .date = &SysRow19::series};
    probe.withdraws = has("withdraws");
    probe.report_time = has("before")   ? chk_report_time::before_walk
                        : has("needed") ? chk_report_time::as_needed
                        : has("own")    ? chk_report_time::by_check
                                        : chk_report_time::after_walk;
    probe.refusal = {.ends = !has("goes-on"), .keeps_flag = has("passes"), .keeps_date = has("passes")};
    probe.open = [] {
        found.open();
        note(found.file_name().substr(0, 4).c_str());
    };
    probe.walk = walk;
    probe.has_errors = [] { return !found.empty(); };
    probe.heads = [](bool first_page) {
        if (first_page) {
            prt_printf("%s\n", "alleen op het eerste blad");
        }
        prt_printf("%8.8s\n", "nummer");
        chk_dashes();
    };
    probe.report = report;
    probe.figures = [] { prt_printf("%s\n", "verder niets"); };
    probe.repair = repair;
    probe.close = [] {
        found.close();
        note("gesloten");
    };
    return probe;
}

/// A report of 132 columns and 20 lines, which is added to `rapport.txt` when it is finished.
bool open_job(const print_setup &, std::uint16_t options, const char *) {
    if (has("refuse") || (options & prt_fits_132) == 0) {
        return false;
    }
    prt_job = {};
    prt_job.aux = prt_job.preview = true;
    prt_job.rpt_width = 132;
    prt_job.rpt_lines = 20;
    return prt_job_start();
}

bool keep_report() {
    std::ofstream("rapport.txt", std::ios::app) << std::ifstream(prt_job.job_file).rdbuf() << "EINDE\n";
    return false;
}

}  // namespace

int main(int argc, char **argv) {
    words.insert(argv + 1, argv + argc);
    start_program("", {"", ""}, 1, argv);
    prt_modules.job_open = open_job;
    prt_modules.preview = keep_report;
    set_program_title("bestandscontroles");
    chk_full_run = has("full");
    ok_series = has("passed");
    chk_perform(course());
    note(ok_series ? "goed" : "niet goed");
    chain_program("");
}
