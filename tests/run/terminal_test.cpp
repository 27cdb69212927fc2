// The terminal driver itself, driven with the shell: what the other tests lean on without seeing it.
#include "support/terminal.h"

#include <gtest/gtest.h>

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

}  // namespace
