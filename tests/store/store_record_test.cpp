// What the random operations don't reach of the record operations: scans, messages, limits.
#include "support/store/store_fixture.h"

namespace {

class store_record : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        icb = make_pair_of("R", item_keys, ix_shared);
        for (int n = 0; n < 9; ++n) {
            write_item(icb, n);
        }
        delete_item(icb, 4);
    }

    ICB *icb = nullptr;
};

TEST_F(store_record, ReadOnlyWritesNothing) {
    ICB *reader = IXOPEN("R", ix_readonly);
    const bytes before = file_bytes("R.TXT");
    write_item(reader, 7, 1);
    ASSERT_EQ(operator_notes, std::vector<std::string>{
                                  "flash -1|Waarschuwing|IXWRITE op een bestand dat READ-ONLY geopend is"});
    item i = item_of(1);
    EXPECT_TRUE(IXREADLOCK(reader, &i));
    i = item_of(70);
    EXPECT_FALSE(IXREADLOCK(reader, &i));
    IXCLOSE(reader);
    EXPECT_EQ(file_bytes("R.TXT"), before);
    EXPECT_EQ(ix_verify("R"), sound);
}

TEST_F(store_record, ScanOfOneFileAtATime) {
    item i{};
    std::vector<int> seen;
    while (IXSEQ(icb, &i)) {
        seen.push_back(icb->recno);
        const std::int32_t noted = icb->recno;
        item other = item_of(1);
        IXREAD(icb, &other);
        icb->recno = noted;
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 5, 6, 7, 8}));
    // A scan that is left off does not get into the way of the next file's.
    EXPECT_TRUE(IXSEQ(icb, &i));
    ICB *second = IXOPEN("R", ix_shared);
    int count = 0;
    while (IXSEQ(second, &i)) {
        ++count;
    }
    EXPECT_EQ(count, 8);
    EXPECT_TRUE(IXSEQ(icb, &i));
    IXCLOSE(second);
    IXCLOSE(icb);  // forgets the scan
    static int asked;
    asked = 0;
    isam_operator.interrupted = [] { return ++asked > 0; };
    isam_operator.interrupt_reset = [] { asked -= 1000; };
    icb = IXOPEN("R", ix_shared);
    EXPECT_TRUE(IXSEQ(icb, &i));
    EXPECT_EQ(asked, -999);
    isam_operator.interrupted = [] { return true; };
    while (IXSEQ(icb, &i)) {
    }
    EXPECT_EQ(icb->recno, 8);
    EXPECT_FALSE(IXSEQ(icb, &i)) << "broken off";
    EXPECT_EQ(icb->recno, -1);
}

TEST_F(store_record, BlockLimit) {
    const int noted = ix_block_limit;
    ix_block_limit = icb->nblocks + 5;
    const item i = item_of(9);
    EXPECT_FALSE(IXWRITE(icb, &i));
    EXPECT_EQ(operator_notes,
              std::vector<std::string>{
                  "flash -1|Waarschuwing|Er kunnen niet meer index records aangemaakt worden !"});
    IXCLOSE(icb);
    EXPECT_EQ(ix_verify("R"), sound);
    operator_notes.clear();
    operator_answer = 1;
    EXPECT_EQ(IXCHECK("R"), 1);
    EXPECT_EQ(operator_notes,
              std::vector<std::string>{
                  "flash -2|Waarschuwing|Het bestand R is bijna aan zijn limiet !\nWilt U toch doorgaan "});
    operator_answer = 0;
    EXPECT_EXIT(IXCHECK("R"), testing::ExitedWithCode(1), "Het bestand R is bijna aan zijn limiet !");
    EXPECT_FALSE(IXBLDIX("R"));
    ix_block_limit = noted;
    EXPECT_EQ(IXCHECK("R"), -1);
    EXPECT_TRUE(IXBLDIX("R"));
    EXPECT_EQ(ix_verify("R"), sound);
}

}  // namespace
