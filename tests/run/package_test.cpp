// The Debian package: what it installs works from there.
#include "support/run_case.h"

namespace {

namespace fs = std::filesystem;

using Package = RunCase;

/// Runs a shell command; its output is the failure message.
testing::AssertionResult runs(const std::string &command) {
    if (std::system(("{ " + command + " ; } >log 2>&1").c_str()) == 0) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << command << "\n" << ScratchDir::get("log");
}

TEST_F(Package, InstallsAndRuns) {
    ASSERT_TRUE(runs(CPACK " --config " CPACK_CONFIG " -B packed"));
    ASSERT_TRUE(runs("dpkg-deb -x packed/rvchk860_*.deb root"));
    EXPECT_TRUE(runs("dpkg-deb -f packed/*.deb Depends | grep -q libncursesw"));
    EXPECT_TRUE(
        runs("lintian --pedantic --fail-on error,warning,info,pedantic " LINTIAN_OPTIONS " packed/*.deb"));
    const fs::path root = directory / "root/usr";
    for (const char *name :
         {"bin/rvchk860", "bin/mkshop", "share/man/man1/rvchk860.1.gz", "share/man/man1/rvcheck.1.gz",
          "share/doc/rvchk860/rvcheck-json.md", "share/rvchk860/fleet.jq", "share/doc/rvchk860/operator.md",
          "share/rvchk860/catalog/en/TERM351.cat", "share/rvchk860/catalog/nl/DETAIL.cat",
          "share/rvchk860/make-entries.sh"}) {
        EXPECT_TRUE(fs::exists(root / name)) << name;
    }
    for (const char *tool : {"rvcheck", "ixreorgk", "mkshop"}) {
        EXPECT_TRUE(runs("root/usr/bin/" + std::string(tool) + " --version | grep '" + tool +
                         " (rvchk860) 8.60\\(, commit [0-9a-f]* *\\|$\\)'"));
    }
    ASSERT_TRUE(runs("root/usr/bin/mkshop shop"));
    // The index of the EAN codes is rebuilt by the program beside it.
    EXPECT_TRUE(runs("env -u BIN root/usr/bin/rvcheck --rehearse --quiet shop"));
    EXPECT_TRUE(runs(R"(cd root/usr/share
        bash -c '. bash-completion/completions/rvcheck && complete -p rvcheck' || exit 1
        told=$(zcat man/man1/rvcheck.1.gz | sed 's/\\-/-/g')
        for option in $(../bin/rvcheck --help | grep -o -- '--[a-z]*'); do
            case $told in *"$option"*) grep -e "$option" bash-completion/completions/rvcheck && continue ;; esac
            echo "$option is not told" && exit 1
        done)"));
    TerminalOptions installed;
    installed.program = root / "bin/rvchk860";
    installed.directory = directory / "shop";
    // The descriptions are found from where the program is, which is not where the package puts it.
    installed.environment = {
        {"TERMINFO", {}}, {"HOME", directory}, {"NLSPATH", root / "share/rvchk860/catalog/en/%N.cat"}};
    EXPECT_TRUE(Terminal(installed).play(R"(
                 => <ENTER> to continue
        <ENTER>  => 11 Series/labels
        <CANCEL> => exit 0
    )"));
}

}  // namespace
