#include "support/shop_audit.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <set>
#include <tuple>

#include "support/shop_bytes.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned day_1980 = 29221;
constexpr unsigned sizes_end = 96;

struct Label {
    std::uint32_t number = 0;
    unsigned status = 0, size = 0, branch = 0, extra = 0, supplier = 0, date_in = 0, moved = 0, third = 0;
    unsigned digit_b = 0;
    std::uint32_t price = 0, amount_c = 0, customer = 0, next = 0;
    std::string key;
};

/// An indexed file's live records.
struct Table {
    Bytes data;
    std::vector<std::size_t> at;

    Table(const fs::path &path, std::size_t record) : data(path) {
        const std::string dead(record - 5, '\xff');
        for (std::size_t offset = 0; offset + record <= data.size(); offset += record) {
            if (data.u8(offset) != 0xff || data.data.compare(offset + 5, record - 5, dead) != 0) {
                at.push_back(offset);
            }
        }
    }
};

std::string key_of(std::uint32_t group, unsigned colour, unsigned number) {
    std::string key;
    for (const std::uint32_t part : {group & 0xff, group >> 8 & 0xff, group >> 16 & 0xff, group >> 24,
                                     colour & 0xff, colour >> 8, number & 0xff, number >> 8}) {
        key += static_cast<char>(part);
    }
    return key;
}

struct Audit {
    fs::path directory;
    unsigned today;
    Bytes system;
    Table series;
    Table sets;
    Bytes label_file;
    std::map<std::string, std::size_t> series_at;
    std::vector<Label> labels;
    std::map<std::string, std::vector<const Label *>> labels_of;
    std::map<std::string, std::vector<std::size_t>> sets_of;
    std::map<unsigned, std::map<unsigned, unsigned>> sequence;  ///< by size kind: index to number
    std::vector<std::string> findings;

    Audit(const std::string &path, unsigned day)
        : directory(path),
          today(day),
          system(directory / "RVSYS.TXT"),
          series(directory / "RVSER.TXT", 200),
          sets(directory / "RVIPA.TXT", 40),
          label_file(directory / "RVETI.TXT") {}

    [[gnu::format(printf, 2, 3)]] void find(const char *format, ...) {
        char text[200];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        if (findings.size() < 40) {
            findings.emplace_back(text);
        }
    }
    [[nodiscard]] std::size_t row(std::size_t n) const {
        return (n - 1) * 64;
    }
    [[nodiscard]] unsigned branches() const {
        return std::max(system.u8(row(1) + 39), 1U);
    }
    [[nodiscard]] unsigned mode() const {
        return system.u8(row(1) + 30);
    }
    [[nodiscard]] unsigned session_limit() const {
        return (system.u8(row(1) + 33) & 1) != 0 ? system.u16(row(8) + 2) : 0;
    }
    [[nodiscard]] bool series_size(std::size_t at, unsigned index) const {
        return series.data.bit(at + 80, index);
    }

    void read();
    void chains(const char *name, std::size_t system_row, std::size_t block, std::size_t next,
                const std::vector<std::pair<std::string, std::int32_t>> &heads);
    void check_labels();
    void check_prices();
    void check_sizes();
    void check_transit();
    void check_criteria();
    void check_customers(bool amounts);
    void check_master();
    void check_codes();
    void check_journals();
};

void Audit::read() {
    for (const std::size_t at : series.at) {
        if (!series_at.emplace(series.data.data.substr(at, 8), at).second) {
            find("series twice at %zu", at);
        }
    }
    for (const std::size_t at : sets.at) {
        sets_of[sets.data.data.substr(at, 8)].push_back(at);
    }
    const Bytes &file = label_file;
    for (std::size_t block = 0; (block + 1) * 376 <= file.size(); block++) {
        for (std::size_t slot = 0; slot < 10; slot++) {
            const std::size_t at = block * 376 + 16 + slot * 36;
            Label label;
            label.status = file.u32(at + 8) % 10;
            if (label.status == 0) {
                continue;
            }
            label.number = static_cast<std::uint32_t>(block * 10 + slot + 1);
            label.price = file.u32(at) / 10;
            label.digit_b = file.u32(at + 4) % 10;
            label.amount_c = file.u32(at + 8) / 10;
            label.customer = file.u32(at + 12) % 1000000;
            label.next = file.u32(at + 16);
            label.size = file.u16(at + 20) / 100;
            label.branch = file.u8(at + 22);
            label.extra = file.u8(at + 23);
            label.supplier = file.u16(at + 24);
            label.date_in = file.u16(at + 26);
            label.moved = file.u16(at + 28);
            label.third = file.u16(at + 30);
            label.key = file.data.substr(block * 376, 8);
            labels.push_back(label);
        }
    }
    for (const Label &label : labels) {
        labels_of[label.key].push_back(&label);
    }
    const Table kinds(directory / "RVMAAT.TXT", 404);
    for (const std::size_t at : kinds.at) {
        for (unsigned index = 1; kinds.data.u8(at) == system.u8(row(1) + 41) && index < sizes_end; index++) {
            const std::size_t entry = at + 14 + index * 4;
            if (kinds.data.u8(entry) != 0) {
                sequence[kinds.data.u8(at + 1)][index] = kinds.data.u8(entry + 3);
            }
        }
    }
}

/// Every block of a file lies on exactly one chain: of an owner, under its key, or the free one.
void Audit::chains(const char *name, std::size_t system_row, std::size_t block, std::size_t next,
                   const std::vector<std::pair<std::string, std::int32_t>> &heads) {
    const Bytes file(directory / name);
    const std::int32_t end = system.i32(row(system_row) + 4);
    if (file.size() / block != static_cast<std::size_t>(end)) {
        find("%s: end mark %d, %zu bytes", name, end, file.size());
    }
    std::set<std::int32_t> seen;
    const auto walk = [&](std::int32_t from, std::int32_t stop, const std::string &key) {
        int count = 0;
        for (std::int32_t at = from; at != stop; count++) {
            const std::size_t offset = static_cast<std::size_t>(at) * block;
            if (at < 0 || at >= end || !seen.insert(at).second || offset + block > file.size() ||
                file.data.compare(offset, key.size(), key) != 0) {
                find("%s: chain from %d goes wrong at %d", name, from, at);
                return count;
            }
            at = file.i32(offset + next);
        }
        return count;
    };
    for (const auto &[key, head] : heads) {
        if (head < 0) {
            find("%s: chain without a block", name);
        } else {
            walk(head, -1, key);
        }
    }
    const int count = walk(system.i32(row(system_row)), end, std::string(8, '\0'));
    if (seen.size() != static_cast<std::size_t>(end)) {
        find("%s: %zu blocks on no chain", name, static_cast<std::size_t>(end) - seen.size());
    }
    if (system_row == 4 && system.i32(row(4) + 8) != count) {
        find("%s: %d free blocks counted as %d", name, count, system.i32(row(4) + 8));
    }
}

void Audit::check_labels() {
    std::vector<std::pair<std::string, std::int32_t>> heads;
    for (const auto &[key, at] : series_at) {
        heads.emplace_back(key, series.data.i32(at + 176));
        unsigned counts[10] = {};
        unsigned delivery = 0;
        unsigned sale = 0;
        unsigned first = today;
        for (const Label *label : labels_of[key]) {
            counts[label->status]++;
            first = std::min(first, label->date_in);
            delivery = std::max(delivery, label->status > 1 ? label->moved : 0);
            sale = std::max(sale, label->status == 3 ? label->third : 0);
            if (label->branch >= branches() || label->date_in <= day_1980 || label->status > 4) {
                find("label %u: branch %u, date %u, status %u", label->number, label->branch, label->date_in,
                     label->status);
            }
        }
        const Bytes &file = series.data;
        if (file.u32(at + 140) != counts[4] || file.u32(at + 144) != counts[3] ||
            file.u32(at + 148) != counts[2] || file.u32(at + 152) != counts[1]) {
            find("series at %zu: counts", at);
        }
        if (file.u16(at + 158) < delivery || file.u16(at + 160) < sale) {
            find("series at %zu: dates", at);
        }
        const unsigned made = day_1980 + file.u32(at + 180) / 86400;
        if (made <= day_1980 || made > first) {
            find("series at %zu: stamp of day %u, first label %u", at, made, first);
        }
        const std::string model = file.text(at + 19, 15);
        if (std::any_of(model.begin(), model.end(), [](char c) { return c >= 'a' && c <= 'z'; })) {
            find("series at %zu: model %s", at, model.c_str());
        }
    }
    chains("RVETI.TXT", 4, 376, 12, heads);
}

void Audit::check_prices() {
    const Bytes file(directory / "RVIPG.TXT");
    std::vector<std::pair<std::string, std::int32_t>> heads;
    for (const std::size_t at : sets.at) {
        const Bytes &data = sets.data;
        heads.emplace_back(data.data.substr(at, 12), data.i32(at + 36));
        std::string sizes(12, '\0');
        for (std::int32_t block = data.i32(at + 36); block >= 0;) {
            const std::size_t offset = static_cast<std::size_t>(block) * 40;
            if (offset + 40 > file.size()) {
                break;
            }
            for (std::size_t i = 0; i < 12; i++) {
                if ((sizes[i] & file.data[offset + 12 + i]) != 0) {
                    find("price block %d: a size stands in two blocks", block);
                    block = -1;
                    break;
                }
                sizes[i] = static_cast<char>(sizes[i] | file.data[offset + 12 + i]);
            }
            block = block < 0 ? block : file.i32(offset + 36);
        }
        if (!series_at.contains(data.data.substr(at, 8)) || data.u16(at + 10) == 0 ||
            data.data.compare(at + 17, 12, sizes) != 0) {
            find("price set at %zu", at);
        }
    }
    chains("RVIPG.TXT", 9, 40, 36, heads);
    for (const Label &label : labels) {
        const auto holds = [&](std::size_t at) {
            return sets.data.u16(at + 8) == label.supplier && sets.data.u16(at + 32) <= label.date_in &&
                   label.date_in <= sets.data.u16(at + 10) && sets.data.bit(at + 17, label.size);
        };
        const std::vector<std::size_t> &own = sets_of[label.key];
        if (label.price == 0 || std::count_if(own.begin(), own.end(), holds) != 1) {
            find("label %u: no price", label.number);
        }
    }
    for (const auto &[key, at] : series_at) {
        std::set<unsigned> suppliers;
        for (const std::size_t set : sets_of[key]) {
            suppliers.insert(sets.data.u16(set + 8));
        }
        if (series.data.u16(at + 132) == 0 && suppliers.size() > 1) {
            find("series at %zu: no supplier of %zu", at, suppliers.size());
        }
    }
}

void Audit::check_sizes() {
    for (const auto &[kind, numbers] : sequence) {
        std::set<unsigned> seen;
        for (const auto &[index, number] : numbers) {
            if (number < 1 || number > numbers.size() || !seen.insert(number).second) {
                find("size kind %u: index %u has number %u", kind, index, number);
            }
        }
    }
    const Table kinds(directory / "RVMAAT.TXT", 404);
    const Table names(directory / "RVMTOM.TXT", 10);
    for (const std::size_t name : names.at) {
        const auto described = [&](std::size_t at) {
            return kinds.data.u16(at) == names.data.u16(name) &&
                   kinds.data.bit(at + 2, names.data.u8(name + 2));
        };
        if (std::none_of(kinds.at.begin(), kinds.at.end(), described)) {
            find("size description at %zu is of no size", name);
        }
    }
    for (const auto &[key, at] : series_at) {
        const std::map<unsigned, unsigned> &numbers = sequence[series.data.u8(at + 16)];
        for (const Label *label : labels_of[key]) {
            if (!numbers.contains(label->size) || !series_size(at, label->size)) {
                find("label %u: size %u", label->number, label->size);
            }
        }
        unsigned last = 0;
        for (unsigned index = 0; index < sizes_end; index++) {
            if (series_size(at, index) && !numbers.contains(index)) {
                find("series at %zu: size %u", at, index);
            } else if (series_size(at, index) && (last == 0 || numbers.at(index) > numbers.at(last))) {
                last = index;
            }
            for (const std::size_t set : sets_of[key]) {
                if (index > 0 && sets.data.bit(set + 17, index) && numbers.contains(index) &&
                    !series_size(at, index)) {
                    find("series at %zu: price for size %u", at, index);
                }
            }
        }
        unsigned group = 0;
        while (group < 8 && series.data.u8(at + 92 + group) != 0) {
            group++;
        }
        if (!sets_of[key].empty() && group > 0 && series.data.u8(at + 91 + group) != last) {
            find("series at %zu: last size %u, price groups end at %u", at, last,
                 series.data.u8(at + 91 + group));
        }
    }
}

void Audit::check_transit() {
    if (system.i32(row(20)) == 0) {
        return;
    }
    const Table entries(directory / "RVGO.TXT", 28);
    std::map<std::uint32_t, std::size_t> by_label;
    for (const std::size_t at : entries.at) {
        by_label[entries.data.u32(at + 4)] = at;
    }
    const Table receipts(directory / "RVONTV.TXT", 20);
    std::set<std::uint32_t> received;
    for (const std::size_t at : receipts.at) {
        received.insert(receipts.data.u32(at + 4));
    }
    for (const Label &label : labels) {
        if (label.status != 2 || label.extra == 0) {
            continue;
        }
        const auto found = by_label.find(label.number);
        if (found == by_label.end()) {
            find("label %u: in transit without an entry", label.number);
            continue;
        }
        const std::size_t at = found->second;
        int sum = 0;
        int weight = 1;
        std::uint32_t document = entries.data.u32(at + 16);
        const bool eight = document >= 20000000 && document < 30000000;
        for (; document > 0; document /= 10) {
            sum += static_cast<int>(document % 10) * weight;
            weight = 4 - weight;
        }
        if (!eight || sum % 10 != 0 || entries.data.u8(at) != label.branch ||
            entries.data.u8(at + 1) + 1 != label.extra || label.extra > branches() ||
            entries.data.data.compare(at + 8, 8, label.key) != 0 ||
            (entries.data.u8(at + 20) == 2) != received.contains(label.number)) {
            find("label %u: entry of goods in transit", label.number);
        }
    }
}

void Audit::check_criteria() {
    const Table records(directory / "RVBASER.TXT", 32);
    std::vector<std::pair<std::string, std::int32_t>> heads;
    for (const std::size_t at : records.at) {
        heads.emplace_back(records.data.data.substr(at, 8), records.data.i32(at + 28));
    }
    chains("RVBAPAR.TXT", 12, 432, 424, heads);
}

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

/// Tests of one reference file: number in range and once, a name, session numbers not above the limit.
struct Reference {
    const char *name;
    std::size_t record;
    std::size_t number_bytes;
    std::uint32_t highest;
    std::size_t text;
    std::vector<std::size_t> sessions;
};

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
        if (!valid_ean(code) || !seen.insert(code).second ||
            !coded.insert({(small_one ? "A" : "M") + key, size}).second ||
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

}  // namespace

std::vector<std::string> audit_shop(const std::string &directory, unsigned today, unsigned parts) {
    Audit audit(directory, today);
    audit.read();
    if ((parts & audit_labels) != 0) {
        audit.check_labels();
    }
    if ((parts & audit_prices) != 0) {
        audit.check_prices();
    }
    if ((parts & audit_sizes) != 0) {
        audit.check_sizes();
    }
    if ((parts & audit_transit) != 0) {
        audit.check_transit();
    }
    if ((parts & audit_criteria) != 0) {
        audit.check_criteria();
    }
    if ((parts & audit_customers) != 0) {
        audit.check_customers((parts & audit_amounts) != 0);
    }
    if ((parts & audit_master) != 0) {
        audit.check_master();
    }
    if ((parts & audit_codes) != 0) {
        audit.check_codes();
    }
    if ((parts & audit_journals) != 0) {
        audit.check_journals();
    }
    return audit.findings;
}
