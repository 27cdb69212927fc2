// The layout on disk; opening, emptying and closing; pairs that were damaged from outside.
#include <sys/stat.h>

#include <csignal>

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
    // Where the definition is usable, a rebuild makes the pair sound.
    const std::tuple<const char *, std::size_t, const char *, bool> cases[] = {
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
    for (const auto &[what, offset, changed, rebuilds] : cases) {
        SCOPED_TRACE(what);
        // Another program damages the pair while it is open here.
        const auto update = [offset = offset, changed = changed] {
            ICB *icb = IXOPEN("S", ix_shared);
            put_bytes("S.INX", offset, hex(changed));
            write_row(icb, 256);
        };
        EXPECT_EXIT(update(), stopped, "Niet consistent");
        const bytes before = file_bytes("S.INX");
        EXPECT_EQ(IXCHECK("S"), -1);
        for (const int mode : {ix_readonly, ix_exclusive, ix_shared}) {
            EXPECT_EXIT(IXOPEN("S", mode), stopped, "S *: sample.* --> Niet consistent");
        }
        EXPECT_TRUE(file_bytes("S.INX") == before && file_bytes("S.TXT") == data);
        EXPECT_EQ(IXBLDIX("S"), rebuilds);
        EXPECT_EQ(rebuilds ? ix_verify("S") : sound, sound);
        EXPECT_EQ(rebuilds || file_bytes("S.INX") == before, true);
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
    const std::tuple<bool, std::size_t, const char *> cases[] = {
        {false, 4, "00"},         {false, 4, "40"},         {false, 0, "02"},
        {false, 0, "00"},         {false, 1, "00"},         {false, 1, "0A"},
        {false, 1, "03"},         {true, 9, "00 00 00 00"},  // the child lies outside the file
        {true, 9, "FF FF FF FF"}, {true, 9, "00 00 00 7F"}, {true, 9, "28 00 00 00"},
    };
    for (const auto &[root_only, offset, changed] : cases) {
        for (const std::size_t block : {std::size_t{1}, root_only ? std::size_t{1} : leaf}) {
            put_bytes("S.INX", block * 512 + offset, hex(changed));
            for (const int mode : {ix_exclusive, ix_shared}) {
                row r{boost::endian::little_int32_t{1}, ""};
                EXPECT_EXIT(IXREAD(IXOPEN("S", mode), &r), stopped, "Niet consistent")
                    << "block " << block << " at " << offset << " " << changed << " mode " << mode;
            }
            restore();
        }
    }
}

// In shared mode the mark of the update stays, so that the pair is made anew before it is opened again.
TEST_F(damaged, EntryThatLeadsToNoRecordOrToAnother) {
    const auto leaf = static_cast<std::size_t>(index[512 + 5 + 4]) * 512;
    const bytes records = file_bytes("S.TXT");
    const row first{boost::endian::little_int32_t{index[leaf + 5 + 3]}, "anders"};
    for (const char *pointer : {"00 00 00 02", "FE FF FF FF", "05 00 00 00"}) {
        for (const int mode : {ix_exclusive, ix_shared}) {
            put_bytes("S.INX", leaf + 5 + 4, hex(pointer));
            EXPECT_EXIT(IXWRITE(IXOPEN("S", mode), &first), stopped, "Niet consistent") << pointer << mode;
            EXPECT_EQ(file_bytes("S.TXT"), records);
            EXPECT_EQ(ix_unfinished("S"), mode == ix_shared);
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
    for (const char *version : {"5F 01", "00 00", "E7 03"}) {
        put_bytes("S.INX", 258, hex(version));
        EXPECT_EQ(IXCHECK("S"), 4);
        EXPECT_EQ(file_bytes("S.INX"), index) << "stamped with ours";
    }
    put_bytes("S.INX", 258, hex("5E 01"));
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

    const std::pair<const char *, bool (*)(ICB *, void *)> with_record[] = {
        {"IXREAD", IXREAD}, {"IXREADLOCK", IXREADLOCK}, {"IXFIRST", IXFIRST},
        {"IXNEXT", IXNEXT}, {"IXPREV", IXPREV},         {"IXSEQ", IXSEQ},
    };
    for (const auto &[name, operation] : with_record) {
        EXPECT_EXIT(operation(nullptr, nullptr), stopped, std::string(name) + " : ICB == NULL");
    }
    const std::pair<const char *, bool (*)(ICB *, const void *)> by_record[] = {
        {"IXFIND", IXFIND},       {"IXWRITE", IXWRITE},   {"IXWRITEK", IXWRITEK},
        {"IXREWRITE", IXREWRITE}, {"IXDELETE", IXDELETE},
    };
    for (const auto &[name, operation] : by_record) {
        EXPECT_EXIT(operation(nullptr, nullptr), stopped, std::string(name) + " : ICB == NULL");
    }
    const std::pair<const char *, bool (*)(ICB *, void *, int)> by_parts[] = {
        {"IXFIRSTR", IXFIRSTR}, {"IXFIRSTK", IXFIRSTK}, {"IXNEXTR", IXNEXTR},
        {"IXNEXTK", IXNEXTK},   {"IXPREVR", IXPREVR},   {"IXPREVK", IXPREVK},
    };
    for (const auto &[name, operation] : by_parts) {
        EXPECT_EXIT(operation(nullptr, nullptr, 1), stopped, std::string(name) + " : ICB == NULL");
    }
    const std::pair<const char *, void (*)()> others[] = {
        {"IXFINDP", [] { IXFINDP(nullptr, nullptr, 1); }},
        {"IXGET", [] { IXGET(nullptr, nullptr, 0); }},
        {"IXSKIP", [] { IXSKIP(nullptr, nullptr, 1, 1, nullptr); }},
        {"IXFREE", [] { IXFREE(nullptr, nullptr); }},
        {"IXRDDAT", [] { IXRDDAT(nullptr, nullptr); }},
        {"IXWRDAT", [] { IXWRDAT(nullptr, nullptr); }},
        {"IXSWITCH", [] { IXSWITCH(nullptr, 1); }},
        {"IXLOCK", [] { IXLOCK(nullptr, ix_lock_header); }},
        {"IXRDIX", [] { IXRDIX(nullptr, 1); }},
        {"IXWRIX", [] { IXWRIX(nullptr, 1); }},
        {"IXSEARCH", [] { IXSEARCH(nullptr, ix_relation::equal, 1); }},
        {"IXBLDKEY", [] { IXBLDKEY(nullptr, nullptr, 1); }},
        {"IXUPDFCB", [] { IXUPDFCB(nullptr, 1, ""); }},
        {"IXINIT", [] { IXINIT(nullptr); }},
        {"IXINITIX", [] { IXINITIX(nullptr); }},
        {"IXCLOSE", [] { IXCLOSE(nullptr); }},
        {"ix_limit_keys", [] { ix_limit_keys(nullptr); }},
        {"ix_prove", [] { ix_prove(nullptr, 1, 0, {}); }},
    };
    for (const auto &[name, operation] : others) {
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

// ---- The layout on disk and the shape of small trees, byte for byte

struct voorbeeld {
    boost::endian::little_int32_t nummer;
    char naam[8];
};

bytes part(const bytes &all, std::size_t from, std::size_t size) {
    const auto start = all.begin() + static_cast<std::ptrdiff_t>(from);
    return {start, start + static_cast<std::ptrdiff_t>(size)};
}

void expect_bytes(const bytes &all, std::size_t from, const std::string &text) {
    const bytes wanted = hex(text);
    EXPECT_EQ(part(all, from, wanted.size()), wanted) << "at " << from;
}

class store_format : public store_test, public testing::WithParamInterface<int> {};

TEST_F(store_format, FreshPair) {
    for (const bool by_fields : {true, false}) {
        ICB *icb = IXCREATE("VB", ix_exclusive);
        if (by_fields) {
            voorbeeld area{};
            UPDFCB_INX("voorbeeld", &area, sizeof area);
            UPDFCB_END(icb);
            UPDFCB_KEY(1, "nummer", true);  // key 1 never has duplicates
            UPDFCB_SEG('I', &area.nummer, 4);
            UPDFCB_END(icb);
            UPDFCB_KEY(2, "naam", true);
            UPDFCB_SEG('C', area.naam, 8);
            UPDFCB_END(icb);
        } else {
            IXUPDFCB(icb, 0, "voorbeeld,12");
            IXUPDFCB(icb, 1, "nummer,NODUPS,I,1,4");
            IXUPDFCB(icb, 2, "naam,C,5,12");
        }
        IXINIT(icb);
        const bytes index = file_bytes("VB.INX");
        ASSERT_EQ(index.size(), 2048U);
        expect_bytes(index, 0,
                     "56 42 00*9 02 FF*4 00*4 04 00*3 0C 00 76 6F 6F 72 62 65 65 6C 64 00*10 00*3"
                     " 6E 75 6D 6D 65 72 00*2 4E 04 3F 49 00*9 01 00*9 04 00*9 00"
                     " 6E 61 61 6D 00*4 4A 0C 1F 43 00*9 05 00*9 0C 00*9 00"
                     " 00*126 5F 01 00*252");
        expect_bytes(index, 512, "01 01 00 00 01 FF*8 00*499");
        expect_bytes(index, 1024, "02 01 00 00 01 FF*16 00*491");
        expect_bytes(index, 1536, "01 00*511");
        EXPECT_TRUE(file_bytes("VB.TXT").empty());
        IXCLOSE(icb);
        EXPECT_EQ(file_bytes("VB.INX"), index);
    }
}

TEST_P(store_format, InsertAndDelete) {
    ICB *icb = make_pair_of("VB", {"voorbeeld,12", "nummer,NODUPS,I,1,4", "naam,C,5,12"}, GetParam());
    const voorbeeld jansen{boost::endian::little_int32_t{1000}, "JANSEN"};
    const voorbeeld bakker{boost::endian::little_int32_t{7}, "BAKKER"};
    EXPECT_TRUE(IXWRITE(icb, &jansen));
    EXPECT_TRUE(IXWRITE(icb, &bakker));
    EXPECT_EQ(file_bytes("VB.TXT"),
              hex("E8 03 00 00 4A 41 4E 53 45 4E 00 00 07 00 00 00 42 41 4B 4B 45 52 00 00"));
    const bytes index = file_bytes("VB.INX");
    expect_bytes(index, 512, "01 01 00 00 03 00 00 00 07 01 00 00 00 00 00 03 E8 00*4 FF*8 00*483");
    expect_bytes(index, 1024,
                 "02 01 00 00 03 42 41 4B 4B 45 52 00*5 01 01 00*3 4A 41 4E 53 45 4E 00*6 00*4 FF*16 00*459");

    voorbeeld found = jansen;
    ASSERT_TRUE(IXREAD(icb, &found));
    EXPECT_FALSE(IXDELETE(icb, &found));
    EXPECT_EQ(part(file_bytes("VB.TXT"), 0, 12), hex("FF*12"));
    expect_bytes(file_bytes("VB.INX"), 512, "01 01 00 00 02 00 00 00 07 01 00 00 00 FF*8 00*491");
    found = bakker;
    ASSERT_TRUE(IXREAD(icb, &found));
    EXPECT_FALSE(IXDELETE(icb, &found));
    EXPECT_EQ(part(file_bytes("VB.TXT"), 12, 12), hex("FF 00*4 FF*7"));
    IXCLOSE(icb);
    expect_bytes(file_bytes("VB.INX"), 12, "01 00 00 00 02 00 00 00");
}

TEST_P(store_format, SplitOfSmallOrder) {
    ICB *icb = make_pair_of("K60", {"lang,60", "sleutel,C,1,60"}, GetParam());
    // "4:3 S:4" stands for an entry with key K04 and pointer 3, and a sentinel with pointer 4.
    const auto block = [](int number) {
        const bytes all = part(file_bytes("K60.INX"), static_cast<std::size_t>(number) * 512, 512);
        std::string text = "level " + std::to_string(all[1]);
        for (std::size_t e = 0; e < all[4]; ++e) {
            const std::uint8_t *entry = all.data() + 5 + e * 64;
            boost::endian::little_int32_t pointer;
            std::memcpy(&pointer, entry + 60, 4);
            text += entry[0] == 0xFF ? " S" : " " + std::to_string((entry[1] - '0') * 10 + entry[2] - '0');
            text += ":" + std::to_string(pointer);
        }
        return text;
    };
    int next = 1;
    const auto insert_up_to = [&](int n) {
        for (; next <= n; ++next) {
            char record[60] = "";
            std::snprintf(record, sizeof record, "K%02d", next);
            EXPECT_TRUE(IXWRITE(icb, record));
        }
    };
    insert_up_to(5);
    EXPECT_EQ(block(1), "level 1 1:0 2:1 3:2 4:3 5:4 S:-1");
    insert_up_to(6);
    EXPECT_EQ(block(1), "level 2 4:3 S:4");
    EXPECT_EQ(block(3), "level 1 1:0 2:1 3:2 4:3");
    EXPECT_EQ(block(4), "level 1 5:4 6:5 S:-1");
    insert_up_to(10);
    EXPECT_EQ(icb->nblocks, 6);
    EXPECT_EQ(block(1), "level 2 4:3 8:5 S:4");
    EXPECT_EQ(block(3), "level 1 1:0 2:1 3:2 4:3");
    EXPECT_EQ(block(4), "level 1 9:8 10:9 S:-1");
    EXPECT_EQ(block(5), "level 1 5:4 6:5 7:6 8:7");
    IXCLOSE(icb);
}

INSTANTIATE_TEST_SUITE_P(modes, store_format, testing::Values(ix_exclusive, ix_shared));

}  // namespace
