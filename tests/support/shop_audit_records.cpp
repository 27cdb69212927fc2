// The audit of customers, reference files, codes and journals.
#include "support/shop_audit_parts.h"

namespace shop_audit {

namespace {

/// Tests of one reference file: number in range and once, a name, session numbers not above the limit.
struct Reference {
    const char *name;
    std::size_t record;
    std::size_t number_bytes;
    std::uint32_t highest;
    std::size_t text;
    std::vector<std::size_t> sessions;
};

bool valid_ean(const std::string &code) {
    if (code.size() != 13 && code.size() != 12 && (code.size() != 8 || code[0] == '0')) {
        return false;
    }
    int sum = 0;
    int weight = 1;
    for (std::size_t i = code.size(); i-- > 0; weight = 4 - weight) {
        if (code[i] < '0' || code[i] > '9') {
            return false;
        }
        sum += (code[i] - '0') * weight;
    }
    return sum % 10 == 0;
}

}  // namespace

void Audit::check_customers(bool amounts) {
    if ((mode() & 1) == 0) {
        return;
    }
    const Table customers(directory / "RVKLT.TXT", 312);
    const Table extensions(directory / "RVKLTEXT.TXT", 88);
    std::map<std::uint32_t, unsigned> extended;
    for (const std::size_t at : extensions.at) {
        extended[extensions.data.u32(at)] = extensions.data.u16(at + 84);
    }
    std::map<std::uint32_t, const Label *> by_number;
    std::set<std::uint32_t> unlinked;
    for (const Label &label : labels) {
        by_number[label.number] = &label;
        if (label.status == 3 && label.customer != 0) {
            unlinked.insert(label.number);
        }
    }
    std::set<std::string> countries;
    for (std::size_t i = 0; i < 99; i++) {
        countries.insert(system.data.substr(46900 + i * 28 + 2, 3));
    }
    std::set<std::uint32_t> numbers;
    for (const std::size_t at : customers.at) {
        const Bytes &data = customers.data;
        const std::uint32_t number = data.u32(at);
        if (number < 1 || number > 999999 || !numbers.insert(number).second || data.u8(at + 4) == 0 ||
            data.u16(at + 158) >= today || data.data.substr(at + 223, 8).find('\0') != std::string::npos) {
            find("customer %u", number);
        }
        if (data.u16(at + 250) == 0 && system.u8(row(8) + 4) > 1) {
            find("customer %u: no stamp", number);
        }
        if (data.u16(at + 292) != 0 && extended.contains(number) && extended[number] != data.u16(at + 292)) {
            find("customer %u: extension of another", number);
        }
        const unsigned title = data.u8(at + 160);
        if (title > 20 || (title > 0 && system.zero(2000 + (title - 1) * 32, 32))) {
            find("customer %u: title %u", number, title);
        }
        if (!countries.contains(data.data.substr(at + 111, 3)) || data.u8(at + 111) == 0) {
            find("customer %u: country", number);
        }
        if ((mode() & 2) == 0) {
            continue;
        }
        std::int64_t sums[3] = {};
        std::int64_t counts[3] = {};
        unsigned last = 65535;
        for (std::uint32_t at_label = data.u32(at + 132); at_label != 0;) {
            const Label *label = by_number[at_label];
            if (label == nullptr || label->status != 3 || label->customer != number || label->third > last ||
                unlinked.erase(at_label) == 0) {
                find("customer %u: chain at label %u", number, at_label);
                break;
            }
            last = label->third;
            const int kind = label->digit_b == 0 ? 0 : label->digit_b == 9 ? 2 : 1;
            sums[kind] += label->amount_c;
            counts[kind]++;
            at_label = label->next;
        }
        for (std::size_t kind = 0; amounts && kind < 3; kind++) {
            if (data.i32(at + 136 + kind * 4) != sums[kind] ||
                data.u16(at + 152 + kind * 2) != counts[kind]) {
                find("customer %u: amounts", number);
            }
        }
    }
    if ((mode() & 2) != 0 && !unlinked.empty()) {
        find("%zu sold labels on no customer's chain, the first %u", unlinked.size(), *unlinked.begin());
    }
}

void Audit::check_master() {
    const Reference references[] = {
        {"RVART.TXT", 304, 4, 99999, 6, {290, 292}},
        {"RVLEV.TXT", 332, 2, 9999, 2, {264, 280}},
        {"RVMERK.TXT", 76, 2, 9999, 2, {72, 74}},
        {"RVOMZGRP.TXT", 24, 2, 9999, 2, {}},
        {"RVVKP.TXT", 48, 2, 999, 3, {}},
        {"RVARTREG.TXT", 60, 2, 9999, 3, {}},
        {"RVMAAT.TXT", 404, 0, 0, 18, {398, 400}},
    };
    std::map<std::string, std::map<std::uint32_t, std::size_t>> numbers;
    for (const Reference &reference : references) {
        const Table table(directory / reference.name, reference.record);
        for (const std::size_t at : table.at) {
            const Bytes &data = table.data;
            const std::uint32_t number = reference.number_bytes == 4   ? data.u32(at)
                                         : reference.number_bytes == 2 ? data.u16(at)
                                                                       : 0;
            const bool branch_record = reference.record == 60 && data.u8(at + 2) != 0;
            const bool ranged = reference.highest == 0 || (number >= 1 && number <= reference.highest);
            if (!ranged || (!branch_record && data.u8(at + reference.text) == 0)) {
                find("%s: record %u", reference.name, number);
            }
            for (const std::size_t session : reference.sessions) {
                if (data.u16(at + session) > session_limit()) {
                    find("%s: session number of %u", reference.name, number);
                }
            }
            numbers[reference.name][number] = at;
        }
    }
    const auto known = [&](const char *file, std::uint32_t number) { return numbers[file].contains(number); };
    const Table groups(directory / "RVART.TXT", 304);
    const Table turnover(directory / "RVOMZGRP.TXT", 24);
    for (const std::size_t at : groups.at) {
        const unsigned group = groups.data.u16(at + 30);
        if (!known("RVOMZGRP.TXT", group) ||
            turnover.data.u8(numbers["RVOMZGRP.TXT"][group] + 17) != groups.data.u8(at + 33)) {
            find("article group %u: turnover group %u", groups.data.u32(at), group);
        }
    }
    const auto in_list = [&](std::size_t base, unsigned number) {
        return number > 0 && number <= 99 && !system.zero(base + (number - 1) * 20, 20);
    };
    const Table suppliers(directory / "RVLEV.TXT", 332);
    for (const std::size_t at : suppliers.at) {
        const unsigned list = suppliers.data.u8(at + 282);
        if (suppliers.data.u8(at + 260) == 0 || (list != 0 && !in_list(42780, list))) {
            find("supplier %u", suppliers.data.u16(at));
        }
    }
    const Table brands(directory / "RVMERK.TXT", 76);
    for (const std::size_t at : brands.at) {
        const unsigned list = brands.data.u8(at + 65);
        if (list != 0 && !in_list(42780, list)) {
            find("brand %u", brands.data.u16(at));
        }
    }
    const Bytes tills(directory / "KASPARM.TXT");
    for (std::size_t i = 1; (mode() & 64) != 0 && i <= 9; i++) {
        const std::size_t at = 140 + 160 * i;
        if (tills.u8(at + 156) != 0 &&
            (tills.u8(at) == 0 || tills.u16(at + 88) == 0 || tills.u16(at + 90) == 0)) {
            find("saving action %zu", i);
        }
    }
    const Bytes shops(directory / "RVFILGEG.TXT");
    if (system.u8(0) == 0 || shops.size() != 612 * (branches() + 1)) {
        find("head office");
    }
    for (std::size_t branch = 1; branches() > 1 && branch <= branches(); branch++) {
        if (shops.text(branch * 612, 32).size() < 2) {  // scrambled, an empty name is one byte
            find("branch %zu: no name", branch - 1);
        }
    }
    const Table small(directory / "RVARTREG.TXT", 60);
    for (const std::size_t at : small.at) {
        if (small.data.u8(at + 2) == 0 && !known("RVOMZGRP.TXT", small.data.u16(at + 18))) {
            find("small article %u", small.data.u16(at));
        }
    }
    for (const auto &[key, at] : series_at) {
        const Bytes &data = series.data;
        const std::uint32_t group = data.u32(at);
        const unsigned colour = data.u16(at + 4);
        const unsigned number = data.u16(at + 6);
        const bool valid =
            group >= 1 && group <= 99999 && colour >= 1 && colour <= 999 && number >= 1 && number <= 9999;
        if (!valid || !known("RVART.TXT", group) || system.zero(18444 + (colour - 1) * 20, 20) ||
            !known("RVMERK.TXT", data.u16(at + 8)) ||
            (data.u16(at + 132) != 0 && !known("RVLEV.TXT", data.u16(at + 132))) ||
            !in_list(44760, data.u8(at + 16)) ||
            std::string("ZWK").find(data.data[at + 12]) == std::string::npos || data.u8(at + 13) > 9 ||
            data.u8(at + 15) == 0 || data.u8(at + 19) == 0 || data.u8(at + 18) == 0) {
            find("series %u.%u.%u: what it refers to", group, colour, number);
        }
        if (known("RVART.TXT", group) && groups.data.u8(numbers["RVART.TXT"][group] + 301) == 0 &&
            data.u8(at + 78) != 0) {
            find("series %u.%u.%u: option value", group, colour, number);
        }
    }
}

void Audit::check_codes() {
    const Table codes(directory / "RVEAN.TXT", 28);
    const Table small(directory / "RVARTREG.TXT", 60);
    std::set<unsigned> articles;
    for (const std::size_t at : small.at) {
        articles.insert(small.data.u16(at));
    }
    std::set<std::string> seen;
    std::set<std::pair<std::string, unsigned>> coded;
    for (const std::size_t at : codes.at) {
        const Bytes &data = codes.data;
        const std::string code = data.text(at, 13);
        const std::string key = key_of(data.u32(at + 16), data.u16(at + 14), data.u16(at + 20));
        const unsigned size = data.u8(at + 22);
        const bool small_one = data.data[at + 13] == 'A';
        const auto found = series_at.find(key);
        const bool first_code = seen.insert(code).second;
        const bool first_owner = coded.insert({(small_one ? "A" : "M") + key, size}).second;
        if (!valid_ean(code) || !first_code || !first_owner ||
            (small_one ? !articles.contains(data.u32(at + 16))
                       : found == series_at.end() || !series_size(found->second, size))) {
            find("EAN code %s", code.c_str());
        }
    }
    for (const auto &[key, at] : series_at) {
        for (unsigned index = 1; system.u8(row(15) + 18) != 0 && index < sizes_end; index++) {
            if (series_size(at, index) && !coded.contains({"M" + key, index})) {
                find("series at %zu: size %u has no EAN code", at, index);
            }
        }
    }
    const auto refers = [&](const Table &table, std::size_t at, std::size_t kind, std::size_t size) {
        const auto found =
            series_at.find(key_of(table.data.u32(at + 16), table.data.u16(at + 14), table.data.u16(at + 20)));
        return found != series_at.end() && series.data.u8(found->second + 16) == table.data.u8(at + kind) &&
               (table.data.u8(at + size) == 0 || series_size(found->second, table.data.u8(at + size)));
    };
    const Table replaced(directory / "RVBARC.TXT", 32);
    for (const std::size_t at : replaced.at) {
        if (!refers(replaced, at, 22, 23)) {
            find("replaced code %s", replaced.data.text(at, 13).c_str());
        }
    }
    for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
        unsigned supplier = 0;
        const std::string name = entry.path().filename();
        if (name.size() != 12 || std::sscanf(name.c_str(), "XNRS%4u.TXT", &supplier) != 1 ||
            !name.ends_with("TXT")) {
            continue;
        }
        const Table numbers(entry.path(), 28);
        for (const std::size_t at : numbers.at) {
            const std::vector<std::size_t> &own = sets_of[key_of(
                numbers.data.u32(at + 16), numbers.data.u16(at + 14), numbers.data.u16(at + 20))];
            const bool priced = std::any_of(
                own.begin(), own.end(), [&](std::size_t set) { return sets.data.u16(set + 8) == supplier; });
            if (!priced || !refers(numbers, at, 23, 22)) {
                find("%s: %s", name.c_str(), numbers.data.text(at, 13).c_str());
            }
        }
    }
}

void Audit::check_journals() {
    struct Rule {
        std::size_t bytes;
        const char *after;
    };
    const std::map<char, Rule> rules = {
        {'O', {120, " DSEBLF"}}, {'M', {24, "ODTSEBLF"}}, {'D', {128, "MTSEBLF"}},
        {'T', {61, "OMDT"}},     {'S', {12, "DTSEB"}},    {'E', {13, "S"}},
        {'B', {13, "SE"}},       {'L', {4, "SEBLF"}},     {'F', {8, "LF"}},
    };
    std::map<std::uint32_t, std::tuple<unsigned, unsigned, char, std::string>> orders;  // where, and the text
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(directory)) {
        unsigned number = 0;
        unsigned year = 0;
        char letter = ' ';
        const std::string name = fs::relative(entry.path(), directory);
        if (name.size() != 17 ||
            std::sscanf(name.c_str(), "%4u%c/ORD%4u.JRN", &year, &letter, &number) != 3 ||
            !name.ends_with("JRN")) {
            continue;
        }
        const Bytes journal(entry.path());
        char before = ' ';
        for (std::size_t at = 0; at < journal.size();) {
            const char code = journal.data[at++];
            const auto rule = rules.find(code);
            if (rule == rules.end() || std::string(rule->second.after).find(before) == std::string::npos ||
                at + rule->second.bytes > journal.size()) {
                find("%s: record at %zu", name.c_str(), at - 1);
                break;
            }
            if (code == 'O' && journal.u8(at + 46) == 4) {
                const std::uint32_t order = journal.u32(at + 64);
                if ((journal.u8(at + 59) != 2 && order < 1000) ||
                    !orders.insert({order, {number, year, letter, journal.text(at + 68, 35)}}).second) {
                    find("%s: order %u", name.c_str(), order);
                }
            }
            before = code;
            at += rule->second.bytes;
        }
    }
    const Table list(directory / "RVORDNR.TXT", 48);
    for (const std::size_t at : list.at) {
        const auto where = std::make_tuple(list.data.u16(at + 40), list.data.u16(at + 42),
                                           list.data.data[at + 44], list.data.text(at + 4, 35));
        const auto found = orders.find(list.data.u32(at));
        if (found == orders.end() || found->second != where) {
            find("order number %u is not in its journal", list.data.u32(at));
        } else {
            orders.erase(found);
        }
    }
    if (!orders.empty()) {
        find("%zu orders are not in the list, the first %u", orders.size(), orders.begin()->first);
    }
}

}  // namespace shop_audit
