// Processes that work beside others, and those that die before any write of an update or a rebuild, or at any
// moment.
//
// Whatever the moment: IXCHECK tells that the pair is unsound, or it is sound in every byte; a rebuild makes
// it sound; and the records are those before or after the operation that the process died in, with nothing
// lost of what was done before.
#include <sys/mman.h>
#include <sys/syscall.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <map>
#include <random>

#include "support/other_process.h"
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

using contents = std::map<int, item>;

enum class act { write, rewrite, erase };

/// The n-th operation of a row, made from nothing but these numbers.
struct operation {
    act what;
    int number;
    int count;
};
operation nth(unsigned seed, int n) {
    std::seed_seq mix{seed, static_cast<unsigned>(n)};
    std::array<unsigned, 3> r;
    mix.generate(r.begin(), r.end());
    const act what = r[0] % 8 < 4 ? act::write : r[0] % 8 < 5 ? act::rewrite : act::erase;
    return {what, static_cast<int>(r[1] % 250), static_cast<int>(r[2] % 1000)};
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

contents read_all_records() {
    contents all;
    ICB *icb = IXOPEN("D", ix_exclusive);
    item i{};
    while (IXSEQ(icb, &i)) {
        EXPECT_TRUE(all.emplace(int{i.number}, i).second) << "record " << i.number << " stands there twice";
    }
    IXCLOSE(icb);
    return all;
}

class store_crash : public store_test {
protected:
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

    /// Does `work` on the pair as it is now, and dies before its first write, its second, and so on, until it
    /// gets through. Tells `look` of each death, or with false of the end. Gives the number of deaths.
    template <class Work, class Look>
    int die_before_every_write(const Work &work, const Look &look) {
        const bytes index = file_bytes("D.INX");
        const bytes data = file_bytes("D.TXT");
        for (int deaths = 0;; ++deaths) {
            SCOPED_TRACE("write " + std::to_string(deaths));
            put_back("D.INX", index);
            put_back("D.TXT", data);
            const bool through = elsewhere([&] {
                writes_left = deaths;
                work();
                return true;
            });
            look(deaths, !through);
            if (through || HasFatalFailure() || deaths > 5000) {
                EXPECT_TRUE(through);
                return deaths;
            }
        }
    }

    int noticed = 0;
};

// A death before each single write of a row of operations that has them all.
TEST_F(store_crash, BeforeEveryWriteOfAnUpdate) {
    constexpr int operations = 24;
    constexpr unsigned seed = 3;
    contents before;
    ICB *icb = make_pair_of("D", item_keys);
    for (int n = 0; n < 200; ++n) {
        const operation o = nth(seed + 1, n);
        carry_out(icb, o);
        perform(before, o);
    }
    IXCLOSE(icb);
    // The number done is told by the size of a file, which outlives a kill.
    const auto operate = [] {
        const int done = open("gedaan", O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ICB *mine = IXOPEN("D", ix_shared);
        for (int n = 0; n < operations; ++n) {
            carry_out(mine, nth(seed, n));
            (void)!write(done, "x", 1);
        }
        IXCLOSE(mine);
    };
    const int deaths = die_before_every_write(operate, [&](int write, bool died) {
        ASSERT_NO_FATAL_FAILURE(judge());
        ix_mend("D", write % 2 == 0 ? sizeof(item) : 0);
        ASSERT_EQ(ix_verify("D", false), sound);
        contents expected = before;
        const auto done = static_cast<int>(file_size("gedaan"));
        for (int n = 0; n < done; ++n) {
            perform(expected, nth(seed, n));
        }
        const contents found = read_all_records();
        if (found != expected) {
            perform(expected, nth(seed, done));
            ASSERT_TRUE(died && found == expected);
        }
    });
    EXPECT_GT(deaths, operations * 3);
    EXPECT_GT(noticed, deaths / 2);
}

constexpr int writers = 3;

/// The n-th operation of one of several writers, who has keys of his own.
operation nth_of(int writer, unsigned seed, int n) {
    operation o = nth(seed + static_cast<unsigned>(writer), n);
    o.number = o.number * writers + writer;
    return o;
}

std::string done_by(int writer) {
    return "gedaan" + std::to_string(writer);
}

/// Starts a process that carries out operations until there is a file "klaar".
pid_t start_writer(int writer, unsigned seed) {
    const int done = open(done_by(writer).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const pid_t child = fork();
    if (child == 0) {
        isam_operator.fatal = [](const char *text) {
            std::_Exit(std::strstr(text, "Niet consistent") != nullptr ? 3 : 1);
        };
        ix_lock_wait = [](ICB *) {
            if (file_exists("klaar")) {
                std::_Exit(0);  // a reservation of the dead is never given up
            }
            usleep(10);
        };
        ICB *mine = IXOPEN("D", ix_shared);
        for (int n = 0; !file_exists("klaar"); ++n) {
            carry_out(mine, nth_of(writer, seed, n));
            (void)!write(done, "x", 1);
        }
        std::_Exit(0);
    }
    close(done);
    return child;
}

// Several writers, of whom one or all are killed at any moment; the others stop at his mark or go on.
TEST_F(store_crash, AnyMomentOfSharedUpdates) {
    IXCLOSE(make_pair_of("D", item_keys));
    contents expected;
    std::mt19937 random(static_cast<unsigned>(first_seed()));
    for (int left = rounds(60); left > 0; --left) {
        SCOPED_TRACE(left);
        const auto seed = static_cast<unsigned>(random());
        file_delete("klaar");
        std::array<pid_t, writers> children{};
        for (int w = 0; w < writers; ++w) {
            children.at(static_cast<std::size_t>(w)) = start_writer(w, seed);
        }
        while (file_size("gedaan0") + file_size("gedaan1") + file_size("gedaan2") < writers) {
            usleep(100);
        }
        usleep(static_cast<useconds_t>(random() % 8000));
        const std::size_t victim = random() % (2 * writers);  // beyond the last writer: all of them
        for (std::size_t w = 0; w < writers; ++w) {
            if (victim == w || victim >= writers) {
                kill(children.at(w), SIGKILL);
            }
        }
        usleep(1000);
        put("klaar");
        for (std::size_t w = 0; w < writers; ++w) {
            int status = 0;
            waitpid(children.at(w), &status, 0);
            const bool by_itself =
                WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 3);
            ASSERT_TRUE(by_itself || victim == w || victim >= writers) << status;
        }
        ASSERT_NO_FATAL_FAILURE(judge());
        ix_mend("D", 0);
        ASSERT_EQ(ix_verify("D", false), sound);
        ASSERT_TRUE(IXBLDIX("D"));  // the dead keep no key reserved
        ASSERT_EQ(ix_verify("D"), sound);
        const contents found = read_all_records();
        for (int w = 0; w < writers; ++w) {
            const auto done = static_cast<int>(file_size(done_by(w).c_str()));
            for (int n = 0; n < done; ++n) {
                perform(expected, nth_of(w, seed, n));
            }
            const operation next = nth_of(w, seed, done);
            const auto in = [&next](const contents &all) {
                const auto at = all.find(next.number);
                return at == all.end() ? item{} : at->second;
            };
            if (!(in(found) == in(expected))) {
                perform(expected, next);  // it stood in the file when he died
            }
        }
        ASSERT_TRUE(found == expected);
    }
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
    const contents before = read_all_records();
    constexpr std::int32_t free = records / 3;
    ix_rebuild_area = 65536;
    const int deaths = die_before_every_write(
        [] { IXBLDIX("D"); },
        [&](int, bool died) {
            const std::int32_t result = IXCHECK("D");
            ASSERT_EQ(result, result < 0 && died ? -1 : free);
            ASSERT_NO_FATAL_FAILURE(judge());
            // Who has the pair open, and asks no IXCHECK, is stopped by the mark.
            ASSERT_EQ(file_bytes("D.INX")[offsetof(ix_header, inupdate)] != 0, result < 0);
            ix_mend("D", 0);
            ASSERT_EQ(IXCHECK("D"), free);
            ASSERT_EQ(ix_verify("D"), sound);
            ASSERT_TRUE(read_all_records() == before);
        });
    ix_rebuild_area = 56 << 20;
    EXPECT_GT(deaths, 10);
}

// ---- Several processes on one pair for a while, of whom none dies

constexpr unsigned sharers = 4;
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
    ICB *icb = number + 1 == processes ? nullptr : IXOPEN("S", number < sharers ? ix_shared : ix_readonly);
    while (state->stop == 0) {
        if (icb == nullptr) {
            alone_once();
        } else if (number < sharers) {
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
