// Texts of the program from catalogues that the operator chooses.
#include <cstdlib>

#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

const char *const catalogues = RVCHK_CATALOGUES;

/// A shop whose labels were never checked, so that the menu comes.
class Catalogue : public RunCase {
protected:
    void SetUp() override {
        RunCase::SetUp();
        options.checked = 1;
        make([](Shop &shop) { shop.dates.labels = 0; });
    }
    /// Makes <name>.cat in the shop's directory from a source in the form of gencat.
    void compile(const std::string &name, const std::string &source) const {
        const std::string path = (directory / name).string();
        std::ofstream(path + ".msg") << source;
        ASSERT_EQ(std::system(("LC_ALL=C " GENCAT " '" + path + ".cat' '" + path + ".msg'").c_str()), 0);
    }
    [[nodiscard]] Terminal start(const std::string &nlspath, const std::string &lang = "C.UTF-8") const {
        return RunCase::start({.environment = {{"NLSPATH", nlspath}, {"LANG", lang}}});
    }
};

TEST_F(Catalogue, LanguageOfTheEnvironmentIsShown) {
    Terminal t = start(std::string(catalogues) + "/%l/%N.cat", "en_GB.UTF-8");
    ASSERT_TRUE(t.wait_for("<ENTER> to continue"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Your choice"));
    EXPECT_TRUE(t.wait_for("COMPLETE CHECK"));
    EXPECT_TRUE(t.wait_for("11 Series/labels"));
    t.key("HELP");
    ASSERT_TRUE(t.wait_for("To first choice of next section"));
    EXPECT_TRUE(t.wait_for("<ENTER> to continue"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_gone("To first choice"));
    t.type("99");
    ASSERT_TRUE(t.wait_for("Invalid choice"));
    t.key("CANCEL");
    EXPECT_EQ(t.wait_exit(), 0);
}

TEST_F(Catalogue, NamedLanguageServesFatalMessages) {
    fs::remove(directory / "RVSYS.TXT");
    Terminal t = start(std::string(catalogues) + "/en/%N.cat", "nl_NL.UTF-8");
    ASSERT_TRUE(t.wait_for("RVSYS.TXT not present in " + directory.string().substr(0, 30)));
    EXPECT_TRUE(t.wait_for("PROGRAM STOPPED"));
    EXPECT_TRUE(t.wait_for("Please contact the Support group"));
    t.key("ENTER");
    EXPECT_EQ(t.wait_exit(), 1);
}

TEST_F(Catalogue, FormatWithOtherConversionsIsLeftAlone) {
    fs::remove(directory / "RVSYS.TXT");
    struct {
        const char *text;
        const char *shown;
    } const cases[] = {
        {"nergens %s, ook niet in %.5s", "nergens RVSYS.TXT, ook niet in "},
        {"%s %s %s", "RVSYS.TXT niet aanwezig in "},
        {"%d mist in %s", "RVSYS.TXT niet aanwezig in "},
        {"%s mist in %n", "RVSYS.TXT niet aanwezig in "},
        {"%s mist in %*s", "RVSYS.TXT niet aanwezig in "},
        {"mist", "RVSYS.TXT niet aanwezig in "},
    };
    for (const auto &each : cases) {
        fs::remove(directory / "DETAIL.cat");
        compile("DETAIL", std::string("$quote \"\n$set 9\n751 \"") + each.text + "\"\n");
        Terminal t = start(directory.string() + "/%N.cat");
        ASSERT_TRUE(t.wait_for("PROGRAMMA AFGEBROKEN")) << each.text;
        EXPECT_TRUE(t.wait_for(each.shown)) << each.text;
        t.key("ENTER");
        EXPECT_EQ(t.wait_exit(), 1);
    }
}

// Percent signs mean nothing in a text that is not a format, and letters of code page 850 come out as such.
TEST_F(Catalogue, PlainTextMayHoldAnything) {
    compile("DETAIL", "$ codeset=IBM850\n$quote \"\n$set 7\n556 \"100%s \\202\\202n keuze\"\n");
    Terminal t = start(directory.string() + "/%N.cat");
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("100%s één keuze"));
    t.key("CANCEL");
    EXPECT_EQ(t.wait_exit(), 0);
}

TEST_F(Catalogue, DamagedCatalogueIsNoCatalogue) {
    for (const std::string &bytes : {std::string(), std::string(10000, '\xff')}) {
        std::ofstream(directory / "DETAIL.cat", std::ios::binary) << bytes;
        std::ofstream(directory / "TERM351.cat", std::ios::binary) << bytes;
        Terminal t = start(directory.string() + "/%N.cat");
        reach_menu(t);
        t.key("CANCEL");
        EXPECT_EQ(t.wait_exit(), 0);
    }
}

}  // namespace
