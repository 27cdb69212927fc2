// Several processes on one pair for a while.
#include <sys/mman.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <chrono>
#include <random>

#include "support/store/store_fixture.h"

namespace {

constexpr unsigned writers = 4;
constexpr unsigned processes = 7;  // two readers, and one who opens the pair for himself at times
constexpr int contested = 300;     // keys that are written and deleted all the time
constexpr int steady = 40;         // keys between them that stay as they are
constexpr int own_number = 7;      // of the one who opens the pair for himself

/// What the processes share beside the pair. A line of the ledger is looked at and changed by none but the
/// owner of the record's lock or of the key's reservation, so it tells what he must find in the file.
struct shared_state {
    struct {
        bool present;
        int count;
    } ledger[contested];
    std::array<std::atomic<long>, processes> done;
    std::atomic<int> stop;
};
shared_state *state = nullptr;

void demand(bool holds, const char *what, int key) {
    if (!holds) {
        std::fprintf(stderr, "%s: key %d\n", what, key);
        std::_Exit(2);
    }
}

void write_once(ICB *icb, std::mt19937 &random) {
    const int key = static_cast<int>(random() % contested);
    auto &line = state->ledger[key];
    item i = item_of(key * 10);
    const bool found = IXREADLOCK(icb, &i);
    demand(found == line.present && (!found || i.count == line.count), "not as in the ledger", key);
    const unsigned choice = static_cast<unsigned>(random() % 8);
    if (choice == 0) {
        IXFREE(icb, &i);
    } else if (found && choice <= 2) {
        line.present = false;
        IXDELETE(icb, &i);
    } else if (found && choice == 3) {
        i.count = line.count = line.count + 1;  // in no key
        IXREWRITE(icb, &i);
    } else {
        line.present = true;
        i = item_of(key * 10, ++line.count);
        if (choice == 4) {
            IXWRITEK(icb, &i);
            IXFREE(icb, &i);
        } else {
            IXWRITE(icb, &i);
        }
    }
}

/// A key may be out of sight while a block is split, but not for long.
void demand_steady(ICB *icb, int key) {
    item i = item_of(key * 10 + 5, 1);
    for (int attempt = 0; !IXREAD(icb, &i); ++attempt) {
        demand(attempt < 5000, "steady record lost", key);
        usleep(1000);
    }
    demand(i.number == key * 10 + 5 && i.count == 1, "steady record", key);
}

void read_once(ICB *icb, std::mt19937 &random) {
    demand_steady(icb, static_cast<int>(random() % steady));
    // A record may be another one by the time it is read, so a walk can come back; it must go on.
    IXSWITCH(icb, 1 + static_cast<int>(random() % 3));
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
        const item unchanged = item_of(i.number, 1);
        seen += i.number % 10 == 5 && std::memcmp(&i, &unchanged, sizeof i) == 0 ? 1 : 0;
    }
    demand(seen == steady, "scan", seen);
}

/// Its header stays in memory until it closes: whatever others did meanwhile would be lost.
void alone_once() {
    ICB *icb = IXOPEN("S", ix_exclusive);
    item i = item_of(own_number);
    if (IXREAD(icb, &i)) {
        IXDELETE(icb, &i);
    } else {
        IXWRITE(icb, &i);
    }
    IXCLOSE(icb);
    usleep(5000);
}

[[noreturn]] void work(unsigned number, int seconds) {
    alarm(static_cast<unsigned>(seconds) + 60);
    ix_lock_wait = [](ICB *) { usleep(200); };
    std::mt19937 random(number);
    ICB *icb = number + 1 == processes ? nullptr : IXOPEN("S", number < writers ? ix_shared : ix_readonly);
    while (state->stop == 0) {
        if (icb == nullptr) {
            alone_once();
        } else if (number < writers) {
            write_once(icb, random);
        } else {
            read_once(icb, random);
        }
        ++state->done[number];
    }
    if (icb != nullptr) {
        IXCLOSE(icb);
    }
    std::_Exit(0);
}

using store_share = store_test;

TEST_F(store_share, WritersAndReaders) {
    void *memory =
        mmap(nullptr, sizeof(shared_state), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    state = static_cast<shared_state *>(memory);
    ICB *icb = make_pair_of("S", item_keys);
    for (int key = 0; key < steady; ++key) {
        write_item(icb, key * 10 + 5, 1);
    }
    IXCLOSE(icb);
    const int seconds = rounds(2);
    std::vector<pid_t> children;
    for (unsigned number = 0; number < processes; ++number) {
        children.push_back(fork());
        if (children.back() == 0) {
            work(number, seconds);
        }
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    siginfo_t ended{};
    while (ended.si_pid == 0 && std::chrono::steady_clock::now() < end) {
        usleep(10000);
        waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT);
    }
    EXPECT_EQ(ended.si_pid, 0) << "a process ended early";
    state->stop = 1;
    for (unsigned number = 0; number < processes; ++number) {
        int status = 1;
        waitpid(children[number], &status, 0);
        EXPECT_EQ(status, 0) << "process " << number;
        EXPECT_GT(state->done[number], 0);
    }
    EXPECT_EQ(ix_verify("S"), sound);  // unique keys, and nothing reserved
    icb = IXOPEN("S", ix_exclusive);
    item i = item_of(own_number);
    int expected = steady + (IXREAD(icb, &i) ? 1 : 0);
    for (int key = 0; key < contested; ++key) {
        const auto &line = state->ledger[key];
        i = item_of(key * 10);
        ASSERT_EQ(IXREAD(icb, &i), line.present) << key;
        EXPECT_TRUE(!line.present || i.count == line.count) << key;
        expected += line.present ? 1 : 0;
    }
    int records = 0;
    while (IXSEQ(icb, &i)) {
        ++records;
    }
    EXPECT_EQ(records, expected);
    IXCLOSE(icb);
    munmap(state, sizeof *state);
}

}  // namespace
