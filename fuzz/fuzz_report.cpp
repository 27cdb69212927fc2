// Formats of report lines. The first byte sets the width of the page, the next the room for a field, the
// third how many bytes of arguments follow; the rest are formats, each ended by a zero byte, in which the
// codes from 128 stand for parts of conversions, and from 192 for whole ones. All pieces of a line have to be
// in its one or two print lines, wherever they moved.
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "fuzz/stop.h"
#include "report/report_internal.h"

// The job, without a file.

print_job prt_job;
print_modules prt_modules{};

namespace {
std::string printed;
}

void job_write_line(std::string_view text) {
    FUZZ_DEMAND(static_cast<int>(text.size()) <= prt_job.rpt_width);
    FUZZ_DEMAND(text.find('\n') == std::string_view::npos);
    printed += text;
}

namespace {

constexpr std::size_t most_arguments = 16;
// Of 8 bytes each: more than the arguments of one format take, even if all are long double.
constexpr std::size_t slots = 64;
constexpr std::size_t reals = 8;  // as many as go in registers
constexpr std::size_t text_room = 256;

std::array<long, slots> whole;
std::array<double, reals> broken;

/// A text at an address that is the same in every run, low enough to be a small number too.
char *text_place() {
    static char *const place =
        static_cast<char *>(mmap(reinterpret_cast<void *>(0x20000), 4096, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0));
    FUZZ_DEMAND(place != MAP_FAILED);
    return place;
}

/// Where a text may be expected, every whole number is the address of one.
void set_arguments(const std::string &bytes, bool texts) {
    char *const place = text_place();
    const std::size_t length = std::min(bytes.size(), text_room - 1);
    std::copy_n(bytes.data(), length, place);
    place[length] = '\0';
    whole.fill(0);
    broken.fill(0.0);
    std::memcpy(whole.data(), bytes.data(), std::min(bytes.size(), sizeof whole));
    std::memcpy(broken.data(), bytes.data(), std::min(bytes.size(), sizeof broken));
    for (std::size_t i = 0; texts && i < slots; i++) {
        const auto offset = static_cast<std::size_t>(whole[i] & 0xff);
        whole[i] = reinterpret_cast<long>(place + std::min(offset, length));
    }
}

template <std::size_t... I, std::size_t... J>
void print(const char *format, std::index_sequence<I...>, std::index_sequence<J...>) {
    prt_column(format, whole[I]..., broken[J]...);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
/// What the library makes of it; nothing for a width or precision that it refuses.
template <std::size_t... I, std::size_t... J>
std::optional<std::string> expected(const char *format, std::index_sequence<I...>,
                                    std::index_sequence<J...>) {
    std::array<char, 4096> text;
    const int length = std::snprintf(text.data(), text.size(), format, whole[I]..., broken[J]...);
    if (length < 0) {
        return std::nullopt;
    }
    return std::string(text.data(), std::min(static_cast<std::size_t>(length), text.size() - 1));
}
#pragma GCC diagnostic pop

/// The characters that show, in the order of their codes.
std::string shown(std::string text) {
    constexpr std::string_view hidden(" \r\n\0", 4);
    std::erase_if(text, [&](char c) { return hidden.find(c) != std::string_view::npos; });
    std::sort(text.begin(), text.end());
    return text;
}

/// True when the library takes other arguments for this format, or reads a modifier in another way.
bool library_differs(const std::string &format) {
    const auto takes = std::count(format.begin(), format.end(), '%');
    bool differs = static_cast<std::size_t>(takes) > reals;
    for (const char *modifiers : {"L", "ll", "ls", "lc"}) {
        differs = differs || format.find(modifiers) != std::string::npos;
    }
    return differs;
}

std::string formats_from(const std::string &bytes) {
    constexpr std::string_view parts = "%%%%%%%%0123456789..**-+ #hhllLdddiouxXefgEGccss\n\r";
    constexpr std::array<const char *, 16> conversions = {"%d",    "%2d",    "%5ld", "%3hd", "%-4u", "%*ld",
                                                          "%7.2f", "%.1f",   "%4g",  "%02x", "%#o",  "%+6i",
                                                          "%s",    "%-9.9s", "%c",   "%5lu"};
    std::string formats;
    for (const char c : bytes) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= 192) {
            formats += conversions[code % conversions.size()];
        } else {
            formats += code < 128 ? c : parts[(code - 128U) % parts.size()];
        }
    }
    return formats;
}

void print_format(const std::string &format, bool nothing_is_cut) {
    constexpr auto longs = std::make_index_sequence<slots>{};
    constexpr auto doubles = std::make_index_sequence<reals>{};
    printed.clear();
    print(format.c_str(), longs, doubles);
    prt_newline();
    // A field that is cut would not be shorter than this.
    constexpr std::size_t uncut = 300;
    if (nothing_is_cut && printed.size() < uncut && !library_differs(format)) {
        const std::optional<std::string> wanted = expected(format.c_str(), longs, doubles);
        FUZZ_DEMAND(!wanted || shown(printed) == shown(*wanted));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 3) {
        return 0;
    }
    const bool nothing_is_cut = data[0] >= 128;
    prt_job.rpt_width = nothing_is_cut ? 32000 : data[0];
    setenv("MAXFMT", nothing_is_cut ? "350" : std::to_string(data[1] + 1).c_str(), 1);
    setenv("SYSBUF", std::to_string(data[1] + 1).c_str(), 1);
    const std::string rest(reinterpret_cast<const char *>(data) + 3, size - 3);
    const std::string arguments = rest.substr(0, data[2]);
    const std::string formats = formats_from(rest.substr(arguments.size()));
    fuzz_catch_stops();
    prt_modules.job_open = [](const print_setup &, std::uint16_t, const char *) { return true; };
    XPRT_OPEN({}, prt_any_page, nullptr);
    try {
        for (std::size_t at = 0; at < formats.size();) {
            const std::string format = formats.substr(at, formats.find('\0', at) - at);
            const auto takes =
                std::count_if(format.begin(), format.end(), [](char c) { return c == '%' || c == '*'; });
            if (static_cast<std::size_t>(takes) <= most_arguments) {
                set_arguments(arguments, format.find('s') != std::string::npos);
                print_format(format, nothing_is_cut);
            }
            at += format.size() + 1;
        }
    } catch (const fuzz_stop &) {
    }
    report_stop();
    return 0;
}
