// Formats of the report writer: literal text and conversions, each conversion with its argument.
#include "report/conversion.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/operator.h"

namespace {

enum class modifier { none, hh, h, l, ll, L };

// The conversions here are put together from a format that the compiler has checked.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <typename T>
std::size_t print_value(std::span<char> out, const std::string &conversion, T value) {
    out.front() = '\0';
    const int length = std::snprintf(out.data(), out.size(), conversion.c_str(), value);
    return length < 0 ? 0 : std::min(static_cast<std::size_t>(length), out.size() - 1);
}

template <typename T>
std::size_t nominal_length(std::size_t room, const std::string &conversion, T zero) {
    const int length = std::snprintf(nullptr, 0, conversion.c_str(), zero);
    return length < 0 ? 0 : std::min(static_cast<std::size_t>(length), room - 1);
}
#pragma GCC diagnostic pop

/// The part of a conversion that says how to print: "%", flags, width and precision.
struct layout {
    std::string text = "%";
    bool sized = false;
    std::span<char> work;

    template <typename T>
    void number(report_piece &piece, const std::string &letters, T value) const {
        const std::size_t length = print_value(work, text + letters, value);
        piece.what = report_piece::kind::number;
        piece.real = {work.data(), length};
        if (sized) {
            piece.growth = static_cast<long>(length) -
                           static_cast<long>(nominal_length(work.size(), text + letters, T{}));
        }
    }
};

modifier take_modifier(const char *&at) {
    const bool twice = at[0] != '\0' && at[0] == at[1];
    modifier found = modifier::none;
    switch (*at) {
        case 'h':
            found = twice ? modifier::hh : modifier::h;
            break;
        case 'l':
            found = twice ? modifier::ll : modifier::l;
            break;
        case 'L':
            at++;
            return modifier::L;
        default:
            return found;
    }
    at += twice ? 2 : 1;
    return found;
}

/// The next argument, in the width that the modifier tells.
long long signed_argument(modifier how, std::va_list &args) {
    switch (how) {
        case modifier::l:
            return va_arg(args, long);
        case modifier::ll:
        case modifier::L:
            return va_arg(args, long long);
        case modifier::h:
            return static_cast<short>(va_arg(args, int));
        case modifier::hh:
            return static_cast<signed char>(va_arg(args, int));
        default:
            return va_arg(args, int);
    }
}

unsigned long long unsigned_argument(modifier how, std::va_list &args) {
    switch (how) {
        case modifier::l:
            return va_arg(args, unsigned long);
        case modifier::ll:
        case modifier::L:
            return va_arg(args, unsigned long long);
        case modifier::h:
            return static_cast<unsigned short>(va_arg(args, unsigned));
        case modifier::hh:
            return static_cast<unsigned char>(va_arg(args, unsigned));
        default:
            return va_arg(args, unsigned);
    }
}

}  // namespace

FormatWalk::FormatWalk(const char *format, std::va_list args, std::span<char> work)
    : at_(format), work_(work) {
    va_copy(args_, args);
}

FormatWalk::~FormatWalk() {
    va_end(args_);
}

bool FormatWalk::next(report_piece &piece) {
    if (*at_ == '\0') {
        return false;
    }
    piece = {};
    if (at_[0] == '%' && at_[1] != '%') {
        conversion(piece);
    } else {
        literal(piece);
    }
    return true;
}

/// Text up to the next conversion, as much as the work buffer holds. "%%" is a percent sign.
void FormatWalk::literal(report_piece &piece) {
    std::size_t length = 0;
    const std::size_t room = std::max<std::size_t>(work_.size() - 1, 1);
    while (*at_ != '\0' && length < room) {
        if (*at_ == '%') {
            if (at_[1] != '%') {
                break;
            }
            at_++;
        }
        work_[length++] = *at_++;
    }
    piece.real = {work_.data(), length};
}

/// A width or precision: digits, or the next argument for "*". Never more than a line can have, because the
/// library is slow with fields of millions.
int FormatWalk::star_or_digits(bool &given) {
    constexpr long widest = 32000;
    given = true;
    if (*at_ == '*') {
        at_++;
        return static_cast<int>(std::clamp<long>(va_arg(args_, int), -widest, widest));
    }
    given = *at_ >= '0' && *at_ <= '9';
    char *end = nullptr;
    const long value = given ? std::strtol(at_, &end, 10) : 0;
    at_ = given ? end : at_;
    return static_cast<int>(std::min(value, widest));
}

std::string FormatWalk::take_sizes() {
    std::string text;
    bool given = false;
    const int width = star_or_digits(given);
    if (given && width != 0) {
        text = std::to_string(width);
    }
    if (*at_ == '.') {
        at_++;
        const int precision = star_or_digits(given);
        if (precision >= 0) {
            text += "." + std::to_string(precision);
        }
    }
    return text;
}

void FormatWalk::conversion(report_piece &piece) {
    layout how;
    how.work = work_;
    for (at_++; *at_ != '\0' && std::strchr("-+ #0", *at_) != nullptr; at_++) {
        how.text += *at_;
    }
    const std::string sizes = take_sizes();
    how.text += sizes;
    how.sized = !sizes.empty();
    const modifier size = take_modifier(at_);
    const char letter = *at_;
    at_ += letter == '\0' ? 0 : 1;
    switch (letter) {
        case 'd':
        case 'i':
            how.number(piece, "lld", signed_argument(size, args_));
            break;
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            how.number(piece, std::string("ll") + letter, unsigned_argument(size, args_));
            break;
        case 'e':
        case 'f':
        case 'g':
        case 'E':
        case 'G':
            if (size == modifier::L) {
                how.number(piece, std::string("L") + letter, va_arg(args_, long double));
            } else {
                how.number(piece, std::string(1, letter), va_arg(args_, double));
            }
            break;
        case 'c':
            // A zero byte prints as nothing, in a column of one character.
            print_value(work_, how.text + "c", va_arg(args_, int));
            piece.real = work_.data();
            piece.growth = static_cast<long>(piece.real.size()) -
                           static_cast<long>(nominal_length(work_.size(), how.text + "c", 'c'));
            break;
        case 's': {
            const char *text = va_arg(args_, const char *);
            piece.real = {work_.data(), print_value(work_, how.text + "s", text == nullptr ? "" : text)};
            break;
        }
        default:
            isam_fatal("Invalid format specifier: %c", letter == '\0' ? '%' : letter);
    }
}
