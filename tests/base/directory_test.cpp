#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "base/file_pattern.h"
#include "base/files.h"
#include "support/scratch_dir.h"

namespace {

using names = std::vector<std::string>;

names walk(std::string text, dir_kind kind = dir_kind::files) {
    names found;
    if (DIRECTORY(dir_action::open, text, kind)) {
        while (DIRECTORY(dir_action::next, text)) {
            found.push_back(text);
        }
        EXPECT_FALSE(DIRECTORY(dir_action::next, text)) << "the end stays the end";
        EXPECT_TRUE(DIRECTORY(dir_action::close, text));
        EXPECT_FALSE(found.empty());
    }
    return found;
}

int present(std::string pattern) {
    return FILES_PRESENT(pattern);
}

int lowest_free_fd() {
    const int fd = dup(0);
    close(fd);
    return fd;
}

struct pattern_case {
    const char *pattern;
    names yes;
    names no;
};

template <std::size_t n, class Match>
void expect_matches(const pattern_case (&cases)[n], const Match &match) {
    for (const pattern_case &c : cases) {
        for (const bool wanted : {true, false}) {
            for (const std::string &name : wanted ? c.yes : c.no) {
                EXPECT_EQ(match(c.pattern, name), wanted) << c.pattern << " | " << name;
            }
        }
    }
}

TEST(WalkPattern, Matches) {
    const pattern_case cases[] = {
        {"*", {"A", "x.y", "%s%n", "\xe1\xff"}, {}},
        {"PR*", {"PR1", "PRx.y", "PR%d", "PR x"}, {"PR", "pr1", "XPR1", "P", ""}},
        {"*.INX", {"A.INX", "RVSER.INX"}, {"A.inx", ".INX", "A.B.INX", "A.INX2", "AINX", "A.IN"}},
        {"RVSER.*", {"RVSER.INX", "RVSER.a.b"}, {"RVSER.", "RVSER", "RVSERX.INX"}},
        {"A?C",
         {"ABC", "A C", "A\nC", "A%C",
          "A\x02"
          "C"},
         {"AC", "ABBC", "A", "ABCD"}},
        {"A?", {"AB", "A"}, {"", "ABC", "B"}},  // a last '?' takes no character at the end of the name
        {"STAT%*02hd.TXT", {"STAT01.TXT", "STAT7.TXT"}, {"STAT001.TXT", "STATxx.TXT", "stat01.TXT"}},
        {"%*4hd%*c", {"0001A", "12B", "0001"}, {"A", "0001AB", "00012B"}},
        {"%*[A-C]%%", {"ABC%"}, {"ABC", "D%", "%"}},
        {"A*B", {"A*B"}, {"AxB", "AB"}},
        {"A",
         {"A"},
         {"", "AA", "a", "A\x01",
          "A\x01"
          "B",
          "A \x01 x", "A\x01\n"}},
    };
    expect_matches(cases, [](const char *pattern, const std::string &name) {
        return format_match(pattern_format(pattern), name);
    });
    EXPECT_FALSE(format_match("", "A"));
}

TEST(Wildcard, Matches) {
    const pattern_case cases[] = {
        {"*", {"", "a", "a.b"}, {}},
        {"*.*", {"", "a", "a.b", ".b"}, {}},  // a last ".*" need not be there
        {"a?", {"ab", "a"}, {"", "abc", "b"}},
        {"a*b", {"ab", "axb", "abb"}, {"a", "abx"}},
        {"*a*b*", {"xaxbx", "ab"}, {"ba", "a"}},
        {"*.INX", {"a.inx", ".INX"}, {"a.in", "ainx"}},
        {"\x81*", {"\x9aX"}, {"X"}},
        {"\x8b", {"\x8b"}, {"\xd8"}},                             // that capital has no way back
        {"*a*a*a*a*a*a*a*a*a*a*b", {}, {std::string(250, 'a')}},  // and soon
    };
    expect_matches(cases, [](const char *pattern, const std::string &name) {
        return wildcard_match(pattern, name.c_str());
    });
}

struct Walk : ScratchDir {};

TEST_F(Walk, KindsAndDirectories) {
    put("file", "x");
    ASSERT_EQ(mkdir("dir", 0700) + mkfifo("fifo", 0600), 0);
    ASSERT_EQ(symlink("file", "link") + symlink("dir", "dirlink") + symlink("none", "dangling"), 0);
    put(".hidden");
    put("\xe1%s\n");
    EXPECT_EQ(walk("*"), (names{".hidden", "file", "link", "\xe1%s\n"})) << "in the order of the bytes";
    EXPECT_EQ(walk("", dir_kind::directories), (names{".", "..", "dir", "dirlink"}));
    EXPECT_EQ(present(""), 4);

    // The directory part becomes a prefix.
    put("dir/A.INX");
    put("dir/b.inx");
    EXPECT_EQ(walk("dir/*.INX"), (names{path + "/dir/A.INX"}));
    EXPECT_EQ(walk("./dir/../dir/b*"), (names{path + "/dir/b.inx"}));
    const names root = walk("/*", dir_kind::directories);
    EXPECT_NE(std::find(root.begin(), root.end(), "/dev"), root.end());
    std::string pattern = "dir/*.INX";
    EXPECT_EQ(FILES_PRESENT(pattern), 2) << "plain wildcards fold case";
    EXPECT_EQ(pattern, "*.INX");
    EXPECT_EQ(present("dir/%*1s.INX"), 1) << "directives do not";
    EXPECT_EQ(present("dir/*.INX%s"), 0);
}

TEST_F(Walk, EveryWayOutComesHome) {
    ASSERT_EQ(mkdir("sub", 0700), 0);
    put("sub/A");
    const int fd = lowest_free_fd();
    const std::string long_name(77, 'A');
    put("sub/" + long_name.substr(0, 76));
    put("sub/" + long_name);
    const std::pair<std::string, std::size_t> cases[] = {
        {"sub/A", 1},           {"sub/none", 0}, {"absent/A", 0},
        {"sub/A/A", 0},         {"sub/%n", 0},   {"sub/" + long_name.substr(0, 76), 1},
        {"sub/" + long_name, 0}};  // over 80 characters
    for (const auto &[pattern, found] : cases) {
        EXPECT_EQ(walk(pattern).size(), found) << pattern;
        EXPECT_EQ(present(pattern), static_cast<int>(found)) << pattern;
        EXPECT_EQ(std::filesystem::current_path(), path) << pattern;
    }
    EXPECT_EQ(lowest_free_fd(), fd) << "no descriptor is left open";
}

}  // namespace
