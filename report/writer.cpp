// The report writer: a report line is built in two line buffers at once.
//
// A call gives the format of the nominal layout. Each piece of it (a conversion, or the text up to the next
// one) goes into the main line or, when a number does not fit in its column, into the second line, in the
// same columns, printed just below:
//
//     1. The growth of a piece is what it takes beyond its column. It starts that much further to the left,
//        so its right edge stays where the layout wants it.
//     2. A grown number that would touch what is there goes to the second line, and so does a number that
//        would touch a digit. Text stays on the main line, and so does the first number after a text, unless
//        it has grown.
//     3. A piece never overwrites what is in its line: it moves past it.
//     4. Both lines are kept equally long with blanks.
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "report/conversion.h"
#include "report/report_internal.h"

namespace {

constexpr long default_fmt_size = 350;
constexpr long default_line_size = 300;
constexpr long largest_line_size = 32000;

using char_buffer = std::unique_ptr<char[]>;

/// The line being built.
struct zigzag_state {
    bool active = false;
    bool second_line_on = false;  ///< the second line may be used
    long pos = -1;                ///< column of the last character placed, from 0; -1 for an empty line
    char_buffer line[2];          ///< 0 the main line, 1 the second line; pos + 1 characters are in use
    long size = 0;                ///< of a line buffer
    long max_size = 0;            ///< to which it may grow; 0 for no limit but the largest
    char_buffer work;             ///< a piece with its argument
    long fmt_size = 0;
};

zigzag_state *zigzag = nullptr;

const char *no_memory() {
    return term_text(1, 17, "Onvoldoende geheugen");
}

/// A setting of the environment, or `fallback` when it is not set. Fatal when it is not a number above 0.
long setting(const char *variable, const char *shown, long fallback) {
    const char *text = std::getenv(variable);
    if (text == nullptr) {
        return fallback;
    }
    char *end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || value <= 0) {
        isam_fatal("%s %s", "Unknown Text in", shown);
    }
    return value;
}

char_buffer allocate(long size) {
    return char_buffer(new (std::nothrow) char[static_cast<std::size_t>(size)]);
}

void read_settings(zigzag_state &state) {
    state.fmt_size = setting("MAXFMT", "MMEINI", default_fmt_size);
    state.max_size = setting("MAXSYSBUF", "MAXSYSBUF", 0);
    state.size = setting("SYSBUF", "SYSBUF", default_line_size);
    if (state.size > largest_line_size) {
        isam_fatal("SYSBUF IS > 32000");
    }
    if (state.max_size > largest_line_size) {
        isam_fatal("MAXSYSBUF IS > 32000");
    }
    if (state.max_size > 0 && state.max_size < state.size) {
        isam_fatal("%s", std::getenv("SYSBUF") == nullptr ? "MAXSYSBUF < DEFAULT SYSBUF -> MAXSYSBUF > 300"
                                                          : "MAXSYSBUF < SYSBUF --> MAXSYSBUF > SYSBUF");
    }
}

void start() {
    if (zigzag != nullptr && zigzag->active) {
        isam_fatal("start_zigzag_printen fout: zigzag_printen is reeds gestart");
    }
    zigzag = new (std::nothrow) zigzag_state{};
    if (zigzag == nullptr) {
        isam_fatal("XPRT_OPEN : %s", no_memory());
    }
    read_settings(*zigzag);
    zigzag->work = allocate(zigzag->fmt_size);
    zigzag->line[0] = allocate(zigzag->size);
    zigzag->line[1] = allocate(zigzag->size);
    if (!zigzag->work || !zigzag->line[0] || !zigzag->line[1]) {
        isam_fatal("%s", no_memory());
    }
    zigzag->active = true;
    zigzag->second_line_on = true;
}

bool started() {
    return zigzag != nullptr && zigzag->active;
}

/// Makes room for lines of `needed` characters.
void reserve(long needed) {
    if (needed <= zigzag->size) {
        return;
    }
    if (zigzag->max_size > 0 && needed > zigzag->max_size) {
        isam_fatal("MAXSYSBUF too small. %d > MAXSYSBUF(%ld)", static_cast<int>(needed), zigzag->max_size);
    }
    if (needed > largest_line_size) {
        isam_fatal("%s %d %s", "PrintBuffer >", static_cast<int>(largest_line_size),
                   "Bytes, printline too long");
    }
    const long size = needed + 5;
    for (char_buffer &line : zigzag->line) {
        char_buffer larger = allocate(size);
        if (!larger) {
            isam_fatal("Printline : %s", no_memory());
        }
        std::memcpy(larger.get(), line.get(), static_cast<std::size_t>(zigzag->pos + 1));
        line = std::move(larger);
    }
    zigzag->size = size;
}

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

/// What the pieces of one call leave to each other: whether the next may go to the second line.
struct call_state {
    bool may_second = true;
    bool toggle = false;

    void see(report_piece::kind what) {
        if (what == report_piece::kind::text) {
            may_second = false;
            toggle = false;
        } else if (toggle) {
            may_second = true;
            toggle = false;
        } else {
            toggle = true;
        }
    }
};

/// The line for a piece: 0 or 1.
int choose_line(std::string_view real, long growth, call_state &call) {
    const char *main_line = zigzag->line[0].get();
    bool second = false;
    if (growth == 0 && zigzag->pos >= 0) {
        second = !real.empty() && real.front() != ' ' && is_digit(main_line[zigzag->pos]);
    } else if (growth > 0 && zigzag->pos >= 0) {
        const long first = std::max(zigzag->pos - growth, 0L);
        second = std::any_of(main_line + first, main_line + zigzag->pos + 1, [](char c) { return c != ' '; });
        call.may_second = call.may_second || second;
    }
    return second && call.may_second && zigzag->second_line_on ? 1 : 0;
}

void place(std::string_view real, long growth, call_state &call) {
    const int chosen = choose_line(real, growth, call);
    const char *there = zigzag->line[chosen].get();
    long start = std::max(zigzag->pos + 1 - growth, 0L);
    for (long i = zigzag->pos; i >= start; i--) {
        if (there[i] != ' ') {
            start = i + 1;
        }
    }
    const long end = std::max(start + static_cast<long>(real.size()), zigzag->pos + 1);
    reserve(end);
    for (char_buffer &line : zigzag->line) {
        std::fill(line.get() + zigzag->pos + 1, line.get() + end, ' ');
    }
    std::copy(real.begin(), real.end(), zigzag->line[chosen].get() + start);
    zigzag->pos = end - 1;
}

/// A carriage return at the end of one line stands in both.
void copy_carriage_return() {
    const long at = zigzag->pos;
    if (at >= 0 && (zigzag->line[0][at] == '\r' || zigzag->line[1][at] == '\r')) {
        zigzag->line[0][at] = zigzag->line[1][at] = '\r';
    }
}

void add_piece(const report_piece &piece, call_state &call) {
    call.see(piece.what);
    std::string_view rest = piece.real;
    long growth = piece.growth;
    for (std::size_t feed = rest.find('\n'); feed != std::string_view::npos; feed = rest.find('\n')) {
        place(rest.substr(0, feed), growth, call);
        copy_carriage_return();
        prt_newline();
        rest.remove_prefix(feed + 1);
        growth = 0;
    }
    if (!rest.empty() || growth != 0) {
        place(rest, growth, call);
    }
}

void print_arguments(const char *format, std::va_list args) {
    FormatWalk walk(format, args, {zigzag->work.get(), static_cast<std::size_t>(zigzag->fmt_size)});
    call_state call;
    for (report_piece piece; walk.next(piece);) {
        add_piece(piece, call);
    }
}

}  // namespace

bool XPRT_OPEN(const print_setup &setup, std::uint16_t options, const char *output_file) {
    start();
    if (prt_modules.job_open != nullptr && prt_modules.job_open(setup, options, output_file)) {
        return true;
    }
    report_stop();
    return false;
}

bool report_line_started() {
    return started() && zigzag->pos >= 0;
}

void report_stop() {
    if (!started()) {
        isam_fatal("stop_zigzag_printen fout: zigzag_printen is niet gestart");
    }
    delete zigzag;
    zigzag = nullptr;
}

void prt_printf(const char *format, ...) {
    if (started()) {
        std::va_list args;
        va_start(args, format);
        print_arguments(format, args);
        va_end(args);
    }
}

void prt_column(const char *format, ...) {
    if (started()) {
        std::va_list args;
        va_start(args, format);
        print_arguments(format, args);
        va_end(args);
    }
}

void prt_newline() {
    if (!started()) {
        return;
    }
    const long length = std::max(std::min<long>(zigzag->pos + 1, prt_job.rpt_width), 0L);
    const auto shown = static_cast<std::size_t>(length);
    const std::string_view second(zigzag->line[1].get(), shown);
    job_write_line({zigzag->line[0].get(), shown});
    if (second.find_first_not_of(" \n\r") != std::string_view::npos) {
        job_write_line(second);
    }
    zigzag->pos = -1;
}

void prt_fill(int n, char c) {
    if (started() && n > 0) {
        // No more than a formatted field can be long.
        const auto length = static_cast<std::size_t>(std::min<long>(n, zigzag->fmt_size));
        prt_printf("%s", std::string(length, c).c_str());
    }
}
