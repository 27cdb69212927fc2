#include "base/files.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <optional>
#include <set>
#include <tuple>
#include <vector>

#include "base/file_pattern.h"
#include "base/file_view.h"
#include "base/operator.h"
#include "base/owned_file.h"
#include "support/other_process.h"
#include "support/scratch_dir.h"

namespace {

using Files = ScratchDir;

std::optional<OtherProcess> holder;

/// Another process that holds a lock, until `holder` is reset.
void hold(const char *name, lock_action action, off_t start, off_t length) {
    holder.emplace([=] {
        if (!file_lock(action, open(name, O_RDWR), start, length)) {
            _exit(1);
        }
    });
}

TEST_F(Files, ReadAndWriteAt) {
    put("data", "0123456789");
    const int fd = open("data", O_RDWR);
    char buffer[16] = "";
    EXPECT_EQ(file_read_at(fd, buffer, 4, 3), 4);
    EXPECT_STREQ(buffer, "3456");
    EXPECT_EQ(file_read_at(fd, buffer, sizeof buffer, 8), 2);
    EXPECT_EQ(file_read_at(fd, buffer, sizeof buffer, 10), 0);
    EXPECT_EQ(file_read_at(fd, buffer, 1, -1), -1);
    EXPECT_TRUE(file_write_at(fd, "AB", 2, 9));
    EXPECT_FALSE(file_write_at(fd, "AB", 2, -1));
    EXPECT_EQ(get("data"), "012345678AB");

    // A full disk lets part of the bytes through; that is no success.
    EXPECT_TRUE(elsewhere([fd] {
        const rlimit small{16, 16};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        return !file_write_at(fd, "0123456789", 10, 11) && errno == EFBIG;
    }));
    close(fd);
    EXPECT_EQ(file_read_at(fd, buffer, 1, 0), -1);
}

TEST_F(Files, CopyIsAppended) {
    std::string big;
    for (int i = 0; i < 100000; i++) {
        big += static_cast<char>(i * 7 + i / 256);
    }
    put("from", big);
    for (const std::string before : {"", "old"}) {
        put("to", before);
        EXPECT_TRUE(file_copy("from", "to", 1));
        EXPECT_TRUE(get("to") == before + big && get("from") == big);
    }
    // A running program can't be opened for writing, by no one.
    EXPECT_TRUE(file_copy("/proc/self/exe", "copy", -1));
    EXPECT_EQ(file_size("copy"), file_size("/proc/self/exe"));
    EXPECT_FALSE(file_copy("from", "copy", -1)) << "it is there already";
    ASSERT_EQ(symlink("/dev/null", "sink") + symlink("/dev/full", "printer") + mkdir("dir", 0700), 0);
    EXPECT_TRUE(file_copy("copy", "sink", 1));
    // What fails leaves nothing new and nothing half done; a device that takes nothing stays where it is.
    put("old", "old");
    ASSERT_EQ(link("old", "again"), 0);
    const std::pair<const char *, const char *> failing[] = {
        {"absent", "fresh"}, {"dir", "fresh"}, {"dir", "old"},     {"old", "absent/fresh"},
        {"old", "dir"},      {"old", "./old"}, {"old", "printer"}, {"old", "again"}};
    for (const auto &[from, to] : failing) {
        EXPECT_FALSE(file_copy(from, to, 1)) << from << " to " << to;
        EXPECT_EQ(file_size("fresh"), -1);
        EXPECT_EQ(get("old"), "old");
    }
    EXPECT_TRUE(file_exists("printer") && !file_exists("fresh"));
    EXPECT_TRUE(file_is_dir("dir") && !file_is_dir("old") && !file_is_dir("fresh"));
    EXPECT_TRUE(!file_delete("dir") && file_delete("fresh") && file_delete("old/file"));
}

TEST_F(Files, CopyWaitsForLocks) {
    static std::string messages;
    isam_operator.flash = [](int wait, const char *title, const char *text) {
        messages += std::to_string(wait) + (title == nullptr ? "" : title) + text;
        holder.reset();
        return 1;
    };
    // The appended part is locked from the old end on; what lies before it may be held.
    for (const auto &[locked, start, length] : {std::tuple{"from", 100, 1}, {"to", 100, 1}, {"to", 0, 3}}) {
        put("from", "new");
        put("to", "old");
        messages.clear();
        hold(locked, lock_action::exclusive, start, length);
        EXPECT_TRUE(file_copy("from", "to", 1));
        EXPECT_EQ(messages, start == 0 ? "" : "1Informatie in gebruik op ander scherm") << locked;
        EXPECT_EQ(get("to"), "oldnew");
    }
    holder.reset();
    isam_operator = {};
    const int fd = open("to", O_RDWR);
    EXPECT_TRUE(elsewhere([&] { return file_lock(lock_action::exclusive, fd, 0, 0); })) << "locks are gone";
    close(fd);
}

TEST_F(Files, MoveReplacesNothing) {
    // The second place is another file system where there is one.
    std::string other = testing::TempDir() + "rvXXXXXX";
    ASSERT_NE(mkdtemp(other.data()), nullptr);
    for (const std::string &to : {std::string("to"), other + "/to"}) {
        for (const bool moved : {true, false}) {  // the second meets what the first has moved
            put("from", moved ? "old" : "new");
            EXPECT_EQ(file_move("from", to.c_str(), false), moved) << to;
            EXPECT_EQ(get(to), "old");
            EXPECT_EQ(file_exists("from"), !moved);
        }
    }
    EXPECT_FALSE(file_move("absent", "to", false));
    EXPECT_FALSE(file_move("to", "./to", false));
    EXPECT_EQ(get("to"), "old") << "nothing is lost";
    std::filesystem::remove_all(other);
}

TEST_F(Files, TemporaryNames) {
    std::set<std::string> given;
    std::string last;
    for (int i = 0; i < 1500; i++) {
        const std::string name = file_tempname("", "TP07");
        ASSERT_TRUE(given.insert(name).second && name.starts_with("TP07") && name.size() == 8) << name;
        // Letters, and behind ZZ the next number with AA.
        ASSERT_TRUE(last.empty() || last.substr(4, 2) == "ZZ" || name.substr(4) > last.substr(4)) << name;
        ASSERT_FALSE(file_exists(name.c_str()));
        last = name;
    }
    // A name that is in use is passed over: of a whole round none is given again.
    for (const std::string &name : given) {
        put(name, "kept");
    }
    EXPECT_FALSE(given.contains(file_tempname("", "TP07")));
    EXPECT_EQ(get(last), "kept");

    EXPECT_EQ(std::string(file_tempname("", "ABCDEF")).substr(0, 4), "ABCD");
    EXPECT_EQ(std::strlen(file_tempname("", "ABCDEF")), 8U);
    EXPECT_EQ(std::strlen(file_tempname("", "")), 4U);
    EXPECT_EQ(std::string(file_tempname(path.c_str(), "X")).substr(0, path.size() + 2), path + "/X");
    EXPECT_STREQ(file_tempname("absent", "X"), "");
}

TEST_F(Files, DiskFreeIsInKilobytes) {
    const double bytes = static_cast<double>(std::filesystem::space(".").available);
    EXPECT_NEAR(static_cast<double>(disk_free()), bytes / 1024, bytes / 1024 * 0.1);
}

// Reads through a mapping must tell the same as reads through the system, while others change the file.
TEST_F(Files, AViewShowsAFileAsOthersLeaveIt) {
    constexpr off_t block = 376;
    const std::string name = "blokken";
    put(name, std::string(40 * block, 'a'));
    const open_file file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
    const open_file other(open(name.c_str(), O_RDWR | O_CLOEXEC));
    file_view view{};
    std::string got(block, ' ');
    const auto read = [&](off_t number) {
        return file_view_read_at(view, file.fd, got.data(), block, number * block);
    };
    // Often enough that the file is mapped.
    for (int i = 0; i < 100; i++) {
        ASSERT_EQ(read(39), static_cast<ssize_t>(block));
    }
    ASSERT_NE(view.base, nullptr);
    EXPECT_EQ(read(40), 0);
    EXPECT_EQ(read(-1), -1);

    // Written, grown, and with a block that really ends in zeros.
    const std::string changed(block, 'b');
    ASSERT_TRUE(file_write_at(other.fd, changed.data(), block, 39 * block));
    read(39);
    EXPECT_EQ(got, changed);
    ASSERT_TRUE(file_write_at(other.fd, std::string(block, '\0').data(), block, 40 * block));
    EXPECT_EQ(read(40), static_cast<ssize_t>(block));
    EXPECT_EQ(got, std::string(block, '\0'));

    // Cut within the page of a block, before its page, and made longer again.
    ASSERT_EQ(ftruncate(other.fd, 39 * block), 0);
    EXPECT_EQ(read(39), 0);
    EXPECT_EQ(read(40), 0);
    ASSERT_EQ(ftruncate(other.fd, 0), 0);
    EXPECT_EQ(read(39), 0);
    EXPECT_EQ(read(0), 0);
    put(name, std::string(41 * block, 'c'));
    EXPECT_EQ(read(40), static_cast<ssize_t>(block));
    EXPECT_EQ(got, std::string(block, 'c'));
    // Grown past what is mapped.
    ASSERT_TRUE(file_write_at(other.fd, changed.data(), block, 9000 * block));
    EXPECT_EQ(read(9000), static_cast<ssize_t>(block));
    EXPECT_EQ(got, changed);
    file_view_close(view);
}

constexpr lock_action E = lock_action::exclusive;
constexpr lock_action S = lock_action::sole;
constexpr lock_action T = lock_action::test;

TEST_F(Files, LocksBetweenProcesses) {
    // What another process holds, what is wanted, and whether it is granted.
    const std::tuple<lock_action, off_t, off_t, lock_action, off_t, off_t, bool> cases[] = {
        {E, 0, 512, E, 0, 512, false},         {E, 0, 512, T, 0, 0, false},
        {E, 0, 512, E, 512, 512, true},        {S, 100, 10, S, 100, 10, false},
        {S, 100, 10, E, 109, 5, false},        {S, 100, 10, S, 110, 10, true},
        {S, 100, 10, T, 90, 10, true},         {E, 1000, 0, E, 0, 1000, true},
        {S, 1000, 0, S, 5000000000, 1, false},
    };
    put("data");
    const int fd = open("data", O_RDWR);
    for (const auto &[held, start, length, wanted, from, size, granted] : cases) {
        SCOPED_TRACE(testing::Message() << start << " " << from << " " << size);
        hold("data", held, start, length);
        EXPECT_EQ(file_lock(wanted, fd, from, size), granted);
        EXPECT_EQ(file_lock_holder(fd, from, size), granted ? 0 : holder->pid());
        // What was refused, and a test, leave nothing behind; what was granted keeps others out.
        holder.reset();
        const bool others =
            elsewhere([fd, from = from, size = size] { return file_lock(T, fd, from, size); });
        EXPECT_EQ(others, !granted || wanted == T);
        EXPECT_TRUE(file_lock(lock_action::unlock, fd, from, size));
        EXPECT_TRUE(elsewhere([&] { return file_lock(E, fd, 0, 0); }));
    }
    close(fd);
    EXPECT_FALSE(file_lock(T, fd, 0, 1));
    EXPECT_EQ(file_lock_holder(fd, 0, 1), 0);
    EXPECT_EQ(lock_range(fd, 3, 1), -1) << "no endless wait on a closed descriptor";
}

TEST(Terminal, ClosesCharacterDevicesOnly) {
    EXPECT_TRUE(elsewhere([] {
        const int device = open("/dev/null", O_RDWR);
        const int file = open("/proc/self/exe", O_RDONLY);
        int pipe_ends[2];
        if (pipe(pipe_ends) != 0 || dup2(device, 39) != 39 || dup2(device, 40) != 40) {
            return false;
        }
        tty_close_others();
        const auto is_open = [](int fd) { return fcntl(fd, F_GETFD) != -1; };
        return !is_open(device) && is_open(file) && is_open(pipe_ends[0]) && !is_open(39) && is_open(40) &&
               is_open(2);
    }));
}

TEST(Locks, AreTriedAgainForAMomentOnly) {
    int refusals = 5;
    const auto refuse = [&](int error) {
        errno = error;
        return refusals-- == 0;
    };
    EXPECT_TRUE(file_lock_soon([&] { return refuse(EAGAIN); }));
    EXPECT_TRUE(!file_lock_soon([&] { return refuse(EBADF); }) && errno == EBADF);
    EXPECT_EQ(refusals, -2) << "a descriptor without locks is asked once";
    EXPECT_TRUE(!file_lock_soon([&] { return refuse(EACCES); }) && errno == EACCES);
}

// ---- Walks through directories, and their patterns

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
