// Views of size kinds by every key and action, and reference records by number.
#include "data/iomaat.h"

#include "data/leesstam.h"
#include "label_file.h"

namespace {

constexpr int own = 1;
constexpr int other = 7;

/// A shop with size kinds of the test's own.
class Reference : public LabelFile {
protected:
    struct entry {
        int place;
        const char *code;
        int link;
    };
    static void add(Shop &made, int system, int kind, std::initializer_list<entry> entries) {
        SizeKindRecord record{};
        record.system = static_cast<std::uint8_t>(system);
        record.kind = static_cast<std::uint8_t>(kind);
        for (const entry &each : entries) {
            std::memcpy(record.entries[each.place].code, each.code, strnlen(each.code, 3));
            record.entries[each.place].link = static_cast<std::uint8_t>(each.link);
        }
        made.size_kinds.push_back(record);
    }
    void SetUp() override {
        LabelFile::SetUp();
        make_shop_with(2, [](Shop &made) {
            made.size_kinds.clear();
            add(made, own, 1, {{1, "44", 4}, {3, "38", 2}, {5, "36", 1}, {90, "40", 3}});
            // As damage leaves it: links outside, a number left out, and one for two sizes.
            add(made, own, 2, {{1, "a", 1}, {2, "b", 96}, {3, "c", 255}, {4, "d", 3}, {5, "e", 3}});
            // By sequence number. Outside the tables, and after the end, there are no sizes.
            add(made, other, 1, {{1, "S", 20}, {2, "M", 10}, {3, "L", 96}, {4, "XL", 30}, {6, "?", 5}});
        });
        ASSERT_EQ(sys_settings.size_system, own);
        chk_files.rvmaat = IXOPEN("RVMAAT", ix_shared);
    }
};

/// What a read finds, as "index/sequence/position code"; "-" for nothing, which leaves the cursor alone.
std::string look(mt_action action, mt_key key, int number) {
    size_cursor cursor{};
    std::memset(&cursor, 0x55, sizeof cursor);
    (key == mt_key::index      ? cursor.index
     : key == mt_key::sequence ? cursor.sequence
                               : cursor.position) = static_cast<std::uint8_t>(number);
    const size_cursor before = cursor;
    if (mtread(session_sizes, action, cursor, key) == 0) {
        return std::memcmp(&before, &cursor, sizeof cursor) == 0 ? "-" : "changed";
    }
    EXPECT_EQ(cursor.system, session_sizes->system);
    EXPECT_EQ(cursor.kind, session_sizes->kind);
    EXPECT_EQ(std::string(cursor.text, sizeof cursor.text), std::string(sizeof cursor.text, '\0'));
    return std::to_string(cursor.index) + "/" + std::to_string(cursor.sequence) + "/" +
           std::to_string(cursor.position) + " " + std::string(cursor.code, strnlen(cursor.code, 3));
}

TEST_F(Reference, EveryKeyAndAction) {
    SizeBitmap three{};
    for (const unsigned index : {3U, 5U, 1U, 70U}) {
        three.set(index);
    }
    constexpr mt_action F = mt_action::first, N = mt_action::next, P = mt_action::previous,
                        R = mt_action::read;
    constexpr mt_key index = mt_key::index, sequence = mt_key::sequence, position = mt_key::position;
    struct {
        int system, kind;
        mt_key key;
        mt_action action;
        std::vector<int> from;  ///< of these, what is found in the same order
        std::vector<std::string> found;
    } const numbers[] = {
        {own, 1, index, F, {0, 2, 3, 91}, {"1/4/3 44", "3/2/2 38", "3/2/2 38", "-"}},
        {own, 1, index, N, {5, 90, 255}, {"90/3/0 40", "-", "-"}},
        {own, 1, index, P, {3, 1, 0}, {"1/4/3 44", "-", "-"}},
        {own, 1, index, R, {5, 4, 96, 0}, {"5/1/1 36", "-", "-", "-"}},
        {own, 1, sequence, F, {0, 2, 5}, {"5/1/1 36", "3/2/2 38", "-"}},
        {own, 1, sequence, N, {3, 4}, {"1/4/3 44", "-"}},
        {own, 1, sequence, P, {200, 4, 1, 0}, {"1/4/3 44", "90/3/0 40", "-", "-"}},
        {own, 1, sequence, R, {4, 5}, {"1/4/3 44", "-"}},
        {own, 1, position, F, {0, 3, 4}, {"5/1/1 36", "1/4/3 44", "-"}},
        {own, 1, position, N, {2, 3, 255}, {"1/4/3 44", "-", "-"}},
        {own, 1, position, P, {96, 2, 1}, {"1/4/3 44", "5/1/1 36", "-"}},
        {own, 1, position, R, {2, 4}, {"3/2/2 38", "-"}},
        // Damaged.
        {own, 2, index, F, {2}, {"4/3/0 d"}},
        {own, 2, index, R, {3}, {"-"}},
        {own, 2, sequence, N, {1}, {"5/3/2 e"}},
        {own, 2, sequence, P, {3}, {"1/1/1 a"}},
        {own, 2, position, P, {96}, {"5/3/2 e"}},
        // Another size system.
        {other, 1, index, F, {1}, {"10/2/0 M"}},
        {other, 1, sequence, N, {2, 4}, {"30/4/0 XL", "-"}},
        // Not on file, and such as no file can have.
        {own, 3, sequence, P, {96}, {"-"}},
        {own, 0, index, F, {0}, {"-"}},
        {0, 1, position, F, {0}, {"-"}},
    };
    for (const auto &c : numbers) {
        size_view(session_sizes, c.system, c.kind, &three);
        for (std::size_t i = 0; i < c.from.size(); i++) {
            EXPECT_EQ(look(c.action, c.key, c.from[i]), c.found[i])
                << "kind " << c.system << "." << c.kind << " key " << static_cast<int>(c.key) << " "
                << static_cast<char>(c.action) << " " << c.from[i];
        }
    }
}

TEST_F(Reference, AViewIsReadOnceAndItsBitmapStays) {
    SizeBitmap one{};
    one.set(3);
    size_view(session_sizes, own, 1, &one);
    IXSWITCH(chk_files.rvmaat, 1);
    SizeKindRecord record{};
    record.system = own;
    record.kind = 1;
    ASSERT_TRUE(IXREADLOCK(chk_files.rvmaat, &record));
    record.entries[3].link = 0;
    IXREWRITE(chk_files.rvmaat, &record);
    size_view(session_sizes, own, 1);
    EXPECT_EQ(look(mt_action::first, mt_key::position, 0), "3/2/1 38");
    size_view(session_sizes, own, 2);
    size_view(session_sizes, own, 1);
    EXPECT_EQ(look(mt_action::read, mt_key::index, 3), "-");
    EXPECT_EQ(look(mt_action::first, mt_key::position, 0), "-");
}

// A record at hand is not read again, one that was not there is looked for again.
TEST_F(Reference, RecordsByNumber) {
    ICB *file = IXOPEN("RVMERK", ix_shared);
    const std::uint16_t number = shop.brands.at(0).number;
    BrandRecord record{};
    EXPECT_EQ(merk_read(file, record, number), 1);
    BrandRecord changed = record;
    reinterpret_cast<std::uint8_t *>(&changed)[sizeof changed - 1] ^= 1;
    IXWRITE(file, &changed);
    EXPECT_EQ(merk_read(file, record, number), 1);
    EXPECT_NE(std::memcmp(&record, &changed, sizeof record), 0) << "read again";
    for (const std::uint16_t absent : std::initializer_list<std::uint16_t>{998, 998, 0}) {
        EXPECT_EQ(merk_read(file, record, absent), 0) << absent;
    }
    EXPECT_EQ(merk_read(file, record, number), 1);
    EXPECT_EQ(std::memcmp(&record, &changed, sizeof record), 0) << "not read again";
    IXCLOSE(file);
    EXPECT_EXIT((dup2(2, 1), merk_read(nullptr, record, 1)), testing::ExitedWithCode(1), "LEESSTAM: errno=1");
}

}  // namespace
