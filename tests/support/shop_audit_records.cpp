// The audit of customers and EAN codes.
#include "support/shop_audit_parts.h"

namespace shop_audit {

namespace {

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
        if (!coded.insert({(small_one ? "A" : "M") + key, size}).second || !first || !valid_ean(code) ||
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

}  // namespace shop_audit
