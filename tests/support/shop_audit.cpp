#include "support/shop_audit_parts.h"

namespace shop_audit {

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
            if (label->branch >= branches() || label->date_in <= audit_day_1980 || label->status > 4) {
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
        const unsigned made = audit_day_1980 + file.u32(at + 180) / 86400;
        if (made <= audit_day_1980 || made > first) {
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
        for (unsigned index = 1; index < sizes_end; index++) {
            if (series_size(at, index) && !numbers.contains(index)) {
                find("series at %zu: size %u", at, index);
            } else if (series_size(at, index) && (last == 0 || numbers.at(index) > numbers.at(last))) {
                last = index;
            }
            for (const std::size_t set : sets_of[key]) {
                if (sets.data.bit(set + 17, index) && numbers.contains(index) && !series_size(at, index)) {
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

}  // namespace shop_audit

std::vector<std::string> audit_shop(const std::string &directory, unsigned today, unsigned parts) {
    shop_audit::Audit audit(directory, today);
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
