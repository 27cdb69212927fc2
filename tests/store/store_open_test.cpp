// Opening, emptying and closing; headers, blocks and halves that were damaged from outside.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "support/store/store_fixture.h"

namespace {

const testing::ExitedWithCode stopped(1);

struct row {
    boost::endian::little_int32_t number;
    char name[12];
};

void write_row(ICB *icb, int number) {
    row r{boost::endian::little_int32_t{number}, ""};
    std::snprintf(r.name, sizeof r.name, "naam%03d", number * 7 % 200);
    IXWRITE(icb, &r);
}

/// Reads a row by key 1 in a pair that is opened for it.
void read_row(int number, int mode) {
    row r{boost::endian::little_int32_t{number}, ""};
    IXREAD(IXOPEN("S", mode), &r);
}

/// A pair of 200 records with two keys, of which 4 are deleted; nkeys at 11, keys at 48 and 90.
class damaged : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        ICB *icb = make_pair_of("S", {"sample,16", "nr,I,1,4", "naam,C,5,14"});
        for (int n = 0; n < 200; ++n) {
            write_row(icb, n);
        }
        for (int n = 0; n < 200; n += 50) {
            row r{boost::endian::little_int32_t{n}, ""};
            IXREAD(icb, &r);
            IXDELETE(icb, &r);
        }
        IXCLOSE(icb);
        index = file_bytes("S.INX");
        data = file_bytes("S.TXT");
    }
    void restore() const {
        put_back("S.INX", index);
        put_back("S.TXT", data);
    }

    bytes index;
    bytes data;
};

TEST_F(damaged, Header) {
    const struct {
        const char *what;
        std::size_t offset;
        const char *bytes;
        bool rebuilds;  // the definition is usable: a rebuild makes the pair sound
    } cases[] = {
        {"nkeys 0", 11, "00", false},
        {"nkeys 3", 11, "03", false},
        {"nkeys below 0", 11, "FF", false},
        {"freehead high", 12, "C8 00 00 00", true},
        {"freehead low", 12, "FE FF FF FF", true},
        {"nrecs high", 16, "C9 00 00 00", true},
        {"nrecs below 0", 16, "00 00 00 80", true},
        {"nblocks high", 20, "FF 00 00 00", true},
        {"nblocks low", 20, "03 00 00 00", true},
        {"reclen 0", 24, "00 00", false},
        {"reclen 513", 24, "01 02", false},
        {"reclen short", 24, "08 00", false},
        {"inupdate", 45, "01", true},
        {"key 1 with duplicates", 56, "4A", false},
        {"the same, measured well", 56, "4A 08 2A", false},
        {"klen 61", 57, "3D", false},
        {"klen off", 57, "05", false},
        {"korder", 58, "7F", true},
        {"type", 59, "58", false},
        {"start 0", 69, "00", false},
        {"start behind end", 69, "05", false},
        {"end outside", 121, "11", false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        // Another program damages the pair while it is open here.
        const auto update = [&c] {
            ICB *icb = IXOPEN("S", ix_shared);
            put_bytes("S.INX", c.offset, hex(c.bytes));
            write_row(icb, 256);
        };
        EXPECT_EXIT(update(), stopped, "Niet consistent");
        const bytes before = file_bytes("S.INX");
        EXPECT_EQ(IXCHECK("S"), -1);
        for (const int mode : {ix_readonly, ix_exclusive, ix_shared}) {
            EXPECT_EXIT(IXOPEN("S", mode), stopped, "S *: sample.* --> Niet consistent");
        }
        EXPECT_TRUE(file_bytes("S.INX") == before && file_bytes("S.TXT") == data);
        EXPECT_EQ(IXBLDIX("S"), c.rebuilds);
        EXPECT_EQ(c.rebuilds ? ix_verify("S") : sound, sound);
        EXPECT_EQ(c.rebuilds || file_bytes("S.INX") == before, true);
        restore();
    }
    ASSERT_EQ(truncate("S.INX", 511), 0);
    EXPECT_EQ(IXCHECK("S"), -1);
    EXPECT_EXIT(IXOPEN("S", ix_shared), stopped, "QBISAM\\([0-9]+\\): S.INX ");
    ASSERT_EQ(truncate("S.INX", 0), 0);
    EXPECT_FALSE(IXBLDIX("S"));
}

// A root or leaf that no sound tree has, met on the way down.
TEST_F(damaged, Block) {
    const auto leaf = static_cast<std::size_t>(index[512 + 5 + 4]);  // the first child of key 1's root
    const struct {
        bool root_only;
        std::size_t offset;
        const char *bytes;
    } cases[] = {
        {false, 4, "00"},         {false, 4, "40"},         {false, 0, "02"},
        {false, 0, "00"},         {false, 1, "00"},         {false, 1, "0A"},
        {false, 1, "03"},         {true, 9, "00 00 00 00"},  // the child lies outside the file
        {true, 9, "FF FF FF FF"}, {true, 9, "00 00 00 7F"}, {true, 9, "28 00 00 00"},
    };
    for (const auto &c : cases) {
        for (const std::size_t block : {std::size_t{1}, c.root_only ? std::size_t{1} : leaf}) {
            put_bytes("S.INX", block * 512 + c.offset, hex(c.bytes));
            for (const int mode : {ix_exclusive, ix_shared}) {
                EXPECT_EXIT(read_row(1, mode), stopped, "Niet consistent")
                    << "block " << block << " at " << c.offset << " " << c.bytes << " mode " << mode;
            }
            restore();
        }
    }
}

// Equal keys of a key without duplicates fill several leaves, and two entries point to the same one: going
// through them for one record's entry may not go round in it.
TEST_F(damaged, ChildLinkedTwice) {
    ICB *icb = make_pair_of("S", {"sample,16", "nr,I,1,4", "naam,NODUPS,C,5,14"});
    row r{{}, "gelijk"};
    for (r.number = 0; r.number < 200; ++r.number) {
        IXWRITE(icb, &r);
    }
    IXCLOSE(icb);
    constexpr std::size_t root = 2 * 512 + 5;
    constexpr std::size_t entry = 14;
    index = file_bytes("S.INX");
    ASSERT_GT(index[root - 1], 3);
    put_bytes("S.INX", root + entry + 10, {index.begin() + root + 10, index.begin() + root + 14});
    const auto erase = [&r] {
        alarm(10);
        ICB *linked = IXOPEN("S", ix_shared);
        r.number = 0;  // the oldest: its entry is the last of its equals
        IXREAD(linked, &r);
        IXDELETE(linked, &r);
    };
    EXPECT_EXIT(erase(), stopped, "Niet consistent");
}

TEST_F(damaged, CutShortWhileOpen) {
    for (const int blocks : {1, 4}) {
        ICB *icb = IXOPEN("S", ix_shared);
        row r{boost::endian::little_int32_t{1}, ""};
        ASSERT_TRUE(IXREAD(icb, &r));
        ASSERT_EQ(truncate("S.INX", blocks * 512), 0);
        const auto read = [&] {
            isam_operator.last_line = [](bool, const char *text, int) { std::fprintf(stderr, "%s\n", text); };
            r.number = 120;
            IXREAD(icb, &r);
        };
        EXPECT_EXIT(read(), stopped, "QBISAM: S.INX \\(EOF: r=[0-9]+\\)\n(.*\n)*S .*Niet consistent");
        IXCLOSE(icb);
        restore();
    }
    ICB *icb = IXOPEN("S", ix_shared);
    std::uint8_t record[16] = {99};
    ASSERT_TRUE(IXREAD(icb, record));
    ASSERT_EQ(truncate("S.TXT", 0), 0);
    EXPECT_FALSE(IXREAD(icb, record));
    EXPECT_EQ(bytes(record, record + 16), bytes(16, 0xFF));  // a record that isn't there reads as 0xFF
    EXPECT_EQ(IXGET(icb, record, 5), 0);
    // A record that the disk refuses is not taken for a missing one.
    dup2(open("S.TXT", O_WRONLY), icb->datfd);
    EXPECT_EXIT(IXGET(icb, record, 0), stopped, "QBISAM\\(9\\): S.TXT ");
    EXPECT_EXIT(IXSEQ(icb, record), stopped, "QBISAM\\(9\\): S.TXT ");
    IXCLOSE(icb);
}

// An insertion takes the first free record; one that is none, or leads nowhere, would cost a live one.
TEST_F(damaged, FreeRecordThatCannotBeTaken) {
    const std::size_t first = std::size_t{index[12]} * 16;
    for (const auto &[offset, damage] : {std::pair{0U, "01"}, {1U, "FE FF FF FF"}, {1U, "C8 00 00 00"}}) {
        for (const int mode : {ix_exclusive, ix_shared}) {
            put_bytes("S.TXT", first + offset, hex(damage));
            const bytes before = file_bytes("S.TXT");
            EXPECT_EXIT(write_row(IXOPEN("S", mode), 256), stopped, "Niet consistent") << damage << mode;
            EXPECT_EQ(file_bytes("S.TXT"), before) << damage << mode;
            ASSERT_TRUE(IXBLDIX("S"));
            EXPECT_EQ(ix_verify("S"), sound);
            restore();
        }
    }
}

TEST_F(damaged, WriterThatDiedInExclusiveMode) {
    // A few records find room in the blocks that there are; many need new ones.
    for (const int records : {5, 200}) {
        restore();
        ICB *icb = IXOPEN("S", ix_exclusive);
        for (int n = 0; n < records; ++n) {
            write_row(icb, 300 + n);
        }
        // The header reaches the disk at closing.
        EXPECT_TRUE(std::equal(index.begin(), index.begin() + 512, file_bytes("S.INX").begin()));
        EXPECT_EQ(IXCHECK("S"), -1);
        icb->mode = ix_shared;
        IXCLOSE(icb);
        EXPECT_EQ(file_bytes("S.INX").size() == index.size(), records == 5);
        EXPECT_EQ(IXCHECK("S"), -1);
        for (const int mode : {ix_exclusive, ix_shared}) {
            icb = IXOPEN("S", mode);  // reading is possible
            row r{boost::endian::little_int32_t{1}, ""};
            EXPECT_TRUE(IXREAD(icb, &r));
            EXPECT_EXIT(IXWRITE(icb, &r), stopped, "Niet consistent");
            EXPECT_EXIT(IXDELETE(icb, &r), stopped, "Niet consistent");
            icb->mode = ix_shared;  // closed without writing a header
            IXCLOSE(icb);
        }
        EXPECT_TRUE(IXBLDIX("S"));
        EXPECT_EQ(ix_verify("S"), sound);
    }
}

TEST_F(damaged, Versions) {
    isam_operator.flash = [](int, const char *, const char *text) {
        std::fprintf(stderr, "%s\n", text);
        return 1;
    };
    const auto set_version = [](const std::string &half, const char *version) {
        put_bytes(half, 258, hex(version));
    };
    for (const char *version : {"5F 01", "00 00", "E7 03"}) {
        set_version("S.INX", version);
        EXPECT_EQ(IXCHECK("S"), 4);
        EXPECT_EQ(file_bytes("S.INX"), index) << "stamped with ours";
    }
    set_version("S.INX", "5E 01");
    EXPECT_EXIT(IXOPEN("S", ix_shared), stopped,
                "Versie van het bestand is onjuist.\nBestandnaam : S\n(.*\n)*"
                "U kunt het bestand converteren met ixremake");
    EXPECT_EXIT(IXCHECK("S"), stopped, "Versie van het bestand(.*\n)*.*met IXREMAKE.EXE");
}

TEST_F(damaged, DescriptorsComeBack) {
    const int before = open_file_limit();
    const auto in_use = [] {
        const std::filesystem::directory_iterator fds("/proc/self/fd");
        return std::distance(begin(fds), end(fds));
    };
    ICB *icb = IXOPEN("S", ix_shared);
    IXCHECK("S");
    const auto with_one = in_use();
    // A handle that stays open all along makes no descriptor of the same file pile up.
    for (int round = 0; round < 5; ++round) {
        IXCLOSE(IXOPEN("S", ix_shared));
        IXCHECK("S");
        EXPECT_LE(in_use(), with_one + 1);
    }
    IXCLOSE(icb);
    EXPECT_EQ(open_file_limit(), before);
    EXPECT_FALSE(file_exists("OPENFILE"));
    EXPECT_LE(before, 200);
}

using store_open = store_test;

TEST_F(store_open, NamesAndModes) {
    std::filesystem::create_directory("a.b");
    ICB *icb = make_pair_of("a.b/KLANTENEXTRA", {"lange omschrijving van het bestand,8", "k,I,1,4"});
    EXPECT_EQ(std::memcmp(icb->fname, "KLANTENEXTR", 11), 0);
    EXPECT_EQ(std::memcmp(icb->fdesc, "lange omschrijving ", 19), 0);
    IXCLOSE(icb);
    struct stat info {};
    ASSERT_EQ(stat("a.b/KLANTENEXTRA.INX", &info), 0);
    EXPECT_EQ(info.st_mode & 0117, 0U);
    EXPECT_TRUE(ix_remove("a.b/KLANTENEXTRA"));
    EXPECT_TRUE(ix_remove("a.b/KLANTENEXTRA"));
    EXPECT_FALSE(file_exists("a.b/KLANTENEXTRA.TXT"));

    const std::pair<const char *, void (*)()> without_file[] = {
        {"IXREAD", [] { IXREAD(nullptr, nullptr); }},      {"IXFIND", [] { IXFIND(nullptr, nullptr); }},
        {"IXNEXT", [] { IXNEXT(nullptr, nullptr); }},      {"IXPREVR", [] { IXPREVR(nullptr, nullptr, 0); }},
        {"IXWRITE", [] { IXWRITE(nullptr, nullptr); }},    {"IXDELETE", [] { IXDELETE(nullptr, nullptr); }},
        {"IXFINDP", [] { IXFINDP(nullptr, nullptr, 1); }}, {"IXSEQ", [] { IXSEQ(nullptr, nullptr); }},
    };
    for (const auto &[name, operation] : without_file) {
        EXPECT_EXIT(operation(), stopped, std::string(name) + " : ICB == NULL");
    }
    EXPECT_EXIT(IXOPEN("NIETS", ix_shared), stopped, "QBISAM\\(2\\): NIETS.TXT ");
    EXPECT_EXIT(IXCREATE("geen/map", ix_exclusive), stopped, "File create mislukt : geen/map.INX");
    EXPECT_EXIT(IXCREATE("geen/map", ix_exclusive | ix_data_first), stopped,
                "File create mislukt : geen/map.TXT");
    EXPECT_EQ(IXCHECK("NIETS"), -1);
    EXPECT_FALSE(IXBLDIX("NIETS"));
    EXPECT_FALSE(file_exists("NIETS.TXT"));
}

}  // namespace
