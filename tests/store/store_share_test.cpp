// Several processes on one pair for a while: STORE_SHARE_SECONDS, 3 when it isn't given.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <random>

#include "store/store_internal.h"
#include "support/store/store_fixture.h"

namespace {

constexpr int writers = 4;
constexpr int readers = 2;
constexpr int contested = 300;  // keys that are written and deleted all the time
constexpr int steady = 40;      // keys between them that stay as they are

struct item {
    boost::endian::little_int32_t number;
    boost::endian::little_int32_t count;
    char name[32];
};

item of(int number, int count) {
    item i{};
    i.number = number;
    i.count = count;
    std::snprintf(i.name, sizeof i.name, "n%d", (number + count) % 17);
    return i;
}

/// What the processes share beside the pair. A line of the ledger is looked at and changed by none but the
/// owner of the record's lock or of the key's reservation, so it tells what he must find in the file.
struct shared_state {
    struct {
        int present;
        int count;
    } ledger[contested];
    std::array<std::atomic<long>, writers + readers> done;
    std::atomic<int> stop;
};
shared_state *state = nullptr;

[[noreturn]] void fail(const char *what, int number, int found, int expected) {
    std::fprintf(stderr, "%s: key %d, found %d, not %d\n", what, number, found, expected);
    std::_Exit(2);
}

void write_on_and_on(unsigned seed) {
    std::mt19937 random(seed);
    ICB *icb = IXOPEN("S", ix_shared);
    while (state->stop == 0) {
        const int key = static_cast<int>(random() % contested);
        auto &line = state->ledger[key];
        item i = of(key * 10, 0);
        const bool found = IXREADLOCK(icb, &i);
        if (found != (line.present != 0)) {
            fail("presence", key, found, line.present);
        }
        if (found && i.count != line.count) {
            fail("count", key, i.count, line.count);
        }
        ++state->done[seed];
        const unsigned choice = static_cast<unsigned>(random() % 8);
        if (choice == 0) {
            IXFREE(icb, &i);
        } else if (found && choice <= 2) {
            line.present = 0;
            IXDELETE(icb, &i);
        } else if (found && choice == 3) {
            i.count = line.count = line.count + 17;  // the name stays the same
            IXREWRITE(icb, &i);
        } else {
            line.present = 1;
            ++line.count;
            i = of(key * 10, line.count);
            if (choice == 4) {
                IXWRITEK(icb, &i);
                IXFREE(icb, &i);
            } else {
                IXWRITE(icb, &i);
            }
        }
    }
    IXCLOSE(icb);
}

/// A key may be out of sight while a block is split, but not for long.
void demand_steady(ICB *icb, int key) {
    for (int attempt = 0; attempt < 5000; ++attempt) {
        item i = of(key * 10 + 5, 1);
        if (IXREAD(icb, &i)) {
            if (i.number != key * 10 + 5 || i.count != 1) {
                fail("steady record", key, i.count, 1);
            }
            return;
        }
        usleep(1000);
    }
    fail("steady record", key, 0, 1);
}

void read_on_and_on(unsigned seed) {
    std::mt19937 random(seed);
    ICB *icb = IXOPEN("S", ix_readonly);
    while (state->stop == 0) {
        demand_steady(icb, static_cast<int>(random() % steady));
        // A record may be another one by the time it is read, so a walk can come back; it must go on.
        IXSWITCH(icb, 1 + static_cast<int>(random() % 2));
        item i{};
        int left = 2000;
        const bool forward = random() % 2 == 0;
        if (!forward) {
            std::memset(&i, 0xFE, sizeof i);
            IXFIND(icb, &i);
        }
        for (bool more = forward ? IXFIRST(icb, &i) : IXPREV(icb, &i); more && --left > 0;
             more = forward ? IXNEXT(icb, &i) : IXPREV(icb, &i)) {
        }
        IXSWITCH(icb, 1);
        int seen = 0;
        while (IXSEQ(icb, &i)) {
            const item unchanged = of(i.number, 1);
            seen += i.number % 10 == 5 && std::memcmp(&i, &unchanged, sizeof i) == 0 ? 1 : 0;
        }
        if (seen != steady) {
            fail("scan", 0, seen, steady);
        }
        ++state->done[seed];
    }
    IXCLOSE(icb);
}

class store_share : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        void *memory =
            mmap(nullptr, sizeof(shared_state), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(memory, MAP_FAILED);
        state = static_cast<shared_state *>(memory);
    }
    void TearDown() override {
        ix_lock_wait = plain;
        munmap(state, sizeof *state);
        store_test::TearDown();
    }
    void (*plain)(ICB *) = ix_lock_wait;
};

TEST_F(store_share, WritersAndReaders) {
    ICB *icb = make_pair_of("S", {"samen,40", "k,I,1,4", "naam,C,9,40"}, ix_shared);
    for (int key = 0; key < steady; ++key) {
        const item i = of(key * 10 + 5, 1);
        IXWRITE(icb, &i);
    }
    IXCLOSE(icb);
    const char *text = std::getenv("STORE_SHARE_SECONDS");
    const int seconds = text == nullptr ? 3 : std::atoi(text);
    std::vector<pid_t> children;
    for (unsigned w = 0; w < writers + readers; ++w) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(static_cast<unsigned>(seconds) + 60);
            ix_lock_wait = [](ICB *) { usleep(200); };
            w < writers ? write_on_and_on(w) : read_on_and_on(w);
            std::_Exit(0);
        }
        children.push_back(child);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    int ended = 0;
    for (; ended == 0 && std::chrono::steady_clock::now() < end; usleep(10000)) {
        siginfo_t info{};
        waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT);
        ended = info.si_pid;
    }
    EXPECT_EQ(ended, 0) << "a process ended early";
    state->stop = 1;
    long updates = 0;
    for (unsigned w = 0; w < children.size(); ++w) {
        int status = 1;
        waitpid(children[w], &status, 0);
        EXPECT_EQ(status, 0) << "process " << w;
        EXPECT_GT(state->done[w], 0);
        updates += w < writers ? state->done[w].load() : 0;
    }
    RecordProperty("updates", std::to_string(updates));
    EXPECT_EQ(ix_verify("S"), std::vector<std::string>{});  // unique keys, and nothing reserved
    icb = IXOPEN("S", ix_exclusive);
    int present = 0;
    for (int key = 0; key < contested; ++key) {
        item i = of(key * 10, 0);
        ASSERT_EQ(IXREAD(icb, &i), state->ledger[key].present != 0) << key;
        if (state->ledger[key].present != 0) {
            EXPECT_EQ(i.count, state->ledger[key].count) << key;
            ++present;
        }
    }
    item i{};
    int records = 0;
    while (IXSEQ(icb, &i)) {
        ++records;
    }
    EXPECT_EQ(records, present + steady);
    IXCLOSE(icb);
    std::printf("%ld locked reads by %d writers, %ld rounds by %d readers in %d s\n", updates, writers,
                state->done[4] + state->done[5], readers, seconds);
}

}  // namespace
