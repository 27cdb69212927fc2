// The key of a series in the form that operators know, and the creation stamp.
#pragma once

#include <string>

#include "base/dates.h"
#include "data/seriesfile.h"

/// True for an article group of 1 to 99999, a colour of 1 to 999 and a sequence number of 1 to 9999.
bool chk_key_valid(std::uint32_t group, unsigned colour, unsigned number);
bool chk_key_valid(const SeriesKey &key);

inline constexpr int ser_text_width = 14;
/// "group.colour.number", cut to 14 characters or filled up with blanks.
std::string ser_text(std::uint32_t group, unsigned colour, unsigned number);
std::string ser_text(const SeriesKey &key);

/// The creation stamp (seconds since 01-01-1980) of a day, and the day of a stamp in 16 bits.
std::int32_t stamp_of_day(day_number day);
day_number day_of_stamp(std::int32_t stamp);
