// Locks between processes and between two handles of one process, messages, scans and limits.
#include <optional>

#include "support/other_process.h"
#include "support/store/store_fixture.h"

namespace {

int waits = 0;

/// True when another process can lock bytes of a half for writing.
bool free_elsewhere(const char *path, off_t start, off_t length) {
    return elsewhere([=] {
        const int fd = ix_fd_open(path, O_RDWR);
        return file_lock(lock_action::test, fd, start, length);
    });
}

bool record_free(int record) {
    return free_elsewhere("L.TXT", record * off_t{sizeof(item)}, sizeof(item));
}

bool header_free() {
    return free_elsewhere("L.INX", 0, 512);
}

/// Work of another process that locks a record.
auto hold(int record) {
    return [at = record * off_t{sizeof(item)}] {
        file_lock(lock_action::sole, ix_fd_open("L.TXT", O_RDWR), at, sizeof(item));
    };
}

class store_lock : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        waits = 0;
        ix_lock_wait = [](ICB *) { ++waits; };
        icb = make_pair_of("L", item_keys, ix_shared);
        for (int n = 0; n < 10; ++n) {
            write_item(icb, n);
        }
    }

    int queue_count() const {
        return file_bytes("L.INX")[static_cast<std::size_t>(icb->nkeys + 1) * 512 + 4];
    }

    ICB *icb = nullptr;
};

TEST_F(store_lock, RecordsByOperation) {
    const std::tuple<const char *, std::function<void(item *)>, bool> cases[] = {
        {"IXREAD", [this](item *i) { IXREAD(icb, i); }, false},
        {"IXREADLOCK", [this](item *i) { IXREADLOCK(icb, i); }, true},
        {"IXFREE", [this](item *i) { IXREADLOCK(icb, i), IXFREE(icb, i); }, false},
        {"IXWRITE", [this](item *i) { IXREADLOCK(icb, i), IXWRITE(icb, i); }, false},
        {"IXWRITEK", [this](item *i) { IXREADLOCK(icb, i), IXWRITEK(icb, i); }, true},
        {"IXREWRITE", [this](item *i) { IXREADLOCK(icb, i), IXREWRITE(icb, i); }, false},
        {"IXDELETE", [this](item *i) { IXREADLOCK(icb, i), IXDELETE(icb, i); }, false},
    };
    int n = 0;
    for (const auto &[what, operation, held] : cases) {
        item i = item_of(n);
        operation(&i);
        EXPECT_EQ(record_free(n), !held) << what;
        EXPECT_TRUE(header_free()) << what;
        ++n;
    }
    const item fresh = item_of(100);
    IXWRITEK(icb, &fresh);
    EXPECT_FALSE(record_free(icb->recno));  // the deleted record's place, held since the insertion
    IXFREE(icb, &fresh);
    EXPECT_TRUE(record_free(icb->recno));
    EXPECT_EQ(waits, 0);
}

TEST_F(store_lock, HeldRecordIsRefusedElsewhere) {
    ix_lock_wait = plain_wait;
    item i = item_of(3);
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_shared);
        other->recno = 3;
        operator_notes.clear();
        return !IXLOCK(other, ix_lock_record) &&
               operator_notes ==
                   std::vector<std::string>{
                       "blink|L          : dingen              --> Informatie in gebruik op ander scherm"} &&
               // nothing stays behind of the refused attempt
               (IXLOCK(other, ix_unlock_record), other->recno = 4, IXLOCK(other, ix_lock_record));
    }));
    EXPECT_FALSE(record_free(3));
    IXCLOSE(icb);
    EXPECT_TRUE(record_free(3));
}

// Its holder may be waiting for the header that the insertion holds: it must not wait for the holder.
TEST_F(store_lock, HeldFreeRecordIsPassedOver) {
    constexpr int deleted = 3;
    std::optional<OtherProcess> holder(std::in_place, hold(deleted));
    delete_item(icb, deleted);
    write_item(icb, 200);
    EXPECT_EQ(icb->recno, 10);
    EXPECT_GT(waits, 0);
    holder.reset();
    write_item(icb, 201);
    EXPECT_EQ(icb->recno, deleted) << "the chain still has it";
}

TEST_F(store_lock, ReservationOfAKey) {
    item i = item_of(50);
    const bytes before = file_bytes("L.INX");
    EXPECT_FALSE(IXREADLOCK(icb, &i));
    EXPECT_TRUE(free_elsewhere("L.INX", (icb->nkeys + 1) * off_t{512}, 512)) << "the queue itself";
    EXPECT_EQ(queue_count(), 1);
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_shared);
        item same = item_of(50);
        IXBLDKEY(other, &same, 4);
        const bool refused = !IXLOCK(other, ix_lock_key) && waits == 1;
        item another = item_of(51);
        return refused && !IXREADLOCK(other, &another);
    }));
    EXPECT_EQ(queue_count(), 2);  // that of the process that ended stays
    IXFREE(icb, &i);
    i = item_of(51);
    IXFREE(icb, &i);
    i = item_of(52);  // not reserved
    IXFREE(icb, &i);
    EXPECT_EQ(file_bytes("L.INX"), before);
    EXPECT_FALSE(IXREADLOCK(icb, &i));
    IXWRITE(icb, &i);
    EXPECT_EQ(queue_count(), 0) << "a reservation ends with the insertion";

    for (int n = 0; n < 126; ++n) {
        i = item_of(1000 + n);
        ASSERT_FALSE(IXREADLOCK(icb, &i));
    }
    EXPECT_EQ(queue_count(), 126);
    item last = item_of(2000);
    EXPECT_EXIT(IXREADLOCK(icb, &last), testing::ExitedWithCode(1), "L *: dingen *--> Lock queue vol\\.");
}

TEST_F(store_lock, ExclusiveTouchesNothingMore) {
    IXCLOSE(icb);
    const bytes before = file_bytes("L.INX");
    icb = IXOPEN("L", ix_exclusive);
    for (const int number : {3, 4, 13, 14, 2, 12}) {
        EXPECT_TRUE(IXLOCK(icb, number)) << number;
        EXPECT_FALSE(header_free()) << number;
        EXPECT_FALSE(record_free(5)) << number;
    }
    EXPECT_FALSE(IXLOCK(icb, 5));
    // Read in another process: the tests read past the store, and that costs a process its locks.
    EXPECT_TRUE(elsewhere([&before] { return file_bytes("L.INX") == before; }));
    delete_item(icb, 3);
    EXPECT_FALSE(header_free());  // an update doesn't give away a part of the whole-file lock
    IXCLOSE(icb);
    EXPECT_TRUE(header_free());
    EXPECT_TRUE(record_free(5));
}

// The key in hand stays current while the lock block is looked at, though another program empties the pair
// and so takes the block away.
TEST_F(store_lock, KeyStaysCurrentInAnEmptiedPair) {
    for (int n = 100; n < 400; ++n) {
        write_item(icb, n);
    }
    IXSWITCH(icb, 2);
    item i{};
    for (int n = 0; IXNEXT(icb, &i) && n < 200; ++n) {
    }
    ASSERT_GT(icb->curblk, 5);
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_exclusive);
        IXINIT(other);
        IXCLOSE(other);
        return true;
    }));
    std::memset(icb->skey, 'x', sizeof icb->skey);
    for (const int number : {ix_lock_key, ix_unlock_key}) {
        EXPECT_TRUE(IXLOCK(icb, number));
        EXPECT_EQ(icb->blk.bkey, 2);
    }
    EXPECT_EQ(queue_count(), 0);
}

// The system drops all locks of a process on a file when any descriptor of it is closed.
TEST_F(store_lock, TwoHandlesKeepTheirLocks) {
    ICB *second = IXOPEN("L", ix_shared);
    const auto take = [](ICB *of, int number) {
        item i = item_of(number);
        ASSERT_TRUE(IXREADLOCK(of, &i));
    };
    const item third = item_of(3);
    take(icb, 3);
    take(second, 4);
    IXCLOSE(second);
    EXPECT_FALSE(record_free(3));
    EXPECT_TRUE(record_free(4));  // what the closed handle held is free
    IXCHECK("L");
    EXPECT_FALSE(record_free(3));

    // The same record by both: free when both have given it up.
    second = IXOPEN("L", ix_shared);
    take(second, 3);
    IXFREE(second, &third);
    EXPECT_FALSE(record_free(3));
    IXFREE(icb, &third);
    EXPECT_TRUE(record_free(3));

    // A whole-file lock beside a record. Refused, it takes nothing away; granted, each is given up by itself.
    take(icb, 3);
    {
        const OtherProcess holder(hold(7));
        EXPECT_FALSE(ix_trylock(lock_action::sole, second, second->datfd, 0, 0));
        EXPECT_FALSE(record_free(3));
        EXPECT_TRUE(record_free(5));
    }
    EXPECT_TRUE(IXLOCK(second, ix_lock_file));
    IXFREE(icb, &third);
    EXPECT_FALSE(record_free(3));
    take(icb, 3);
    IXLOCK(second, ix_unlock_file);
    EXPECT_FALSE(record_free(3));
    EXPECT_TRUE(record_free(5));
    IXCLOSE(icb);
    EXPECT_TRUE(record_free(3));
    IXCLOSE(second);
}

// ---- What the random operations do not reach: messages, scans, limits

TEST_F(store_lock, ReadOnlyWritesNothing) {
    ICB *reader = IXOPEN("L", ix_readonly);
    const bytes before = file_bytes("L.TXT");
    write_item(reader, 7, 1);
    ASSERT_EQ(operator_notes, std::vector<std::string>{
                                  "flash -1|Waarschuwing|IXWRITE op een bestand dat READ-ONLY geopend is"});
    item i = item_of(1);
    EXPECT_TRUE(IXREADLOCK(reader, &i));
    i = item_of(70);
    EXPECT_FALSE(IXREADLOCK(reader, &i));
    IXCLOSE(reader);
    EXPECT_EQ(file_bytes("L.TXT"), before);
    EXPECT_EQ(ix_verify("L"), sound);
}

TEST_F(store_lock, ScanOfOneFileAtATime) {
    delete_item(icb, 4);
    item i{};
    std::vector<int> seen;
    while (IXSEQ(icb, &i)) {
        seen.push_back(icb->recno);
        const std::int32_t noted = icb->recno;
        item other = item_of(1);
        IXREAD(icb, &other);
        icb->recno = noted;
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 5, 6, 7, 8, 9}));
    // A scan that is left off does not get into the way of the next file's.
    EXPECT_TRUE(IXSEQ(icb, &i));
    ICB *second = IXOPEN("L", ix_shared);
    int count = 0;
    while (IXSEQ(second, &i)) {
        ++count;
    }
    EXPECT_EQ(count, 9);
    EXPECT_TRUE(IXSEQ(icb, &i));
    IXCLOSE(second);
    IXCLOSE(icb);  // forgets the scan
    static int asked = 0;
    isam_operator.interrupted = [] { return ++asked > 0; };
    isam_operator.interrupt_reset = [] { asked -= 1000; };
    icb = IXOPEN("L", ix_shared);
    EXPECT_TRUE(IXSEQ(icb, &i));
    EXPECT_EQ(asked, -999);
    isam_operator.interrupted = [] { return true; };
    while (IXSEQ(icb, &i)) {
    }
    EXPECT_EQ(icb->recno, 9);
    EXPECT_FALSE(IXSEQ(icb, &i)) << "broken off";
    EXPECT_EQ(icb->recno, -1);
}

TEST_F(store_lock, BlockLimit) {
    const int noted = ix_block_limit;
    ix_block_limit = icb->nblocks + 5;
    delete_item(icb, 4);
    const item i = item_of(10);
    EXPECT_FALSE(IXWRITE(icb, &i));
    EXPECT_EQ(operator_notes,
              std::vector<std::string>{
                  "flash -1|Waarschuwing|Er kunnen niet meer index records aangemaakt worden !"});
    IXCLOSE(icb);
    EXPECT_EQ(ix_verify("L"), sound);
    operator_notes.clear();
    operator_answer = 1;
    EXPECT_EQ(IXCHECK("L"), 1);
    EXPECT_EQ(operator_notes,
              std::vector<std::string>{
                  "flash -2|Waarschuwing|Het bestand L is bijna aan zijn limiet !\nWilt U toch doorgaan "});
    operator_answer = 0;
    EXPECT_EXIT(IXCHECK("L"), testing::ExitedWithCode(1), "Het bestand L is bijna aan zijn limiet !");
    EXPECT_FALSE(IXBLDIX("L"));
    ix_block_limit = noted;
    EXPECT_EQ(IXCHECK("L"), -1);
    EXPECT_TRUE(IXBLDIX("L"));
    EXPECT_EQ(ix_verify("L"), sound);
}

}  // namespace
