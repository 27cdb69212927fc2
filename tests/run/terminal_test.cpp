// The terminal driver itself, driven with the shell.
#include "support/terminal.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace {

TerminalOptions shell(const std::string &script) {
    return {.program = "/bin/sh", .arguments = {"-c", script}, .lines = 25, .columns = 80};
}

TEST(Terminal, ReadsCellsWithAttributes) {
    Terminal t(shell(
        R"sh(printf '\033[2J\033[3;5H\033[1mvet\033[22m \033[2mmat\033[0m \033[4;7mom\033[m \033[5;33;44mq'
                        printf '\033[0m\033[38;5;2mG\033[m\033(0lqk\033(B \303\251\033[?25l\007\007'; read x)sh"));
    ASSERT_TRUE(t.wait_for("é"));
    ASSERT_TRUE(t.wait_until([&] { return t.bells() == 2; }, "two bells"));
    EXPECT_EQ(t.row(3), "    vet mat om qG┌─┐ é");
    EXPECT_EQ(t.attr(3, 5), (TerminalAttributes{.bold = true}));
    EXPECT_EQ(t.attr(3, 8), TerminalAttributes{}) << "22 ends bold";
    EXPECT_EQ(t.attr(3, 9), (TerminalAttributes{.dim = true}));
    EXPECT_EQ(t.attr_of("om"), (TerminalAttributes{.underline = true, .reverse = true}));
    EXPECT_EQ(t.attr(3, 16), (TerminalAttributes{.blink = true, .fg = 3, .bg = 4}));
    EXPECT_EQ(t.attr(3, 17), (TerminalAttributes{.fg = 2})) << "the 5;2 of a colour is neither blink nor dim";
    EXPECT_EQ(t.cell(3, 22), "é");
    EXPECT_EQ(t.cursor(), (TerminalCursor{3, 23, false}));
}

TEST(Terminal, WaitsAreBoundedAndShowTheScreen) {
    Terminal t(shell("printf 'wel iets'; read x"));
    ASSERT_TRUE(t.wait_for("wel iets"));
    const testing::AssertionResult result = t.wait_for("niets", std::chrono::milliseconds(50));
    EXPECT_FALSE(result);
    EXPECT_NE(std::string(result.message()).find("  1|wel iets"), std::string::npos) << result.message();
    EXPECT_EQ(t.wait_exit(std::chrono::milliseconds(50)), -1);
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 0);
    EXPECT_FALSE(t.wait_for("niets")) << "ends at once: the program is gone";
}

TEST(Terminal, StatusAndLastOutputAfterTheEnd) {
    Terminal t(shell("seq 1 20000; printf 'klaar'; exit 7"));
    EXPECT_EQ(t.wait_exit(), 7);
    EXPECT_EQ(t.row(25), "klaar") << t.dump();
    EXPECT_NE(t.raw().find("\r\n12345\r\n"), std::string::npos);

    Terminal killed(shell("printf op; read x"));
    ASSERT_TRUE(killed.wait_for("op"));
    killed.send_signal(SIGTERM);
    EXPECT_EQ(killed.wait_exit(), 128 + SIGTERM);
}

TEST(Terminal, EnvironmentDirectoryAndSize) {
    Terminal t({.program = "/bin/sh",
                .arguments = {"-c", "echo [$KPOS] [${TERM-geen}] $(pwd) $(stty size)"},
                .directory = "/usr",
                .lines = 43,
                .columns = 132,
                .environment = {{"KPOS", "ja"}, {"TERM", std::nullopt}}});
    ASSERT_EQ(t.wait_exit(), 0) << t.dump();
    EXPECT_EQ(t.row(1), "[ja] [geen] /usr 43 132");
}

TEST(Terminal, BothSidesChangeTheSize) {
    const char *script =
        R"sh(trap 'echo "nu $(stty size)"' WINCH
             echo klaar; read x; printf '\033[8;25;132t'; while true; do sleep 0.02; done)sh";
    Terminal t(shell(script));
    ASSERT_TRUE(t.wait_for("klaar"));
    t.resize(30, 90);
    ASSERT_TRUE(t.wait_for("nu 30 90"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("nu 25 132"));
    EXPECT_EQ(t.columns(), 132);

    TerminalOptions fixed = shell(R"sh(printf '\033[8;25;132t\033[?3h'; stty size; read x)sh");
    fixed.resizable = false;
    Terminal u(fixed);
    ASSERT_TRUE(u.wait_for("25 80"));
}

TEST(Terminal, PrinterOutputStaysOffTheScreen) {
    Terminal t(shell(R"sh(printf 'a\033[5iregel\033[1m\n\033[4ib'; read x)sh"));
    ASSERT_TRUE(t.wait_for("ab"));
    EXPECT_EQ(t.printed(), "regel\033[1m\r\n");
}

TEST(Terminal, SingleByteCharacterSet) {
    TerminalOptions options =
        shell(R"sh(stty -echo; printf '\351\r\n'; read x; printf '%s' "$x" | od -An -tx1; read x)sh");
    options.encoding = "ISO-8859-1";
    Terminal t(options);
    ASSERT_TRUE(t.wait_row(1, "é"));
    t.type("ë€\n");
    EXPECT_TRUE(t.wait_for("eb 3f"));
}

TEST(Terminal, HangUpEndsTheProgram) {
    Terminal t(shell("printf op; read x; exit 3"));
    ASSERT_TRUE(t.wait_for("op"));
    t.hang_up();
    EXPECT_EQ(t.wait_exit(), 128 + SIGHUP);
}

TEST(Terminal, ControlKeysAreSignals) {
    Terminal t(shell("trap 'echo onderbroken; exit 4' INT; printf op; while true; do sleep 0.02; done"));
    ASSERT_TRUE(t.wait_for("op"));
    t.key("INTR");
    EXPECT_EQ(t.wait_exit(), 4);
    EXPECT_TRUE(t.row(1).find("onderbroken") != std::string::npos || t.row(2) == "onderbroken") << t.dump();
}

}  // namespace
