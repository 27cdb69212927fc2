// IXBLDIX, IXCHECK, the block cache, and ixreorgk.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <random>

#include "store/store_internal.h"
#include "support/store/store_fixture.h"

namespace {

using store_rebuild = store_test;

/// A data half of records of 24 bytes: key 1 a shuffled number, key 2 a name of few letters. A third is dead
/// when `dead` says so, with anything in bytes 1 to 4.
void write_data(const char *name, int count, bool shuffled, bool dead) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::mt19937 random(7);
    for (int n = 0; n < count; ++n) {
        numbers[static_cast<std::size_t>(n)] = n;
    }
    if (shuffled) {
        std::shuffle(numbers.begin(), numbers.end(), random);
    }
    bytes all;
    for (const int number : numbers) {
        std::uint8_t record[24] = {};
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
    std::ofstream(std::string(name) + ".TXT", std::ios::binary)
        .write(reinterpret_cast<const char *>(all.data()), static_cast<std::streamsize>(all.size()));
}

void define(const char *name) {
    ICB *icb = IXCREATE(name, ix_exclusive);
    IXUPDFCB(icb, 0, "bouw,24");
    IXUPDFCB(icb, 1, "k,I,1,4");
    IXUPDFCB(icb, 2, "naam,C,5,12");
    IXUPDFCB(icb, 3, "c,I,13,13,C,5,6");
    IXCLOSE(icb);
}

TEST_F(store_rebuild, OfAnyData) {
    struct {
        int records;
        bool shuffled;
        bool dead;
        std::size_t area;
    } const cases[] = {
        {0, false, false, 56 << 20},   {1, false, false, 56 << 20},  {5000, false, false, 56 << 20},
        {5000, true, true, 56 << 20},  {20000, true, true, 1 << 16}, {20000, false, true, 1 << 16},
        {20000, true, false, 1 << 18},
    };
    for (const auto &c : cases) {
        define("B");
        write_data("B", c.records, c.shuffled, c.dead);
        ix_rebuild_area = c.area;
        ASSERT_TRUE(IXBLDIX("B"));
        EXPECT_EQ(ix_verify("B"), std::vector<std::string>{}) << c.records << " records";
        const std::int32_t free = IXCHECK("B");
        EXPECT_EQ(free > 0, c.dead);
        ICB *icb = IXOPEN("B", ix_shared);
        EXPECT_EQ(icb->nrecs, c.records);
        // In the new chain the numbers descend.
        std::int32_t above = icb->nrecs;
        std::uint8_t record[24];
        for (std::int32_t at = icb->freehead; at >= 0;) {
            ASSERT_LT(at, above);
            above = at;
            ASSERT_EQ(IXGET(icb, record, at), 0);
            std::memcpy(&at, record + 1, 4);
        }
        IXCLOSE(icb);
        const bytes first = file_bytes("B.TXT");
        ASSERT_TRUE(IXBLDIX("B"));  // a second time changes no record
        EXPECT_EQ(file_bytes("B.TXT"), first);
        EXPECT_EQ(ix_verify("B"), std::vector<std::string>{});
    }
    ix_rebuild_area = 56 << 20;
}

TEST_F(store_rebuild, AllRecordsFree) {
    define("B");
    std::ofstream("B.TXT", std::ios::binary) << std::string(24 * 1000, '\xFF');
    EXPECT_TRUE(IXBLDIX("B"));
    EXPECT_EQ(IXCHECK("B"), 1000);
    EXPECT_EQ(ix_verify("B"), std::vector<std::string>{});
    ASSERT_EQ(remove("B.TXT"), 0);
    EXPECT_EQ(IXCHECK("B"), -1);
    EXPECT_TRUE(IXBLDIX("B"));
    EXPECT_EQ(IXCHECK("B"), 0);
}

TEST_F(store_rebuild, EqualKeysOfKeyOne) {
    define("B");
    std::ofstream("B.TXT", std::ios::binary) << std::string(24 * 300, 'x');
    EXPECT_TRUE(IXBLDIX("B"));
    ICB *icb = IXOPEN("B", ix_shared);
    char record[24];
    std::memset(record, 'x', sizeof record);
    EXPECT_TRUE(IXREAD(icb, record));
    EXPECT_EQ(icb->recno, 299);  // each goes before its equals
    IXCLOSE(icb);
}

TEST_F(store_rebuild, RefusedWithNothingChanged) {
    define("B");
    write_data("B", 100, false, true);
    ASSERT_EQ(truncate("B.TXT", 24 * 100 - 1), 0);
    const bytes index = file_bytes("B.INX");
    const bytes data = file_bytes("B.TXT");
    EXPECT_FALSE(IXBLDIX("B"));
    EXPECT_EQ(IXCHECK("B"), -1);
    EXPECT_EQ(file_bytes("B.INX"), index);
    EXPECT_EQ(file_bytes("B.TXT"), data);
}

// A data half beyond the reach of 32-bit offsets: refused by all, in spite of fitting counts.
TEST_F(store_rebuild, DataHalfTooLong) {
    define("B");
    ASSERT_TRUE(IXBLDIX("B"));
    constexpr std::int32_t nrecs = 0x7FFFFFFF / 24 + 2;
    ASSERT_EQ(truncate("B.TXT", off_t{nrecs} * 24), 0);
    const boost::endian::little_int32_t counts[] = {nrecs - 1, nrecs};  // freehead and nrecs
    const auto *raw = reinterpret_cast<const std::uint8_t *>(counts);
    put_bytes("B.INX", 12, bytes(raw, raw + sizeof counts));
    const bytes index = file_bytes("B.INX");
    EXPECT_EQ(IXCHECK("B"), -1);
    EXPECT_EXIT(IXOPEN("B", ix_shared), testing::ExitedWithCode(1), "Niet consistent");
    EXPECT_FALSE(IXBLDIX("B"));
    EXPECT_EQ(file_bytes("B.INX"), index);
}

// The definition that was read before the wait for the lock may not be put over a newer one.
TEST_F(store_rebuild, MadeAnewDuringTheWait) {
    define("B");
    ASSERT_TRUE(IXBLDIX("B"));
    static int go[2];
    int ready[2];
    ASSERT_EQ(pipe(go), 0);
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    char c = 0;
    if (child == 0) {
        alarm(20);
        ICB *icb = IXOPEN("B", ix_exclusive);
        (void)!write(ready[1], &c, 1);
        (void)!read(go[0], &c, 1);
        IXUPDFCB(icb, 2, "naam,C,5,20");
        IXINIT(icb);
        IXCLOSE(icb);
        std::_Exit(0);
    }
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    void (*const plain)(ICB *) = ix_lock_wait;
    ix_lock_wait = [](ICB *icb) {
        EXPECT_STREQ(icb->fname, "B");  // shown to the operator
        const char byte = 0;
        (void)!write(go[1], &byte, 1);
        usleep(5000);
    };
    EXPECT_FALSE(IXBLDIX("B"));
    ix_lock_wait = plain;
    waitpid(child, nullptr, 0);
    EXPECT_EQ(file_bytes("B.INX")[90 + 9], 20);  // the length of key 2
    EXPECT_TRUE(IXBLDIX("B"));
    EXPECT_EQ(IXCHECK("B"), 0);
}

TEST_F(store_rebuild, Progress) {
    define("B");
    write_data("B", 2000, false, false);
    isam_operator.progress = [](int action, std::uint32_t value, std::uint32_t total, const char *title) {
        operator_notes.push_back(std::to_string(action) + " " + std::to_string(value) + "/" +
                                 std::to_string(total) + (title == nullptr ? "" : title));
    };
    ASSERT_TRUE(IXBLDIX("B"));
    const std::string title = " ZUV - QB-ISAM  >>> IXBLDIX <<< B ";
    EXPECT_EQ(operator_notes, (std::vector<std::string>{"0 0/3" + title, "1 1/3" + title, "1 2/3" + title,
                                                        "1 3/3" + title, "1 3/3" + title, "2 3/3" + title}));
}

TEST_F(store_rebuild, CheckFollowsTheChain) {
    define("B");
    write_data("B", 60, false, true);
    ASSERT_TRUE(IXBLDIX("B"));
    const bytes index = file_bytes("B.INX");
    const bytes data = file_bytes("B.TXT");
    const std::int32_t free = IXCHECK("B");
    std::int32_t head;
    std::memcpy(&head, index.data() + 12, 4);
    const std::size_t second = static_cast<std::size_t>(head) * 24 + 1;
    struct {
        const char *file;
        std::size_t offset;
        bytes what;
        std::int32_t result;
        std::int32_t mended;         // IXCHECK once the pair was mended by one who doesn't know its records
        std::int32_t mended_by_one;  // who does
    } const cases[] = {
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
    for (const auto &c : cases) {
        put_bytes(c.file, c.offset, c.what);
        if (c.offset != 258) {
            EXPECT_EQ(IXCHECK("B"), c.result) << c.file << " at " << c.offset;
        }
        for (const std::size_t known : {std::size_t{0}, std::size_t{24}}) {
            ix_mend("B", known);
            EXPECT_EQ(c.offset == 258 ? -1 : IXCHECK("B"), known == 0 ? c.mended : c.mended_by_one)
                << c.file << " at " << c.offset;
        }
        ASSERT_EQ(truncate("B.INX", static_cast<off_t>(index.size())), 0);
        ASSERT_EQ(truncate("B.TXT", static_cast<off_t>(data.size())), 0);
        put_bytes("B.INX", 0, index);
        put_bytes("B.TXT", 0, data);
    }
    EXPECT_EQ(IXCHECK("B"), free);
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
    EXPECT_EQ(IXCHECK("B"), free);
    // The same pair by the name of its index half, which leaves out nothing.
    EXPECT_EQ(IXCHECK("B.INX"), free);
    put_bytes("B.TXT", data.size(), hex("00*24"));
    EXPECT_EQ(IXCHECK("B.INX"), -1);
}

TEST_F(store_rebuild, CacheKeepsRootsAndEvictsTheOld) {
    ICB *icb = make_pair_of("C", {"cache,8", "k,I,1,4"});
    const auto on_disk = [](int block) {
        const bytes all = file_bytes("C.INX");
        const std::size_t at = static_cast<std::size_t>(block) * 512 + 5;
        return at < all.size() ? all[at] : 0;
    };
    ASSERT_EQ(IOCACHE(cache_action::init, icb, 0), 1);
    const bytes header = file_bytes("C.INX");
    const auto put = [icb](int block) {
        icb->blk = {};
        icb->blk.bkey = 1;
        icb->blk.blevel = 1;
        icb->blk.bcount = 1;
        icb->blk.bentries[0] = static_cast<std::uint8_t>(block);
        IXWRIX(icb, block);
    };
    put(1);
    for (int block = 3; block < 52; ++block) {  // 49 blocks fill the slots
        put(block);
    }
    put(51);  // is there already
    EXPECT_EQ(on_disk(3), 0);
    put(52);
    EXPECT_EQ(on_disk(3), 3);  // the oldest went
    EXPECT_EQ(on_disk(51), 0);
    EXPECT_NE(on_disk(1), 1);  // the root stays
    for (const int block : {1, 3, 30, 52}) {
        IXRDIX(icb, block);
        EXPECT_EQ(icb->blk.bentries[0], block);
        EXPECT_EQ(icb->curblk, block);
    }
    EXPECT_EQ(IOCACHE(cache_action::finish, icb, 0), 1);
    EXPECT_EQ(icb->cached, 0);
    for (const int block : {1, 3, 30, 51, 52}) {
        EXPECT_EQ(on_disk(block), block);
    }
    EXPECT_TRUE(std::equal(header.begin(), header.begin() + 512, file_bytes("C.INX").begin()));
    IXCLOSE(icb);
}

// Files may not grow beyond a limit: a clear stop, and a rebuild sets it right when there is room again.
TEST_F(store_rebuild, DiskFull) {
    const auto limited = [](long bytes_left) {
        const rlimit limit{static_cast<rlim_t>(bytes_left), RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    for (const int mode : {ix_exclusive, ix_shared}) {
        for (const long size : {2600L, 5000L, 20011L, 30000L}) {
            define("B");
            write_data("B", 50, true, false);
            ASSERT_TRUE(IXBLDIX("B"));
            const auto insert = [&] {
                limited(size);
                ICB *icb = IXOPEN("B", mode);
                for (int n = 100; n < 5000; ++n) {
                    std::uint8_t record[24] = {};
                    std::memcpy(record, &n, 4);
                    IXWRITE(icb, record);
                }
            };
            EXPECT_EXIT(insert(), testing::ExitedWithCode(1), "QBISAM\\(27\\): B.(INX|TXT) ") << size;
            EXPECT_EQ(IXCHECK("B"), -1) << "mode " << mode << " size " << size;
            ASSERT_TRUE(IXBLDIX("B"));
            EXPECT_EQ(ix_verify("B"), std::vector<std::string>{});
        }
    }
    write_data("B", 5000, true, false);
    const auto rebuild = [&] {
        limited(40000);
        IXBLDIX("B");
    };
    EXPECT_EXIT(rebuild(), testing::ExitedWithCode(1), "QBISAM\\(27\\): B.INX ");
    const auto full = [] {
        ICB icb{};
        icb.mode = ix_readonly;
        std::strcpy(icb.opened_as, "B");
        errno = ENOSPC;
        ix_disk_failed(&icb, true);
    };
    EXPECT_EXIT(full(), testing::ExitedWithCode(1), "QBISAM\\(28\\): B.INX \\(de schijf is vol\\)");
    EXPECT_EQ(IXCHECK("B"), -1);
    ASSERT_TRUE(IXBLDIX("B"));
    EXPECT_EQ(ix_verify("B"), std::vector<std::string>{});
}

int run(const std::string &arguments, std::string &output) {
    FILE *pipe = popen((IXREORGK " " + arguments + " 2>&1 </dev/null").c_str(), "r");
    char line[200];
    output.clear();
    while (std::fgets(line, sizeof line, pipe) != nullptr) {
        output += line;
    }
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(store_rebuild, Ixreorgk) {
    define("B");
    write_data("B", 3000, true, true);
    put_bytes("B.INX", 45, {1});
    std::string output;
    EXPECT_EQ(run("B", output), 0);
    EXPECT_EQ(output, "");
    EXPECT_EQ(ix_verify("B"), std::vector<std::string>{});
    EXPECT_EQ(run("", output), 1);
    EXPECT_NE(output.find("Gebruik: ixreorgk NAAM"), std::string::npos);
    EXPECT_EQ(run("B.TXT", output), 1);
    EXPECT_EQ(run("NIETS", output), 1);
    EXPECT_EQ(output, "ixreorgk: NIETS: het indexbestand ontbreekt\n");
    put_bytes("B.INX", 24, {0, 0});
    EXPECT_EQ(run("B", output), 1);
    EXPECT_NE(output.find("ixreorgk: B: de definitie in het indexbestand is onbruikbaar"), std::string::npos);
}

}  // namespace
