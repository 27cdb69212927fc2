// The check of the order criteria: what it finds, mends and frees, and that no block of a series is lost.
#include <algorithm>
#include <limits>
#include <set>

#include "data/serieskey.h"
#include "support/check_case.h"

namespace {

constexpr unsigned block_bytes = 432;
constexpr unsigned at_next = 424;
constexpr unsigned at_row = 11 * 64;
constexpr std::int32_t far_off = std::numeric_limits<std::int32_t>::max();

constexpr char passed[] = "order_criteria";
constexpr char corrected[] = "bestelcriteria gecorrigeerd";
constexpr char deleted[] = "bestelcriteria verwijderd";

class OrderCriteria : public CheckCase {
protected:
    /// The first series with a chain of that many blocks or more, and their numbers.
    std::vector<std::int32_t> chain(CriteriaRecord *&record, std::size_t blocks) {
        for (CriteriaRecord &candidate : shop.criteria) {
            std::vector<std::int32_t> numbers;
            for (std::int32_t at = candidate.chain; at >= 0;
                 at = shop.criteria_blocks[static_cast<std::size_t>(at)].next) {
                numbers.push_back(at);
            }
            if (numbers.size() >= blocks) {
                record = &candidate;
                return numbers;
            }
        }
        return {};
    }
};

using Chain = const std::vector<std::int32_t> &;

struct Damage {
    const char *name;
    int corrected;  ///< rows of the report of the first run
    int deleted;
    void (*spoil)(Shop &shop, CriteriaRecord &record,
                  Chain chain);  ///< a series and its three or more blocks
};

CriteriaBlock &at(Shop &shop, std::int32_t block) {
    return shop.criteria_blocks[static_cast<std::size_t>(block)];
}

/// A series of criteria that no sound shop has.
void add_series(Shop &shop, std::uint32_t group, std::int32_t chain) {
    CriteriaRecord record{};
    record.key.group = group;
    record.key.colour = static_cast<std::uint16_t>(group == 0 ? 0 : 1);
    record.chain = chain;
    shop.criteria.push_back(record);
}

const Damage damages[] = {
    {"below the file", 1, 0, [](Shop &shop, auto &, Chain chain) { at(shop, chain[1]).next = -2; }},
    {"the end mark as end", 1, 0,
     [](Shop &shop, auto &, Chain chain) { at(shop, chain.back()).next = shop.criteria_chain.end_mark; }},
    {"head far off", 1, 0, [](Shop &, CriteriaRecord &record, Chain) { record.chain = far_off; }},
    {"a block of another series in the middle", 2, 0,
     [](Shop &shop, auto &, Chain chain) { at(shop, chain[1]).key = shop.criteria.back().key; }},
    {"a series without blocks", 0, 1, [](Shop &shop, auto &, Chain) { add_series(shop, 99997, -1); }},
    {"a series whose head is that of another", 0, 1,
     [](Shop &shop, auto &, Chain chain) { add_series(shop, 99997, chain[0]); }},
    {"a series of zeros on the free chain", 0, 1,
     [](Shop &shop, auto &, Chain) { add_series(shop, 0, shop.criteria_chain.free_head); }},
    {"a key with a part of 0", 1, 0,
     [](Shop &shop, CriteriaRecord &record, Chain chain) {
         record.key.colour = 0;
         for (const std::int32_t block : chain) {
             at(shop, block).key.colour = 0;
         }
         at(shop, chain[0]).next = far_off;
     }},
    {"a free chain that loops", 0, 0,
     [](Shop &shop, auto &, Chain) {
         at(shop, shop.criteria_chain.free_head).next = shop.criteria_chain.free_head;
     }},
    {"wrong head and end mark of the free chain", 0, 0,
     [](Shop &shop, auto &, Chain) {
         shop.criteria_chain.free_head = -5;
         shop.criteria_chain.end_mark = far_off;
     }},
    {"half a block behind the last", 0, 0,
     [](Shop &shop, auto &, Chain) { shop.tails["RVBAPAR.TXT"] = std::string(200, 'x'); }},
    {"nothing at all", 0, 0,
     [](Shop &shop, auto &, Chain) {
         shop.criteria.clear();
         shop.criteria_blocks.clear();
     }},
};

TEST_F(OrderCriteria, DamageIsMendedInOneRun) {
    for (const Damage &damage : damages) {
        SCOPED_TRACE(damage.name);
        make({.series = 30});
        CriteriaRecord *record = nullptr;
        const std::vector<std::int32_t> numbers = chain(record, 3);
        ASSERT_FALSE(numbers.empty());
        damage.spoil(shop, *record, numbers);
        write();
        const std::multiset<std::string> live = criteria_blocks();
        const CheckRun first = check("order_criteria");
        EXPECT_EQ(first.count(corrected), damage.corrected) << first;
        EXPECT_EQ(first.count(deleted), damage.deleted) << first;
        EXPECT_EQ(std::count(first.codes.begin(), first.codes.end(), "order_criteria.2"), damage.deleted);
        EXPECT_EQ(first.flags, damage.corrected + damage.deleted == 0 ? passed : "");
        EXPECT_TRUE(first.questions.empty()) << first;
        EXPECT_EQ(criteria_blocks(), live) << "a block of a series was lost";
        shop.tails.clear();
        EXPECT_EQ(audit(audit_criteria), "");
        const CheckRun second = check("order_criteria");
        EXPECT_EQ(second.flags, passed) << second;
        EXPECT_TRUE(second.reports("Geen fouten gevonden!")) << second;
    }
}

TEST_F(OrderCriteria, BlocksComeBackBehindTheChainInOrder) {
    make({.series = 30});
    CriteriaRecord *record = nullptr;
    const std::vector<std::int32_t> numbers = chain(record, 4);
    ASSERT_FALSE(numbers.empty());
    shop.criteria_blocks[static_cast<std::size_t>(numbers[0])].next = shop.criteria_chain.free_head;
    shop.dates.order_numbers = 7;
    write();
    check("break=FASE-1 order_criteria");
    EXPECT_EQ(Bytes("RVSYS.TXT").i32(at_row), shop.criteria_chain.end_mark)
        << "nothing is free until the next run";
    const CheckRun run = check("order_criteria");
    EXPECT_TRUE(run.shows(
        {"Bij de volgende series zijn fouten in de bestelcriteria gevonden. Deze fouten zijn hersteld.",
         "U dient zelf de juistheid van de bestelcriteria van deze series te controleren bij besteladviezen.",
         std::string(132, '-'), ser_text(record->key) + "   " + corrected}))
        << run;
    EXPECT_TRUE(run.reports("BESTANDSCONTROLES: CONTROLEREN BESTELCRITERIA")) << run;
    EXPECT_FALSE(run.reports("Laatste foutloze controle"));

    std::vector<std::int32_t> off(numbers.begin() + 1, numbers.end());
    std::sort(off.begin(), off.end());
    const Bytes file("RVBAPAR.TXT");
    std::int32_t last = numbers[0];
    for (const std::int32_t next : off) {
        EXPECT_EQ(file.i32(static_cast<std::size_t>(last) * block_bytes + at_next), next);
        last = next;
    }
    EXPECT_EQ(file.i32(static_cast<std::size_t>(last) * block_bytes + at_next), -1);
    // The free chain is made of the lowest block last, so the highest is taken last.
    const Bytes system("RVSYS.TXT");
    const std::int32_t end = static_cast<std::int32_t>(file.size() / block_bytes);
    EXPECT_EQ(system.i32(at_row + 4), end);
    EXPECT_LT(system.i32(at_row), end);
}

}  // namespace
