// IXBLDIX, IXCHECK, ix_mend, ixreorgk, and ix_prove.
#include <sys/resource.h>

#include <optional>
#include <random>

#include "support/other_process.h"
#include "support/store/store_fixture.h"

namespace {

using store_rebuild = store_test;

/// A definition, as IXCREATE leaves it on disk, beside a data half of `count` records of 24 bytes. With
/// `dead` a third of them are free, with anything in bytes 1 to 4.
void define(int count, bool dead) {
    ICB *icb = IXCREATE("B", ix_exclusive);
    IXUPDFCB(icb, 0, "bouw,24");
    IXUPDFCB(icb, 1, "k,I,1,4");
    IXUPDFCB(icb, 2, "naam,C,5,12");
    IXUPDFCB(icb, 3, "c,I,13,13,C,5,6");
    IXCLOSE(icb);
    std::mt19937 random(7);
    bytes all;
    for (int n = 0; n < count; ++n) {
        std::uint8_t record[24] = {};
        const int number = n * 7919 % count;
        if (dead && random() % 3 == 0) {
            std::memset(record, 0xFF, sizeof record);
            const auto link = static_cast<std::int32_t>(random());
            std::memcpy(record + 1, &link, 4);
        } else {
            std::memcpy(record, &number, 4);
            for (int at = 4; at < 12; ++at) {
                record[at] = "aAeE\x81\x91z"[random() % 7];
            }
            record[12] = static_cast<std::uint8_t>(number);
        }
        all.insert(all.end(), record, record + sizeof record);
    }
    put_back("B.TXT", all);
}

// Data halves that come from elsewhere. Those that the store made are rebuilt in the random operations.
TEST_F(store_rebuild, OfAnyData) {
    for (const std::size_t area : {std::size_t{1} << 16, std::size_t{56} << 20}) {
        define(20000, true);
        ix_rebuild_area = area;
        ASSERT_TRUE(IXBLDIX("B"));
        EXPECT_EQ(ix_verify("B"), sound);
        EXPECT_GT(IXCHECK("B"), 6000);
    }
    const std::pair<std::string, std::int32_t> cases[] = {
        {"", 0}, {std::string(24, '\1'), 0}, {std::string(24 * 1000, '\xFF'), 1000}};
    for (const auto &[data, free] : cases) {
        put("B.TXT", data);
        EXPECT_EQ(IXCHECK("B"), -1);
        EXPECT_TRUE(IXBLDIX("B"));
        EXPECT_EQ(IXCHECK("B"), free);
        EXPECT_EQ(ix_verify("B"), sound);
    }
    ASSERT_EQ(remove("B.TXT"), 0);
    EXPECT_EQ(IXCHECK("B"), -1);
    EXPECT_TRUE(IXBLDIX("B"));
    EXPECT_EQ(IXCHECK("B"), 0);
    // Equal values of key 1, too: each goes before its equals.
    put("B.TXT", std::string(24 * 300, 'x'));
    EXPECT_TRUE(IXBLDIX("B"));
    ICB *icb = IXOPEN("B", ix_shared);
    std::string record(24, 'x');
    EXPECT_TRUE(IXREAD(icb, record.data()));
    EXPECT_EQ(icb->recno, 299);
    IXCLOSE(icb);
}

TEST_F(store_rebuild, RefusedWithNothingChanged) {
    define(100, true);
    ASSERT_EQ(truncate("B.TXT", 24 * 100 - 1), 0);
    const bytes index = file_bytes("B.INX");
    const bytes data = file_bytes("B.TXT");
    EXPECT_FALSE(IXBLDIX("B"));
    EXPECT_EQ(IXCHECK("B"), -1);
    EXPECT_TRUE(file_bytes("B.INX") == index && file_bytes("B.TXT") == data);
    // A data half beyond the reach of 32-bit offsets, in spite of fitting counts.
    define(0, false);
    ASSERT_TRUE(IXBLDIX("B"));
    constexpr std::int32_t nrecs = 0x7FFFFFFF / 24 + 2;
    ASSERT_EQ(truncate("B.TXT", off_t{nrecs} * 24), 0);
    const boost::endian::little_int32_t counts[] = {nrecs - 1, nrecs};  // freehead and nrecs
    const auto *raw = reinterpret_cast<const std::uint8_t *>(counts);
    put_bytes("B.INX", 12, bytes(raw, raw + sizeof counts));
    const bytes too_long = file_bytes("B.INX");
    EXPECT_EQ(IXCHECK("B"), -1);
    EXPECT_EXIT(IXOPEN("B", ix_shared), testing::ExitedWithCode(1), "Niet consistent");
    EXPECT_FALSE(IXBLDIX("B"));
    EXPECT_EQ(file_bytes("B.INX"), too_long);
}

// The definition that was read before the wait for the lock may not be put over a newer one.
TEST_F(store_rebuild, MadeAnewDuringTheWait) {
    define(0, false);
    ASSERT_TRUE(IXBLDIX("B"));
    IXCLOSE(make_pair_of("N", {"nieuw,24", "k,I,1,4", "naam,C,5,20"}));
    static bytes newer;
    static std::optional<OtherProcess> other;
    newer = file_bytes("N.INX");
    other.emplace([] { IXOPEN("B", ix_exclusive); });
    ix_lock_wait = [](ICB *icb) {
        EXPECT_STREQ(icb->fname, "B");  // shown to the operator
        put_back("B.INX", newer);
        other.reset();
    };
    EXPECT_FALSE(IXBLDIX("B"));
    EXPECT_EQ(file_bytes("B.INX"), newer);
}

TEST_F(store_rebuild, Progress) {
    define(2000, false);
    isam_operator.progress = [](int action, std::uint32_t value, std::uint32_t total, const char *title) {
        operator_notes.push_back(std::to_string(action) + " " + std::to_string(value) + "/" +
                                 std::to_string(total) + (title == nullptr ? "" : title));
    };
    ASSERT_TRUE(IXBLDIX("B"));
    const std::string title = " ZUV - QB-ISAM  >>> IXBLDIX <<< B ";
    EXPECT_EQ(operator_notes, (std::vector<std::string>{"0 0/3" + title, "1 1/3" + title, "1 2/3" + title,
                                                        "1 3/3" + title, "1 3/3" + title, "2 3/3" + title}));
}

TEST_F(store_rebuild, CheckAndMend) {
    define(60, true);
    ASSERT_TRUE(IXBLDIX("B"));
    const bytes index = file_bytes("B.INX");
    const bytes data = file_bytes("B.TXT");
    const std::int32_t free = IXCHECK("B");
    const std::size_t second = std::size_t{index[12]} * 24 + 1;
    // What IXCHECK says at first, and once the pair was mended by one who doesn't know its records, or does.
    const std::tuple<const char *, std::size_t, bytes, std::int32_t, std::int32_t, std::int32_t> cases[] = {
        {"B.INX", 12, hex("FF*4"), 0, 0, 0},                                               // an empty chain
        {"B.TXT", second, bytes(index.begin() + 12, index.begin() + 16), -1, free, free},  // a cycle
        {"B.TXT", second, hex("FF FF 00 00"), -1, free, free},                             // after the end
        {"B.TXT", second + 7, hex("00"), -1, free - 1, free - 1},   // a live record in it
        {"B.TXT", second, hex("FF*4"), 1, 1, 1},                    // the end, early
        {"B.INX", 45, hex("01"), -1, free, free},                   // a half-done update
        {"B.INX", index.size(), hex("00*512"), -1, free, free},     // a block too many
        {"B.TXT", data.size(), hex("00*24"), -1, -1, free},         // a record too many
        {"B.INX", 16, hex("3D"), -1, -1, -1},                       // a record too few
        {"B.INX", 16, hex("FF*4"), -1, -1, free},                   // a count that is none
        {"B.INX", 16, hex("00"), -1, -1, free},                     // a count lost
        {"B.INX", 20, hex("00*4"), -1, free, free},                 // a count of blocks lost
        {"B.INX", 12, hex("FF FF FF FF 00*4 05"), -1, free, free},  // a rebuild that died
        {"B.INX", 258, hex("5E"), -1, -1, -1},                      // the old version: opening tells
        {"B.INX", 24, hex("0C"), -1, -1, -1},                       // another length of records
    };
    for (const auto &[file, offset, what, result, mended, mended_by_one] : cases) {
        put_bytes(file, offset, what);
        const bool judged = offset != 258;  // IXCHECK ends the program over an old version
        EXPECT_EQ(judged ? IXCHECK("B") : -1, result) << file << " at " << offset;
        for (const std::size_t known : {std::size_t{0}, std::size_t{24}}) {
            ix_mend("B", known);
            EXPECT_EQ(judged ? IXCHECK("B") : -1, known == 0 ? mended : mended_by_one)
                << file << " at " << offset;
        }
        put_back("B.INX", index);
        put_back("B.TXT", data);
    }
    // A key without its root, which IXCHECK does not look at.
    put_bytes("B.INX", 1024, hex("00*5"));
    EXPECT_EQ(IXCHECK("B"), free);
    EXPECT_TRUE(ix_unfinished("B") && !ix_sound("B"));
    ix_mend("B", 24);
    EXPECT_EQ(file_bytes("B.INX"), index);
    // An insertion that died while it wrote its record; the same without a mark is damage.
    for (const bool marked : {false, true}) {
        put_bytes("B.INX", 45, hex(marked ? "01" : "00"));
        put_bytes("B.TXT", data.size(), hex("00*11"));
        ix_mend("B", 24);
        EXPECT_EQ(IXCHECK("B"), marked ? free : -1);
    }
    // Who has the pair open has to close it first.
    ICB *icb = IXOPEN("B", ix_shared);
    put_bytes("B.INX", 45, hex("01"));
    ix_mend("B", 24);
    EXPECT_TRUE(ix_unfinished("B"));
    IXCLOSE(icb);
    ix_mend("B", 24);
    EXPECT_FALSE(ix_unfinished("B"));
    // The same pair by the name of its index half, which leaves out nothing.
    EXPECT_EQ(IXCHECK("B.INX"), free);
    put_bytes("B.TXT", data.size(), hex("00*24"));
    EXPECT_EQ(IXCHECK("B.INX"), -1);
}

// Files may not grow beyond a limit: a clear stop, and a rebuild sets it right when there is room again.
TEST_F(store_rebuild, DiskFull) {
    const auto limit = [](long size) {
        const rlimit left{static_cast<rlim_t>(size), RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &left);
    };
    const testing::ExitedWithCode stopped(1);
    for (const int mode : {ix_exclusive, ix_shared}) {
        for (const long size : {2600L, 5000L, 20011L}) {
            define(50, false);
            ASSERT_TRUE(IXBLDIX("B"));
            const auto insert = [&] {
                limit(size);
                ICB *icb = IXOPEN("B", mode);
                for (int record[6] = {100};; ++record[0]) {
                    IXWRITE(icb, record);
                }
            };
            EXPECT_EXIT(insert(), stopped, "QBISAM\\(27\\): B.(INX|TXT) ") << size;
            EXPECT_EQ(IXCHECK("B"), -1) << "mode " << mode << " size " << size;
            ASSERT_TRUE(IXBLDIX("B"));
            EXPECT_EQ(ix_verify("B"), sound);
        }
    }
    define(5000, false);
    EXPECT_EXIT((limit(40000), IXBLDIX("B")), stopped, "QBISAM\\(27\\): B.INX ");
    EXPECT_EQ(IXCHECK("B"), -1);
    ASSERT_TRUE(IXBLDIX("B"));
    EXPECT_EQ(ix_verify("B"), sound);
    ICB icb{};
    icb.mode = ix_readonly;
    std::strcpy(icb.opened_as, "B");
    EXPECT_EXIT((errno = ENOSPC, ix_disk_failed(&icb, true)), stopped,
                "QBISAM\\(28\\): B.INX \\(de schijf is vol\\)");
}

/// What ixreorgk tells, with its exit status before it.
std::string reorganise(const std::string &arguments) {
    const int status = std::system((IXREORGK " " + arguments + " >told 2>&1 </dev/null").c_str());
    return std::to_string(WEXITSTATUS(status)) + " " + store_test::get("told");
}

TEST_F(store_rebuild, Ixreorgk) {
    define(3000, true);
    put_bytes("B.INX", 45, {1});
    EXPECT_EQ(reorganise("B"), "0 ");
    EXPECT_EQ(ix_verify("B"), sound);
    EXPECT_TRUE(reorganise("").starts_with("1 Gebruik: ixreorgk NAAM"));
    EXPECT_EQ(reorganise("B.TXT").front(), '1');
    EXPECT_EQ(reorganise("NIETS"), "1 ixreorgk: NIETS: het indexbestand ontbreekt\n");
    put_bytes("B.INX", 24, {0, 0});
    EXPECT_TRUE(
        reorganise("B").starts_with("1 ixreorgk: B: de definitie in het indexbestand is onbruikbaar"));
}

// ---- ix_prove: what it takes for proven, each search must bear out, whatever the index half holds

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
