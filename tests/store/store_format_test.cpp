// The layout on disk and the shape of small trees, byte for byte.
#include <cstring>

#include "support/store/store_fixture.h"

namespace {

using store_format = store_test;

struct voorbeeld {
    boost::endian::little_int32_t nummer;
    char naam[8];
};

ICB *make_voorbeeld(int mode = ix_exclusive) {
    return make_pair_of("VB", {"voorbeeld,12", "nummer,NODUPS,I,1,4", "naam,C,5,12"}, mode);
}

voorbeeld record_of(int number, const char *name) {
    voorbeeld r{};
    r.nummer = number;
    std::memcpy(r.naam, name, std::strlen(name));
    return r;
}

bytes part(const bytes &all, std::size_t from, std::size_t size) {
    return {all.begin() + static_cast<std::ptrdiff_t>(from),
            all.begin() + static_cast<std::ptrdiff_t>(from + size)};
}

void expect_bytes(const bytes &all, std::size_t from, const std::string &text) {
    const bytes wanted = hex(text);
    EXPECT_EQ(part(all, from, wanted.size()), wanted) << "at " << from;
}

const char fresh_header[] =
    "56 42 00*9 02 FF*4 00*4 04 00*3 0C 00 76 6F 6F 72 62 65 65 6C 64 00*10 00*3"
    " 6E 75 6D 6D 65 72 00*2 4E 04 3F 49 00*9 01 00*9 04 00*9 00"
    " 6E 61 61 6D 00*4 4A 0C 1F 43 00*9 05 00*9 0C 00*9 00"
    " 00*126 5F 01 00*252";

TEST_F(store_format, FreshPair) {
    ICB *icb = make_voorbeeld();
    const bytes index = file_bytes("VB.INX");
    ASSERT_EQ(index.size(), 2048U);
    expect_bytes(index, 0, fresh_header);
    expect_bytes(index, 512, "01 01 00 00 01 FF*8 00*499");
    expect_bytes(index, 1024, "02 01 00 00 01 FF*16 00*491");
    expect_bytes(index, 1536, "01 00*511");
    EXPECT_TRUE(file_bytes("VB.TXT").empty());
    IXCLOSE(icb);
    EXPECT_EQ(file_bytes("VB.INX"), index);
}

TEST_F(store_format, DefinitionByFields) {
    voorbeeld area{};
    ICB *icb = IXCREATE("VB", ix_exclusive);
    UPDFCB_INX("voorbeeld", &area, sizeof area);
    UPDFCB_END(icb);
    UPDFCB_KEY(1, "nummer", true);  // key 1 never has duplicates
    UPDFCB_SEG('I', &area.nummer, 4);
    UPDFCB_END(icb);
    UPDFCB_KEY(2, "naam", true);
    UPDFCB_SEG('C', area.naam, 8);
    UPDFCB_END(icb);
    IXINIT(icb);
    expect_bytes(file_bytes("VB.INX"), 0, fresh_header);
    IXCLOSE(icb);
}

class store_format_modes : public store_test, public testing::WithParamInterface<int> {};

TEST_P(store_format_modes, InsertAndDelete) {
    ICB *icb = make_voorbeeld(GetParam());
    const voorbeeld jansen = record_of(1000, "JANSEN");
    const voorbeeld bakker = record_of(7, "BAKKER");
    EXPECT_TRUE(IXWRITE(icb, &jansen));
    EXPECT_TRUE(IXWRITE(icb, &bakker));
    EXPECT_EQ(icb->nrecs, 2);
    EXPECT_EQ(file_bytes("VB.TXT"),
              hex("E8 03 00 00 4A 41 4E 53 45 4E 00 00 07 00 00 00 42 41 4B 4B 45 52 00 00"));
    const bytes index = file_bytes("VB.INX");
    expect_bytes(index, 512, "01 01 00 00 03 00 00 00 07 01 00 00 00 00 00 03 E8 00*4 FF*8 00*483");
    expect_bytes(index, 1024,
                 "02 01 00 00 03 42 41 4B 4B 45 52 00*5 01 01 00*3 4A 41 4E 53 45 4E 00*6 00*4 FF*16 00*459");

    voorbeeld found = jansen;
    ASSERT_TRUE(IXREAD(icb, &found));
    EXPECT_FALSE(IXDELETE(icb, &found));
    EXPECT_EQ(icb->freehead, 0);
    EXPECT_EQ(part(file_bytes("VB.TXT"), 0, 12), hex("FF*12"));
    expect_bytes(file_bytes("VB.INX"), 512, "01 01 00 00 02 00 00 00 07 01 00 00 00 FF*8 00*491");
    found = bakker;
    ASSERT_TRUE(IXREAD(icb, &found));
    EXPECT_FALSE(IXDELETE(icb, &found));
    EXPECT_EQ(icb->freehead, 1);
    EXPECT_EQ(part(file_bytes("VB.TXT"), 12, 12), hex("FF 00*4 FF*7"));
    EXPECT_EQ(std::memcmp(&found, &bakker, sizeof found), 0);

    EXPECT_TRUE(IXWRITE(icb, &jansen));
    EXPECT_EQ(icb->recno, 1);
    EXPECT_TRUE(IXWRITE(icb, &bakker));
    EXPECT_EQ(icb->recno, 0);
    IXCLOSE(icb);
    EXPECT_EQ(ix_verify("VB"), std::vector<std::string>{});
}

TEST_P(store_format_modes, SplitOfSmallOrder) {
    ICB *icb = make_pair_of("K60", {"lang,60", "sleutel,C,1,60"}, GetParam());
    const auto insert = [icb](int n) {
        char record[60] = "K00";
        record[1] = static_cast<char>('0' + n / 10);
        record[2] = static_cast<char>('0' + n % 10);
        EXPECT_TRUE(IXWRITE(icb, record));
    };
    // "4:3 S:4" stands for an entry with key K04 and pointer 3, and a sentinel with pointer 4.
    const auto block = [](int number) {
        const bytes all = part(file_bytes("K60.INX"), static_cast<std::size_t>(number) * 512, 512);
        EXPECT_EQ(all[0], 1);
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
        while (next <= n) {
            insert(next++);
        }
    };
    EXPECT_EQ(icb->nblocks, 3);
    insert_up_to(5);
    EXPECT_EQ(block(1), "level 1 1:0 2:1 3:2 4:3 5:4 S:-1");
    insert_up_to(6);
    EXPECT_EQ(icb->nblocks, 5);
    EXPECT_EQ(block(1), "level 2 4:3 S:4");
    EXPECT_EQ(block(3), "level 1 1:0 2:1 3:2 4:3");
    EXPECT_EQ(block(4), "level 1 5:4 6:5 S:-1");
    insert_up_to(9);
    EXPECT_EQ(block(4), "level 1 5:4 6:5 7:6 8:7 9:8 S:-1");
    insert_up_to(10);
    EXPECT_EQ(icb->nblocks, 6);
    EXPECT_EQ(block(1), "level 2 4:3 8:5 S:4");
    EXPECT_EQ(block(3), "level 1 1:0 2:1 3:2 4:3");
    EXPECT_EQ(block(4), "level 1 9:8 10:9 S:-1");
    EXPECT_EQ(block(5), "level 1 5:4 6:5 7:6 8:7");
    IXCLOSE(icb);
    EXPECT_EQ(ix_verify("K60"), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(modes, store_format_modes, testing::Values(ix_exclusive, ix_shared));

}  // namespace
