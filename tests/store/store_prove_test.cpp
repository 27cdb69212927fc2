// ix_prove: what it takes for proven, each search must bear out, whatever the index half holds.
#include <random>

#include "support/store/store_fixture.h"

namespace {

using store_prove = store_test;

constexpr int records = 300;

bool on(std::int32_t) {
    return true;
}

/// True when the search for each live record by a key ends at it.
bool all_found(ICB *icb, int key) {
    IXSWITCH(icb, key);
    for (std::int32_t place = 0; place < icb->nrecs; place++) {
        item record{};
        if (IXGET(icb, &record, place) == 1) {
            icb->recno = place;
            if (!IXFIND(icb, &record) || icb->recno != place) {
                return false;
            }
        }
    }
    return true;
}

TEST_F(store_prove, WhatIsProvenIsFound) {
    ICB *icb = make_pair_of("P", item_keys);
    for (int number = 0; number < records; number++) {
        write_item(icb, number);
    }
    for (int number = 0; number < records; number += 7) {
        delete_item(icb, number);
    }
    IXCLOSE(icb);
    icb = IXOPEN("P", ix_shared);
    for (int key = 1; key <= 3; key++) {
        EXPECT_EQ(ix_prove(icb, key, 0, on), ix_proof::proven) << key;
        EXPECT_TRUE(all_found(icb, key)) << key;
    }
    EXPECT_EQ(ix_prove(icb, 2, 1, on), ix_proof::none) << "records have equal names";
    EXPECT_EQ(ix_prove(icb, 1, 0, [](std::int32_t) { return false; }), ix_proof::stopped);
    // A record of which the trees know nothing, and one that they know by another key.
    item other = item_of(1);
    ASSERT_EQ(IXGET(icb, &other, 1), 1);
    other.number = records + 1;
    put_bytes("P.TXT", sizeof other,
              bytes(reinterpret_cast<const std::uint8_t *>(&other),
                    reinterpret_cast<const std::uint8_t *>(&other + 1)));
    EXPECT_EQ(ix_prove(icb, 1, 0, on), ix_proof::none);
    put_bytes("P.TXT", 0, bytes(sizeof other, 1));
    EXPECT_EQ(ix_prove(icb, 2, 0, on), ix_proof::none);
    IXCLOSE(icb);
}

// What isn't proven may still be found: nothing is asked of it. A search in a damaged tree may also end the
// program, which it must not after a proof.
TEST_F(store_prove, DamageIsNotTakenForSound) {
    ICB *icb = make_pair_of("P", item_keys);
    for (int number = 0; number < records; number++) {
        write_item(icb, number);
    }
    IXCLOSE(icb);
    const bytes index = file_bytes("P.INX");
    std::mt19937 random(static_cast<unsigned>(first_seed()));
    int proven = 0;
    const int all = rounds(300);
    for (int round = 0; round < all; round++) {
        const std::size_t at = ix_block_size + random() % (index.size() - ix_block_size);
        put_bytes("P.INX", at, {static_cast<std::uint8_t>(random())});
        icb = IXOPEN("P", ix_shared);
        for (int key = 1; key <= icb->nkeys; key++) {
            if (ix_prove(icb, key, 0, on) == ix_proof::proven) {
                proven++;
                ASSERT_TRUE(all_found(icb, key)) << "key " << key << ", byte " << at;
            }
        }
        IXCLOSE(icb);
        put_back("P.INX", index);
    }
    EXPECT_GT(proven, all) << "damage to one tree leaves the others";
    EXPECT_LT(proven, 3 * all);
}

}  // namespace
