// The walks of the reference files. A record with an impossible number is deleted silently; what can be
// corrected from the shop's own data is corrected on the spot.
#include "check/master/master.h"
#include "data/iofil.h"
#include "data/sizefile.h"

namespace {

constexpr std::uint32_t group_highest = 99999;
constexpr unsigned number_highest = 9999;
constexpr unsigned staff_highest = 999;
constexpr std::size_t group_key_bytes = 4;
constexpr std::size_t number_key_bytes = 2;
constexpr std::size_t pair_key_bytes = 2;
constexpr std::size_t article_key_bytes = 3;

/// Calls `visit` for each record in the order of the file.
template <class Record, class Visit>
bool walk(ICB *file, Visit visit) {
    Record record{};
    for (bool more = chk_scan_first(file, &record); more; more = IXSEQ(file, &record)) {
        visit(record);
    }
    return !op_interrupted();
}

/// Reads a turnover group by number; false when there is none.
bool turnover_read(const master_files &files, TurnoverGroupRecord &group, unsigned number) {
    group = {};
    group.number = static_cast<std::uint16_t>(number);
    return IXREAD(files.turnover, &group) && group.number == number;
}

template <class Record>
bool session_ahead(const Record &record, std::uint16_t limit) {
    return record.session > limit || record.changed > limit;
}

template <class Record>
void lower_sessions(Record &record, std::uint16_t limit) {
    if (record.session > limit) {
        record.session = limit;
    }
    if (record.changed > limit) {
        record.changed = limit;
    }
}

/// True for a number of list A that is not a size system.
bool size_system_unknown(std::int32_t number) {
    NameRecord name{};
    return number != 0 && iotab(tab_action::read, number, name, region_size_systems) == 0;
}

bool walk_groups(const master_files &files, reference_findings &found) {
    const std::uint16_t limit = files.session_limit;
    return walk<ArticleGroupRecord>(chk_files.rvart, [&](const ArticleGroupRecord &group) {
        if (group.number < 1 || group.number > group_highest) {
            delete_walk_record(chk_files.rvart, group, group_key_bytes);
            return;
        }
        if (empty_text(group.description)) {
            found.add(group_no_name, group.number);
        }
        TurnoverGroupRecord turnover{};
        bool vat_differs = false;
        if (group.turnover == 0) {
            found.add(group_no_turnover, group.number);
        } else if (!turnover_read(files, turnover, group.turnover)) {
            found.add(group_turnover_unknown, group.number);
        } else if (turnover.vat != group.vat) {
            found.add(group_vat_differs, group.number);
            vat_differs = true;
        }
        const bool ahead = session_ahead(group, limit);
        if (ahead) {
            found.add(group_session, group.number);
        }
        if (vat_differs || ahead) {
            mend_walk_record(chk_files.rvart, group, group_key_bytes, [&](ArticleGroupRecord &fresh) {
                if (vat_differs && fresh.turnover == group.turnover) {
                    fresh.vat = turnover.vat;
                }
                lower_sessions(fresh, limit);
            });
        }
    });
}

bool walk_suppliers(const master_files &files, reference_findings &found) {
    const std::uint16_t limit = files.session_limit;
    return walk<SupplierRecord>(chk_files.rvlev, [&](const SupplierRecord &supplier) {
        if (supplier.number < 1 || supplier.number > number_highest) {
            delete_walk_record(chk_files.rvlev, supplier, number_key_bytes);
            return;
        }
        if (empty_text(supplier.name)) {
            found.add(supplier_no_name, supplier.number);
        }
        const bool no_currency = empty_text(supplier.currency) && !empty_text(sys_country.home_currency);
        const bool no_system = size_system_unknown(supplier.size_system);
        const bool ahead = session_ahead(supplier, limit);
        if (ahead) {
            found.add(supplier_session, supplier.number);
        }
        if (no_currency || no_system || ahead) {
            mend_walk_record(chk_files.rvlev, supplier, number_key_bytes, [&](SupplierRecord &fresh) {
                if (no_currency && empty_text(fresh.currency)) {
                    std::memcpy(fresh.currency, sys_country.home_currency, sizeof fresh.currency);
                }
                if (no_system && fresh.size_system == supplier.size_system) {
                    fresh.size_system = 0;
                }
                lower_sessions(fresh, limit);
            });
        }
    });
}

bool walk_brands(const master_files &files, reference_findings &found) {
    const std::uint16_t limit = files.session_limit;
    return walk<BrandRecord>(chk_files.rvmerk, [&](const BrandRecord &brand) {
        if (brand.number < 1 || brand.number > number_highest) {
            delete_walk_record(chk_files.rvmerk, brand, number_key_bytes);
            return;
        }
        if (empty_text(brand.name)) {
            found.add(brand_no_name, brand.number);
        }
        const bool no_system = size_system_unknown(brand.size_system);
        const bool ahead = session_ahead(brand, limit);
        if (ahead) {
            found.add(brand_session, brand.number);
        }
        if (no_system || ahead) {
            mend_walk_record(chk_files.rvmerk, brand, number_key_bytes, [&](BrandRecord &fresh) {
                if (no_system && fresh.size_system == brand.size_system) {
                    fresh.size_system = 0;
                }
                lower_sessions(fresh, limit);
            });
        }
    });
}

/// The branches, where there are several, and the head office, whose number is the number of branches.
bool walk_branches(const master_files &, reference_findings &found) {
    const int head_office = sys_settings.branches;
    for (int number = head_office < 2 ? head_office : 0; number <= head_office; number++) {
        BranchRecord branch{};
        iofil(fil_action::read, number, branch);
        if (empty_text(branch.name)) {
            found.add(branch_no_name, static_cast<unsigned>(number));
        }
    }
    return !op_interrupted();
}

bool walk_turnover_groups(const master_files &files, reference_findings &found) {
    return walk<TurnoverGroupRecord>(files.turnover, [&](const TurnoverGroupRecord &group) {
        if (group.number == 0) {
            delete_walk_record(files.turnover, group, number_key_bytes);
        } else if (empty_text(group.description)) {
            found.add(turnover_no_name, group.number);
        }
    });
}

bool walk_staff(const master_files &files, reference_findings &found) {
    return walk<StaffRecord>(files.staff, [&](const StaffRecord &staff) {
        if (staff.number < 1 || staff.number > staff_highest) {
            delete_walk_record(files.staff, staff, number_key_bytes);
        } else if (empty_text(staff.name)) {
            found.add(staff_no_name, staff.number);
        }
    });
}

/// For a small article the record of the article itself is checked, not those of the branches.
bool walk_articles(const master_files &files, reference_findings &found) {
    return walk<SmallArticleRecord>(files.articles, [&](const SmallArticleRecord &article) {
        if (article.number < 1 || article.number > number_highest) {
            delete_walk_record(files.articles, article, article_key_bytes);
            return;
        }
        if (article.branch != 0) {
            return;
        }
        if (empty_text(article.description)) {
            found.add(article_no_name, article.number);
        }
        TurnoverGroupRecord turnover{};
        if (article.turnover == 0 || !turnover_read(files, turnover, article.turnover)) {
            found.add(article_turnover, article.number);
        }
    });
}

bool walk_actions(const master_files &files, reference_findings &found) {
    if ((sys_settings.mode & mode_saving) == 0) {
        return true;
    }
    unsigned number = 0;
    for (const SavingAction &action : files.tills.actions) {
        number++;
        if (op_interrupted()) {
            return false;
        }
        if (action.in_use == 0) {
            continue;
        }
        if (empty_text(action.description)) {
            found.add(action_no_name, number);
        }
        if (action.begin_date == 0 || action.end_date == 0) {
            found.add(action_no_period, number);
        }
    }
    return true;
}

bool walk_size_kinds(const master_files &files, reference_findings &found) {
    const std::uint16_t limit = files.session_limit;
    return walk<SizeKindRecord>(chk_files.rvmaat, [&](const SizeKindRecord &kind) {
        if (session_ahead(kind, limit)) {
            found.add(size_kind_session, kind.kind);
            mend_walk_record(chk_files.rvmaat, kind, pair_key_bytes,
                             [&](SizeKindRecord &fresh) { lower_sessions(fresh, limit); });
        }
        for (unsigned i = 1; i <= size_highest; i++) {
            if (kind.entries[i].link != 0 && empty_text(kind.entries[i].code)) {
                found.add(size_kind_no_code, kind.kind);
            }
        }
    });
}

}  // namespace

bool master_walk_references(const master_files &files, reference_findings &found) {
    return walk_groups(files, found) && walk_suppliers(files, found) && walk_brands(files, found) &&
           walk_branches(files, found) && walk_turnover_groups(files, found) && walk_staff(files, found) &&
           walk_articles(files, found) && walk_actions(files, found) && walk_size_kinds(files, found);
}
