// A label file for tests: an empty one, or that of a made shop.
#pragma once

#include <cstdio>
#include <string>

#include "data/data.h"
#include "support/check_case.h"

/// A directory with a system file, and the label file open when a test opens it.
class LabelFile : public CheckCase {
protected:
    void SetUp() override {
        ScratchDir::SetUp();
        ASSERT_NE(std::freopen("/dev/null", "r", stdin), nullptr);  // a fatal stop waits for Enter
        unsetenv("ZUV_INTERN");
    }
    void TearDown() override {
        close_shop();
        chk_eti_raw(raw_action::close);
        if (session_sizes != nullptr) {
            mtclose(session_sizes);
            session_sizes = nullptr;
        }
        if (chk_files.rvmaat != nullptr) {
            IXCLOSE(chk_files.rvmaat);
            chk_files.rvmaat = nullptr;
        }
        sys_user = 0;
        sys_slot = {};
        sys_settings = {};
        sys_country = {};
        ScratchDir::TearDown();
    }
    void open_system() {
        iotab(tab_action::open, sys_row, nullptr, 0, 0, 0);
        iotab_row(tab_action::read, row_settings, sys_settings);
        iotab_row(tab_action::read, row_country, sys_country);
        sys_user = 1;
        iotab(tab_action::read, sys_user, sys_slot, region_users);
    }
    /// Ready for the next shop.
    void close_shop() {
        if (is_open) {
            eti_file(eti_action::close);
        }
        iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
        is_open = false;
    }
    void open_labels() {
        eti_file(eti_action::open);
        is_open = true;
    }
    /// An empty label file, with an end mark of 0.
    void make_empty() {
        put(sys_file_name, std::string(region_actions.end(), '\0'));
        put(eti_file_name);
        open_system();
        sys_settings.group_value[1] = 21;
    }
    /// A shop, with what `change` makes of it.
    template <class Change>
    void make_shop_with(int series, Change change) {
        make({.series = series, .labels = 12, .today = date_from_str("20112013")});
        change(shop);
        write();
        open_system();
        open_labels();
    }
    static int status_on_file() {
        return static_cast<int>(Bytes(sys_file_name).u8(2640 + 38));
    }

    bool is_open = false;
};
