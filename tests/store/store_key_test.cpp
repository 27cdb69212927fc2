#include <cstring>
#include <random>

#include "store/store_internal.h"
#include "support/store/store_fixture.h"

namespace {

int sign(int n) {
    return (n > 0) - (n < 0);
}

TEST(text_order, TwoLevels) {
    const struct {
        const char *a, *b;
        int order;  // of a against b
    } cases[] = {
        {"Muller", "muller", 0},        // case doesn't count
        {"muller", "m\x81ller", -1},    // an accent counts last
        {"m\x81ller", "mulles", -1},    // and only then
        {"m\x81ller", "M\x9Aller", 0},  // in either case
        {"AE", "\x91", 1},              // two letters, no accents
        {"\x91z", "AEa", 1},            // as two letters
        {"\xE1", "ss", -1},
        {"a\x01z", "az", 1},  // ignored at first
        {"a\x01y", "az", -1},
        {"a\x7F", "a\x01", 1},
        {"{", "z", 1},
        {"\xFF", "\xFE", 1},
        {"a ", "a", 1},  // a blank is a letter
        {"abcdefghijkl", "abcdefghijk", 1},
    };
    for (const auto &c : cases) {
        std::uint8_t a[12] = {};
        std::uint8_t b[12] = {};
        std::memcpy(a, c.a, std::strlen(c.a));
        std::memcpy(b, c.b, std::strlen(c.b));
        EXPECT_EQ(sign(coll_cmp(a, b, 12)), c.order) << c.a << " " << c.b;
        EXPECT_EQ(sign(coll_cmp(b, a, 12)), -c.order) << c.a << " " << c.b;
    }
}

TEST(text_order, SameAsReference) {
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        const int n = 1 + static_cast<int>(random() % 8);
        std::uint8_t a[8];
        std::uint8_t b[8];
        for (int i = 0; i < n; ++i) {
            a[i] = static_cast<std::uint8_t>(random());
            b[i] = random() % 3 == 0 ? static_cast<std::uint8_t>(random()) : a[i];
        }
        ASSERT_EQ(sign(coll_cmp(a, b, n)), sign(reference_coll_cmp(a, b, n))) << "round " << round;
    }
}

using store_key = store_test;

TEST_F(store_key, DefinitionFromText) {
    const struct {
        int keynr;
        const char *text, *name;
        char dups;
        int klen, korder;
        const char *types;
    } cases[] = {
        {1, "tr_code,I,1,2", "tr_code", 'N', 2, 84, "I"},
        {1, " nr , I , 1 , 4 ", "nr", 'N', 4, 63, "I"},
        {2, "code-dev,I,1,2,C,5,44", "code-dev", 'J', 46, 10, "IC"},
        {2, "NODUPS,cd-cols,I,1,2,I,5,6,I,4,4", "cd-cols", 'N', 5, 56, "III"},
        {2, "langenaamvan12,C,5,42", "langenaa", 'J', 42, 10, "C"},
        {1, "k,C,1,60", "k", 'N', 60, 7, "C"},
        {3, "k,C,1,1,,C,2,2", "k", 'J', 5, 56, "C"},
        {2, "k,NODUPS,C,1,1,C,2,2,C,3,3,C,4,4,C,5,5,C,6,6,C,7,7,C,8,8,C,9,9,C,10,10,C,11,11", "k", 'N', 10,
         36, "CCCCCCCCCC"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        ICB icb{};
        IXUPDFCB(&icb, c.keynr, c.text);
        const ix_keydef &def = icb.keydef[c.keynr - 1];
        EXPECT_EQ(std::string(def.kname, strnlen(def.kname, 8)), c.name);
        EXPECT_EQ(def.kdups, c.dups);
        EXPECT_EQ(def.klen, c.klen);
        EXPECT_EQ(def.korder, c.korder);
        EXPECT_EQ(std::string(def.stype, strnlen(def.stype, 10)), c.types);
        EXPECT_EQ(icb.nkeys, c.keynr);
    }
}

TEST_F(store_key, BuiltFromRecord) {
    const struct {
        const char *text, *record;
        int parts;  // of the key to be built, 0 for all
        const char *key;
    } cases[] = {
        {"i,I,1,4", "01 02 03 04", 0, "04 03 02 01 01 02 03 04"},
        {"i,NODUPS,I,1,2,I,3,3", "01 02 03", 0, "02 01 03"},
        {"i,NODUPS,I,1,3,I,4,4", "01 02 03 04", 0, "00 00 00 04"},  // three bytes weigh nothing
        {"c,NODUPS,C,1,5", "41 00 42 43 44", 0, "41 00 00 00 00"},  // up to the first zero
        {"c,NODUPS,C,1,3,I,4,5", "61 62 63 01 02", 0, "61 62 63 02 01"},
        {"c,C,1,2,I,3,4", "61 62 01 02", 1, "61 62 00 00 00 00 00 00"},  // by parts: no suffix
        {"c,C,1,2,I,3,4", "61 62 01 02", 2, "61 62 02 01 00 00 00 00"},
        {"c,C,1,2,I,3,4", "61 62 01 02", 0, "61 62 02 01 01 02 03 04"},
    };
    for (const auto &c : cases) {
        ICB icb{};
        IXUPDFCB(&icb, 2, c.text);
        icb.blk.bkey = 2;
        icb.recno = 0x01020304;
        std::memset(icb.skey, 0xEE, sizeof icb.skey);
        const bytes record = hex(c.record);
        IXBLDKEY(&icb, record.data(), IXKEYLEN(&icb, c.parts));
        EXPECT_EQ(bytes(icb.skey, icb.skey + icb.keydef[1].klen), hex(c.key)) << c.text << " " << c.parts;
    }
}

}  // namespace
