// Texts of the program from catalogues that the operator chooses.
#include "base/files.h"
#include "support/run_case.h"

namespace {

/// A shop whose labels were never checked, so that the menu comes.
class Catalogue : public RunCase {
protected:
    void SetUp() override {
        RunCase::SetUp();
        make();
    }
    /// Makes DETAIL.cat in the shop's directory from a source in the form of gencat.
    static void compile(const std::string &source) {
        put("DETAIL.msg", source);
        ASSERT_EQ(std::system("rm -f DETAIL.cat && LC_ALL=C " GENCAT " DETAIL.cat DETAIL.msg"), 0);
    }
};

testing::AssertionResult speaks(const std::string &catalogues, const std::string &script,
                                const std::string &lang = "C.UTF-8") {
    return plays({.environment = {{"NLSPATH", catalogues}, {"LANG", lang}}}, script);
}

TEST_F(Catalogue, LanguageIsThatOfTheEnvironmentOrTheNamedOne) {
    EXPECT_TRUE(speaks(RVCHK_CATALOGUES "/%l/%N.cat", R"(
                 => <ENTER> to continue
        <ENTER>  => Your choice | COMPLETE CHECK | 11 Series/labels
        <HELP>   => To first choice of next section | <ENTER> to continue
        <ENTER>  => !To first choice
        99       => Invalid choice
        <CANCEL> => exit 0
    )",
                       "en_GB.UTF-8"));
    file_delete("RVSYS.TXT");
    EXPECT_TRUE(speaks(RVCHK_CATALOGUES "/en/%N.cat", R"(
                 => RVSYS.TXT not present in / | PROGRAM STOPPED | Please contact the Support group
        <ENTER>  => exit 1
    )",
                       "nl_NL.UTF-8"));
}

TEST_F(Catalogue, FormatWithOtherConversionsIsLeftAlone) {
    file_delete("RVSYS.TXT");
    const std::string own_text = "RVSYS.TXT niet aanwezig in ";
    const std::pair<std::string, std::string> texts[] = {
        {"nergens %s, ook niet in %.5s", "nergens RVSYS.TXT, ook niet in "},
        {"%s %s %s", own_text},
        {"%d mist in %s", own_text},
        {"%s mist in %n", own_text},
        {"%s mist in %*s", own_text},
        {"mist", own_text},
    };
    for (const auto &[text, shown] : texts) {
        compile("$quote \"\n$set 9\n751 \"" + text + "\"\n");
        EXPECT_TRUE(speaks("./%N.cat", "=> PROGRAMMA AFGEBROKEN | " + shown + "\n<ENTER> => exit 1")) << text;
    }
}

// Percent signs mean nothing in a text that is not a format, and letters of code page 850 come out as such. A
// damaged catalogue is none.
TEST_F(Catalogue, PlainTextMayHoldAnything) {
    const std::string menu = "=> <ENTER> voor vervolg\n <ENTER> => 24= ";
    const std::string leave = " 11\n <CANCEL> => exit 0";
    compile("$ codeset=IBM850\n$quote \"\n$set 7\n556 \"100%s \\202\\202n keuze\"\n");
    EXPECT_TRUE(speaks("./%N.cat", menu + "100%s één keuze" + leave));
    for (const std::string &bytes : {std::string(), std::string(10000, '\xff')}) {
        put("DETAIL.cat", bytes);
        put("TERM351.cat", bytes);
        EXPECT_TRUE(speaks("./%N.cat", menu + "Uw keuze" + leave));
    }
}

}  // namespace
