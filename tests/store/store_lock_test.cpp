// Locks between processes, and between two handles of one process.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <functional>
#include <optional>

#include "store/store_internal.h"
#include "support/other_process.h"
#include "support/store/store_fixture.h"

namespace {

int waits = 0;

struct item {
    boost::endian::little_int32_t number;
    boost::endian::little_int32_t count;
    char name[8];
};

item of(int number) {
    item i{};
    i.number = number;
    std::snprintf(i.name, sizeof i.name, "n%d", number % 17);
    return i;
}

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

class store_lock : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        waits = 0;
        ix_lock_wait = [](ICB *) { ++waits; };
        icb = make_pair_of("L", {"lock,16", "k,I,1,4", "naam,C,9,16"}, ix_shared);
        for (int n = 0; n < 10; ++n) {
            const item i = of(n);
            IXWRITE(icb, &i);
        }
    }

    void TearDown() override {
        ix_lock_wait = plain;
        store_test::TearDown();
    }

    int queue_count() const {
        return file_bytes("L.INX")[static_cast<std::size_t>(icb->nkeys + 1) * 512 + 4];
    }

    ICB *icb = nullptr;
    void (*plain)(ICB *) = ix_lock_wait;
};

TEST_F(store_lock, RecordsByOperation) {
    struct {
        const char *what;
        std::function<void(item *)> operation;
        bool held;
    } const cases[] = {
        {"IXREAD", [this](item *i) { IXREAD(icb, i); }, false},
        {"IXREADLOCK", [this](item *i) { IXREADLOCK(icb, i); }, true},
        {"IXFREE", [this](item *i) { IXREADLOCK(icb, i), IXFREE(icb, i); }, false},
        {"IXWRITE", [this](item *i) { IXREADLOCK(icb, i), IXWRITE(icb, i); }, false},
        {"IXWRITEK", [this](item *i) { IXREADLOCK(icb, i), IXWRITEK(icb, i); }, true},
        {"IXREWRITE", [this](item *i) { IXREADLOCK(icb, i), IXREWRITE(icb, i); }, false},
        {"IXDELETE", [this](item *i) { IXREADLOCK(icb, i), IXDELETE(icb, i); }, false},
    };
    int n = 0;
    for (const auto &c : cases) {
        item i = of(n);
        c.operation(&i);
        EXPECT_EQ(record_free(n), !c.held) << c.what;
        EXPECT_TRUE(header_free()) << c.what;
        ++n;
    }
    const item fresh = of(100);
    IXWRITEK(icb, &fresh);
    EXPECT_FALSE(record_free(icb->recno));  // the deleted record's place, held since the insertion
    IXFREE(icb, &fresh);
    EXPECT_TRUE(record_free(icb->recno));
    EXPECT_EQ(waits, 0);
    IXCLOSE(icb);
}

TEST_F(store_lock, HeldRecordIsRefusedElsewhere) {
    item i = of(3);
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_shared);
        other->recno = 3;
        return !IXLOCK(other, ix_lock_record) && waits == 1 &&
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
    item i = of(deleted);
    std::optional<OtherProcess> holder([] {
        const int fd = ix_fd_open("L.TXT", O_RDWR);
        file_lock(lock_action::sole, fd, deleted * off_t{sizeof(item)}, sizeof(item));
    });
    ASSERT_TRUE(IXREAD(icb, &i));
    IXDELETE(icb, &i);
    i = of(200);
    EXPECT_TRUE(IXWRITE(icb, &i));
    EXPECT_EQ(icb->recno, 10);
    EXPECT_GT(waits, 0);
    holder.reset();
    i = of(201);
    EXPECT_TRUE(IXWRITE(icb, &i));
    EXPECT_EQ(icb->recno, deleted) << "the chain still has it";
}

TEST_F(store_lock, ReservationOfAKey) {
    item i = of(50);
    const bytes before = file_bytes("L.INX");
    EXPECT_FALSE(IXREADLOCK(icb, &i));
    EXPECT_EQ(queue_count(), 1);
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_shared);
        item same = of(50);
        IXBLDKEY(other, &same, 4);
        const bool refused = !IXLOCK(other, ix_lock_key) && waits == 1;
        item another = of(51);
        return refused && !IXREADLOCK(other, &another);
    }));
    EXPECT_EQ(queue_count(), 2);  // that of the process that ended stays
    IXFREE(icb, &i);
    EXPECT_EQ(queue_count(), 1);
    i = of(51);
    IXFREE(icb, &i);
    EXPECT_EQ(file_bytes("L.INX"), before);
    // A key that isn't reserved: no block is written.
    i = of(52);
    IXFREE(icb, &i);
    EXPECT_EQ(file_bytes("L.INX"), before);
    // A reservation ends with the insertion.
    EXPECT_FALSE(IXREADLOCK(icb, &i));
    IXWRITE(icb, &i);
    EXPECT_EQ(queue_count(), 0);
    IXCLOSE(icb);
}

TEST_F(store_lock, QueueIsFullAt126) {
    for (int n = 0; n < 126; ++n) {
        item i = of(1000 + n);
        ASSERT_FALSE(IXREADLOCK(icb, &i));
    }
    EXPECT_EQ(queue_count(), 126);
    item last = of(2000);
    EXPECT_EXIT(IXREADLOCK(icb, &last), testing::ExitedWithCode(1), "L *: lock *--> Lock queue vol\\.");
    for (int n = 125; n >= 0; n -= 2) {
        item i = of(1000 + n);
        IXFREE(icb, &i);
    }
    EXPECT_EQ(queue_count(), 63);
    IXCLOSE(icb);
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
    item i = of(3);
    ASSERT_TRUE(IXREAD(icb, &i));
    // Read in another process: the tests read past the store, and that costs a process its locks.
    EXPECT_TRUE(elsewhere([&before] { return file_bytes("L.INX") == before; }));
    IXDELETE(icb, &i);
    EXPECT_FALSE(header_free());  // an update doesn't give away a part of the whole-file lock
    IXCLOSE(icb);
    EXPECT_TRUE(header_free());
    EXPECT_TRUE(record_free(5));
}

TEST_F(store_lock, ExclusiveWaitsForTheOthers) {
    item i = of(3);
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    int go[2];
    ASSERT_EQ(pipe(go), 0);
    const pid_t child = fork();
    if (child == 0) {
        // Opens at once when the record is given back, and then sees what was written meanwhile.
        static int end;
        end = go[1];
        ix_lock_wait = [](ICB *) {
            if (++waits == 1) {
                const char c = 0;
                (void)!write(end, &c, 1);
            }
            usleep(1000);
        };
        ICB *other = IXOPEN("L", ix_exclusive);
        std::_Exit(waits > 0 && other->nrecs == 11 ? 0 : 1);
    }
    char c;
    ASSERT_EQ(read(go[0], &c, 1), 1);
    const item extra = of(60);
    IXWRITE(icb, &extra);
    IXFREE(icb, &i);
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    IXCLOSE(icb);
}

// One holds the header and tries for a free record, the other is on his way to lock the whole file. Neither
// may keep the other waiting for good.
TEST_F(store_lock, WholeFileGivesWayToAnUpdate) {
    item i = of(3);
    ASSERT_TRUE(IXREAD(icb, &i));
    IXDELETE(icb, &i);
    int ready[2];
    int go[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(go), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        static int end;
        end = ready[1];
        ICB *whole = IXOPEN("L", ix_shared);
        char signal = 0;
        (void)!write(end, &signal, 1);
        (void)!read(go[0], &signal, 1);
        ix_lock_wait = [](ICB *) {
            if (++waits == 1) {
                const char c = 0;
                (void)!write(end, &c, 1);
            }
            usleep(20000);
        };
        IXLOCK(whole, ix_lock_file);
        std::_Exit(whole->flocked != 0 ? 0 : 1);
    }
    char c;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    IXLOCK(icb, ix_lock_header);
    c = 1;
    ASSERT_EQ(write(go[1], &c, 1), 1);
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    ix_lock_wait = [](ICB *) {
        ++waits;
        usleep(1000);
    };
    icb->recno = 3;
    int attempts = 0;
    while (!IXLOCK(icb, ix_lock_record) && attempts < 2000) {
        ++attempts;
    }
    EXPECT_LT(attempts, 2000);
    IXLOCK(icb, ix_unlock_record);
    IXLOCK(icb, ix_unlock_header);
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    IXCLOSE(icb);
}

// The key in hand stays current while the lock block is looked at, though a rebuild takes the block away.
TEST_F(store_lock, KeyStaysCurrentOverARebuild) {
    for (int n = 100; n < 400; ++n) {
        const item i = of(n);
        IXWRITE(icb, &i);
    }
    IXSWITCH(icb, 2);
    item i{};
    for (int n = 0; IXNEXT(icb, &i) && n < 200; ++n) {
    }
    ASSERT_GT(icb->curblk, 4);
    const std::int32_t block = icb->curblk;
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_exclusive);
        IXINIT(other);
        IXCLOSE(other);
        return true;
    }));
    ASSERT_EQ(icb->curblk, block);
    std::memset(icb->skey, 'x', sizeof icb->skey);
    EXPECT_TRUE(IXLOCK(icb, ix_lock_key));
    EXPECT_EQ(icb->blk.bkey, 2);
    EXPECT_TRUE(IXLOCK(icb, ix_unlock_key));
    EXPECT_EQ(icb->blk.bkey, 2);
    EXPECT_EQ(queue_count(), 0);
    IXCLOSE(icb);
}

// The system drops all locks of a process on a file when any descriptor of it is closed.
TEST_F(store_lock, TwoHandlesKeepTheirLocks) {
    ICB *second = IXOPEN("L", ix_shared);
    item i = of(3);
    item j = of(4);
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    ASSERT_TRUE(IXREADLOCK(second, &j));
    IXCLOSE(second);
    EXPECT_FALSE(record_free(3));
    EXPECT_TRUE(record_free(4));  // what the closed handle held is free
    IXCHECK("L");
    EXPECT_FALSE(record_free(3));

    // The same record by both: free when both have given it up.
    second = IXOPEN("L", ix_shared);
    j = of(3);
    ASSERT_TRUE(IXREADLOCK(second, &j));
    IXFREE(second, &j);
    EXPECT_FALSE(record_free(3));
    IXFREE(icb, &i);
    EXPECT_TRUE(record_free(3));

    // A refused whole-file lock takes nothing away.
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    {
        const OtherProcess holder([] {
            const int fd = ix_fd_open("L.TXT", O_RDWR);
            file_lock(lock_action::exclusive, fd, 7 * off_t{sizeof(item)}, sizeof(item));
        });
        EXPECT_FALSE(ix_trylock(lock_action::sole, second, second->datfd, 0, 0));
        EXPECT_FALSE(record_free(3));
        EXPECT_TRUE(record_free(5));
    }

    // A whole-file lock beside a record: each is given up by itself.
    EXPECT_TRUE(IXLOCK(second, ix_lock_file));
    IXFREE(icb, &i);
    EXPECT_FALSE(record_free(3));
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    IXLOCK(second, ix_unlock_file);
    EXPECT_FALSE(record_free(3));
    EXPECT_TRUE(record_free(5));
    IXCLOSE(icb);
    EXPECT_TRUE(record_free(3));
    IXCLOSE(second);
}

// Both halves grow past what either handle has mapped.
TEST_F(store_lock, TwoHandlesSeeEachOther) {
    IXCLOSE(icb);
    icb = make_pair_of("G", {"groei,260", "k,C,1,60"}, ix_shared);
    ICB *second = IXOPEN("G", ix_shared);
    char record[260] = {};
    for (int n = 0; n < 12000; ++n) {
        std::snprintf(record, 60, "%07d", n * 7919 % 12000);
        ASSERT_TRUE(IXWRITE(n % 2 == 0 ? icb : second, record));
        char read[260] = {};
        std::memcpy(read, record, 60);
        ASSERT_TRUE(IXREAD(n % 2 == 0 ? second : icb, read)) << n;
    }
    EXPECT_GT(file_size("G.INX"), 1 << 20);
    EXPECT_GT(file_size("G.TXT"), 1 << 21);
    IXCLOSE(icb);
    IXCLOSE(second);
    EXPECT_EQ(ix_verify("G"), std::vector<std::string>{});
}

TEST_F(store_lock, WaitIsTold) {
    ix_lock_wait = plain;
    item i = of(3);
    ASSERT_TRUE(IXREADLOCK(icb, &i));
    EXPECT_TRUE(elsewhere([] {
        ICB *other = IXOPEN("L", ix_shared);
        other->recno = 3;
        operator_notes.clear();
        return !IXLOCK(other, ix_lock_record) &&
               operator_notes ==
                   std::vector<std::string>{
                       "blink|L          : lock                --> Informatie in gebruik op ander scherm"};
    }));
    IXCLOSE(icb);
}

}  // namespace
