// EAN codes: reading, and the shop's own codes.
#include "data/eanhdl.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/base.h"
#include "data/iomaat.h"
#include "data/iotab.h"
#include "data/sessionfiles.h"

namespace {

constexpr std::size_t longest_code = sizeof(EanRecord::code);
constexpr std::size_t shortest_code = 8;
constexpr std::uint32_t highest_number = 99999999;

void put_code(EanRecord &record, std::string_view code) {
    std::memset(record.code, 0, sizeof record.code);
    std::memcpy(record.code, code.data(), std::min(code.size(), longest_code));
}

bool read_exact(ICB *file, EanRecord &record, std::string_view code) {
    record = {};
    put_code(record, code);
    const key_switch by_code(file, 1);
    return IXREAD(file, &record);
}

/// The next number of the generator.
std::uint32_t next_number() {
    SysRow14 row{};
    iotab_row(tab_action::lock_read, row_ean, row);
    const std::uint32_t last = row.last_ean;
    row.last_ean = last >= highest_number ? 1 : last + 1;
    iotab_row(tab_action::write, row_ean, row);
    return row.last_ean;
}

/// A code that is not in use: a generator that was set back must not give out codes twice. One more number
/// than there are records is enough to find a free one.
std::string free_code(ICB *file) {
    std::string code;
    EanRecord other{};
    for (std::int32_t tries = ix_record_places(file); tries >= 0; tries--) {
        code = ean_instore(next_number());
        if (!read_exact(file, other, code)) {
            break;
        }
    }
    return code;
}

void write_instore(ICB *file, const SeriesRecord &series, std::uint8_t size) {
    EanRecord record{};
    if (ean_read_series(file, record, series.key, size)) {
        return;
    }
    record = {};
    put_code(record, free_code(file));
    record.type = ean_of_series;
    record.group = series.key.group;
    record.colour = series.key.colour;
    record.number = series.key.number;
    record.size = size;
    record.size_kind = series.size_kind;
    record.date = date_today();
    IXWRITE(file, &record);
    if (series.registration == registration_sizes) {
        ean_tell_tills(file, series, record);
    }
}

}  // namespace

bool ean_read_code(ICB *file, EanRecord &record, std::string_view code) {
    code = code.substr(0, longest_code);
    return read_exact(file, record, code) ||
           (code.size() == longest_code && code.front() == '0' && read_exact(file, record, code.substr(1)));
}

bool ean_read_series(ICB *file, EanRecord &record, const SeriesKey &key, std::uint8_t size) {
    record = {};
    record.type = ean_of_series;
    record.group = key.group;
    record.colour = key.colour;
    record.number = key.number;
    record.size = size;
    const EanRecord wanted = record;
    const key_switch of_size(file, ean_by_size);
    if (IXREAD(file, &record)) {
        return true;
    }
    record = wanted;
    return false;
}

std::string ean_text(const EanRecord &record) {
    return {record.code, strnlen(record.code, sizeof record.code)};
}

bool ean_valid(std::string_view code) {
    const std::size_t length = code.size();
    if ((length != shortest_code && length != longest_code - 1 && length != longest_code) ||
        code.find_first_not_of("0123456789") != std::string_view::npos) {
        return false;
    }
    constexpr std::uint8_t long_labels = 8;
    const char highest_label = sys_country.label_digits == long_labels ? '2' : '0';
    if (length == shortest_code && code.front() <= highest_label) {
        return false;
    }
    int sum = 0;
    int weight = 1;
    for (std::size_t place = code.size(); place-- > 0;) {
        sum += weight * (code[place] - '0');
        weight = 4 - weight;
    }
    return sum % 10 == 0;
}

std::string ean_instore(std::uint32_t number) {
    std::string code;
    for (int digit = 0; digit <= 9; digit++) {
        code = str_format("2013%08ld%1d", static_cast<long>(number), digit);
        if (ean_valid(code)) {
            break;
        }
    }
    return code;
}

void ean_generate(ICB *file, const SeriesRecord &series, const SizeBitmap &sizes) {
    // Only the program that has locked the record of key "0" may hand out numbers. No code has that key.
    EanRecord turn{};
    put_code(turn, "0");
    op_patience();
    IXREADLOCK(file, &turn);
    size_view(session_sizes, sys_settings.size_system, series.size_kind, &sizes);
    std::vector<std::uint8_t> indexes;
    size_cursor size{};
    for (int found = mtread(session_sizes, mt_action::first, size, mt_key::position); found != 0;
         found = mtread(session_sizes, mt_action::next, size, mt_key::position)) {
        indexes.push_back(size.index);
    }
    for (const std::uint8_t index : indexes) {
        write_instore(file, series, index);
    }
    put_code(turn, "0");
    IXFREE(file, &turn);
}
