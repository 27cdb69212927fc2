// Labels packed and unpacked; blocks, series keys and serial numbers.
#include "data/ioeti.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <tuple>

#include "label_file.h"

namespace {

bool operator==(const eti_rec &a, const eti_rec &b) {
    const auto fields = [](const eti_rec &r) {
        return std::make_tuple(
            std::tie(r.group, r.colour, r.number, r.status, r.size_kind, r.size, r.branch, r.supplier),
            std::tie(r.date_in, r.date_status, r.date_moved, r.date_sold, r.group_value, r.price, r.amount_b),
            std::tie(r.amount_c, r.flag_e, r.digit_b, r.digit_s, r.digit_a, r.customer,
                     r.next_customer_label),
            std::tie(r.code_m, r.in_transit, r.dest_branch, r.order_number, r.reserved_for, r.is_reserved));
    };
    return fields(a) == fields(b);
}

std::string bytes_of(const LabelEntry &entry) {
    return {reinterpret_cast<const char *>(&entry), sizeof entry};
}

// ---- Labels in and out of a block

/// A record with each field anywhere in its range, often at an end of it.
eti_rec any_label(std::mt19937 &random, int status) {
    const auto pick = [&](std::uint32_t highest) {
        const std::uint32_t kind = random() % 8;
        return kind == 0   ? 0
               : kind == 1 ? highest
                           : std::uniform_int_distribution<std::uint32_t>(0, highest)(random);
    };
    const auto byte = [&](std::uint32_t highest) { return static_cast<std::uint8_t>(pick(highest)); };
    const auto half = [&](std::uint32_t highest) { return static_cast<std::uint16_t>(pick(highest)); };
    const auto word = [&](std::uint32_t highest) { return static_cast<std::int32_t>(pick(highest)); };
    eti_rec rec;
    rec.group = pick(99999);
    rec.colour = half(999);
    rec.number = half(9999);
    rec.status = static_cast<std::uint8_t>(status);
    rec.size_kind = byte(255);
    rec.size = byte(254);
    rec.branch = byte(255);
    rec.supplier = half(65535);
    rec.date_in = half(65535);
    rec.date_moved = half(65535);
    rec.price = word(429496728);
    rec.amount_b = word(429496728);
    rec.amount_c = word(429496728);
    rec.digit_a = byte(9);
    rec.digit_b = byte(9);
    rec.digit_s = byte(99);
    rec.flag_e = byte(3);
    rec.code_m = half(999);
    rec.customer = word(999999);
    rec.next_customer_label = word(0x7FFFFFFF);
    rec.order_number = word(9999999);
    switch (status) {
        case label_ordered:
            rec.date_status = half(65535);
            rec.is_reserved = byte(1);
            rec.reserved_for = rec.is_reserved != 0 ? byte(254) : std::uint8_t{255};
            rec.group_value = 21;
            break;
        case label_stock:
            rec.in_transit = byte(1);
            rec.dest_branch = rec.in_transit != 0 ? byte(254) : std::uint8_t{0};
            rec.group_value = 21;
            break;
        default:
            rec.date_sold = half(65535);
            rec.group_value = half(428);
            break;
    }
    return rec;
}

TEST_F(LabelFile, EveryLabelComesBackAsItWas) {
    make_empty();
    SysRow20 transit{};
    transit.in_use = 256;  // the whole word decides, its first byte is 0
    iotab_row(tab_action::write, row_transit, transit);
    open_labels();
    std::mt19937 random(1);
    for (int i = 0; i < rounds(20000); i++) {
        const eti_rec rec = any_label(random, i % 4 + 1);
        const int slot = i % labels_per_block;
        LabelBlock block{};
        block.key.group = rec.group;
        block.key.colour = rec.colour;
        block.key.number = rec.number;
        const LabelBlock fresh = block;
        eti_rec packed = rec;
        eti_pack(packed, block, slot);
        eti_rec back;
        eti_unpack(block, slot, back);
        ASSERT_TRUE(back == rec) << "round " << i;

        // Bytes survive too, and no other slot is touched.
        LabelBlock again = fresh;
        eti_pack(back, again, slot);
        ASSERT_EQ(bytes_of(again.slots[slot]), bytes_of(block.slots[slot])) << "round " << i;
        again.slots[slot] = {};
        again.size_kind = 0;
        ASSERT_EQ(std::memcmp(&again, &fresh, sizeof fresh), 0) << "round " << i;
    }
}

// Written by hand from the decimal places of each word.
TEST_F(LabelFile, FieldsShareWordsInDecimal) {
    make_empty();
    open_labels();
    eti_rec rec;
    rec.status = label_sold;
    rec.price = 12345;
    rec.digit_a = 6;
    rec.amount_b = 77;
    rec.digit_b = 9;
    rec.amount_c = 1999;
    rec.flag_e = 2;
    rec.code_m = 34;
    rec.customer = 567;
    rec.next_customer_label = 11;
    rec.size = 38;
    rec.digit_s = 5;
    rec.branch = 2;
    rec.supplier = 258;
    rec.date_in = 1;
    rec.date_moved = 2;
    rec.date_sold = 3;
    rec.is_reserved = 1;  // means nothing once sold
    rec.group_value = 19;
    rec.order_number = 76;
    LabelBlock block{};
    eti_pack(rec, block, 0);
    put("entry", bytes_of(block.slots[0]));
    const Bytes entry("entry");
    const std::uint32_t words[] = {123456, 779, 19993, 2034000567, 11};
    for (std::size_t i = 0; i < std::size(words); i++) {
        EXPECT_EQ(entry.u32(i * 4), words[i]) << i;
    }
    EXPECT_EQ(entry.u16(20), 3805U);
    EXPECT_EQ(entry.u8(22), 2U);
    EXPECT_EQ(entry.u8(23), 0U);
    EXPECT_EQ(entry.u16(24), 258U);
    EXPECT_EQ(entry.u16(26), 1U);
    EXPECT_EQ(entry.u16(28), 2U);
    EXPECT_EQ(entry.u16(30), 3U);
    EXPECT_EQ(entry.u32(32), 190000076U);
    rec.group_value = 430;  // more than the word holds
    eti_pack(rec, block, 0);
    EXPECT_EQ(block.slots[0].order, 76U);
    block.slots[1].amount_status = 10;
    EXPECT_TRUE(label_is_empty(block.slots[1]));
    EXPECT_FALSE(chk_block_empty(block));
    block.slots[0].amount_status = 0;
    EXPECT_TRUE(chk_block_empty(block)) << "an amount alone is no label";
    block.slots[2].size = 65535;
    eti_unpack(block, 2, rec);
    EXPECT_EQ(rec.size, 255) << "an index that doesn't fit may not turn into a valid one";
}

TEST_F(LabelFile, MarkOfTransitNeedsTransit) {
    make_empty();
    open_labels();
    eti_rec rec;
    rec.status = label_stock;
    rec.in_transit = 1;
    rec.dest_branch = 4;
    LabelBlock block{};
    eti_pack(rec, block, 0);
    EXPECT_EQ(block.slots[0].extra, 0);
    eti_file(eti_action::close);
    setenv("ZUV_INTERN", "", 1);
    eti_file(eti_action::open);
    EXPECT_EXIT((dup2(2, 1), eti_pack(rec, block, 0)), testing::ExitedWithCode(1), "IOETI: errno=5");
    unsetenv("ZUV_INTERN");
}

TEST_F(LabelFile, ValueOfTheGroupComesFromRow1UntilSold) {
    make_plain_shop(20);
    for (const ArticleGroupRecord &group : shop.groups) {
        EXPECT_EQ(art_value_code(group.number), group.vat);
    }
    EXPECT_EQ(art_value_code(0), 1);
    EXPECT_EQ(art_value_code(99998), 1) << "no such group";
    LabelBlock block{};
    block.key = shop.series[0].key;
    block.slots[0].amount_status = label_stock;
    block.slots[0].order = 130000005;
    block.slots[1] = block.slots[0];
    block.slots[1].amount_status = label_corrected;
    eti_rec rec;
    eti_unpack(block, 0, rec);
    EXPECT_EQ(rec.group_value, sys_settings.group_value[art_value_code(block.key.group)]);
    eti_unpack(block, 1, rec);
    EXPECT_EQ(rec.group_value, 13);
    EXPECT_EQ(rec.order_number, 5);
}

// ---- Blocks, keys, serials

TEST_F(LabelFile, BlocksAreReadInSequenceFromThePlaceOfTheLast) {
    put(eti_file_name, std::string(376, 'a') + std::string(376, 'b') + std::string(376, 'c') + "tail");
    LabelBlock block{};
    const auto letter = [&] { return *reinterpret_cast<const char *>(&block); };
    chk_eti_raw(raw_action::open);
    EXPECT_EQ(chk_eti_raw(raw_action::read_on, 0, block), 1);
    EXPECT_EQ(letter(), 'a');
    EXPECT_EQ(chk_eti_raw(raw_action::read, 2, block), 1);
    EXPECT_EQ(letter(), 'c');
    EXPECT_EQ(chk_eti_raw(raw_action::read_on, 0, block), 0) << "the tail is no block";
    for (const std::int32_t outside : {-1, 3, 2147483647}) {
        EXPECT_EQ(chk_eti_raw(raw_action::read, outside, block), 0) << outside;
    }
    std::memset(&block, 'x', sizeof block);
    EXPECT_EQ(chk_eti_raw(raw_action::write, 0, block), 1);
    EXPECT_EQ(chk_eti_raw(raw_action::read_on, 0, block), 1);
    EXPECT_EQ(letter(), 'b');
    EXPECT_EQ(get(eti_file_name),
              std::string(376, 'x') + std::string(376, 'b') + std::string(376, 'c') + "tail");
    raw_file refused{"RVETI.TXT", sizeof block, open("RVETI.TXT", O_WRONLY)};
    EXPECT_EXIT((dup2(2, 1), raw_access(refused, raw_action::read, 0, &block)), testing::ExitedWithCode(1),
                "RVETI.TXT: errno=9 a=R");
    EXPECT_EQ(chk_eti_raw(static_cast<raw_action>('x'), 0, block), 1);
    EXPECT_EQ(chk_eti_raw(static_cast<raw_action>('A'), 0, block), 1);
}

TEST_F(LabelFile, HighestBlockFollowsTheDigits) {
    const std::pair<int, std::int32_t> digits[] = {{6, 99999},  {7, 999999}, {8, 2999999},
                                                   {0, 999999}, {9, 999999}, {255, 999999}};
    for (const auto &[count, highest] : digits) {
        sys_country.label_digits = static_cast<std::uint8_t>(count);
        EXPECT_EQ(eti_max_block(), highest) << count;
    }
}

TEST_F(LabelFile, SerialsRunFrom1000) {
    make_empty();
    const std::pair<std::int32_t, std::int32_t> serials[] = {
        {0, 1000}, {1000, 1001}, {5, 6}, {9999998, 9999999}, {9999999, 1000}, {-3, 1000}, {2147483647, 1000}};
    for (const auto &[stored, next] : serials) {
        SysRow5 row{};
        row.last_serial = stored;
        std::memset(row.unused_4, 'u', sizeof row.unused_4);
        iotab_row(tab_action::write, row_serial, row);
        EXPECT_EQ(eti_next_serial(), next) << stored;
        iotab_row(tab_action::read, row_serial, row);
        EXPECT_EQ(row.last_serial, next) << stored;
        EXPECT_EQ(row.unused_4[59], 'u');
    }
}

TEST(SeriesKeys, RangesTextsAndStamps) {
    const struct {
        std::uint32_t group;
        unsigned colour;
        unsigned number;
        bool valid;
        const char *text;
    } keys[] = {
        {1, 1, 1, true, "1.1.1         "},
        {99999, 999, 9999, true, "99999.999.9999"},
        {0, 1, 1, false, "0.1.1         "},
        {1, 0, 1, false, "1.0.1         "},
        {1, 1, 0, false, "1.1.0         "},
        {100000, 1, 1, false, "100000.1.1    "},
        {1, 1000, 1, false, "1.1000.1      "},
        {1, 1, 10000, false, "1.1.10000     "},
        {4294967295, 65535, 65535, false, "4294967295.655"},
    };
    for (const auto &key : keys) {
        EXPECT_EQ(chk_key_valid(key.group, key.colour, key.number), key.valid) << key.text;
        EXPECT_EQ(ser_text(key.group, key.colour, key.number), key.text);
    }
    EXPECT_EQ(stamp_of_day(day_1980), 0);
    EXPECT_EQ(stamp_of_day(date_from_str("02012000")), (20 * 365 + 5 + 1) * 86400);
    EXPECT_EQ(day_of_stamp(86399), day_1980);
    EXPECT_EQ(day_of_stamp(86400), day_1980 + 1);
    for (unsigned day = day_1980; day < day_1980 + 24855; day++) {
        ASSERT_EQ(day_of_stamp(stamp_of_day(static_cast<day_number>(day))), day);
    }
}

}  // namespace
