// The terminal driver itself, driven with the shell: what all scripts lean on is that a wrong one fails.
#include "support/terminal.h"

namespace {

TEST(Terminal, WaitsAreBoundedAndShowTheScreen) {
    Terminal t({.program = "/bin/sh",
                .arguments = {"-c", "printf '\\033[2J\\033[3;5Hwel\\033[38;5;2mG\\033[m\\007'; read x"}});
    EXPECT_TRUE(t.play("=> 3=    welG | 3,7=l | 3,5 -dim | @3,9"));
    EXPECT_EQ(t.attr(3, 8), (TerminalAttributes{.fg = 2})) << "the 5;2 of a colour is neither blink nor dim";
    EXPECT_EQ(t.bells(), 1);
    const testing::AssertionResult result = t.wait_for("niets", std::chrono::milliseconds(50));
    EXPECT_FALSE(result);
    EXPECT_NE(std::string(result.message()).find("  3|    welG"), std::string::npos) << result.message();
    EXPECT_EQ(t.wait_exit(std::chrono::milliseconds(50)), -1);
    EXPECT_TRUE(t.play("<ENTER> => exit 0"));
    // The program is gone, so these end at once.
    for (const char *wrong : {"niets", "!welG", "4:welG", "3=welG", "3,5=e", "3,5 dim", "@1,1", "exit 1"}) {
        EXPECT_FALSE(t.play(std::string("=> ") + wrong)) << wrong;
    }
}

}  // namespace
