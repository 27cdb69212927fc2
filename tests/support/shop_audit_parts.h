// What the parts of the audit share.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "support/shop_audit.h"
#include "support/shop_bytes.h"

namespace shop_audit {

namespace fs = std::filesystem;

inline constexpr unsigned audit_day_1980 = 29221;
inline constexpr unsigned sizes_end = 96;

/// A label, taken apart.
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

/// The eight bytes of a series key.
inline std::string key_of(std::uint32_t group, unsigned colour, unsigned number) {
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

}  // namespace shop_audit
