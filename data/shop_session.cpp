#include "data/shop_session.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>

#include "base/base.h"
#include "data/errors.h"
#include "data/iofil.h"
#include "data/iotab.h"

std::vector<till> sys_tills;

namespace {

constexpr std::int32_t stand_alone_slot = 1;

std::string title;

void load_tills() {
    constexpr std::size_t till_file_length = 11;
    std::string name = "KAS*.SYS";
    if (!DIRECTORY(dir_action::open, name)) {
        return;
    }
    try {
        while (DIRECTORY(dir_action::next, name)) {
            unsigned branch = 0;
            unsigned number = 0;
            if (name.size() == till_file_length &&
                std::sscanf(name.c_str(), "KAS%2u%2u", &branch, &number) == 2) {
                sys_tills.push_back({static_cast<std::uint8_t>(branch), static_cast<std::uint8_t>(number)});
            }
        }
    } catch (const std::bad_alloc &) {
        err_nomem("konl_mut", 1);
    }
    DIRECTORY(dir_action::close, name);
}

/// Gives the user slot back. A slot with the idle status was never written and stays as it is.
void release_slot() {
    if (sys_slot.status == status_idle) {
        return;
    }
    constexpr std::uint8_t first_lasting_status = 5;
    if (sys_slot.status < first_lasting_status) {
        set_program_status(status_idle);
    }
    std::memset(sys_slot.program, 0, sizeof sys_slot.program);
    sys_slot.handover_time = static_cast<std::int32_t>(std::time(nullptr));
    sys_slot.menu_copy = 0;
    std::memset(sys_slot.terminal, 0, sizeof sys_slot.terminal);
    iotab(tab_action::write, sys_user, sys_slot, region_users);
}

}  // namespace

void shop_open() {
    BranchRecord branch{};
    iotab(tab_action::open, sys_row, nullptr, 0, 0, 0);
    iofil(fil_action::open, 0, branch);
}

bool shop_release_fits(std::string &release) {
    SysRow10 status{};
    iotab_row(tab_action::read, row_status, status);
    release.assign(status.release, strnlen(status.release, sizeof status.release));
    return std::memcmp(status.release, data_release, sizeof status.release) == 0;
}

void shop_begin() {
    sys_user = stand_alone_slot;
    iotab(tab_action::read, sys_user, sys_slot, region_users);
    sys_slot_status = sys_slot.status;
    sys_slot.status = status_idle;
    iotab_row(tab_action::read, row_settings, sys_settings);
    iotab_row(tab_action::read, row_country, sys_country);
    if ((sys_settings.mode & mode_till_list) != 0) {
        load_tills();
    }
}

bool shop_whole_amounts() {
    CurrencyRecord currency{};
    for (std::int32_t number = 1; iotab(tab_action::read, number, currency, region_currencies) != 0;
         number++) {
        if (std::memcmp(currency.code, sys_country.home_currency, sizeof currency.code) == 0) {
            return currency.decimals == 0;
        }
    }
    return false;
}

void shop_close() {
    BranchRecord branch{};
    release_slot();
    iotab(tab_action::close, sys_row, nullptr, 0, 0, 0);
    iofil(fil_action::close, 0, branch);
    sys_tills.clear();
}

void set_program_title(const char *text) {
    title = text;
}

const char *program_title() {
    return title.c_str();
}
