// What the parts of the audit share.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/shop_audit.h"
#include "support/shop_bytes.h"

namespace shop_audit {

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

}  // namespace shop_audit
