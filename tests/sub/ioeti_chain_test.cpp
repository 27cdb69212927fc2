// Labels along the chains of their series, against a model that keeps the blocks and the labels by number;
// chains that are broken, and a death while one grows.
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <random>

#include "data/ioeti.h"
#include "label_file.h"
#include "support/shop_audit.h"

namespace {
long writes_left = -1;
}

/// Writes pass here: the process dies before the one at which the count runs out.
extern "C" ssize_t pwrite(int fd, const void *from, size_t size, off_t offset) {
    if (writes_left >= 0 && writes_left-- == 0) {
        kill(getpid(), SIGKILL);
    }
    return syscall(SYS_pwrite64, fd, from, size, offset);
}

namespace {

constexpr std::size_t block_bytes = 376;

/// A record with each field anywhere in its range, often at an end of it.
eti_rec any_label(std::mt19937 &random, const SeriesKey &key) {
    const auto pick = [&](auto &field, std::uint32_t highest) {
        const std::uint32_t kind = random() % 8;
        const std::uint32_t value = kind == 0   ? 0
                                    : kind == 1 ? highest
                                                : std::uniform_int_distribution(0U, highest)(random);
        field = static_cast<std::decay_t<decltype(field)>>(value);
    };
    eti_rec rec;
    rec.group = key.group;
    rec.colour = key.colour;
    rec.number = key.number;
    rec.status = static_cast<std::uint8_t>(random() % 4 + 1);
    rec.size_kind = 3;
    pick(rec.size, 254);
    pick(rec.branch, 255);
    pick(rec.supplier, 65535);
    pick(rec.date_in, 65535);
    pick(rec.date_moved, 65535);
    pick(rec.price, 429496728);
    pick(rec.amount_b, 429496728);
    pick(rec.amount_c, 429496728);
    pick(rec.digit_a, 9);
    pick(rec.digit_b, 9);
    pick(rec.digit_s, 99);
    pick(rec.flag_e, 3);
    pick(rec.code_m, 999);
    pick(rec.customer, 999999);
    pick(rec.next_customer_label, 0x7FFFFFFF);
    pick(rec.order_number, 9999999);
    if (rec.status == label_ordered) {
        pick(rec.date_status, 65535);
        pick(rec.is_reserved, 1);
        if (rec.is_reserved != 0) {
            pick(rec.reserved_for, 254);
        }
    } else if (rec.status == label_stock) {
        pick(rec.in_transit, 1);
        if (rec.in_transit != 0) {
            pick(rec.dest_branch, 254);
        }
    } else {
        pick(rec.date_sold, 65535);
        pick(rec.group_value, 428);
    }
    return rec;
}

struct label_chain {
    SeriesKey key;
    std::vector<std::int32_t> blocks;
};

struct label_model {
    std::vector<label_chain> chains;
    std::vector<std::int32_t> free;  // the head first
    std::int32_t end = 0;
    std::int32_t counted = 0;  // free blocks, as row 4 has it
    std::map<std::int32_t, eti_rec> labels;

    explicit label_model(const Shop &shop)
        : end(shop.label_chain.end_mark), counted(shop.label_chain.free_count) {
        for (const SeriesRecord &series : shop.series) {
            chains.push_back({series.key, {}});
            for (std::int32_t block = series.first_block; block != -1;) {
                const LabelBlock &stored = shop.label_blocks[static_cast<std::size_t>(block)];
                chains.back().blocks.push_back(block);
                for (int slot = 0; slot < labels_per_block; slot++) {
                    eti_rec rec;
                    eti_unpack(stored, slot, rec);
                    if (rec.status != label_empty) {
                        labels[eti_number(block, slot)] = rec;
                    }
                }
                block = stored.next;
            }
        }
        for (std::int32_t block = shop.label_chain.free_head; block != end;) {
            free.push_back(block);
            block = shop.label_blocks[static_cast<std::size_t>(block)].next;
        }
    }

    std::int32_t take() {
        counted = free.empty() ? 0 : std::max(counted - 1, 0);
        if (free.empty()) {
            return end++;
        }
        const std::int32_t block = free.front();
        free.erase(free.begin());
        return block;
    }
    /// Numbers of the labels of a chain, of one status or of any.
    std::vector<std::int32_t> numbers(const label_chain &chain, int status = 0) const {
        std::vector<std::int32_t> found;
        for (const std::int32_t block : chain.blocks) {
            for (int slot = 0; slot < labels_per_block; slot++) {
                const auto at = labels.find(eti_number(block, slot));
                if (at != labels.end() && (status == 0 || at->second.status == status)) {
                    found.push_back(at->first);
                }
            }
        }
        return found;
    }
    /// Where the next label of a chain goes. Slots are looked at from the block of its first label on.
    std::int32_t place(label_chain &chain) {
        const std::vector<std::int32_t> present = numbers(chain);
        const std::int32_t from = present.empty() ? chain.blocks.back() : (present[0] - 1) / labels_per_block;
        for (auto block = std::find(chain.blocks.begin(), chain.blocks.end(), from);
             block != chain.blocks.end(); ++block) {
            for (int slot = 0; slot < labels_per_block; slot++) {
                if (!labels.contains(eti_number(*block, slot))) {
                    return eti_number(*block, slot);
                }
            }
        }
        chain.blocks.push_back(take());
        return eti_number(chain.blocks.back(), 0);
    }

    /// The file, byte by byte but for the labels themselves.
    void expect_on_file() const {
        const Bytes file(eti_file_name);
        const Bytes system(sys_file_name);
        ASSERT_EQ(file.size(), static_cast<std::size_t>(end) * block_bytes);
        ASSERT_EQ(system.i32(192), free.empty() ? end : free[0]);
        ASSERT_EQ(system.i32(192 + 4), end);
        ASSERT_EQ(system.i32(192 + 8), counted);
        for (std::size_t i = 0; i < free.size(); i++) {
            const std::size_t at = static_cast<std::size_t>(free[i]) * block_bytes;
            ASSERT_TRUE(file.zero(at, 12));
            ASSERT_EQ(file.i32(at + 12), i + 1 < free.size() ? free[i + 1] : end);
        }
        for (const label_chain &chain : chains) {
            for (std::size_t i = 0; i < chain.blocks.size(); i++) {
                const std::int32_t block = chain.blocks[i];
                LabelBlock stored{};
                file.data.copy(reinterpret_cast<char *>(&stored), sizeof stored,
                               static_cast<std::size_t>(block) * block_bytes);
                ASSERT_TRUE(stored.key == chain.key) << "block " << block;
                ASSERT_EQ(stored.next, i + 1 < chain.blocks.size() ? chain.blocks[i + 1] : -1);
                for (int slot = 0; slot < labels_per_block; slot++) {
                    const auto at = labels.find(eti_number(block, slot));
                    eti_rec rec;
                    eti_unpack(stored, slot, rec);
                    ASSERT_TRUE(at == labels.end() ? label_is_empty(stored.slots[slot]) : rec == at->second)
                        << "label " << eti_number(block, slot);
                }
            }
        }
    }
};

/// Numbers of the labels of a chain, as a walk finds them.
std::vector<std::int32_t> walk(std::int32_t block, int status = 0) {
    std::vector<std::int32_t> found;
    eti_rec rec;
    const auto go = [&](eti_action action) {
        return status == 0 ? eti_file(action, block, rec) : eti_next_kind(action, block, rec, status);
    };
    for (int more = go(eti_action::first); more != 0; more = go(eti_action::next)) {
        found.push_back(block);
    }
    return found;
}

TEST_F(LabelFile, ChainsAreThoseOfTheModel) {
    make_shop_with(12, [](Shop &made) {
        made.label_chain.free_count = 1;  // counted wrong, as damage leaves it
        for (LabelBlock &block : made.label_blocks) {
            block.size_kind = block.key == SeriesKey{} ? 0 : 3;
        }
    });
    label_model model(shop);
    ASSERT_FALSE(model.free.empty());
    EXPECT_EQ(walk(model.free[0]).size(), 0U) << "a free block leads to no other";
    std::mt19937 random(5);
    const auto below = [&](std::size_t bound) { return static_cast<std::size_t>(random() % bound); };
    for (int step = 0; step < rounds(1500); step++) {
        const std::size_t which = below(model.chains.size());
        label_chain &chain = model.chains[which];
        std::int32_t number = chain.blocks.empty() ? -1 : chain.blocks[0];
        eti_rec rec;
        switch (below(5)) {
            case 0: {  // by number, in the file or not
                const std::int32_t outside[] = {0, -5, model.end * 10 + 1, 10 * 999999 + 11, 2147483647};
                number = below(6) == 0
                             ? outside[below(5)]
                             : static_cast<std::int32_t>(below(static_cast<std::size_t>(model.end) * 10));
                const auto at = model.labels.find(number);
                rec.status = label_sold;
                ASSERT_EQ(eti_file(eti_action::read, number, rec), at == model.labels.end() ? 0 : 1);
                ASSERT_TRUE(at == model.labels.end() ? rec.status == label_empty : rec == at->second);
                if (number < 1 || number > model.end * 10) {
                    ASSERT_EQ(eti_file(eti_action::next, number, rec), 0) << "nothing to go on from";
                }
                break;
            }
            case 1: {
                const int status = static_cast<int>(below(5));
                ASSERT_EQ(walk(number, status), model.numbers(chain, status)) << "step " << step;
                if (status != 0 && number != -1) {  // from a place in the first block, filled or not
                    const auto place = eti_number(number, static_cast<int>(below(labels_per_block)));
                    const std::vector<std::int32_t> all = model.numbers(chain, status);
                    const auto wanted = std::find_if(all.begin(), all.end(), [&](std::int32_t n) {
                        return n >= place || (n - 1) / labels_per_block != number;
                    });
                    std::int32_t found = place;
                    ASSERT_EQ(eti_next_kind(eti_action::read, found, rec, status),
                              wanted == all.end() ? 0 : 1);
                    ASSERT_TRUE(wanted == all.end() || found == *wanted) << "step " << step;
                }
                break;
            }
            case 2: {  // only the current label can be deleted
                int more = eti_file(eti_action::first, number, rec);
                while (more != 0 && below(3) != 0) {
                    more = eti_file(eti_action::next, number, rec);
                }
                if (more != 0) {
                    std::int32_t other = number + 1;
                    ASSERT_EQ(eti_file(eti_action::remove, other, rec), 1);
                    ASSERT_EQ(eti_file(eti_action::remove, number, rec), 0);
                    model.labels.erase(number);
                }
                break;
            }
            case 3: {  // by number, whatever the current block is
                eti_rec unused;
                eti_file(eti_action::first, number, unused);
                auto at = model.labels.begin();
                std::advance(at, below(model.labels.size()));
                number = at->first;
                SeriesKey key{};
                key.group = at->second.group;
                key.colour = at->second.colour;
                key.number = at->second.number;
                rec = any_label(random, key);
                ASSERT_EQ(eti_file(eti_action::write, number, rec), 1);
                at->second = rec;
                break;
            }
            default: {
                std::int32_t expected = 0;
                rec = any_label(random, chain.key);
                eti_rec unused;
                if (step % 50 == 49) {
                    // From another series no block of this one is found: it gets one on no chain.
                    const label_chain &other = model.chains[(which + 1) % model.chains.size()];
                    number = other.key == chain.key || other.blocks.empty() ? -1 : other.blocks[0];
                }
                const bool joined = number != -1 && step % 50 != 49;
                eti_file(eti_action::first, number, unused);
                if (joined) {
                    expected = model.place(chain);
                } else {
                    model.chains.push_back({SeriesKey{chain.key}, {model.take()}});
                    expected = eti_number(model.chains.back().blocks[0], 0);
                }
                number = 0;
                ASSERT_EQ(eti_file(eti_action::write, number, rec), 1);
                ASSERT_EQ(number, expected) << "step " << step;
                model.labels[number] = rec;
            }
        }
        if (step % 20 == 0) {
            ASSERT_NO_FATAL_FAILURE(model.expect_on_file()) << "step " << step;
        }
    }
    EXPECT_EQ(status_on_file(), status_working);
}

/// Labels that another process has written to the first series until it died before a write.
std::vector<std::int32_t> write_until_killed(const SeriesRecord &series, long writes, bool &killed) {
    int told[2];
    EXPECT_EQ(pipe(told), 0);
    const pid_t child = fork();
    std::int32_t number = 0;
    if (child == 0) {
        writes_left = writes;
        for (int n = 0; n < 25; n++) {
            number = series.first_block;
            eti_rec rec;
            eti_file(eti_action::first, number, rec);
            number = 0;
            eti_file(eti_action::write, number, rec);
            (void)!write(told[1], &number, sizeof number);
        }
        _exit(0);
    }
    close(told[1]);
    int status = 0;
    waitpid(child, &status, 0);
    killed = WIFSIGNALED(status);
    std::vector<std::int32_t> numbers;
    while (read(told[0], &number, sizeof number) == static_cast<ssize_t>(sizeof number)) {
        numbers.push_back(number);
    }
    close(told[0]);
    return numbers;
}

// A chain that is not whole is announced by the mark in the user slot, and no label that was written is lost.
TEST_F(LabelFile, DeathInAChainUpdateLeavesItsMark) {
    bool killed = true;
    for (long writes = 0; killed; writes++) {
        make_plain_shop(4);
        const std::vector<std::int32_t> written = write_until_killed(shop.series[0], writes, killed);
        const Bytes file(eti_file_name);
        std::vector<std::int32_t> blocks;
        for (std::int32_t block = shop.series[0].first_block;
             block >= 0 && (static_cast<std::size_t>(block) + 1) * block_bytes <= file.size();
             block = file.i32(static_cast<std::size_t>(block) * block_bytes + 12)) {
            blocks.push_back(block);
        }
        for (const std::int32_t number : written) {
            const std::int32_t block = (number - 1) / labels_per_block;
            const auto slot = static_cast<std::size_t>((number - 1) % labels_per_block);
            ASSERT_EQ(std::count(blocks.begin(), blocks.end(), block), 1) << "label " << number;
            ASSERT_NE(file.u32(static_cast<std::size_t>(block) * block_bytes + 16 + slot * 36 + 8) % 10, 0U);
        }
        for (const std::string &fault : audit_shop(".", date_from_str("20112013"), audit_labels)) {
            ASSERT_TRUE(!fault.starts_with("RVETI") || status_on_file() == status_in_chain_update)
                << "write " << writes << " " << fault;
        }
        close_shop();
    }
}

struct Broken {
    const char *name;
    void (*spoil)(Shop &shop);
    const char *text;
};

LabelBlock &first_block_of(Shop &shop) {
    return shop.label_blocks[static_cast<std::size_t>(shop.series[0].first_block)];
}

TEST_F(LabelFile, BrokenChainsStopTheProgram) {
    const Broken chains[] = {
        {"above the bound", [](Shop &s) { first_block_of(s).next = 1000000; },
         "IOETI\\(0\\): a=[FN],f=[0-9]+,r=1000000 -> Ongeldige etiketketting"},
        {"below 0", [](Shop &s) { first_block_of(s).next = -7; },
         "IOETI\\([0-9]+\\): a=[FN],f=[0-9]+,r=-7 -> Foutieve etiketketting"},
        {"behind the file",
         [](Shop &s) { first_block_of(s).next = static_cast<std::int32_t>(s.label_blocks.size()); },
         "IOETI\\(0\\): a=[FN],f=[0-9]+,r=[0-9]+ -> Buiten bestand"},
        {"in a loop", [](Shop &s) { first_block_of(s).next = s.series[0].first_block; },
         "IOETI\\(0\\): a=[FN],f=[0-9]+,r=[0-9]+ -> Ongeldige etiketketting"},
        {"starts below 0", [](Shop &s) { s.series[0].first_block = -2; },
         "IOETI\\([0-9]+\\): a=F,f=[0-9]+,r=-2 -> Foutieve etiketketting"},
    };
    for (const Broken &chain : chains) {
        make_shop_with(10, chain.spoil);
        const std::int32_t first = shop.series[0].first_block;
        EXPECT_EXIT((dup2(2, 1), walk(first)), testing::ExitedWithCode(1), chain.text) << chain.name;
        EXPECT_EQ(status_on_file(), status_chains_suspect) << chain.name;
        close_shop();
    }
}

/// Each leaves the files as they were, but for the mark in the user slot.
TEST_F(LabelFile, BrokenFreeChainGivesNoBlock) {
    const char *text = "a=I.*Ongeldige etiketketting";
    const Broken heads[] = {
        {"behind the end", [](Shop &s) { s.label_chain.free_head = s.label_chain.end_mark + 1; }, text},
        {"below 0", [](Shop &s) { s.label_chain.free_head = -1; }, text},
        {"block of a series",
         [](Shop &s) {
             s.label_chain.free_head = s.series[2].first_block;
             s.label_blocks[static_cast<std::size_t>(s.label_chain.free_head)].next = s.label_chain.end_mark;
         },
         text},
        {"next below 0",
         [](Shop &s) { s.label_blocks[static_cast<std::size_t>(s.label_chain.free_head)].next = -1; }, text},
        {"no number left",
         [](Shop &s) { s.label_chain.free_head = s.label_chain.end_mark = little_int32_t{1000000}; }, text},
    };
    for (const Broken &head : heads) {
        make_shop_with(10, head.spoil);
        const std::string labels = get(eti_file_name);
        std::int32_t number = shop.series[0].first_block;
        eti_rec rec;
        eti_file(eti_action::first, number, rec);
        EXPECT_EXIT((dup2(2, 1), eti_file(eti_action::new_block, number, rec)), testing::ExitedWithCode(1),
                    head.text)
            << head.name;
        EXPECT_EQ(get(eti_file_name), labels) << head.name;
        EXPECT_EQ(Bytes(sys_file_name).i32(192), shop.label_chain.free_head) << head.name;
        EXPECT_EQ(status_on_file(), status_chains_suspect) << head.name;
        close_shop();
    }
}

}  // namespace
