// A program that prints one report in a terminal session, for the tests that look at screen and printer.
//   print_probe SCENARIO
//   print_probe preview PAGES LINES WIDTH DEVICE     a report of that size, in the preview
//   print_probe PRINTER FLAGS CONNECTION OPTIONS FILE     a report on that print set-up; "-" for no file
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <string>

#include "print/destination.h"
#include "print/print_internal.h"

namespace {

print_job wanted;

bool open_wanted(const print_setup &, std::uint16_t, const char *) {
    prt_job = wanted;
    return prt_job_start();
}

void wait_end(const char *text) {
    scr_base_text(A_DIM, 24, 1, "%s", text);
    scr_flush(0);
    key_get(win_current());
}

bool open_report() {
    wanted.rpt_width = 80;
    wanted.rpt_lines = 64;
    return XPRT_OPEN({}, prt_fits_80, nullptr);
}

void print_lines(int lines) {
    prt_head("winkel", "%s", "LIJST");
    for (int i = 1; i <= lines; i++) {
        prt_printf("regel %d van de lijst\n", i);
    }
}

/// The printer on the operator's own terminal.
void own_terminal() {
    scr_text(A_BOLD, 3, 1, "onderlaag");
    wanted.aux = true;
    wanted.device = terminal_path();
    wanted.copies = 2;
    open_report();
    scr_text(A_BOLD, 4, 1, ing_break_is_on() ? "afbreken kan" : "afbreken kan niet");
    print_lines(2);
    prt_close("");
    scr_text(A_BOLD, 5, 1, "%s %d", ing_break_is_on() ? "afbreken kan weer" : "afbreken kan niet",
             scr->ing_exit);
    wait_end("klaar");
}

/// The operator breaks off while the lines are printed.
void break_lines() {
    wanted.device = "device";
    open_report();
    print_lines(1);
    scr_text(A_BOLD, 3, 1, "bezig");
    scr_flush(0);
    while (!ing_interrupted()) {
        usleep(1000);
    }
    prt_close("");
    wait_end(ing_interrupted() ? "nog afgebroken" : "klaar");
}

/// The operator breaks off while the copies are sent: the key arrives during a preview that takes longer
/// than the interval at which the keyboard is looked at.
void break_copies(bool aux) {
    wanted.aux = aux;
    wanted.device = aux ? terminal_path() : "device";
    wanted.copies = 3;
    wanted.preview = true;
    prt_modules.preview = [] {
        scr_text(A_BOLD, 3, 1, "voorbeeld");
        scr_flush(0);
        while (!key_pending()) {
            usleep(1000);
        }
        const std::time_t pressed = std::time(nullptr);
        while (std::time(nullptr) < pressed + 2) {
            usleep(1000);
        }
        return true;
    };
    open_report();
    print_lines(1);
    prt_close("");
    wait_end("klaar");
}

/// A directory in which no file can be made.
void no_job_file() {
    char gone[] = "goneXXXXXX";
    if (mkdtemp(gone) != nullptr && chdir(gone) == 0 && rmdir(("../" + std::string(gone)).c_str()) == 0) {
        wait_end(open_report() ? "geopend" : "geen bestand");
    }
}

/// A directory for reports that is not there.
void no_directory() {
    wanted.to_directory = true;
    wanted.device = "nergens/PRAA01";
    open_report();
    print_lines(1);
    prt_close("");
    wait_end("klaar");
}

/// Each line tells its page, its number, and every tenth column.
void preview(int pages, int lines, int width, const char *device) {
    wanted.preview = true;
    wanted.device = device;
    wanted.setup_text = "SET-UP";
    wanted.rpt_width = width;
    wanted.rpt_lines = lines;
    prt_modules.preview = PRT_SCR;
    XPRT_OPEN({}, prt_fits_132, nullptr);
    std::string ruler;
    for (int column = 20; column <= width; column += 10) {
        ruler += str_format("%10d", column);
    }
    for (int page = 1; page <= std::max(pages, 1); page++) {
        if (pages > 0) {
            prt_newpage();
        }
        for (int line = 1; line <= lines; line++) {
            prt_printf("%s\n", str_format("p%d r%d\x01", page, line).c_str());
            if (line == 2) {
                prt_printf("%-10.10s%s\n", "kolom", ruler.c_str());
            }
        }
    }
    prt_close("");
    scr_text(A_BOLD, 2, 1, "%d x %d, afdrukken %d, toets %d", scr->scr_lines, scr->scr_cols, prt_job.copies,
             scr->ing_exit);
    wait_end("klaar");
}

/// Tells what job the printer files give, and prints one line.
void destination(char **argument) {
    const auto number = [argument](int i) { return std::atoi(argument[i]); };
    const print_setup setup{static_cast<std::uint16_t>(number(1)), static_cast<std::uint8_t>(number(2)),
                            static_cast<std::uint8_t>(number(3))};
    const char *file = argument[5] == std::string("-") ? nullptr : argument[5];
    if (!XPRT_OPEN(setup, static_cast<std::uint16_t>(number(4)), file)) {
        wait_end("geen job");
        return;
    }
    scr_text(A_BOLD, 2, 1, "%dx%d %s%s%s%s <%s> [%s|%s] %d", prt_job.rpt_width, prt_job.rpt_lines,
             prt_job.preview ? "P" : "", prt_job.aux ? "A" : "", prt_job.to_directory ? "D" : "",
             prt_job.spooler ? "S" : "", prt_job.device == terminal_path() ? "tty" : prt_job.device.c_str(),
             prt_job.setup_text.c_str(), prt_job.end_text.c_str(), prt_job.copies);
    prt_printf("regel\n");
    prt_close("");
    wait_end("klaar");
}

}  // namespace

int main(int argc, char **argv) {
    const std::map<std::string, std::function<void()>> scenarios{
        {"own-terminal", own_terminal},
        {"break-lines", break_lines},
        {"break-copies", [] { break_copies(false); }},
        {"break-own-terminal", [] { break_copies(true); }},
        {"no-job-file", no_job_file},
        {"no-directory", no_directory},
    };
    prt_install();
    if (argc != 6) {
        prt_modules.job_open = open_wanted;
        prt_modules.preview = nullptr;
    }
    SCRINIT();
    busy_release();
    if (argc == 6 && argv[1] != std::string("preview")) {
        destination(argv);
    } else if (argc == 6) {
        prt_modules.job_open = open_wanted;
        preview(std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]), argv[5]);
    } else {
        scenarios.at(argc == 2 ? argv[1] : "")();
    }
    scr_exit(0);
}
