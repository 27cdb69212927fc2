// Opening, emptying and closing; what is done with headers and halves from outside.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "store/store_internal.h"
#include "support/store/store_fixture.h"

namespace {

using testing::ExitedWithCode;

/// A pair of 200 records with two keys, some of them deleted; nkeys at 11, keys at 48 and 90.
void make_sample(const char *name = "S") {
    ICB *icb = make_pair_of(name, {"sample,16", "nr,I,1,4", "naam,C,5,14"});
    for (int n = 0; n < 200; ++n) {
        char record[16] = {};
        std::memcpy(record, &n, 4);
        std::snprintf(record + 4, 10, "naam%03d", n * 7 % 200);
        IXWRITE(icb, record);
    }
    for (int n = 0; n < 200; n += 50) {
        char record[16] = {};
        std::memcpy(record, &n, 4);
        IXREAD(icb, record);
        IXDELETE(icb, record);
    }
    IXCLOSE(icb);
}

struct damage {
    const char *what;
    std::size_t offset;
    const char *bytes;
    bool rebuilds;  // the definition is usable: a rebuild makes the pair sound
};

class damaged_header : public store_test, public testing::WithParamInterface<damage> {};

TEST_P(damaged_header, IsRefused) {
    make_sample();
    put_bytes("S.INX", GetParam().offset, hex(GetParam().bytes));
    const bytes before = file_bytes("S.INX");
    EXPECT_EQ(IXCHECK("S"), -1);
    for (const int mode : {ix_readonly, ix_exclusive, ix_shared}) {
        EXPECT_EXIT(IXOPEN("S", mode), ExitedWithCode(1), "S *: sample.* --> Niet consistent");
    }
    EXPECT_EQ(file_bytes("S.INX"), before);
    EXPECT_EQ(IXBLDIX("S"), GetParam().rebuilds);
    if (GetParam().rebuilds) {
        EXPECT_EQ(ix_verify("S"), std::vector<std::string>{});
        EXPECT_EQ(IXCHECK("S"), 4);
    } else {
        EXPECT_EQ(file_bytes("S.INX"), before);
    }
}

INSTANTIATE_TEST_SUITE_P(
    values, damaged_header,
    testing::Values(
        damage{"nkeys0", 11, "00", false}, damage{"nkeys3", 11, "03", false},
        damage{"nkeys100", 11, "64", false}, damage{"nkeys_negative", 11, "FF", false},
        damage{"freehead_high", 12, "C8 00 00 00", true}, damage{"freehead_low", 12, "FE FF FF FF", true},
        damage{"nrecs_high", 16, "C9 00 00 00", true}, damage{"nrecs_negative", 16, "00 00 00 80", true},
        damage{"nblocks_high", 20, "FF 00 00 00", true}, damage{"nblocks_low", 20, "03 00 00 00", true},
        damage{"reclen0", 24, "00 00", false}, damage{"reclen513", 24, "01 02", false},
        damage{"reclen_short", 24, "08 00", false}, damage{"inupdate", 45, "01", true},
        damage{"key1_dups", 56, "4A", false}, damage{"key1_dups_measured", 56, "4A 08 2A", false},
        damage{"klen61", 57, "3D", false}, damage{"klen_off", 57, "05", false},
        damage{"korder", 58, "7F", true}, damage{"type", 59, "58", false}, damage{"start0", 69, "00", false},
        damage{"start_behind_end", 69, "05", false}, damage{"end_outside", 121, "11", false}),
    [](const auto &tested) { return tested.param.what; });

TEST_F(damaged_header, IndexShorterThanABlock) {
    // Half a block: the length of the index half is wrong.
    make_sample();
    ASSERT_EQ(truncate("S.INX", 511), 0);
    EXPECT_EQ(IXCHECK("S"), -1);
    EXPECT_EXIT(IXOPEN("S", ix_shared), ExitedWithCode(1), "QBISAM\\([0-9]+\\): S.INX ");
    ASSERT_EQ(truncate("S.INX", 0), 0);
    EXPECT_FALSE(IXBLDIX("S"));
}

// Another program has damaged the pair since it was opened here.
TEST_F(damaged_header, IsMetByAnUpdateOfAnOpenPair) {
    make_sample();
    const bytes index = file_bytes("S.INX");
    const bytes data = file_bytes("S.TXT");
    for (const damage &each : {damage{"nkeys", 11, "01", true},
                               {"freehead_high", 12, "C8 00 00 00", true},
                               {"freehead_low", 12, "FE FF FF FF", true},
                               {"nrecs", 16, "FF FF FF FF", true},
                               {"nblocks", 20, "03 00 00 00", true},
                               {"inupdate", 45, "01", true},
                               {"klen", 57, "05", true}}) {
        const auto update = [&each] {
            ICB *icb = IXOPEN("S", ix_shared);
            put_bytes("S.INX", each.offset, hex(each.bytes));
            const char record[16] = {0, 1};
            IXWRITE(icb, record);
        };
        EXPECT_EXIT(update(), ExitedWithCode(1), "Niet consistent") << each.what;
        EXPECT_EQ(file_bytes("S.TXT"), data) << each.what;
        put_bytes("S.INX", 0, index);
    }
}

struct block_damage {
    const char *what;
    std::size_t offset;  // in the block
    const char *bytes;
};

class damaged_block : public store_test, public testing::WithParamInterface<block_damage> {};

// A root or leaf that no sound tree has, met on the way down.
TEST_P(damaged_block, EndsTheProgram) {
    make_sample();
    const bytes index = file_bytes("S.INX");
    // The first child of key 1's root.
    boost::endian::little_int32_t child;
    std::memcpy(&child, index.data() + 512 + 5 + 4, 4);
    for (const std::int32_t block : {1, static_cast<std::int32_t>(child)}) {
        for (const int mode : {ix_exclusive, ix_shared}) {
            put_bytes("S.INX", 0, index);
            put_bytes("S.INX", static_cast<std::size_t>(block) * 512 + GetParam().offset,
                      hex(GetParam().bytes));
            const auto read = [mode] {
                ICB *icb = IXOPEN("S", mode);
                char record[16] = {1};
                IXREAD(icb, record);
            };
            EXPECT_EXIT(read(), ExitedWithCode(1), "Niet consistent")
                << "block " << block << " mode " << mode;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(fields, damaged_block,
                         testing::Values(block_damage{"empty", 4, "00"}, block_damage{"overfull", 4, "40"},
                                         block_damage{"other_key", 0, "02"}, block_damage{"no_key", 0, "00"},
                                         block_damage{"level0", 1, "00"}, block_damage{"level10", 1, "0A"},
                                         block_damage{"level_off", 1, "03"}),
                         [](const auto &tested) { return tested.param.what; });

TEST_F(damaged_block, ChildOutsideTheFile) {
    make_sample();
    for (const char *child : {"00 00 00 00", "FF FF FF FF", "00 00 00 7F", "28 00 00 00"}) {
        put_bytes("S.INX", 512 + 5 + 4, hex(child));
        for (const int mode : {ix_exclusive, ix_shared}) {
            const auto read = [mode] {
                ICB *icb = IXOPEN("S", mode);
                char record[16] = {1};
                IXREAD(icb, record);
            };
            EXPECT_EXIT(read(), ExitedWithCode(1), "Niet consistent") << child << " mode " << mode;
        }
    }
}

// Equal keys of a key without duplicates fill several leaves, and two entries point to the same one: going
// through them for one record's entry may not go round in it.
TEST_F(damaged_block, ChildLinkedTwice) {
    ICB *icb = make_pair_of("S", {"sample,16", "nr,I,1,4", "naam,NODUPS,C,5,14"});
    char record[16] = {};
    std::memcpy(record + 4, "gelijk", 6);
    for (int n = 0; n < 200; ++n) {
        std::memcpy(record, &n, 4);
        IXWRITE(icb, record);
    }
    IXCLOSE(icb);
    constexpr std::size_t root = 2 * 512 + 5;
    constexpr std::size_t entry = 14;
    const bytes index = file_bytes("S.INX");
    ASSERT_GT(index[2 * 512 + 4], 3);
    put_bytes("S.INX", root + entry + 10, {index.begin() + root + 10, index.begin() + root + 14});
    const auto erase = [&record] {
        alarm(10);
        ICB *damaged = IXOPEN("S", ix_shared);
        const int oldest = 0;  // its entry is the last of its equals
        std::memcpy(record, &oldest, 4);
        IXREAD(damaged, record);
        IXDELETE(damaged, record);
    };
    EXPECT_EXIT(erase(), ExitedWithCode(1), "Niet consistent");
}

TEST_F(damaged_block, IndexCutShortWhileOpen) {
    make_sample();
    for (const int blocks : {1, 4}) {
        const bytes index = file_bytes("S.INX");
        ICB *icb = IXOPEN("S", ix_shared);
        char record[16] = {1};
        ASSERT_TRUE(IXREAD(icb, record));
        ASSERT_EQ(truncate("S.INX", blocks * 512), 0);
        const auto read = [icb] {
            char other[16] = {120};
            isam_operator.last_line = [](bool, const char *text, int) { std::fprintf(stderr, "%s\n", text); };
            IXREAD(icb, other);
        };
        EXPECT_EXIT(read(), ExitedWithCode(1),
                    "QBISAM: S.INX \\(EOF: r=[0-9]+\\)\n(.*\n)*S .*Niet consistent");
        IXCLOSE(icb);
        std::ofstream("S.INX", std::ios::binary)
            .write(reinterpret_cast<const char *>(index.data()), static_cast<std::streamsize>(index.size()));
    }
}

// An insertion takes the first free record; one that is none, or leads nowhere, would cost a live one.
TEST_F(damaged_block, FreeRecordThatCannotBeTaken) {
    make_sample();
    const bytes data = file_bytes("S.TXT");
    const bytes index = file_bytes("S.INX");
    const std::size_t first = std::size_t{index[12]} * 16;
    for (const auto &[offset, damage] : {std::pair{0U, "01"}, {1U, "FE FF FF FF"}, {1U, "C8 00 00 00"}}) {
        for (const int mode : {ix_exclusive, ix_shared}) {
            put_bytes("S.INX", 0, index);
            put_bytes("S.TXT", 0, data);
            put_bytes("S.TXT", first + offset, hex(damage));
            const bytes damaged = file_bytes("S.TXT");
            const auto insert = [mode] {
                const char record[16] = {0, 1};
                IXWRITE(IXOPEN("S", mode), record);
            };
            EXPECT_EXIT(insert(), ExitedWithCode(1), "Niet consistent") << damage << " mode " << mode;
            EXPECT_EQ(file_bytes("S.TXT"), damaged) << damage << " mode " << mode;
            ASSERT_TRUE(IXBLDIX("S"));
            EXPECT_EQ(ix_verify("S"), std::vector<std::string>{});
        }
    }
}

TEST_F(damaged_block, DataCutShortWhileOpen) {
    make_sample();
    ICB *icb = IXOPEN("S", ix_shared);
    char record[16] = {99};
    ASSERT_TRUE(IXREAD(icb, record));
    ASSERT_EQ(truncate("S.TXT", 0), 0);
    EXPECT_FALSE(IXREAD(icb, record));
    EXPECT_EQ(bytes(record, record + 16), bytes(16, 0xFF));  // a record that isn't there reads as 0xFF
    EXPECT_EQ(IXGET(icb, record, 5), 0);
    IXCLOSE(icb);
}

struct version_case {
    const char *name;  // the flavour
    int version;
    const char *note;
    const char *fatal;
    int check;
};

class versions : public store_test, public testing::WithParamInterface<version_case> {};

TEST_P(versions, AreJudged) {
    const version_case &c = GetParam();
    make_sample();
    if (std::strcmp(c.name, "S") != 0) {
        ASSERT_EQ(rename("S.INX", c.name), 0);
    }
    const std::string index = std::strcmp(c.name, "S") == 0 ? "S.INX" : c.name;
    put_bytes(index, 258, {static_cast<std::uint8_t>(c.version), static_cast<std::uint8_t>(c.version >> 8)});
    isam_operator.flash = [](int, const char *, const char *text) {
        operator_notes.emplace_back(text);
        std::fprintf(stderr, "%s\n", text);
        return 1;
    };
    if (c.fatal == nullptr) {
        EXPECT_EQ(IXCHECK(c.name), c.check);
        IXCLOSE(IXOPEN(c.name, ix_shared));
        EXPECT_EQ(file_bytes(index)[258], 0x5F);
        EXPECT_EQ(file_bytes(index)[259], 0x01);
        return;
    }
    EXPECT_EXIT(IXOPEN(c.name, ix_shared), ExitedWithCode(1), std::string(c.note) + "(.*\n)*" + c.fatal);
    if (c.check == -1) {
        EXPECT_EQ(IXCHECK(c.name), -1);
        ASSERT_EQ(operator_notes.size(), 1U);
        EXPECT_NE(operator_notes[0].find("worden                 \nBestandnaam : S\nVersie bestand : 350\n"
                                         "Versie pakket : 351"),
                  std::string::npos);
    } else {
        EXPECT_EXIT(IXCHECK(c.name), ExitedWithCode(1), "Versie van het bestand(.*\n)*.*met IXREMAKE.EXE");
    }
}

INSTANTIATE_TEST_SUITE_P(
    flavours, versions,
    testing::Values(version_case{"S", 351, "", nullptr, 4}, version_case{"S", 0, "", nullptr, 4},
                    version_case{"S", 999, "", nullptr, 4}, version_case{"S.TMP", 7, "", nullptr, 4},
                    version_case{"S", 350, "Versie van het bestand is onjuist.\nBestandnaam : S\n",
                                 "U kunt het bestand converteren met ixremake", 0},
                    version_case{"S.TMP", 350, "Versie van het tijdelijke bestand is onjuist.\n",
                                 "Programma is beeindigd", -1}));

using store_open = store_test;

TEST_F(store_open, NamesAndModes) {
    std::filesystem::create_directory("a.b");
    ICB *icb = make_pair_of("a.b/KLANTENEXTRA", {"lange omschrijving van het bestand,8", "k,I,1,4"});
    EXPECT_EQ(std::memcmp(icb->fname, "KLANTENEXTR", 11), 0);
    EXPECT_EQ(std::memcmp(icb->fdesc, "lange omschrijving ", 19), 0);
    IXCLOSE(icb);
    EXPECT_TRUE(file_exists("a.b/KLANTENEXTRA.INX"));
    struct stat info {};
    ASSERT_EQ(stat("a.b/KLANTENEXTRA.INX", &info), 0);
    EXPECT_EQ(info.st_mode & 0117, 0U);
    EXPECT_TRUE(ix_remove("a.b/KLANTENEXTRA"));
    EXPECT_TRUE(ix_remove("a.b/KLANTENEXTRA"));
    EXPECT_FALSE(file_exists("a.b/KLANTENEXTRA.TXT"));
}

TEST_F(store_open, HeaderReachesTheDiskAtTheRightMoment) {
    ICB *icb = make_pair_of("H", {"h,8", "k,I,1,4"});
    const auto header = [] {
        bytes all = file_bytes("H.INX");
        all.resize(512);
        return all;
    };
    const bytes fresh = header();
    const char record[8] = {1};
    IXWRITE(icb, record);
    EXPECT_EQ(header(), fresh);  // exclusive: at closing
    EXPECT_EQ(IXCHECK("H"), -1);
    IXCLOSE(icb);
    EXPECT_EQ(IXCHECK("H"), 0);
    EXPECT_EQ(file_bytes("H.INX")[16], 1);
    icb = IXOPEN("H", ix_shared);
    icb->nrecs = 77;
    IXCLOSE(icb);
    EXPECT_EQ(file_bytes("H.INX")[16], 1);  // shared: never at closing
}

TEST_F(store_open, WriterThatDiedInExclusiveMode) {
    make_sample();
    // A few records find room in the blocks that there are; many need new ones.
    for (const int records : {5, 200}) {
        const bytes header = file_bytes("S.INX");
        ICB *icb = IXOPEN("S", ix_exclusive);
        for (int n = 0; n < records; ++n) {
            char record[16] = {};
            const int number = 200 + records + n;
            std::memcpy(record, &number, 4);
            IXWRITE(icb, record);
        }
        IXCLOSE(icb);
        EXPECT_EQ(file_bytes("S.INX").size() == header.size(), records == 5);
        put_bytes("S.INX", 0, bytes(header.begin(), header.begin() + 512));
        EXPECT_EQ(IXCHECK("S"), -1);
        for (const int mode : {ix_exclusive, ix_shared}) {
            icb = IXOPEN("S", mode);  // reading is possible
            char record[16] = {1};
            EXPECT_TRUE(IXREAD(icb, record));
            EXPECT_EXIT(IXWRITE(icb, record), ExitedWithCode(1), "Niet consistent");
            EXPECT_EXIT(IXDELETE(icb, record), ExitedWithCode(1), "Niet consistent");
            icb->mode = ix_shared;  // closed without writing a header
            IXCLOSE(icb);
        }
        EXPECT_TRUE(IXBLDIX("S"));
        EXPECT_EQ(ix_verify("S"), std::vector<std::string>{});
    }
}

TEST_F(store_open, InitEmptiesAndKeepsTheDefinition) {
    make_sample();
    for (const int mode : {ix_shared, ix_exclusive}) {
        ICB *icb = IXOPEN("S", mode);
        IXINIT(icb);
        EXPECT_EQ(icb->flocked, mode == ix_exclusive ? 1 : 0);
        EXPECT_EQ(file_bytes("S.INX").size(), 4U * 512);
        EXPECT_EQ(file_size("S.TXT"), 0);
        char record[16] = {5};
        EXPECT_FALSE(IXFIRST(icb, record));
        EXPECT_TRUE(IXWRITE(icb, record));
        EXPECT_EQ(icb->recno, 0);
        IXCLOSE(icb);
        EXPECT_EQ(ix_verify("S"), std::vector<std::string>{});
    }
}

TEST_F(store_open, IndexLost) {
    make_sample();
    ASSERT_EQ(remove("S.INX"), 0);
    ICB *icb = IXCREATE("S", ix_exclusive);
    IXUPDFCB(icb, 0, "sample,16");
    IXUPDFCB(icb, 1, "nr,I,1,4");
    IXCLOSE(icb);
    EXPECT_EQ(file_size("S.INX"), 512);
    EXPECT_EQ(IXCHECK("S"), -1);
    EXPECT_TRUE(IXBLDIX("S"));
    EXPECT_EQ(IXCHECK("S"), 4);
    EXPECT_EQ(ix_verify("S"), std::vector<std::string>{});
}

TEST_F(store_open, ImpossibleOperations) {
    EXPECT_EXIT(IXREAD(nullptr, nullptr), ExitedWithCode(1), "IXREAD : ICB == NULL");
    EXPECT_EXIT(IXCLOSE(nullptr), ExitedWithCode(1), "IXCLOSE : ICB == NULL");
    EXPECT_EXIT(IXOPEN("NIETS", ix_shared), ExitedWithCode(1), "QBISAM\\(2\\): NIETS.TXT ");
    EXPECT_EXIT(IXCREATE("geen/map", ix_exclusive), ExitedWithCode(1), "File create mislukt : geen/map.INX");
    EXPECT_EXIT(IXCREATE("geen/map", ix_exclusive | ix_data_first), ExitedWithCode(1),
                "File create mislukt : geen/map.TXT");
    EXPECT_EQ(IXCHECK("NIETS"), -1);
    EXPECT_FALSE(IXBLDIX("NIETS"));
    EXPECT_FALSE(file_exists("NIETS.TXT"));
}

TEST_F(store_open, CountsDescriptors) {
    const int before = open_file_limit();
    make_sample();
    ICB *icb = IXOPEN("S", ix_shared);
    ICB *second = IXOPEN("S", ix_shared);
    IXCLOSE(icb);
    IXCHECK("S");
    IXCLOSE(second);
    EXPECT_EQ(open_file_limit(), before);
    EXPECT_FALSE(file_exists("OPENFILE"));
    EXPECT_LE(before, 200);
}

// A handle that stays open all along makes no descriptor of the same file pile up.
TEST_F(store_open, DescriptorsDoNotPileUp) {
    make_sample();
    const auto in_use = [] {
        const std::filesystem::directory_iterator fds("/proc/self/fd");
        return std::distance(begin(fds), end(fds));
    };
    ICB *icb = IXOPEN("S", ix_shared);
    IXCHECK("S");
    const auto before = in_use();
    for (int round = 0; round < 5; ++round) {
        IXCLOSE(IXOPEN("S", ix_shared));
        IXCHECK("S");
        EXPECT_LE(in_use(), before + 1);
    }
    IXCLOSE(icb);
}

}  // namespace
