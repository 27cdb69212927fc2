// The report writer: lines that become two, pages, heads, settings.
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>

#include "report_fixture.h"

namespace {

struct LayoutCase {
    const char *name;
    void (*print)();
    const char *printed;
    int lines;
};

const LayoutCase layout_cases[] = {
    {"a number in its column", [] { prt_printf("abc%5d|%-5dx", 42, 7); }, "abc   42|7    x\n", 1},
    {"grows left into blanks", [] { prt_printf("abc   %5d", 1234567); }, "abc 1234567\n", 1},
    {"one blank stays in front", [] { prt_printf("abcd  %5d", 1234567); }, "abcd       \n    1234567\n", 2},
    {"behind text, below", [] { prt_printf("abcdefg%5d", 1234567); }, "abcdefg     \n     1234567\n", 2},
    {"the next column stays", [] { prt_printf("abcdefg%5d%6d", 1234567, 12); },
     "abcdefg         12\n     1234567      \n", 2},
    {"full columns do not touch", [] { prt_printf("%7d%6d", 1234567, 123456); },
     "1234567      \n       123456\n", 2},
    {"full columns alternate", [] { prt_printf("%3d%3d%3d%3d", 111, 222, 333, 444); },
     "111   333   \n   222   444\n", 2},
    {"a grown number below, the next above again", [] { prt_printf("%3d%3d%3d", 12345, 12345, 12345); },
     "12345 12345\n   12345   \n", 2},
    {"nothing in front to grow into", [] { prt_printf("%3d|", 12345); }, "12345|\n", 1},
    {"too few columns in front", [] { prt_printf(" %3d", 1234567); }, "1234567\n", 1},
    {"first number behind text touches", [] { prt_printf("nr 5%3d", 123); }, "nr 5123\n", 1},
    {"second number behind text does not", [] { prt_printf("nr %3d%3d%3d", 123, 456, 789); },
     "nr 123   789\n      456   \n", 2},
    {"every call starts anew",
     [] {
         prt_printf("nr 5");
         prt_printf("%3d", 123);
     },
     "nr 5   \n    123\n", 2},
    {"text never goes below", [] { prt_printf("%5d%s", 12345, "6"); }, "123456\n", 1},
    {"text behind the second line", [] { prt_printf("abc%2d%s", 1234567, "tail"); },
     "abc    tail\n1234567    \n", 2},
    {"below, behind what is there", [] { prt_printf("abc%2d%2d", 12345, 12345); }, "abc       \n1234512345\n",
     2},
    {"decimals", [] { prt_printf("%s%6.2f%6.2f", "totaal", 12345.5, 1.25); },
     "totaal        1.25\n    12345.50      \n", 2},
    {"precision alone has a nominal text", [] { prt_printf("ab%.2f", 123.456); }, "ab    \n123.46\n", 2},
    {"no width, no column", [] { prt_printf("ab%d%ld", 12345, 678L); }, "ab12345   \n       678\n", 2},
    {"a shorter number keeps its right edge", [] { prt_printf("x%.6f|", 1.0 / 0.0); }, "x     inf|\n", 1},
    {"a zero byte keeps its column", [] { prt_printf("a%cb", 0); }, "a b\n", 1},
    {"star for width and precision", [] { prt_printf("%*d%-*.*s|", 4, 12, 6, 3, "abcdef"); }, "  12abc   |\n",
     1},
    {"a negative star aligns left", [] { prt_printf("%*d|%.*s|", -4, 12, -1, "all"); }, "12  |all|\n", 1},
    {"per cent", [] { prt_printf("%d%% of 100%%", 5); }, "5% of 100%\n", 1},
    {"modifiers",
     [] {
         prt_printf("%hd %hhu %ld %llx %Lf %i", static_cast<short>(-3), static_cast<unsigned char>(200),
                    1L << 40, 255ULL, 1.5L, 7);
     },
     "-3 200 1099511627776 ff 1.500000 7\n", 1},
    {"conversions", [] { prt_printf("%o %X %e %G %c%s", 8U, 255U, 1.0, 0.5, 'z', "q"); },
     "10 FF 1.000000e+00 0.5 zq\n", 1},
    {"a null text", [] { prt_column("[%3s]", static_cast<const char *>(nullptr)); }, "[   ]\n", 1},
    {"line feed in a text", [] { prt_printf("a%sd", "b\nc"); }, "ab\ncd\n", 2},
    {"line feeds in the format", [] { prt_printf("a\n\n%3d", 5); }, "a\n\n  5\n", 3},
    {"line feed ends both lines", [] { prt_printf("abc%2d\nx", 1234567); }, "abc    \n1234567\nx\n", 3},
    {"carriage return in both lines", [] { prt_printf("abc%2d\r\n%s", 1234567, "y"); },
     "abc    \r\n1234567\r\ny\n", 3},
    {"carriage return alone makes no second line", [] { prt_printf("abc\r\nx"); }, "abc\r\nx\n", 2},
    {"an empty line", [] {}, "\n", 1},
    {"an empty text is an empty line", [] { prt_printf("%s", ""); }, "\n", 1},
    {"fill",
     [] {
         prt_fill(5, '-');
         prt_fill(0, '*');
         prt_fill(-1, '*');
         prt_fill(2, '%');
     },
     "-----%%\n", 1},
    {"cut at the width", [] { prt_printf("%s", std::string(50, 'w').c_str()); },
     "wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww\n", 1},
    {"a second line cut to blanks is not written",
     [] { prt_printf("%s%3d", std::string(44, 'w').c_str(), 123456); },
     "wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww\n", 1},
    {"columns made from widths",
     [] {
         prt_printf(fmt_left_s(4), "abcdef");
         prt_printf(fmt_right_s(4), "x");
         prt_printf(fmt_left_label(3), "nr");
         prt_printf(fmt_columns(1, -3, 2), "kolom");
         prt_printf(fmt_columns(0, 3, 1), "r");
         prt_printf(fmt_ld(6), 12L);
         prt_printf(fmt_hu(0), 9);
     },
     "abcd   xnr :  kol    r     12 \n                             9\n", 2},
};

class Layout : public Report {};

TEST_F(Layout, LinesBecomeOneOrTwo) {
    for (const LayoutCase &each : layout_cases) {
        SCOPED_TRACE(each.name);
        open_text(40);
        prt_job.rpt_line = 1;
        each.print();
        prt_newline();
        EXPECT_EQ(prt_job.rpt_line, 1 + each.lines);
        EXPECT_EQ(close_text(), each.printed);
    }
}

TEST_F(Layout, FormatsOfHelpers) {
    const struct {
        const char *made;
        const char *expected;
    } cases[] = {
        {fmt_c(1), "%1c"},
        {fmt_s(0), "%s"},
        {fmt_d(5), "%5d"},
        {fmt_hd(3), "%3hd"},
        {fmt_ld(-7), "%-7ld"},
        {fmt_u(2), "%2u"},
        {fmt_hu(4), "%4hu"},
        {fmt_lu(9), "%9lu"},
        {fmt_left_s(8), "%-8.8s"},
        {fmt_right_s(8), "%8.8s"},
        {fmt_left_label(12), "%-12.12s: "},
        {fmt_columns(2, -3, 1), "  %-3.3s "},
    };
    for (const auto &each : cases) {
        EXPECT_STREQ(each.made, each.expected);
    }
}

TEST_F(Layout, FieldsAreCutBelowTheLongestField) {
    setenv("MAXFMT", "10", 1);
    open_text();
    prt_printf("a literal of any length %s|%15d|", "0123456789", 5);
    prt_fill(20, '-');
    prt_newline();
    EXPECT_EQ(close_text(), "a literal of any length 012345678|         |---------\n");
}

TEST_F(Layout, LinesGrowToTheirLimit) {
    setenv("SYSBUF", "3", 1);
    open_text(400);
    std::string expected;
    for (int i = 0; i < 40; i++) {
        prt_printf("%s%2d", "abcdef", 1234);
    }
    prt_newline();
    for (int i = 0; i < 40; i++) {
        expected += "abcdef  ";
    }
    EXPECT_EQ(close_text().substr(0, expected.size()), expected);
}

struct SettingCase {
    const char *maxfmt, *sysbuf, *maxsysbuf, *text;
};

TEST_F(Layout, WrongSettingsAreFatal) {
    const SettingCase cases[] = {
        {"", nullptr, nullptr, "Unknown Text in MMEINI"},
        {"12x", nullptr, nullptr, "Unknown Text in MMEINI"},
        {"0", nullptr, nullptr, "Unknown Text in MMEINI"},
        {nullptr, "-4", nullptr, "Unknown Text in SYSBUF"},
        {nullptr, nullptr, "veel", "Unknown Text in MAXSYSBUF"},
        {nullptr, "99999999999999999999", nullptr, "Unknown Text in SYSBUF"},
        {nullptr, "32001", nullptr, "SYSBUF IS > 32000"},
        {nullptr, nullptr, "32001", "MAXSYSBUF IS > 32000"},
        {nullptr, nullptr, "299", "MAXSYSBUF < DEFAULT SYSBUF -> MAXSYSBUF > 300"},
        {nullptr, "500", "499", "MAXSYSBUF < SYSBUF --> MAXSYSBUF > SYSBUF"},
    };
    for (const SettingCase &each : cases) {
        EXPECT_EQ(fatal_text([&] {
                      const std::pair<const char *, const char *> variables[] = {
                          {"MAXFMT", each.maxfmt}, {"SYSBUF", each.sysbuf}, {"MAXSYSBUF", each.maxsysbuf}};
                      for (const auto &[name, value] : variables) {
                          if (value != nullptr) {
                              setenv(name, value, 1);
                          }
                      }
                      open_text();
                  }),
                  each.text);
    }
}

TEST_F(Layout, WhatCannotBeWrittenIsFatal) {
    const std::pair<const char *, void (*)()> cases[] = {
        {"lines",
         [] {
             open_text();
             for (int line = 0; line < 1000; line++) {
                 prt_printf("%-100s\n", "regel");
             }
         }},
        {"the texts around it",
         [] {
             wanted.end_text = std::string(5000, 'e');
             open_text();
             prt_printf("regel\n");
             prt_close("");
         }},
    };
    for (const auto &[what, print] : cases) {
        const std::string text = fatal_text([print = print] {
            const rlimit full{4096, 4096};
            signal(SIGXFSZ, SIG_IGN);
            setrlimit(RLIMIT_FSIZE, &full);
            print();
        });
        EXPECT_EQ(text.substr(0, 38), "REPORT: Schrijven niet gelukt (file=PR") << what;
        EXPECT_NE(text.find(", errno=27)"), std::string::npos) << what << ": " << text;
        EXPECT_EQ(job_files(), 0) << what;
    }
}

TEST_F(Layout, WrongUseIsFatal) {
    const struct {
        void (*use)();
        const char *text;
    } cases[] = {
        {[] { prt_column("%5p", nullptr); }, "Invalid format specifier: p"},
        {[] { prt_column("100%"); }, "Invalid format specifier: %"},
        {[] { prt_column("%-4q", 1); }, "Invalid format specifier: q"},
        {[] { open(); }, "start_zigzag_printen fout: zigzag_printen is reeds gestart"},
        {[] { prt_close(""), prt_close(""); }, "stop_zigzag_printen fout: zigzag_printen is niet gestart"},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(fatal_text([&] {
                      open_text();
                      each.use();
                  }),
                  each.text);
    }
}

TEST_F(Layout, LinesThatOutgrowTheirLimitAreFatal) {
    EXPECT_EQ(fatal_text([] {
                  setenv("MAXSYSBUF", "310", 1);
                  open_text();
                  for (;;) {
                      prt_fill(30, 'x');
                  }
              }),
              "MAXSYSBUF too small. 330 > MAXSYSBUF(310)");
    EXPECT_EQ(fatal_text([] {
                  open_text();
                  for (;;) {
                      prt_fill(300, 'x');
                  }
              }),
              "PrintBuffer > 32000 Bytes, printline too long");
}

// The sanitizers stop at such a request themselves.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Layout, NoMemoryIsFatal) {
    EXPECT_EQ(fatal_text([] {
                  setenv("MAXFMT", "4611686018427387904", 1);
                  open_text();
              }),
              "Onvoldoende geheugen");
}
#endif

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

TEST_F(Layout, NoDestinationLeavesNoJob) {
    prt_modules.job_open = nullptr;
    EXPECT_FALSE(open());
    prt_printf("nergens %d\n", 1);
    prt_head("", "nergens");
    prt_newpage();
    prt_newline();
    EXPECT_EQ(job_files(), 0);
    // The next report starts as if nothing had happened.
    prt_modules.job_open = [](const print_setup &, std::uint16_t, const char *) { return false; };
    EXPECT_FALSE(open());
}

TEST_F(Layout, LongReportsCostTheSameForEveryLine) {
    constexpr int lines = 100000;
    open_text();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < lines; i++) {
        prt_printf("%7ld %3hu %4hu  %-30.30s %8.2f %9d\n", 12345L, static_cast<unsigned short>(7),
                   static_cast<unsigned short>(12), "omschrijving van een artikel", 12.5, i);
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    RecordProperty("seconds", std::to_string(time.count()));
    EXPECT_LT(time.count(), 20.0);
    EXPECT_EQ(file_size(prt_job.job_file.c_str()), lines * 68L);
    close_text();
}

}  // namespace
