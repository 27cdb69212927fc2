// The layout on disk and the shape of small trees, byte for byte.
#include <cstring>

#include "support/store/store_fixture.h"

namespace {

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
