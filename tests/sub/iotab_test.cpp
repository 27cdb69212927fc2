// Records of the system file: regions, empty records, locks between programs.
#include "data/iotab.h"

#include <cstring>

#include "base/base.h"
#include "data/batch_lock.h"
#include "label_file.h"
#include "support/other_process.h"

namespace {

class SystemFile : public LabelFile {
protected:
    void SetUp() override {
        LabelFile::SetUp();
        make_empty();
        sys_user = 0;
    }
    static void put_title(std::int32_t number, const char *text) {
        TitleRecord title{};
        std::strncpy(title.text, text, sizeof title.text - 1);
        iotab(tab_action::write, number, title, region_titles);
    }
};

// Of 20 titles the third and the seventh are there.
TEST_F(SystemFile, RegionIsAMapOfItsRecords) {
    constexpr std::int32_t far = 2000000000;
    for (const std::int32_t number : {3, 7, 5, 0, 21, -1, far, -far}) {
        put_title(number, number == 3 ? "Dhr." : "Mevr.");
    }
    TitleRecord empty{};
    std::int32_t fifth = 5;
    iotab(tab_action::clear, fifth, empty, region_titles);
    const struct {
        tab_action action;
        std::int32_t from, to;
        bool found;
    } cases[] = {
        {tab_action::read, 3, 3, true},       {tab_action::read, 5, 5, false},
        {tab_action::read, 21, 21, false},    {tab_action::read, -far, -far, false},
        {tab_action::first, 3, 3, true},      {tab_action::first, -1, 3, true},
        {tab_action::first, 4, 7, true},      {tab_action::first, far, 21, false},
        {tab_action::next, -far, 3, true},    {tab_action::next, 3, 7, true},
        {tab_action::next, 7, 21, false},     {tab_action::next, 1000, 21, false},
        {tab_action::previous, far, 7, true}, {tab_action::previous, 7, 3, true},
        {tab_action::previous, 3, 0, false},  {tab_action::previous, -1, 0, false},
    };
    for (const auto &c : cases) {
        std::int32_t number = c.from;
        TitleRecord title{};
        EXPECT_EQ(iotab(c.action, number, title, region_titles), c.found ? 1 : 0) << &c - cases;
        EXPECT_EQ(number, c.to) << &c - cases;
        EXPECT_STREQ(title.text, !c.found ? "" : c.to == 3 ? "Dhr." : "Mevr.") << &c - cases;
    }
    std::string expected(region_actions.end(), '\0');
    expected.replace(2000 + 2 * 32, 4, "Dhr.").replace(2000 + 6 * 32, 5, "Mevr.");
    EXPECT_EQ(get(sys_file_name), expected);
}

TEST_F(SystemFile, BusyRowKeepsWhatStandsBesideTheText) {
    SysRow10 row{};
    std::memcpy(row.release, data_release, sizeof row.release);
    std::memset(row.busy_text, 'x', sizeof row.busy_text);
    iotab_row(tab_action::write, row_status, row);
    set_system_busy(std::string(60, 'b').c_str());
    iotab_row(tab_action::read, row_status, row);
    EXPECT_EQ(std::string(row.busy_text, sizeof row.busy_text), std::string(49, 'b') + '\0');
    EXPECT_EQ(std::string(row.release, sizeof row.release), data_release);
    EXPECT_EQ(row.state, state_busy);
}

/// Another program on the same system file.
struct OtherProgram : OtherProcess {
    template <class Work>
    explicit OtherProgram(const Work &work)
        : OtherProcess([&work] {
              iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
              iotab(tab_action::open, sys_row, nullptr, 0, 0, 0);
              work();
          }) {}
};

TEST_F(SystemFile, RecordLocksKeepProgramsApart) {
    put_title(3, "Dhr.");
    const auto act = [](tab_action action, std::int32_t number) {
        TitleRecord title{};
        return iotab(action, number, title, region_titles);
    };
    {
        // A write releases, unless it is told to keep. The unit is the record.
        const OtherProgram other([&] {
            for (const std::int32_t number : {3, 4, 5}) {
                act(tab_action::lock_read, number);
            }
            act(tab_action::write, 3);
            act(tab_action::write_keep, 4);
        });
        const int free[] = {1, 1, 0, 0, 1};  // of 2 to 6
        for (std::int32_t number = 2; number <= 6; number++) {
            EXPECT_EQ(act(tab_action::test, number), free[number - 2]) << number;
        }
    }
    EXPECT_EQ(act(tab_action::test, 5), 1);
}

TEST_F(SystemFile, HolderOfALockIsNamed) {
    UserSlot slot{};
    char name[sizeof slot.name + 2] = "Jansen";
    SCRAMBLE(name);
    std::memcpy(slot.name, name, sizeof slot.name);
    std::memcpy(slot.terminal, "3", 1);
    std::int32_t fifth = 5;
    iotab(tab_action::write, fifth, slot, region_users);

    const off_t row = region_rows.offset(row_dates);
    SysRow19 dates{};
    const auto holder = [&](const char *word) {
        return lock_holder_text(word, iotab_descriptor(), row, region_rows.size);
    };
    {
        const OtherProgram other([&] { iotab_row(tab_action::lock_read, row_dates, dates); });
        EXPECT_EQ(holder(""), "Informatie in gebruik op ander scherm") << "a program without a slot";
    }
    const OtherProgram other([&] {
        iotab(tab_action::lock_read, fifth, slot, region_users);
        iotab_row(tab_action::lock_read, row_dates, dates);
    });
    EXPECT_EQ(holder(""), "Informatie in gebruik door Jansen (tty3)");
    EXPECT_EQ(holder("PROG"), "Programma in gebruik door Jansen (tty3)");
    EXPECT_EQ(holder("~RVSER"), "RVSER: in gebruik door Jansen (tty3)");
}

TEST_F(SystemFile, BatchLockIsAByteForKindAndUser) {
    sys_user = 7;
    const OtherProgram other([] { EXPECT_TRUE(batch_lock(2, false)); });
    const auto free_byte = [](int kind, int user) {
        return file_lock(lock_action::test, iotab_descriptor(), kind * 99 + user + 40084, 1);
    };
    EXPECT_FALSE(free_byte(2, 7));
    EXPECT_TRUE(free_byte(2, 8) && free_byte(1, 7) && free_byte(3, 7));
    EXPECT_TRUE(batch_lock(1, false));
    batch_unlock(1);
    EXPECT_EXIT(batch_lock(16, false), testing::ExitedWithCode(1), "");
}

}  // namespace
