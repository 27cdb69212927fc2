// The 16-bit date and the time of day.
//
// A date is a day number: 0 is no date, 1 is 01-01-1900, 36526 is 01-01-2000. Every year whose count since
// 1900 is divisible by 4 has 366 days, 1900 included. The last date that fits lies in June 2079.
#pragma once

#include <cstdint>

using day_number = std::uint16_t;

inline constexpr day_number day_1980 = 29221;

/// Today's day number, by the local clock.
day_number date_today();
/// Seconds since local midnight.
int time_now();
/// True when a text of digits, ddmmyy or ddmmyyyy, names an existing day. 29 February exists when the last
/// two digits of the year are divisible by 4.
bool date_valid(const char *text);
/// Day number of ddmmyy (years below 51 are 20yy) or ddmmyyyy; 0 when it is invalid or before 1900.
day_number date_from_str(const char *text);
/// Writes ddmmyy, or ddmmyyyy when `with_century`, into `buffer` (7 or 9 bytes); blanks for date 0.
char *date_to_str(char *buffer, day_number date, bool with_century);
/// A date as ddmmyy, dd-mm-yy or dd-mm-yyyy, in one static buffer shared by the three. For date 0 the digits
/// are blank and the hyphens stay.
const char *date_plain(day_number date);
const char *date_show(day_number date);
const char *date_show_long(day_number date);
/// hh:mm:ss of seconds since midnight, in a static buffer.
const char *time_show(int seconds);
