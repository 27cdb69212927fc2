// Results, record numbers, record areas and messages of the record operations, as far as the random
// operations don't reach them.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "store/store_internal.h"
#include "support/store/store_fixture.h"

namespace {

struct row {
    boost::endian::little_int16_t group;
    boost::endian::little_int16_t number;
    char name[12];
};

class store_record : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        icb = make_pair_of("R", {"rijen,16", "k,I,1,2,I,3,4", "naam,C,5,16"}, ix_shared);
        for (int group = 1; group <= 3; ++group) {
            for (int number = 1; number <= 3; ++number) {
                write(group, number, "naam");
            }
        }
        erase(2, 2);  // record 4
    }

    void TearDown() override {
        IXCLOSE(icb);
        store_test::TearDown();
    }

    static row of(int group, int number, const char *name = "") {
        row r{};
        r.group = static_cast<std::int16_t>(group);
        r.number = static_cast<std::int16_t>(number);
        std::snprintf(r.name, sizeof r.name, "%s", name);
        return r;
    }

    void write(int group, int number, const char *name) {
        const row r = of(group, number, name);
        EXPECT_TRUE(IXWRITE(icb, &r));
    }

    void erase(int group, int number) {
        row r = of(group, number);
        ASSERT_TRUE(IXREADLOCK(icb, &r));
        EXPECT_FALSE(IXDELETE(icb, &r));
    }

    ICB *icb = nullptr;
};

TEST_F(store_record, Skip) {
    struct {
        int position;
        int parts;
        int n;
        bool result;
        int after;
    } const cases[] = {
        {0, 0, 0, true, 0},  {0, 0, 2, true, 2},    {0, 0, 3, true, 3},  {3, 0, 1, true, 5},
        {8, 0, -1, true, 7}, {8, 0, -20, false, 0}, {8, 0, 1, false, 8}, {0, 2, 5, false, 2},
        {4, 0, 0, true, 5},  // a dead record: the next key after the one in the area
        {4, 0, -1, true, 3}, {400, 0, 0, true, 5},
    };
    for (const auto &c : cases) {
        row r = of(2, 2);
        std::int32_t position = c.position;
        EXPECT_EQ(IXSKIP(icb, &r, c.parts, c.n, &position), c.result) << c.position << " by " << c.n;
        EXPECT_EQ(position, c.after) << c.position << " by " << c.n;
        if (c.result) {
            EXPECT_EQ(icb->recno, c.after);
            EXPECT_STREQ(r.name, "naam");
        }
    }
}

TEST_F(store_record, ReadOnlyWritesNothing) {
    ICB *reader = IXOPEN("R", ix_readonly);
    const bytes data = file_bytes("R.TXT");
    const row r = of(7, 7);
    EXPECT_TRUE(IXWRITE(reader, &r));
    ASSERT_EQ(operator_notes, std::vector<std::string>{
                                  "flash -1|Waarschuwing|IXWRITE op een bestand dat READ-ONLY geopend is"});
    row read = of(1, 1);
    EXPECT_TRUE(IXREADLOCK(reader, &read));
    read = of(7, 7);
    EXPECT_FALSE(IXREADLOCK(reader, &read));
    EXPECT_EQ(file_bytes("R.TXT"), data);
    IXCLOSE(reader);
    EXPECT_EQ(ix_verify("R"), std::vector<std::string>{});
}

TEST_F(store_record, DeleteTakesOnlyWhatItNames) {
    row r = of(1, 2);
    ASSERT_TRUE(IXREAD(icb, &r));
    const row area = r;
    EXPECT_FALSE(IXDELETE(icb, &r));
    EXPECT_EQ(std::memcmp(&r, &area, sizeof r), 0);
    EXPECT_FALSE(IXDELETE(icb, &r));  // a second time: the record is gone
    icb->recno = 2;
    EXPECT_FALSE(IXDELETE(icb, &r));  // another record's number
    IXCLOSE(icb);
    EXPECT_EQ(IXCHECK("R"), 2);
    EXPECT_EQ(ix_verify("R"), std::vector<std::string>{});
    icb = IXOPEN("R", ix_exclusive);
    r = of(3, 3);
    ASSERT_TRUE(IXREAD(icb, &r));
    EXPECT_FALSE(IXDELETE(icb, &r));
    write(8, 8, "x");
    EXPECT_EQ(icb->recno, 8);
}

TEST_F(store_record, ScanOfOneFileAtATime) {
    row r{};
    std::vector<int> seen;
    while (IXSEQ(icb, &r)) {
        seen.push_back(icb->recno);
        const std::int32_t noted = icb->recno;
        row other = of(1, 1);
        IXREAD(icb, &other);
        icb->recno = noted;
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 5, 6, 7, 8}));
    // A scan that is left off does not get into the way of the next file's.
    EXPECT_TRUE(IXSEQ(icb, &r));
    ICB *second = IXOPEN("R", ix_shared);
    int count = 0;
    while (IXSEQ(second, &r)) {
        ++count;
    }
    EXPECT_EQ(count, 8);
    EXPECT_TRUE(IXSEQ(icb, &r));
    IXCLOSE(second);
    static int asked;
    asked = 0;
    isam_operator.interrupted = [] { return ++asked > 0; };
    isam_operator.interrupt_reset = [] { asked -= 1000; };
    IXCLOSE(icb);  // forgets the scan
    icb = IXOPEN("R", ix_shared);
    EXPECT_TRUE(IXSEQ(icb, &r));
    EXPECT_EQ(asked, -999);
    isam_operator.interrupted = [] { return true; };
    while (IXSEQ(icb, &r)) {
    }
    EXPECT_EQ(icb->recno, 8);
    EXPECT_FALSE(IXSEQ(icb, &r));
    EXPECT_EQ(icb->recno, -1);
}

// A damaged file: entries whose records are dead. A walk steps over them, by each key and both ways.
TEST_F(store_record, WalkStepsOverDeadRecords) {
    IXCLOSE(icb);
    for (const int record : {0, 3, 5, 8}) {
        put_bytes("R.TXT", static_cast<std::size_t>(record) * 16, hex("FF*16"));
    }
    for (const int mode : {ix_exclusive, ix_shared}) {
        icb = IXOPEN("R", mode);
        for (int k = 1; k <= 2; ++k) {
            IXSWITCH(icb, k);
            row r{};
            std::vector<int> seen;
            for (bool more = IXFIRST(icb, &r); more; more = IXNEXT(icb, &r)) {
                seen.push_back(icb->recno);
            }
            EXPECT_EQ(seen, (std::vector<int>{1, 2, 6, 7}));
            seen.clear();
            std::memset(&r, 0xFF, sizeof r);
            for (bool more = IXPREV(icb, &r); more; more = IXPREV(icb, &r)) {
                seen.push_back(icb->recno);
            }
            EXPECT_EQ(seen, (std::vector<int>{7, 6, 2, 1}));
        }
        IXSWITCH(icb, 1);
        row r = of(2, 1);
        EXPECT_FALSE(IXREAD(icb, &r));
        EXPECT_EQ(icb->recno, 3);
        // Written again, the record comes back in all keys.
        if (mode == ix_shared) {
            write(2, 1, "terug");
            IXCLOSE(icb);
            EXPECT_TRUE(IXBLDIX("R"));
            EXPECT_EQ(ix_verify("R"), std::vector<std::string>{});
            icb = IXOPEN("R", ix_shared);
        } else {
            IXCLOSE(icb);
        }
    }
}

TEST_F(store_record, UpdateOfADeadRecord) {
    IXCLOSE(icb);
    put_bytes("R.TXT", 0, hex("FF*16"));
    icb = IXOPEN("R", ix_shared);
    write(1, 1, "naam");
    IXCLOSE(icb);
    EXPECT_EQ(ix_verify("R"), std::vector<std::string>{});
    icb = IXOPEN("R", ix_shared);
}

TEST_F(store_record, BlockLimit) {
    const int noted = ix_block_limit;
    ix_block_limit = icb->nblocks + 5;
    const row r = of(9, 9);
    EXPECT_FALSE(IXWRITE(icb, &r));
    EXPECT_EQ(operator_notes,
              std::vector<std::string>{
                  "flash -1|Waarschuwing|Er kunnen niet meer index records aangemaakt worden !"});
    IXCLOSE(icb);
    EXPECT_EQ(ix_verify("R"), std::vector<std::string>{});
    operator_notes.clear();
    operator_answer = 1;
    EXPECT_EQ(IXCHECK("R"), 1);
    ASSERT_EQ(operator_notes.size(), 1U);
    EXPECT_EQ(operator_notes[0],
              "flash -2|Waarschuwing|Het bestand R is bijna aan zijn limiet !\nWilt U toch doorgaan ");
    operator_answer = 0;
    EXPECT_EXIT(IXCHECK("R"), testing::ExitedWithCode(1), "Het bestand R is bijna aan zijn limiet !");
    EXPECT_FALSE(IXBLDIX("R"));
    ix_block_limit = noted;
    EXPECT_EQ(IXCHECK("R"), -1);
    EXPECT_TRUE(IXBLDIX("R"));
    EXPECT_EQ(ix_verify("R"), std::vector<std::string>{});
    icb = IXOPEN("R", ix_shared);
}

// A key without duplicates above key 1 may be given equal values all the same. They fill whole leaves here.
TEST_F(store_record, EqualKeysWithoutDuplicates) {
    for (const int mode : {ix_exclusive, ix_shared}) {
        ICB *equal = make_pair_of("Q", {"gelijk,24", "k,I,1,4", "n,NODUPS,C,5,24"}, mode);
        std::mt19937 random(5);
        std::vector<int> present;
        for (int step = 0; step < 3000; ++step) {
            char record[24] = {};
            const int number = step < 1500 || random() % 2 == 0 || present.empty()
                                   ? step
                                   : present[random() % present.size()];
            std::memcpy(record, &number, 4);
            record[4] = static_cast<char>('a' + number % 3);
            if (number == step) {
                ASSERT_TRUE(IXWRITE(equal, record));
                present.push_back(number);
            } else {
                ASSERT_TRUE(IXREAD(equal, record));
                IXDELETE(equal, record);
                std::erase(present, number);
            }
            if (step % 500 == 499) {
                IXCLOSE(equal);
                ASSERT_EQ(ix_verify("Q"), std::vector<std::string>{}) << "step " << step;
                equal = IXOPEN("Q", mode);
            }
        }
        // A walk sees each value once.
        IXSWITCH(equal, 2);
        char record[24] = {};
        int count = 0;
        for (bool more = IXFIRST(equal, record); more; more = IXNEXT(equal, record)) {
            ++count;
        }
        EXPECT_EQ(count, 3);
        IXCLOSE(equal);
    }
}

TEST_F(store_record, a_record_that_the_disk_refuses_is_not_taken_for_a_missing_one) {
    row r{};
    const auto refused = [&](auto read) {
        ICB *other = IXOPEN("R", ix_shared);
        dup2(open("R.TXT", O_WRONLY), other->datfd);
        read(other);
    };
    const testing::ExitedWithCode stopped(1);
    EXPECT_EXIT(refused([&](ICB *other) { IXGET(other, &r, 0); }), stopped, "QBISAM\\(9\\): R.TXT ");
    EXPECT_EXIT(refused([&](ICB *other) { IXSEQ(other, &r); }), stopped, "QBISAM\\(9\\): R.TXT ");
}

}  // namespace
