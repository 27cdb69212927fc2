// Field formats: the input's first two bytes choose the variable, the rest is the format. What the parser
// accepts may only load and store the bytes of the variable.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "fuzz/stop.h"
#include "screen/field_internal.h"

// The session and the parts of field editing that the parser calls, without a terminal.

screen_state *scr = nullptr;
char ing_text[ing_text_size];
double ing_value = 0.0;

namespace {
bool key_mask[1024];
}

void scr_fatal(const char *format, ...) {
    char message[1024];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    throw fuzz_stop{};
}
void key_allow(int key) {
    FUZZ_DEMAND(key >= 0 && key < 1024);
    key_mask[key] = true;
}
void key_deny(int key) {
    FUZZ_DEMAND(key >= 0 && key < 1024);
    key_mask[key] = false;
}
void text_set(std::string_view value) {
    const std::size_t length = std::min(value.size(), ing_text_size - 2);  // as the editor cuts it
    std::memmove(ing_text, value.data(), length);
    std::memset(ing_text + length, 0, ing_text_size - length);
}
char ing_yes_letter() {
    return 'J';
}
char ing_no_letter() {
    return 'N';
}
std::string date_text(double value) {
    return std::to_string(static_cast<long>(value)).substr(0, 10);
}
double number_from(std::string_view value) {
    return std::strtod(std::string(value).c_str(), nullptr);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    static const std::size_t rooms[] = {1, 2, 4, 8, 6, 30, 256, 300};
    const std::size_t room = rooms[data[0] % 8];
    const bool scalar = room <= 8 && room != 6 && data[0] >= 128;
    const std::string format(reinterpret_cast<const char *>(data) + 2, size - 2);
    const auto variable = std::make_unique<char[]>(room);
    std::memset(variable.get(), data[1], room);
    key_state keys;
    screen_state state;
    state.scr_keys = &keys;
    state.ing_bprec = data[0] % 2 == 0 ? 2 : 0;
    scr = &state;
    ing_value = 0.0;
    text_set("");
    try {
        ing_format(format.c_str(), {variable.get(), room, scalar});
        FUZZ_DEMAND(state.field.ing_len >= 1 && state.field.ing_len <= ing_max_width);
        FUZZ_DEMAND(std::strlen(ing_text) <= ing_max_width + 1);
        convert_store();
    } catch (const fuzz_stop &) {
    }
    scr = nullptr;
    return 0;
}
