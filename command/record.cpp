#include "command/record.h"

#include <algorithm>
#include <functional>

namespace {

constexpr int most_looks = 20;

std::string identity_of(const finding &found) {
    std::string text = std::string(found.kind.code) + '\0' + found.file;
    for (const finding_field &field : found.fields) {
        text += '\0';
        text += field.name;
        text += '\0';
        text += field.value;
    }
    return text;
}

}  // namespace

void check_record::begin_look(const std::string &name) {
    part = &parts[name];
    part->look++;
    part->sum_before = part->sum;
    part->sum = 0;
    part->mends = false;
    part->asks = false;
    part->agreed = false;
}

bool check_record::add(const finding &found) {
    const std::string identity = identity_of(found);
    tally &known = part->tallies[identity];
    const bool mends = found.kind.fate == finding_fate::mended;
    if (known.look == 0) {
        known.code = found.kind.code;
        known.mends = mends;
        known.first = part->look;
    }
    if (known.look != part->look) {
        known.look = part->look;
        known.now = 0;
    }
    known.now++;
    part->sum += std::hash<std::string>{}(identity) | 1U;
    part->mends = part->mends || mends;
    part->asks = part->asks || found.kind.fate == finding_fate::asked;
    const bool is_new = known.now > known.most;
    known.most = std::max(known.most, known.now);
    return is_new;
}

void check_record::agreed() {
    part->agreed = true;
}

bool check_record::repair_is_vain() const {
    return part->look >= most_looks || (part->look > 1 && part->sum == part->sum_before);
}

bool check_record::needs_another_look(bool unattended) const {
    return std::any_of(parts.begin(), parts.end(), [&](const auto &entry) {
        const part_record &one = entry.second;
        const bool same = one.look > 1 && one.sum == one.sum_before;
        return one.look < most_looks && (one.agreed || ((one.mends || (unattended && one.asks)) && !same));
    });
}

std::uint64_t check_record::state() const {
    std::uint64_t all = 0;
    for (const auto &[name, one] : parts) {
        all = all * 31 + one.sum;
    }
    return all;
}

/// What is put right at once is left only when a second look makes it again.
std::map<std::string, finding_counts> check_record::counts(bool cancelled) const {
    std::map<std::string, finding_counts> all;
    for (const auto &[name, one] : parts) {
        for (const auto &[identity, known] : one.tallies) {
            const int last = cancelled ? one.look - 1 : one.look;
            finding_counts counted;
            counted.found = known.most;
            const bool trusted = !cancelled && known.mends && known.first == known.look;
            counted.left = known.look >= last && !trusted ? known.now : 0;
            counted.mended = counted.found - counted.left;
            all[known.code] += counted;
        }
    }
    return all;
}
