// Processes that die in the middle of an update or a rebuild. STORE_KILLS gives the number of random
// kills, 60 when it isn't given.
//
// Whatever the moment: IXCHECK tells that the pair is unsound, or it is sound in every byte; a rebuild makes
// it sound; and the records are those before or after the operation that the process died in, with nothing
// lost of what was done before.
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstring>
#include <map>
#include <random>

#include "support/store/store_fixture.h"

namespace {
long writes_left = -1;
}

/// The store's writes pass here: the process dies before the one at which the count runs out.
extern "C" ssize_t pwrite(int fd, const void *from, size_t size, off_t offset) {
    if (writes_left >= 0 && writes_left-- == 0) {
        kill(getpid(), SIGKILL);
    }
    return syscall(SYS_pwrite64, fd, from, size, offset);
}

namespace {

constexpr int writers = 3;

using contents = std::map<int, item>;

enum class act { write, rewrite, erase };

/// The n-th operation of a writer, made from nothing but these numbers.
struct operation {
    act what;
    int number;
    int count;
};
operation nth(unsigned seed, int writer, int n) {
    std::seed_seq mix{seed, static_cast<unsigned>(writer), static_cast<unsigned>(n)};
    std::array<unsigned, 3> r;
    mix.generate(r.begin(), r.end());
    const act what = r[0] % 8 < 4 ? act::write : r[0] % 8 < 5 ? act::rewrite : act::erase;
    return {what, static_cast<int>(r[1] % 250) * writers + writer, static_cast<int>(r[2] % 1000)};
}

/// A rewrite may change no key, so it writes a count into the unkeyed bytes at the end.
void touch(item &i, int count) {
    std::memcpy(i.text + 44, &count, 4);
}

void perform(contents &to, const operation &o) {
    const auto at = to.find(o.number);
    if (o.what == act::write) {
        to[o.number] = item_of(o.number, o.count);
    } else if (o.what == act::erase) {
        to.erase(o.number);
    } else if (at != to.end()) {
        touch(at->second, o.count);
    }
}

void carry_out(ICB *icb, const operation &o) {
    item i = item_of(o.number);
    const bool found = IXREADLOCK(icb, &i);
    if (o.what == act::write) {
        i = item_of(o.number, o.count);
        IXWRITE(icb, &i);
    } else if (!found) {
        IXFREE(icb, &i);
    } else if (o.what == act::rewrite) {
        touch(i, o.count);
        IXREWRITE(icb, &i);
    } else {
        IXDELETE(icb, &i);
    }
}

/// Operations that each writer has finished; the memory outlives a kill.
struct progress {
    std::array<std::atomic<int>, writers> done;
    std::atomic<int> stop;
};
progress *shared = nullptr;

/// A process that carries out operations until it is stopped.
pid_t start_writer(unsigned seed, int writer) {
    std::atomic<int> &done = shared->done[static_cast<std::size_t>(writer)];
    done = 0;
    const pid_t child = fork();
    if (child == 0) {
        ICB *mine = IXOPEN("D", ix_shared);
        for (; shared->stop == 0; ++done) {
            carry_out(mine, nth(seed, writer, done));
        }
        IXCLOSE(mine);
        std::_Exit(0);
    }
    return child;
}

contents read_all_records() {
    contents all;
    ICB *icb = IXOPEN("D", ix_exclusive);
    item i{};
    while (IXSEQ(icb, &i)) {
        EXPECT_TRUE(all.emplace(int{i.number}, i).second) << "record " << i.number << " stands there twice";
    }
    for (int k = 1; k <= icb->nkeys; ++k) {
        IXSWITCH(icb, k);
        std::size_t steps = 0;
        std::memset(&i, 0, sizeof i);
        for (bool more = IXFIRST(icb, &i); more && steps <= all.size(); more = IXNEXT(icb, &i)) {
            ++steps;
        }
        EXPECT_EQ(steps, all.size()) << "key " << k;
    }
    IXCLOSE(icb);
    return all;
}

bool killed(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

class store_crash : public store_test {
protected:
    void SetUp() override {
        store_test::SetUp();
        void *memory =
            mmap(nullptr, sizeof(progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(memory, MAP_FAILED);
        shared = static_cast<progress *>(memory);
        // What the living say of an update that somebody died in.
        isam_operator.fatal = [](const char *text) {
            if (std::strstr(text, "Niet consistent") != nullptr) {
                std::_Exit(3);
            }
            std::fprintf(stderr, "%s\n", text);
            std::_Exit(1);
        };
        ix_lock_wait = [](ICB *) {
            if (shared->stop != 0) {
                std::_Exit(0);  // a reservation of the dead is never given up
            }
            usleep(10);
        };
    }
    void TearDown() override {
        munmap(shared, sizeof *shared);
        store_test::TearDown();
    }

    /// The state of the pair after a death: noticed by IXCHECK and seen as unfinished, or sound.
    void judge() {
        const bool refused = IXCHECK("D") < 0;
        ASSERT_EQ(ix_unfinished("D"), refused);
        if (refused) {
            ++noticed;
        } else {
            ASSERT_EQ(ix_verify("D", false), sound);
        }
    }

    int noticed = 0;
};

// One writer, and a death before each single write of a row of operations that has them all.
TEST_F(store_crash, BeforeEveryWriteOfAnUpdate) {
    constexpr int operations = 24;
    constexpr unsigned seed = 3;
    contents before;
    ICB *icb = make_pair_of("D", item_keys);
    for (int n = 0; n < 200; ++n) {
        const operation o = nth(seed + 1, 0, n);
        carry_out(icb, o);
        perform(before, o);
    }
    IXCLOSE(icb);
    const bytes index = file_bytes("D.INX");
    const bytes data = file_bytes("D.TXT");
    int deaths = 0;
    for (bool more = true; more; deaths += more ? 1 : 0) {
        put_back("D.INX", index);
        put_back("D.TXT", data);
        shared->done[0] = 0;
        const pid_t child = fork();
        if (child == 0) {
            ICB *mine = IXOPEN("D", ix_shared);
            writes_left = deaths;
            for (int n = 0; n < operations; ++n) {
                carry_out(mine, nth(seed, 0, n));
                ++shared->done[0];
            }
            IXCLOSE(mine);
            std::_Exit(0);
        }
        more = killed(child);
        ASSERT_NO_FATAL_FAILURE(judge()) << "write " << deaths;
        ix_mend("D", deaths % 2 == 0 ? sizeof(item) : 0);
        ASSERT_EQ(ix_verify("D", false), sound) << "write " << deaths;
        contents expected = before;
        for (int n = 0; n < shared->done[0]; ++n) {
            perform(expected, nth(seed, 0, n));
        }
        const contents found = read_all_records();
        if (found != expected) {
            perform(expected, nth(seed, 0, shared->done[0]));
            ASSERT_TRUE(more && found == expected) << "write " << deaths;
        }
    }
    EXPECT_GT(deaths, operations * 3);
    EXPECT_GT(noticed, deaths / 2);
}

// Several writers, of whom one or all are killed at any moment; the others stop at his mark or go on.
TEST_F(store_crash, AnyMomentOfSharedUpdates) {
    const int kills = from_environment("STORE_KILLS", 60);
    IXCLOSE(make_pair_of("D", item_keys));
    std::array<contents, writers> state;  // each writer has keys of his own
    std::mt19937 random(11);
    int finished = 0;
    for (int round = 0; round < kills; ++round) {
        const auto seed = static_cast<unsigned>(1000 + round);
        shared->stop = 0;
        std::array<pid_t, writers> children;
        for (int w = 0; w < writers; ++w) {
            children[static_cast<std::size_t>(w)] = start_writer(seed, w);
        }
        while (shared->done[0] + shared->done[1] + shared->done[2] < writers) {
            usleep(100);
        }
        usleep(static_cast<useconds_t>(random() % 8000));
        const bool everyone = round % 2 != 0;
        const std::size_t victim = random() % writers;
        for (std::size_t w = 0; w < writers; ++w) {
            if (everyone || w == victim) {
                kill(children[w], SIGKILL);
            }
        }
        usleep(1000);
        shared->stop = 1;
        for (std::size_t w = 0; w < writers; ++w) {
            int status = 0;
            waitpid(children[w], &status, 0);
            ASSERT_TRUE(WIFSIGNALED(status) ? everyone || w == victim
                                            : WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 3)
                << status;
        }
        ASSERT_NO_FATAL_FAILURE(judge()) << "round " << round;
        ix_mend("D", 0);
        ASSERT_EQ(ix_verify("D", false), sound) << "round " << round;
        ASSERT_TRUE(IXBLDIX("D"));  // the dead keep no key reserved
        ASSERT_EQ(ix_verify("D"), sound) << "round " << round;
        std::array<contents, writers> found;
        for (const auto &[number, i] : read_all_records()) {
            found[static_cast<std::size_t>(number % writers)].emplace(number, i);
        }
        for (std::size_t w = 0; w < writers; ++w) {
            const int done = shared->done[w];
            for (int n = 0; n < done; ++n) {
                perform(state[w], nth(seed, static_cast<int>(w), n));
            }
            finished += done;
            if (found[w] != state[w]) {
                perform(state[w], nth(seed, static_cast<int>(w), done));  // it stood in the file when he died
                ASSERT_TRUE(found[w] == state[w]) << "round " << round << " writer " << w;
            }
        }
    }
    EXPECT_GT(finished, kills);
}

/// The data half, with what a rebuild may change blanked out: the links of the free records.
bytes without_links(bytes data) {
    for (std::size_t at = 0; at + sizeof(item) <= data.size(); at += sizeof(item)) {
        if (!ix_live(data.data() + at, sizeof(item))) {
            std::fill_n(data.begin() + static_cast<std::ptrdiff_t>(at) + 1, 4, std::uint8_t{0});
        }
    }
    return data;
}

TEST_F(store_crash, BeforeEveryWriteOfARebuild) {
    constexpr int records = 240;
    ICB *icb = make_pair_of("D", item_keys);
    for (int n = 0; n < records; ++n) {
        write_item(icb, n * 7919 % records, n * n % 1000);
    }
    for (int n = 0; n < records; n += 3) {
        delete_item(icb, n);
    }
    IXCLOSE(icb);
    constexpr std::int32_t free = records / 3;
    ix_rebuild_area = 65536;
    const bytes index = file_bytes("D.INX");
    const bytes data = file_bytes("D.TXT");
    int deaths = 0;
    for (bool more = true; more; deaths += more ? 1 : 0) {
        put_back("D.INX", index);
        put_back("D.TXT", data);
        const pid_t child = fork();
        if (child == 0) {
            writes_left = deaths;
            IXBLDIX("D");
            std::_Exit(0);
        }
        more = killed(child);
        const std::int32_t result = IXCHECK("D");
        ASSERT_EQ(result, result < 0 && more ? -1 : free) << "write " << deaths;
        ASSERT_NO_FATAL_FAILURE(judge()) << "write " << deaths;
        // Who has the pair open, and asks no IXCHECK, is stopped by the mark.
        ASSERT_EQ(file_bytes("D.INX")[offsetof(ix_header, inupdate)] != 0, result < 0) << "write " << deaths;
        ix_mend("D", 0);
        ASSERT_EQ(IXCHECK("D"), free);
        ASSERT_EQ(ix_verify("D"), sound);
        ASSERT_TRUE(without_links(file_bytes("D.TXT")) == without_links(data)) << "write " << deaths;
    }
    ix_rebuild_area = 56 << 20;
    EXPECT_GT(deaths, 10);
}

}  // namespace
