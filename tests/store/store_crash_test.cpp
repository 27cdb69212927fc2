// Processes that die before any write of an update or a rebuild.
//
// Whatever the moment: IXCHECK tells that the pair is unsound, or it is sound in every byte; a rebuild makes
// it sound; and the records are those before or after the operation that the process died in, with nothing
// lost of what was done before.
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
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

/// Does `work` in another process; true when that was killed.
template <class Work>
bool killed(const Work &work) {
    const pid_t child = fork();
    if (child == 0) {
        work();
        std::_Exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
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

    int noticed = 0;
};

/// Carries out operations until it dies before a write, or all are done. The number done is told by the size
/// of a file, which outlives a kill.
void carry_out_until(long deadly_write, unsigned seed, int operations) {
    const int done = open("gedaan", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ICB *mine = IXOPEN("D", ix_shared);
    writes_left = deadly_write;
    for (int n = 0; n < operations; ++n) {
        carry_out(mine, nth(seed, n));
        (void)!write(done, "x", 1);
    }
    IXCLOSE(mine);
}

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
    const bytes index = file_bytes("D.INX");
    const bytes data = file_bytes("D.TXT");
    int deaths = 0;
    for (bool more = true; more; deaths += more ? 1 : 0) {
        put_back("D.INX", index);
        put_back("D.TXT", data);
        more = killed([&] { carry_out_until(deaths, seed, operations); });
        ASSERT_NO_FATAL_FAILURE(judge()) << "write " << deaths;
        ix_mend("D", deaths % 2 == 0 ? sizeof(item) : 0);
        ASSERT_EQ(ix_verify("D", false), sound) << "write " << deaths;
        contents expected = before;
        const auto done = static_cast<int>(file_size("gedaan"));
        for (int n = 0; n < done; ++n) {
            perform(expected, nth(seed, n));
        }
        const contents found = read_all_records();
        if (found != expected) {
            perform(expected, nth(seed, done));
            ASSERT_TRUE(more && found == expected) << "write " << deaths;
        }
    }
    EXPECT_GT(deaths, operations * 3);
    EXPECT_GT(noticed, deaths / 2);
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
        more = killed([&] {
            writes_left = deaths;
            IXBLDIX("D");
        });
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
