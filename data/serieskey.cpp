#include "data/serieskey.h"

#include <cstdio>

namespace {

constexpr std::uint32_t highest_group = 99999;
constexpr unsigned highest_colour = 999;
constexpr unsigned highest_number = 9999;
constexpr std::int32_t seconds_a_day = 86400;

}  // namespace

bool chk_key_valid(std::uint32_t group, unsigned colour, unsigned number) {
    return group >= 1 && group <= highest_group && colour >= 1 && colour <= highest_colour && number >= 1 &&
           number <= highest_number;
}

bool chk_key_valid(const SeriesKey &key) {
    return chk_key_valid(key.group, key.colour, key.number);
}

std::string ser_text(std::uint32_t group, unsigned colour, unsigned number) {
    char text[40];
    const int length =
        std::snprintf(text, sizeof text, "%lu.%hu.%hu", static_cast<unsigned long>(group),
                      static_cast<unsigned short>(colour), static_cast<unsigned short>(number));
    std::string key(text, static_cast<std::size_t>(length));
    key.resize(ser_text_width, ' ');
    return key;
}

std::string ser_text(const SeriesKey &key) {
    return ser_text(key.group, key.colour, key.number);
}

// A day outside 1980 to 2048 has no stamp in 32 bits: the stamp wraps, and does not lead back to that day.
std::int32_t stamp_of_day(day_number day) {
    return static_cast<std::int32_t>((static_cast<std::int64_t>(day) - day_1980) * seconds_a_day);
}

day_number day_of_stamp(std::int32_t stamp) {
    return static_cast<day_number>(day_1980 + stamp / seconds_a_day);
}
