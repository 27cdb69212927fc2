#include "run/info_page.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "data/iofil.h"
#include "data/iotab.h"
#include "run/startup.h"
#include "screen/screen.h"

namespace {

std::string current_directory() {
    char path[4096] = "";
    return getcwd(path, sizeof path) == nullptr ? "" : path;
}

std::string terminal_name() {
    const char *term = getenv("TERM");
    const char *device = ttyname(STDIN_FILENO);
    return str_format("%s %s", term == nullptr ? "" : term, device == nullptr ? "" : device);
}

}  // namespace

void info_page_show(int row) {
    struct line {
        const char *label;
        std::string value;
    };
    const std::string user = user_name(sys_slot);
    const std::array<line, 10> lines{{
        {"Program", program_name},
        {"Version", str_format("%d %s", program_release_number, program_release_date)},
        {"Compiled", str_format("%s %s %s", "LINUX", sys_version_date.date, sys_version_date.time)},
        {nullptr, ""},
        {"Application",
         str_format("Heritage%s %dF", program_release, static_cast<int>(sys_settings.branches))},
        {"Userinfo", str_format("%s (%c)", user.c_str(), sys_slot.rights == '\0' ? ' ' : sys_slot.rights)},
        {nullptr, ""},
        {"Directory", current_directory()},
        {"Diskfree Mb", str_format("%.2lf", static_cast<double>(disk_free()) / 1024)},
        {"Tty", terminal_name()},
    }};
    for (const line &each : lines) {
        if (each.label != nullptr) {
            const int length = scr_text(A_DIM, row, 2, "%-12.12s: ", each.label);
            scr_text(A_BOLD, row, 2 + length, "%-60.60s", each.value.c_str());
        }
        row++;
    }
}

void info_page() {
    constexpr int height = 15;
    win_open1(scr->scr_lines - 16, 1, height, 80);
    win_title("%s", "");
    info_page_show(1);
    ing_enter(height - 2, 2);
    win_close();
}
