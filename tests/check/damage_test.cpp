// Files with damage of any kind: no crash, no run without an end, and nothing is touched beside the shop.
#include <algorithm>
#include <random>
#include <sstream>

#include "support/check_case.h"

namespace {

/// Damages a file as a bad disk does: bits, a block of zeros, two blocks swapped, the end cut off.
void damage(const std::filesystem::path &path, std::mt19937 &random) {
    std::string bytes = ScratchDir::get(path);
    constexpr std::size_t block = 512;
    const auto place = [&](std::size_t length) {
        return bytes.size() > length ? random() % (bytes.size() - length) : 0;
    };
    switch (random() % 4) {
        case 0:
            for (int i = 0; i < 8; i++) {
                bytes[place(0)] ^= static_cast<char>(1U << random() % 8);
            }
            break;
        case 1:
            bytes.replace(place(block), std::min(block, bytes.size()), std::min(block, bytes.size()), '\0');
            break;
        case 2:
            if (bytes.size() > 2 * block) {
                std::swap_ranges(bytes.begin(), bytes.begin() + block,
                                 bytes.begin() + static_cast<std::ptrdiff_t>(block + place(2 * block)));
            }
            break;
        default:
            bytes.resize(place(0));
            break;
    }
    ScratchDir::put(path, bytes);
}

/// What lies beside the shop, with the directories: a file that has come and gone shows in their times.
std::string beside_the_shop() {
    std::ostringstream list;
    const auto note = [&](const std::filesystem::path &path) {
        list << path << " " << (std::filesystem::is_directory(path) ? "" : ScratchDir::get(path)) << " "
             << std::filesystem::last_write_time(path).time_since_epoch().count() << "\n";
    };
    note("..");
    for (auto at = std::filesystem::recursive_directory_iterator(".."); at != end(at); ++at) {
        if (at->path().filename() == "winkel") {
            at.disable_recursion_pending();
        } else {
            note(at->path());
        }
    }
    return list.str();
}

/// Goes into a shop that has neighbours, a home and a place for temporary files, none of which it may touch.
void enter_watched_shop() {
    namespace fs = std::filesystem;
    for (const char *name : {"RVSER.TXT", "RVSYS.TXT", "RVCHK860.OK", "PR1", "TP01", "TEMP1", "KASMUT.TXT",
                             "2014W/ORD0001.JRN", "buren/RVSER.TXT", "thuis/MACRO.TXT", "tmp/PR1"}) {
        fs::create_directories(fs::absolute(name).parent_path());
        ScratchDir::put(name, "hier blijft alles");
    }
    fs::create_directory("winkel");
    setenv("HOME", fs::absolute("thuis").c_str(), 1);
    setenv("TMPDIR", fs::absolute("tmp").c_str(), 1);
    fs::current_path("winkel");
}

using Damaged = CheckCase;

TEST_F(Damaged, FilesNeitherCrashNorHangARunNorLeadItElsewhere) {
    enter_watched_shop();
    const std::string beside = beside_the_shop();
    int came_through = 0;
    for (int seed = first_seed(), end = seed + rounds(12); seed < end; seed++) {
        std::mt19937 random(static_cast<unsigned>(seed));
        for (const auto &entry : std::filesystem::directory_iterator(".")) {
            std::filesystem::remove_all(entry.path());
        }
        make({.series = 8, .labels = 4, .seed = static_cast<std::uint64_t>(seed)});
        std::vector<std::filesystem::path> files;  // markers and season directories included
        for (const auto &entry : std::filesystem::recursive_directory_iterator(".")) {
            if (entry.is_regular_file() && entry.file_size() > 0) {
                files.push_back(entry.path());
            }
        }
        std::sort(files.begin(), files.end());
        for (unsigned i = 0; i < 1 + random() % 3; i++) {
            damage(files[random() % files.size()], random);
        }
        const CheckRun run = run_check("11 12 13", "JJJJJJJJN");
        // A file that can't be used stops the program with a message; anything else is to be listed.
        EXPECT_TRUE(run.status == 0 || run.status == 1 || run.status == 10) << seed << "\n" << run;
        EXPECT_EQ(beside_the_shop(), beside) << seed;
        came_through += run.status == 0 ? 1 : 0;
    }
    EXPECT_GT(came_through, 0);
}

}  // namespace
