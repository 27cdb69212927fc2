// The report writer: lines that become two, pages, heads, settings.
#include <sys/resource.h>

#include "report_fixture.h"

namespace {

const testing::ExitedWithCode stopped(1);

class Layout : public Report {
protected:
    /// A fatal stop shows its text on the standard output, and waits for Enter.
    static void prepare() {
        EXPECT_TRUE(dup2(2, 1) == 1 && freopen("/dev/null", "r", stdin) != nullptr);
    }
    static void fill_for_ever(int width) {
        for (;;) {
            prt_fill(width, 'x');
        }
    }
    /// What comes of one call, in a report of 40 columns.
    template <typename... T>
    static std::string line(const char *format, T... values) {
        open_text(40);
        prt_job.rpt_line = 1;
        prt_column(format, values...);
        return ended();
    }
    /// The text so far, with the line ended; each of its lines has been counted.
    static std::string ended() {
        prt_newline();
        const int lines = prt_job.rpt_line - 1;
        const std::string text = close_text();
        EXPECT_EQ(lines, count(text, "\n")) << text;
        return text;
    }
};

TEST_F(Layout, NumbersGrowIntoBlanksOrGoBelow) {
    EXPECT_EQ(line("abc%5d|%-5dx", 42, 7), "abc   42|7    x\n");
    EXPECT_EQ(line("abc   %5d", 1234567), "abc 1234567\n");
    EXPECT_EQ(line("abcd  %5d", 1234567), "abcd       \n    1234567\n") << "one blank stays in front";
    EXPECT_EQ(line("abcdefg%5d%6d", 1234567, 12), "abcdefg         12\n     1234567      \n");
    EXPECT_EQ(line("%3d|", 12345), "12345|\n") << "nothing in front to grow into";
    EXPECT_EQ(line(" %3d", 1234567), "1234567\n");
    // Full columns do not touch, but text and the first number do.
    EXPECT_EQ(line("%7d%6d", 1234567, 123456), "1234567      \n       123456\n");
    EXPECT_EQ(line("%3d%3d%3d%3d", 111, 222, 333, 444), "111   333   \n   222   444\n");
    EXPECT_EQ(line("%3d%3d%3d", 12345, 12345, 12345), "12345 12345\n   12345   \n");
    EXPECT_EQ(line("nr 5%3d", 123), "nr 5123\n");
    EXPECT_EQ(line("nr %3d%3d%3d", 123, 456, 789), "nr 123   789\n      456   \n");
    // Text never goes below; what does stands behind what is there.
    EXPECT_EQ(line("%5d%s", 12345, "6"), "123456\n");
    EXPECT_EQ(line("abc%2d%s", 1234567, "tail"), "abc    tail\n1234567    \n");
    EXPECT_EQ(line("abc%2d%2d", 12345, 12345), "abc       \n1234512345\n");
    // Without a width the nominal text is that of the precision, or nothing.
    EXPECT_EQ(line("%s%6.2f%6.2f", "totaal", 12345.5, 1.25), "totaal        1.25\n    12345.50      \n");
    EXPECT_EQ(line("ab%.2f", 123.456), "ab    \n123.46\n");
    EXPECT_EQ(line("ab%d%ld", 12345, 678L), "ab12345   \n       678\n");
    EXPECT_EQ(line("x%.6f|", 1.0 / 0.0), "x     inf|\n") << "a shorter number keeps its right edge";
    EXPECT_EQ(line("%s", std::string(50, 'w').c_str()), std::string(40, 'w') + "\n");
    EXPECT_EQ(line("%s%3d", std::string(44, 'w').c_str(), 123456), std::string(40, 'w') + "\n")
        << "a second line cut to blanks is not written";
}

TEST_F(Layout, ConversionsAndLineFeeds) {
    EXPECT_EQ(line("a%cb", 0), "a b\n") << "a zero byte keeps its column";
    EXPECT_EQ(line("%*d%-*.*s|", 4, 12, 6, 3, "abcdef"), "  12abc   |\n");
    EXPECT_EQ(line("%*d|%.*s|", -4, 12, -1, "all"), "12  |all|\n");
    EXPECT_EQ(line("%hd %hhu %ld %llx %Lf %i of 100%%", short{-3}, 200, 1L << 40, 255ULL, 1.5L, 7),
              "-3 200 1099511627776 ff 1.500000 7 of 10\n");
    EXPECT_EQ(line("%o %X %e %G %c%s%%", 8U, 255U, 1.0, 0.5, 'z', "q"), "10 FF 1.000000e+00 0.5 zq%\n");
    EXPECT_EQ(line("[%3s]", static_cast<const char *>(nullptr)), "[   ]\n");
    EXPECT_EQ(line("%s", ""), "\n");
    EXPECT_EQ(line("a%sd", "b\nc"), "ab\ncd\n");
    EXPECT_EQ(line("a\n\n%3d", 5), "a\n\n  5\n");
    EXPECT_EQ(line("abc%2d\nx", 1234567), "abc    \n1234567\nx\n");
    EXPECT_EQ(line("abc%2d\r\n%s", 1234567, "y"), "abc    \r\n1234567\r\ny\n");
    EXPECT_EQ(line("abc\r\nx"), "abc\r\nx\n") << "a carriage return alone makes no second line";
    open_text(40);
    prt_job.rpt_line = 1;
    prt_fill(-1, '*');
    prt_fill(2, '%');
    prt_printf(fmt_columns(1, -3, 2), "kolom");
    prt_printf(fmt_columns(0, 3, 1), "r");
    EXPECT_EQ(ended(), "%% kol    r \n");
}

TEST_F(Layout, SettingsLimitFieldsAndLines) {
    setenv("MAXFMT", "10", 1);
    setenv("SYSBUF", "3", 1);
    open_text(400);
    prt_printf("a literal of any length %s|%15d|", "0123456789", 5);
    prt_fill(20, '-');
    prt_newline();
    std::string expected = "a literal of any length 012345678|         |---------\n";
    for (int i = 0; i < 40; i++) {
        prt_printf("%s%2d", "abcdef", 1234);
        expected += "abcdef  ";
    }
    prt_newline();
    EXPECT_EQ(close_text().substr(0, expected.size()), expected);
}

TEST_F(Layout, WrongSettingsAndWrongUseAreFatal) {
    const auto nothing = [] {};
    const struct {
        const char *variable, *value;
        void (*use)();
        const char *text;
    } cases[] = {
        {"MAXFMT", "", nothing, "Unknown Text in MMEINI"},
        {"MAXFMT", "12x", nothing, "Unknown Text in MMEINI"},
        {"MAXFMT", "0", nothing, "Unknown Text in MMEINI"},
        {"SYSBUF", "-4", nothing, "Unknown Text in SYSBUF"},
        {"MAXSYSBUF", "veel", nothing, "Unknown Text in MAXSYSBUF"},
        {"SYSBUF", "99999999999999999999", nothing, "Unknown Text in SYSBUF"},
        {"SYSBUF", "32001", nothing, "SYSBUF IS > 32000"},
        {"MAXSYSBUF", "32001", nothing, "MAXSYSBUF IS > 32000"},
        {"MAXSYSBUF", "299", nothing, "MAXSYSBUF < DEFAULT SYSBUF -> MAXSYSBUF > 300"},
        {"MAXSYSBUF", "310", [] { fill_for_ever(30); }, "MAXSYSBUF too small. 330 > MAXSYSBUF\\(310\\)"},
        {"NONE", "", [] { fill_for_ever(300); }, "PrintBuffer > 32000 Bytes, printline too long"},
        {"NONE", "", [] { prt_column("%5p", nullptr); }, "Invalid format specifier: p"},
        {"NONE", "", [] { prt_column("100%"); }, "Invalid format specifier: %"},
        {"NONE", "", [] { prt_column("%-4q", 1); }, "Invalid format specifier: q"},
        {"NONE", "", [] { open(); }, "start_zigzag_printen fout: zigzag_printen is reeds gestart"},
        {"NONE", "", [] { prt_close(""), prt_close(""); },
         "stop_zigzag_printen fout: zigzag_printen is niet gestart"},
        {"SYSBUF", "500",
         [] {
             prt_close("");
             setenv("MAXSYSBUF", "499", 1);
             open();
         },
         "MAXSYSBUF < SYSBUF --> MAXSYSBUF > SYSBUF"},
// The sanitizers stop at such a request themselves.
#ifndef __SANITIZE_ADDRESS__
        {"MAXFMT", "4611686018427387904", nothing, "Onvoldoende geheugen"},
#endif
    };
    for (const auto &each : cases) {
        const auto wrong = [&each] {
            prepare();
            setenv(each.variable, each.value, 1);
            open_text();
            each.use();
        };
        EXPECT_EXIT(wrong(), stopped, std::string("PROGRAMMA AFGEBROKEN\r\n") + each.text + "\r");
    }
}

TEST_F(Layout, WhatCannotBeWrittenIsFatal) {
    for (const std::size_t end_text : {0, 5000}) {
        const auto write = [end_text] {
            prepare();
            const rlimit full{4096, 4096};
            signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &full);
            wanted.end_text = std::string(end_text, 'e');
            open_text();
            for (int line = 0; line < (end_text > 0 ? 1 : 1000); line++) {
                prt_printf("%-100s\n", "regel");
            }
            prt_close("");
        };
        EXPECT_EXIT(write(), stopped, "REPORT: Schrijven niet gelukt \\(file=PR.*, errno=27\\)");
        EXPECT_EQ(job_files(), 0);
    }
}

TEST_F(Layout, HeadFitsOnOneLineOrTakesTwo) {
    const std::string date = date_show_long(date_today());
    open_text(80);
    prt_printf("begonnen");
    prt_head("Modehuis", "LIJST %d", 1);
    EXPECT_EQ(prt_job.rpt_line, 3);
    EXPECT_EQ(prt_job.rpt_page, 1);
    // 80 less 8 and 27 leaves 45 for a title of 7: 19 blanks at each side.
    prt_head("Modehuis", "%s", std::string(44, 'T').c_str());
    EXPECT_EQ(prt_job.rpt_line, 4);
    prt_head("", "%s", std::string(90, 'T').c_str());
    prt_newpage();
    EXPECT_EQ(prt_job.rpt_line, 1);
    EXPECT_EQ(prt_job.rpt_pages, 4);
    std::string text = close_text();
    for (std::size_t at = text.find(date); at != std::string::npos; at = text.find(date)) {
        text.replace(at, date.size() + 6, "DATE TIME");
    }
    EXPECT_EQ(text, "begonnen\nModehuis" + std::string(19, ' ') + "LIJST 1" + std::string(19, ' ') +
                        " DATE TIME blad:   1\n\n\fModehuis" + std::string(45, ' ') +
                        " DATE TIME blad:   2\n" + std::string(18, ' ') + std::string(44, 'T') + "\n\n\f" +
                        std::string(53, ' ') + " DATE TIME blad:   3\n" + std::string(90, 'T') + "\n\n\f");
}

}  // namespace
