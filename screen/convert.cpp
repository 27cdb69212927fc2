// Conversion between the caller's variable and the field.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "screen/field_internal.h"

namespace {

template <typename T>
double load(const void *from) {
    T value{};
    std::memcpy(&value, from, sizeof value);
    return static_cast<double>(value);
}

/// Rounds half away from zero. A value that the variable can't hold is limited to 64 bits first, and then cut
/// like any whole number.
template <typename T>
void store(void *to, double value) {
    constexpr double most = 9.0e18;
    const auto whole = std::isnan(value)
                           ? std::int64_t{0}
                           : static_cast<std::int64_t>(std::clamp(std::round(value), -most, most));
    const auto stored = static_cast<T>(whole);
    std::memcpy(to, &stored, sizeof stored);
}

}  // namespace

bool convert_type_known(char type) {
    return type != '\0' && std::strchr("BUndulfDbcCsSxX", type) != nullptr;
}

std::size_t convert_storage(char type) {
    switch (type) {
        case 'B':
        case 'l':
            return sizeof(std::int32_t);
        case 'U':
        case 'n':
        case 'b':
            return sizeof(std::int8_t);
        case 'd':
        case 'u':
        case 'D':
            return sizeof(std::int16_t);
        case 'f':
            return sizeof(double);
        default:
            return 0;
    }
}

void convert_load() {
    const void *from = scr->field.ing_target;
    switch (scr->field.ing_type) {
        case 'B':
            ing_value = load<std::int32_t>(from);
            if (scr->ing_bprec == 2) {
                ing_value /= 100.0;
            }
            break;
        case 'l':
            ing_value = load<std::int32_t>(from);
            break;
        case 'd':
            ing_value = load<std::int16_t>(from);
            break;
        case 'u':
        case 'D':
            ing_value = load<std::uint16_t>(from);
            break;
        case 'n':
            ing_value = load<std::int8_t>(from);
            break;
        case 'U':
        case 'b':
            ing_value = load<std::uint8_t>(from);
            break;
        case 'f':
            ing_value = load<double>(from);
            break;
        default:
            break;
    }
}

void convert_load_text() {
    const auto *from = static_cast<const char *>(scr->field.ing_target);
    text_set({from, strnlen(from, static_cast<std::size_t>(scr->field.ing_len))});
}

void convert_store() {
    void *to = scr->field.ing_target;
    const auto width = static_cast<std::size_t>(scr->field.ing_len);
    switch (scr->field.ing_type) {
        case 'B':
            store<std::int32_t>(to, scr->ing_bprec == 2 ? ing_value * 100.0 : ing_value);
            break;
        case 'l':
            store<std::int32_t>(to, ing_value);
            break;
        case 'D':
        case 'd':
        case 'u':
            store<std::uint16_t>(to, ing_value);
            break;
        case 'U':
        case 'b':
        case 'n':
            store<std::uint8_t>(to, ing_value);
            break;
        case 'f':
            std::memcpy(to, &ing_value, sizeof ing_value);
            break;
        case 'c':
        case 'C':
        case 'x':
        case 'X':
            std::memcpy(to, ing_text, width);
            break;
        case 's':
        case 'S':
            std::memcpy(to, ing_text, width + 1);
            break;
        default:
            break;
    }
}
