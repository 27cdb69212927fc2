// The series check: what it finds and repairs, and what it puts right without a question.
#include "base/strformat.h"
#include "check/check.h"
#include "data/serieskey.h"
#include "support/check_case.h"

namespace {

constexpr unsigned at_series_date = 2;
constexpr day_number earliest_day = day_1980 + 1;

class Series : public CheckCase {
protected:
    static SeriesRecord series_on_file(const SeriesRecord &wanted) {
        for (const SeriesRecord &record : records<SeriesRecord>("RVSER.TXT")) {
            if (record.key == wanted.key) {
                return record;
            }
        }
        return {};
    }
    /// A series whose labels are those given, in one block, and agree with it.
    SeriesRecord &series_of(const std::vector<LabelParts> &labels) {
        SeriesRecord &series = shop.series[0];
        LabelBlock &own = block(series.first_block);
        own = {};
        own.key = series.key;
        own.size_kind = series.size_kind;
        own.next = -1;
        for (std::size_t slot = 0; slot < labels.size(); slot++) {
            own.slots[slot] = label_join(labels[slot]);
        }
        series.ordered = series.stock = series.sold = series.corrected = 0;
        series.last_delivery = series.last_sale = 0;
        series.stamp = stamp_of_day(30000);
        return series;
    }
    static LabelParts label(int status, int date_in, int branch = 0) {
        LabelParts parts;
        parts.status = status;
        parts.size = 40;
        parts.date_in = static_cast<day_number>(date_in);
        parts.branch = branch;
        return parts;
    }
};

TEST_F(Series, ReportShowsBothSidesAndTheRepairTakesThatOfTheLabels) {
    make({.series = 3, .branches = 3});
    LabelParts sold = label(label_sold, 40000, 7);
    sold.date_moved = 40010;
    sold.date_third = 40020;
    SeriesRecord &series = series_of({label(6, 40000, 200), label(label_ordered, 40001), sold,
                                      label(label_stock, 0), label(label_corrected, 39000, 2)});
    series.stock = 4;
    series.corrected = 1;  // as many as there are
    series.last_delivery = 40009;
    series.last_sale = 40021;
    write();
    const std::string key = ser_text(series.key);
    const CheckRun run = check("full series", "N");
    EXPECT_TRUE(run.shows({
        "                  ---not---    ---vrd---    ---vrk---    ---cor---    ???"
        " | ---l.ontdat--  ---l.vrkdat-- |",
        "serienummer       eti serie    eti serie    eti serie    eti serie    eti | eti    serie   eti    "
        "serie  | "
        "adressen",
        std::string(132, '-'),
        key + "      1     0      1     4      1     0" + std::string(13, ' ') +
            "      1 | 160709 150709                | 0/" + std::to_string(series.first_block),
        key + "   etiketten met ongeldig filiaal",
        key + "   ongeldige tijdstempel 18021982",
        std::string(132, '-'),
        "                    1     0      1     4      1     0             ",
        "",
        "Aantal series: 1",
    })) << run;
    EXPECT_EQ(block_on_file(series.first_block).slots[3].date_in, earliest_day)
        << "dates are put right without a question";
    EXPECT_EQ(block_on_file(series.first_block).slots[2].branch, 7);
    EXPECT_EQ(check("full series", "J").flags, "series");

    const LabelBlock after = block_on_file(series.first_block);
    EXPECT_TRUE(label_is_empty(after.slots[0])) << "a deleted label does not come back";
    EXPECT_EQ(after.slots[0].branch, 0);
    EXPECT_EQ(after.slots[2].branch, 1);
    EXPECT_EQ(after.slots[4].branch, 2);
    const SeriesRecord mended = series_on_file(series);
    EXPECT_TRUE(mended.ordered == 1U && mended.stock == 1U && mended.sold == 1U && mended.corrected == 1U);
    EXPECT_EQ(mended.last_delivery, 40010);
    EXPECT_EQ(mended.last_sale, 40021) << "a later sale stays";
    EXPECT_EQ(mended.stamp, stamp_of_day(earliest_day)) << "the day of the earliest label";
    EXPECT_EQ(audit(audit_labels), "");
}

TEST_F(Series, ThoseThatOthersAddDuringTheSessionAreLookedAt) {
    make({.series = 3});
    constexpr std::int16_t added = 20;  // more than there are free records
    const CheckRun run = play({.answers = "N"}, [&] {
        chk_series();
        ICB *other = IXOPEN("RVSER", ix_shared);
        SeriesRecord series = shop.series[0];
        series.stock++;
        for (int number = 1; number <= added; number++) {
            series.key.number = static_cast<std::uint16_t>(series.key.number + 1000);
            IXWRITE(other, &series);
        }
        IXCLOSE(other);
        chk_series();
    });
    EXPECT_EQ(std::ssize(run.codes), added) << run;
}

TEST_F(Series, StampsLieBetween1980AndTheFirstLabel) {
    constexpr int none = 1;
    const struct {
        int first_label;  ///< days from today; 1 for none
        int stamp;        ///< seconds, or below 0: a day from today
        bool valid;
        int repaired;  ///< day from today
    } stamps[] = {
        {none, 0, false, 0},         {none, 86399, false, 0}, {none, 86400, true, 0},
        {none, INT32_MAX, false, 0}, {-50, -50, true, 0},     {-50, -49, false, -50},
        {-50, -400, true, 0},        {5, -1, true, 0},        {5, INT32_MAX, false, 0},
    };
    for (const auto &stamp : stamps) {
        SCOPED_TRACE(std::to_string(stamp.first_label) + " " + std::to_string(stamp.stamp));
        make({.series = 3, .labels = 0});
        std::vector<LabelParts> labels;
        if (stamp.first_label != none) {
            labels.push_back(label(label_corrected, date_today() + stamp.first_label));
        }
        SeriesRecord &series = series_of(labels);
        series.corrected = static_cast<std::uint32_t>(labels.size());
        series.stamp = stamp.stamp >= 0 ? stamp.stamp
                                        : stamp_of_day(static_cast<day_number>(date_today() + stamp.stamp));
        write();
        const CheckRun run = check("full series", "N");
        EXPECT_EQ(run.flags, stamp.valid ? "series" : "") << run;
        EXPECT_EQ(check("full series", "J").flags, "series");
        if (!stamp.valid) {
            EXPECT_EQ(day_of_stamp(series_on_file(series).stamp), date_today() + stamp.repaired);
        }
    }
}

TEST_F(Series, ShopWithoutBranchesIsOneShop) {
    make({.series = 3, .branches = 1, .transit = false});
    shop.settings.branches = 0;
    const SeriesRecord &series = series_of({label(label_stock, 40000, 5)});
    write();
    EXPECT_EQ(check("full series", "J").flags, "series");
    EXPECT_EQ(block_on_file(series.first_block).slots[0].branch, 0);
}

TEST_F(Series, RecordsArePutRightOnTheWay) {
    make({.series = 6});
    std::memcpy(shop.series[1].model, "ab\x84z\0c", 7);
    shop.series[2].brand = 0;
    shop.series[3].size_kind = 0;
    shop.series[4].option_value = 0x100;
    shop.series[5].option_value = 0x105;
    for (ArticleGroupRecord &group : shop.groups) {
        group.option = 0;
    }
    write();
    const CheckRun run = check("full series");
    EXPECT_TRUE(run.flags == "series" && run.report.empty()) << run;
    EXPECT_EQ(std::string(series_on_file(shop.series[1]).model, 6), std::string("AB\x84Z\0c", 6));
    EXPECT_EQ(series_on_file(shop.series[2]).key.group, 0U) << "a series without a brand goes";
    EXPECT_EQ(series_on_file(shop.series[3]).key.group, 0U) << "a series without a size kind goes";
    EXPECT_EQ(series_on_file(shop.series[4]).option_value, 0x100) << "only the low byte counts";
    EXPECT_EQ(series_on_file(shop.series[5]).option_value, 0);
}

}  // namespace
