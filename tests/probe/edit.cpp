#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "probe.h"

namespace {

/// A variable of any type; '#' where nothing was written.
struct variable {
    alignas(8) char bytes[300];
};

/// Bytes of a number; 0 for a text.
std::size_t size_of(char type) {
    return type == 'f'                                 ? sizeof(double)
           : type == 'B' || type == 'l'                ? 4
           : type == 'd' || type == 'u' || type == 'D' ? 2
           : type == 'n' || type == 'U' || type == 'b' ? 1
                                                       : 0;
}

void load(variable &v, char type, int width, const char *value) {
    std::memset(&v, '#', sizeof v);
    const double fraction = std::atof(value);
    const long number = type == 'D' ? date_from_str(value) : std::atol(value);
    if (type == 'f') {
        std::memcpy(v.bytes, &fraction, sizeof fraction);
    } else if (size_of(type) > 0) {
        std::memcpy(v.bytes, &number, size_of(type));
    } else if (type == 's' || type == 'S') {
        std::memcpy(v.bytes, value, std::strlen(value) + 1);
    } else {
        std::strncpy(v.bytes, value, static_cast<std::size_t>(width));
    }
}

/// A text goes up to the first byte that was never written; a zero shows as a point.
std::string shown(const variable &v, char type) {
    const std::size_t size = size_of(type);
    if (type == 'f') {
        double fraction = 0;
        std::memcpy(&fraction, v.bytes, sizeof fraction);
        return str_format("%.3f", fraction);
    }
    if (size == 0) {
        std::string text(v.bytes, std::string_view(v.bytes, sizeof v.bytes).find('#'));
        std::replace(text.begin(), text.end(), '\0', '.');
        return text;
    }
    long number = 0;
    std::memcpy(&number, v.bytes, size);
    if (type == 'D') {
        return number == 0 ? "0" : date_show_long(static_cast<day_number>(number));
    }
    const bool below_zero = std::strchr("Bldn", type) != nullptr && number >> (size * 8 - 1) != 0;
    return std::to_string(below_zero ? number - (1L << size * 8) : number);
}

const char *exit_name() {
    const std::pair<int, const char *> names[] = {{K_CANCEL, " cancel"}, {K_ESC, " esc"}, {K_UP, " up"},
                                                  {K_DOWN, " down"},     {K_TAB, " tab"}, {K_F1, " f1"},
                                                  {K_HELP, " help"},     {key_enter, ""}};
    const auto found = std::find_if(std::begin(names), std::end(names),
                                    [](const auto &each) { return each.first == scr->ing_exit; });
    return found == std::end(names) ? " ?" : found->second;
}

}  // namespace

/// FORMAT VALUE KEYS: one field, and then what came of it. KEYS names the keys that may end it, or the limits
/// as "MIN" or "MIN:MAX", or is "edge" for a field at the edge of a window.
void edit(char **arguments) {
    const char *format = arguments[0];
    const char type = format[std::strspn(format, " 0123456789.")];
    variable v;
    load(v, type, std::max(std::atoi(format), 1), arguments[1]);
    const std::string keys = arguments[2];
    for (const auto &[name, slot] : {std::pair{"cancel", K_CANCEL},
                                     {"up", K_UP},
                                     {"down", K_DOWN},
                                     {"tab", K_TAB},
                                     {"help", K_HELP},
                                     {"function", K_F5},
                                     {"function", K_F12}}) {
        if (keys.find(name) != std::string::npos) {
            key_allow(slot);
        }
    }
    double lower = 0.0;
    double upper = -1.0;
    if (std::sscanf(keys.c_str(), "%lf:%lf", &lower, &upper) > 0) {
        scr->scr_keys->ing_min = lower;
        scr->scr_keys->ing_max = upper;
    }
    const bool at_edge = keys == "edge";
    if (at_edge) {
        win_open1(4, 1, 3, 12);
    }
    const int changed = INGAVE(at_edge ? 2 : 5, at_edge ? 9 : 10, format, {}, static_cast<void *>(v.bytes));
    scr_base_text(A_BOLD, 15, 1, "[%s] %s%s%s", shown(v, type).c_str(), changed != 0 ? "changed" : "same",
                  exit_name(), (scr->ing_status & ING_EMPTY) != 0 ? " empty" : "");
    const bool clean = scr->scr_keys->ing_min == 0.0 && scr->scr_keys->ing_max == -1.0 &&
                       scr->scr_keys->soft == 0 && scr->scr_keys->mask == key_state{}.mask;
    scr_base_text(A_BOLD, 16, 1, "%s", clean ? "" : "toetsen niet opgeruimd");
    hold();
}
