// Formats of the report writer, split into pieces.
#pragma once

#include <cstdarg>
#include <span>
#include <string>
#include <string_view>

/// A piece of a format with its argument filled in.
struct report_piece {
    enum class kind { text, number };
    kind what = kind::text;
    std::string_view real;  ///< as printed; lies in the work buffer
    long growth = 0;        ///< how much longer that is than the column of the format
};

/// Goes through a format and its arguments piece by piece. `args` is used up.
class FormatWalk {
public:
    FormatWalk(const char *format, std::va_list args, std::span<char> work);
    ~FormatWalk();
    FormatWalk(const FormatWalk &) = delete;
    FormatWalk &operator=(const FormatWalk &) = delete;

    /// The next piece; false at the end of the format. An unknown conversion is fatal.
    bool next(report_piece &piece);

private:
    void literal(report_piece &piece);
    void conversion(report_piece &piece);
    int star_or_digits(bool &given);
    /// The width and the precision, as a format has them.
    std::string take_sizes();

    const char *at_;
    std::va_list args_;
    std::span<char> work_;
};
