// What the tills are told about EAN codes.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "base/base.h"
#include "base/owned_file.h"
#include "data/eanhdl.h"
#include "data/errors.h"
#include "data/iofil.h"
#include "data/iomaat.h"
#include "data/iotab.h"
#include "data/leesstam.h"
#include "data/pairopen.h"
#include "data/serieslabels.h"
#include "data/sessionfiles.h"
#include "data/batch_lock.h"

namespace {

constexpr char change_file[] = "KASMUT.TXT";
constexpr mode_t new_file_mode = 0666;
constexpr int batch_tills = 1;
constexpr std::uint8_t tills_present = 2;
constexpr int all_tills = 255;
constexpr std::size_t most_branches = 256;

/// What the tills of a branch must know about an action, taken from the labels in that branch.
struct branch_action {
    std::uint8_t number = 0;  ///< 0 for none
    std::uint16_t value = 0;
    std::int32_t amount = 0;
};
using branch_actions = std::array<branch_action, most_branches>;

/// Calls `visit` with each branch that has tills, and its record.
template <class Visit>
void each_till_branch(Visit visit) {
    BranchRecord record{};
    for (int branch = 0; branch < std::max<int>(sys_settings.branches, 1); branch++) {
        if (iofil(fil_action::read, branch, record) != 0 && record.till_count >= tills_present) {
            visit(branch, record);
        }
    }
}

void add_line(char kind, const std::string &text) {
    batch_lock(batch_tills, false);
    open_file file(open(change_file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, new_file_mode));
    if (file.fd < 0) {
        err_open("eanhdl", change_file);
    }
    const std::string line = str_format("%03d%03d%c%s\n", all_tills, all_tills, kind, text.c_str());
    if (write(file.fd, line.data(), line.size()) != static_cast<ssize_t>(line.size()) || !file.close()) {
        isam_fatal("%s: errno=%d%s", change_file, errno, disk_full_text(errno));
    }
    batch_unlock(batch_tills);
}

void tell_changes(const SeriesRecord &series, const std::string &code) {
    const bool by_series = sys_country.ean_module_option != 0;
    bool by_code = false;
    each_till_branch(
        [&](int, const BranchRecord &branch) { by_code = by_code || branch.till_option == 0 || !by_series; });
    if (by_code) {
        add_line('E', str_format("%-13.13s", code.c_str()));
    }
    if (by_series) {
        add_line('g', str_format("%05ld%03hu%04hu", static_cast<long>(series.key.group),
                                 static_cast<unsigned short>(series.key.colour),
                                 static_cast<unsigned short>(series.key.number)));
    }
}

/// The amount of the price group that a size falls in. Each group reaches up to its last size; the last group
/// in use also covers all sizes after it.
std::int32_t price_of(const SeriesRecord &series, std::uint8_t index) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind, &series.sizes);
    std::size_t group = 0;
    size_cursor size{};
    for (int found = mtread(session_sizes, mt_action::first, size, mt_key::position);
         found != 0 && size.index != index;
         found = mtread(session_sizes, mt_action::next, size, mt_key::position)) {
        if (size.index == series.group_last[group] && group + 1 < price_groups &&
            series.group_last[group + 1] != 0) {
            group++;
        }
    }
    return static_cast<std::int32_t>(series.group_price[group]);
}

/// The action of a label, if it still runs.
branch_action action_of(const LabelParts &label) {
    ActionRecord action{};
    std::int32_t number = label.code_m;
    if (number < 1 || number > region_actions.highest ||
        iotab(tab_action::read, number, action, region_actions) == 0 || action.last_day < date_today()) {
        return {};
    }
    return {static_cast<std::uint8_t>(number), action.value, static_cast<std::int32_t>(label.amount_c)};
}

/// The actions of a size, branch by branch, taken from the first label in stock that has one.
branch_actions actions_of(const SeriesRecord &series, std::uint8_t size) {
    branch_actions actions{};
    for (label_chain chain = label_chain_of(series); label_chain_next(chain);) {
        for (const LabelEntry &entry : chain.content.slots) {
            const LabelParts label = label_split(entry);
            if (label.status != label_stock || label.size != size) {
                continue;
            }
            branch_action &here = actions[static_cast<std::size_t>(label.branch) % most_branches];
            if (here.number == 0) {
                here = action_of(label);
            }
        }
    }
    return actions;
}

PluRecord plu_of(const SeriesRecord &series, const EanRecord &code) {
    PluRecord record{};
    std::memcpy(record.code, code.code, sizeof record.code);
    ArticleGroupRecord group{};
    art_read(chk_files.rvart, group, series.key.group);
    record.turnover = group.turnover;
    record.price = price_of(series, code.size);
    return record;
}

/// Writes the code's record in the file of a branch; deletes it when `action` is null.
void write_plu(int branch, const PluRecord &known, const branch_action *action) {
    PluRecord record = known;
    ICB *file = pair_open(str_format("PLU%02d", branch).c_str(), ix_shared, sizeof record);
    const bool found = IXREADLOCK(file, &record);
    if (action != nullptr) {
        record.turnover = known.turnover;
        record.price = known.price;
        record.action = action->number;
        record.action_value = action->value;
        record.action_amount = action->amount;
        IXWRITE(file, &record);
    } else if (found) {
        IXDELETE(file, &record);
    } else {
        IXFREE(file, &record);
    }
    IXCLOSE(file);
}

}  // namespace

void ean_tell_tills(ICB *file, const SeriesRecord &series, const EanRecord &code) {
    if ((sys_settings.mode & mode_till_list) == 0) {
        return;
    }
    tell_changes(series, ean_text(code));
    EanRecord on_file{};
    const bool exists = ean_read_code(file, on_file, ean_text(code));
    const PluRecord record = plu_of(series, code);
    const branch_actions actions = exists ? actions_of(series, code.size) : branch_actions{};
    each_till_branch([&](int branch, const BranchRecord &) {
        write_plu(branch, record, exists ? &actions[static_cast<std::size_t>(branch)] : nullptr);
    });
}
