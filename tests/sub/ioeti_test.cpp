// Labels packed and unpacked; blocks, series keys and serial numbers.
#include "data/ioeti.h"

#include <fcntl.h>
#include <unistd.h>

#include "label_file.h"

namespace {

// Written by hand from the decimal places of each word.
TEST_F(LabelFile, FieldsShareWordsInDecimal) {
    make_empty();
    open_labels();
    // A reservation means nothing once the label is sold.
    eti_rec rec{.status = label_sold,
                .size = 38,
                .branch = 2,
                .supplier = 258,
                .date_in = 1,
                .date_moved = 2,
                .date_sold = 3,
                .group_value = 19,
                .price = 12345,
                .amount_b = 77,
                .amount_c = 1999,
                .flag_e = 2,
                .digit_b = 9,
                .digit_s = 5,
                .digit_a = 6,
                .customer = 567,
                .next_customer_label = 11,
                .code_m = 34,
                .order_number = 76,
                .is_reserved = 1};
    LabelBlock block{};
    eti_pack(rec, block, 0);
    put("entry", std::string(reinterpret_cast<const char *>(block.slots), sizeof(LabelEntry)));
    const Bytes entry("entry");
    const std::uint32_t words[] = {123456,          779,           19993,    2034000567, 11, 3805 + (2 << 16),
                                   258 + (1 << 16), 2 + (3 << 16), 190000076};
    for (std::size_t i = 0; i < std::size(words); i++) {
        EXPECT_EQ(entry.u32(i * 4), words[i]) << i;
    }
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
    LabelBlock block{};
    const auto packed = [&](int in_use) {
        SysRow20 transit{};
        transit.in_use = static_cast<std::uint16_t>(in_use);
        iotab_row(tab_action::write, row_transit, transit);
        open_labels();
        eti_rec rec{.status = label_stock, .in_transit = 1, .dest_branch = 4};
        eti_pack(rec, block, 0);
        eti_file(eti_action::close);
        is_open = false;
        return int{block.slots[0].extra};
    };
    EXPECT_EQ(packed(0), 0);
    EXPECT_EQ(packed(256), 5) << "the whole word decides, its first byte is 0";
    setenv("ZUV_INTERN", "", 1);
    EXPECT_EXIT((dup2(2, 1), packed(0)), testing::ExitedWithCode(1), "IOETI: errno=5");
    unsetenv("ZUV_INTERN");
}

TEST_F(LabelFile, ValueOfTheGroupComesFromRow1UntilSold) {
    make_shop_with(20, [](Shop &made) {
        std::uint8_t code = 0;
        for (ArticleGroupRecord &group : made.groups) {
            group.vat = static_cast<std::uint8_t>(code++ % 10 + 1);
        }
    });
    for (const ArticleGroupRecord &group : shop.groups) {
        EXPECT_EQ(art_value_code(group.number), group.vat);
    }
    EXPECT_EQ(art_value_code(0), 1);
    EXPECT_EQ(art_value_code(99998), 1) << "no such group";
    for (std::uint16_t code = 1; code <= 10; code++) {
        sys_settings.group_value[code] = static_cast<std::uint16_t>(20 + code);
    }
    for (const SeriesRecord &series : shop.series) {
        LabelBlock block{};
        block.key = series.key;
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
}

/// Numbers of the labels of a chain, as a walk finds them.
std::vector<std::int32_t> walk(std::int32_t block) {
    std::vector<std::int32_t> found;
    eti_rec rec;
    for (int more = eti_file(eti_action::first, block, rec); more != 0;
         more = eti_file(eti_action::next, block, rec)) {
        found.push_back(block);
    }
    return found;
}

// Against the shop that was written: each label by its number and along its chain, written and deleted.
TEST_F(LabelFile, LabelsAreThoseOfTheShop) {
    make_shop_with(12, [](Shop &) {});
    const std::string before = get(eti_file_name);
    EXPECT_EQ(walk(-1).size(), 0U);
    EXPECT_EQ(walk(shop.label_chain.free_head).size(), 0U) << "a free block leads to no other";
    for (const SeriesRecord &series : shop.series) {
        std::vector<std::int32_t> expected;
        for (const std::int32_t at : chain(series.first_block)) {
            for (int slot = 0; slot < labels_per_block; slot++) {
                std::int32_t number = eti_number(at, slot);
                eti_rec rec;
                eti_rec empty;
                ASSERT_EQ(eti_file(eti_action::read, number, rec), !label_is_empty(label_at(number)));
                if (rec.status == label_empty) {
                    continue;
                }
                expected.push_back(number);
                // Only the current label can be deleted; by number one is written whatever the current one
                // is. What was read fills the place again, byte for byte.
                std::int32_t other = number + 1;
                ASSERT_EQ(eti_file(eti_action::remove, other, empty), 1);
                ASSERT_EQ(eti_file(eti_action::remove, number, empty), 0);
                ASSERT_EQ(eti_file(eti_action::read, number, empty), 0);
                std::int32_t first = series.first_block;
                eti_file(eti_action::first, first, empty);
                ASSERT_EQ(eti_file(eti_action::write, number, rec), 1);
            }
        }
        EXPECT_EQ(walk(series.first_block), expected);
    }
    EXPECT_TRUE(get(eti_file_name) == before);
    const std::int32_t end = shop.label_chain.end_mark * labels_per_block;
    for (std::int32_t outside : {0, -5, end + 1, 10 * 999999 + 11, 2147483647}) {
        eti_rec rec;
        rec.status = label_sold;
        EXPECT_EQ(eti_file(eti_action::read, outside, rec), 0);
        EXPECT_EQ(rec.status, label_empty);
        EXPECT_EQ(eti_file(eti_action::next, outside, rec), 0) << "nothing to go on from";
    }
}

TEST_F(LabelFile, BrokenChainsStopTheProgram) {
    make_shop_with(10, [](Shop &) {});
    close_shop();
    const std::int32_t first = shop.series[0].first_block;
    const auto outside = static_cast<std::int32_t>(shop.label_blocks.size());
    const struct {
        std::int32_t first, next;
        const char *text;
    } chains[] = {
        {first, 1000000, "IOETI\\(0\\): a=[FN],f=[0-9]+,r=1000000 -> Ongeldige etiketketting"},
        {first, -7, "IOETI\\([0-9]+\\): a=[FN],f=[0-9]+,r=-7 -> Foutieve etiketketting"},
        {first, outside, "IOETI\\(0\\): a=[FN],f=[0-9]+,r=[0-9]+ -> Buiten bestand"},
        {first, first, "IOETI\\(0\\): a=[FN],f=[0-9]+,r=[0-9]+ -> Ongeldige etiketketting"},
        {-2, -1, "IOETI\\([0-9]+\\): a=F,f=[0-9]+,r=-2 -> Foutieve etiketketting"},
    };
    for (const auto &chain : chains) {
        make_shop_with(10, [&](Shop &) { block(first).next = chain.next; });
        EXPECT_EXIT((dup2(2, 1), walk(chain.first)), testing::ExitedWithCode(1), chain.text) << chain.next;
        EXPECT_EQ(status_on_file(), status_chains_suspect) << chain.next;
        close_shop();
    }
}

// Taken for a missing one, it would cost all blocks behind it.
TEST_F(LabelFile, BlockThatTheDiskRefusesStopsTheProgram) {
    put(eti_file_name, std::string(376, 'a'));
    LabelBlock block{};
    raw_file refused{"RVETI.TXT", sizeof block, open("RVETI.TXT", O_WRONLY)};
    EXPECT_EXIT((dup2(2, 1), raw_access(refused, raw_action::read, 0, &block)), testing::ExitedWithCode(1),
                "RVETI.TXT: errno=9 a=R");
    EXPECT_EQ(chk_eti_raw(static_cast<raw_action>('x'), 0, block), 1);
    EXPECT_EQ(chk_eti_raw(static_cast<raw_action>('A'), 0, block), 1);
}

TEST(SeriesKeys, RangesTextsBlocksAndStamps) {
    EXPECT_TRUE(chk_key_valid(1, 1, 1) && chk_key_valid(99999, 999, 9999));
    EXPECT_FALSE(chk_key_valid(0, 1, 1) || chk_key_valid(1, 0, 1) || chk_key_valid(1, 1, 0));
    EXPECT_FALSE(chk_key_valid(100000, 1, 1) || chk_key_valid(1, 1000, 1) || chk_key_valid(1, 1, 10000));
    EXPECT_EQ(ser_text(4294967295, 65535, 65535), "4294967295.655");
    for (const auto &[digits, highest] :
         {std::pair{6, 99999}, {8, 2999999}, {7, 999999}, {0, 999999}, {255, 999999}}) {
        EXPECT_EQ(label_highest_block(digits), highest) << digits;
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
