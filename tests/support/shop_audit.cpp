#include "support/shop_audit.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <set>
#include <vector>

#include "support/shop_bytes.h"

namespace {

namespace fs = std::filesystem;

inline constexpr unsigned audit_day_1980 = 29221;
inline constexpr unsigned sizes_end = 96;

struct Label {
    std::string key;  ///< of its series
    std::uint32_t number, status;
    std::size_t at;
    unsigned size, date_in;
};

/// An indexed file's live records.
struct Table : Bytes {
    std::vector<std::size_t> at;

    Table(const fs::path &path, std::size_t record) : Bytes(path) {
        const std::string dead(record - 5, '\xff');
        for (std::size_t offset = 0; offset + record <= size(); offset += record) {
            if (u8(offset) != 0xff || data.compare(offset + 5, record - 5, dead) != 0) {
                at.push_back(offset);
            }
        }
    }
};

struct Audit {
    fs::path directory;
    unsigned today;
    unsigned parts;
    Bytes system{directory / "RVSYS.TXT"};
    Bytes label_file{directory / "RVETI.TXT"};
    Table series{directory / "RVSER.TXT", 200};
    Table sets{directory / "RVIPA.TXT", 40};
    std::map<std::string, std::size_t> series_at{};
    std::vector<Label> labels{};
    std::map<std::string, std::vector<const Label *>> labels_of{};
    std::map<std::string, std::vector<std::size_t>> sets_of{};
    std::map<unsigned, std::map<unsigned, unsigned>> sequence{};  ///< by size kind: index to number
    std::vector<std::string> findings{};

    [[gnu::format(printf, 2, 3)]] void find(const char *format, ...) {
        char text[200];
        va_list values;
        va_start(values, format);
        std::vsnprintf(text, sizeof text, format, values);
        va_end(values);
        if (findings.size() < 40) {
            findings.emplace_back(text);
        }
    }
    [[nodiscard]] std::size_t row(std::size_t n) const {
        return (n - 1) * 64;
    }
    [[nodiscard]] unsigned mode() const {
        return system.u8(row(1) + 30);
    }
    [[nodiscard]] bool series_size(std::size_t at, unsigned index) const {
        return series.bit(at + 80, index);
    }

    void read();
    void chains(const char *name, std::size_t system_row, std::size_t block, std::size_t next,
                const std::vector<std::pair<std::string, std::int32_t>> &heads);
    void check_labels();
    void check_prices();
    void check_sizes();
    void check_criteria();
    void check_customers();
    void check_codes();
};

void Audit::read() {
    for (const std::size_t at : series.at) {
        series_at[series.data.substr(at, 8)] = at;
    }
    for (const std::size_t at : sets.at) {
        sets_of[sets.data.substr(at, 8)].push_back(at);
    }
    for (std::uint32_t slot = 0; (slot / 10 + 1) * 376 <= label_file.size(); slot++) {
        const std::size_t block = slot / 10 * 376;
        const std::size_t at = block + 16 + slot % 10 * 36;
        const std::uint32_t status = label_file.u32(at + 8);
        if (status % 10 != 0) {
            labels.push_back({label_file.data.substr(block, 8), slot + 1, status % 10, at,
                              label_file.u16(at + 20) / 100U, label_file.u16(at + 26)});
        }
    }
    for (const Label &label : labels) {
        labels_of[label.key].push_back(&label);
    }
    const Table kinds(directory / "RVMAAT.TXT", 404);
    for (const std::size_t at : kinds.at) {
        for (unsigned index = 1; kinds.u8(at) == system.u8(row(1) + 41) && index < sizes_end; index++) {
            const std::size_t entry = at + 14 + index * 4;
            if (kinds.u8(entry) != 0) {
                sequence[kinds.u8(at + 1)][index] = kinds.u8(entry + 3);
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
    const unsigned branches = std::max(system.u8(row(1) + 39), 1U);
    for (const auto &[key, at] : series_at) {
        heads.emplace_back(key, series.i32(at + 176));
        unsigned counts[10] = {};
        unsigned delivery = 0;
        unsigned sale = 0;
        unsigned first = today;
        for (const Label *label : labels_of[key]) {
            counts[label->status]++;
            first = std::min(first, label->date_in);
            delivery = std::max(delivery, label->status > 1 ? label_file.u16(label->at + 28) : 0);
            sale = std::max(sale, label->status == 3 ? label_file.u16(label->at + 30) : 0);
            if (label_file.u8(label->at + 22) >= branches || label->date_in <= audit_day_1980 ||
                label->status > 4) {
                find("label %u: branch, date %u, status %u", label->number, label->date_in, label->status);
            }
        }
        if (series.u32(at + 140) != counts[4] || series.u32(at + 144) != counts[3] ||
            series.u32(at + 148) != counts[2] || series.u32(at + 152) != counts[1]) {
            find("series at %zu: counts", at);
        }
        if (series.u16(at + 158) < delivery || series.u16(at + 160) < sale) {
            find("series at %zu: dates", at);
        }
        const unsigned made = audit_day_1980 + series.u32(at + 180) / 86400;
        if (made <= audit_day_1980 || made > first) {
            find("series at %zu: stamp of day %u, first label %u", at, made, first);
        }
    }
    chains("RVETI.TXT", 4, 376, 12, heads);
}

void Audit::check_prices() {
    const Bytes file(directory / "RVIPG.TXT");
    std::vector<std::pair<std::string, std::int32_t>> heads;
    for (const std::size_t at : sets.at) {
        heads.emplace_back(sets.data.substr(at, 12), sets.i32(at + 36));
        // Each size of the set stands in one block; more steps than blocks are a loop, which has them twice.
        std::string sizes(12, '\0');
        bool twice = false;
        for (std::int32_t block = sets.i32(at + 36); block >= 0 && !twice;) {
            const std::size_t offset = static_cast<std::size_t>(block) * 40;
            if (offset + 40 > file.size()) {
                break;
            }
            for (std::size_t i = 0; i < 12; i++) {
                twice = twice || (sizes[i] & file.data[offset + 12 + i]) != 0;
                sizes[i] = static_cast<char>(sizes[i] | file.data[offset + 12 + i]);
            }
            block = file.i32(offset + 36);
        }
        if (twice || !series_at.contains(sets.data.substr(at, 8)) || sets.u16(at + 10) == 0 ||
            sets.data.compare(at + 17, 12, sizes) != 0) {
            find("price set at %zu", at);
        }
    }
    chains("RVIPG.TXT", 9, 40, 36, heads);
    for (const Label &label : labels) {
        const auto holds = [&](std::size_t at) {
            return sets.u16(at + 8) == label_file.u16(label.at + 24) && sets.u16(at + 32) <= label.date_in &&
                   label.date_in <= sets.u16(at + 10) && sets.bit(at + 17, label.size);
        };
        const std::vector<std::size_t> &own = sets_of[label.key];
        if (label_file.u32(label.at) < 10 || std::count_if(own.begin(), own.end(), holds) != 1) {
            find("label %u: no price", label.number);
        }
    }
}

void Audit::check_sizes() {
    for (const auto &[key, at] : series_at) {
        const std::map<unsigned, unsigned> &numbers = sequence[series.u8(at + 16)];
        for (const Label *label : labels_of[key]) {
            if (!numbers.contains(label->size) || !series_size(at, label->size)) {
                find("label %u: size %u", label->number, label->size);
            }
        }
        unsigned last = 0;
        for (unsigned index = 1; index < sizes_end; index++) {
            if (series_size(at, index) && !numbers.contains(index)) {
                find("series at %zu: size %u", at, index);
            } else if (series_size(at, index) && (last == 0 || numbers.at(index) > numbers.at(last))) {
                last = index;
            }
            for (const std::size_t set : sets_of[key]) {
                if (sets.bit(set + 17, index) && numbers.contains(index) && !series_size(at, index)) {
                    find("series at %zu: price for size %u", at, index);
                }
            }
        }
        unsigned group = 0;
        while (group < 8 && series.u8(at + 92 + group) != 0) {
            group++;
        }
        if (!sets_of[key].empty() && group > 0 && series.u8(at + 91 + group) != last) {
            find("series at %zu: last size %u, price groups end at %u", at, last, series.u8(at + 91 + group));
        }
    }
}

void Audit::check_criteria() {
    const Table records(directory / "RVBASER.TXT", 32);
    std::vector<std::pair<std::string, std::int32_t>> heads;
    for (const std::size_t at : records.at) {
        heads.emplace_back(records.data.substr(at, 8), records.i32(at + 28));
    }
    chains("RVBAPAR.TXT", 12, 432, 424, heads);
}

void Audit::check_customers() {
    if ((mode() & 3) != 3) {
        return;
    }
    const Table customers(directory / "RVKLT.TXT", 312);
    std::map<std::uint32_t, const Label *> by_number;
    std::set<std::uint32_t> unlinked;
    for (const Label &label : labels) {
        by_number[label.number] = &label;
        if (label.status == 3 && label_file.u32(label.at + 12) % 1000000 != 0) {
            unlinked.insert(label.number);
        }
    }
    for (const std::size_t at : customers.at) {
        const std::uint32_t number = customers.u32(at);
        std::int64_t sums[3] = {};
        std::int64_t counts[3] = {};
        unsigned last = 65535;
        for (std::uint32_t at_label = customers.u32(at + 132); at_label != 0;) {
            const Label *label = by_number[at_label];
            if (label == nullptr || label->status != 3 ||
                label_file.u32(label->at + 12) % 1000000 != number || label_file.u16(label->at + 30) > last ||
                unlinked.erase(at_label) == 0) {
                find("customer %u: chain at label %u", number, at_label);
                break;
            }
            last = label_file.u16(label->at + 30);
            const unsigned digit = label_file.u32(label->at + 4) % 10;
            const int kind = digit == 0 ? 0 : digit == 9 ? 2 : 1;
            sums[kind] += label_file.u32(label->at + 8) / 10;
            counts[kind]++;
            at_label = label_file.u32(label->at + 16);
        }
        for (std::size_t kind = 0; (parts & audit_amounts) != 0 && kind < 3; kind++) {
            if (customers.i32(at + 136 + kind * 4) != sums[kind] ||
                customers.u16(at + 152 + kind * 2) != counts[kind]) {
                find("customer %u: amounts", number);
            }
        }
    }
    if (!unlinked.empty()) {
        find("%zu sold labels on no customer's chain, the first %u", unlinked.size(), *unlinked.begin());
    }
}

void Audit::check_codes() {
    const Table codes(directory / "RVEAN.TXT", 28);
    const Table small(directory / "RVARTREG.TXT", 60);
    std::set<unsigned> articles;
    for (const std::size_t at : small.at) {
        articles.insert(small.u16(at));
    }
    std::set<std::string> seen;
    std::set<std::pair<std::string, unsigned>> coded;
    for (const std::size_t at : codes.at) {
        const std::string code = codes.text(at, 13);
        const std::string key =
            codes.data.substr(at + 16, 4) + codes.data.substr(at + 14, 2) + codes.data.substr(at + 20, 2);
        const unsigned size = codes.u8(at + 22);
        const bool small_one = codes.data[at + 13] == 'A';
        const auto found = series_at.find(key);
        const bool first = seen.insert(code).second;
        if (!coded.insert({(small_one ? "A" : "M") + key, size}).second || !first ||
            (small_one ? !articles.contains(codes.u32(at + 16))
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
}

}  // namespace

std::string audit_shop(const std::string &directory, unsigned today, unsigned parts) {
    constexpr std::pair<unsigned, void (Audit::*)()> checks[] = {
        {audit_labels, &Audit::check_labels}, {audit_prices, &Audit::check_prices},
        {audit_sizes, &Audit::check_sizes},   {audit_criteria, &Audit::check_criteria},
        {audit_codes, &Audit::check_codes},   {audit_customers, &Audit::check_customers}};
    Audit audit{.directory = directory, .today = today, .parts = parts};
    audit.read();
    for (const auto &[part, check] : checks) {
        if ((parts & part) != 0) {
            (audit.*check)();
        }
    }
    std::string text;
    for (const std::string &finding : audit.findings) {
        text += finding + "\n";
    }
    return text;
}
