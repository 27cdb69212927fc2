#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>
#include <utility>

#include "support/store/verify.h"

namespace {

struct weights {
    int primary;
    int secondary;
};

/// Letters and their codes by the accent that is their second weight, of two-letter values by the second
/// letter.
constexpr std::pair<char, const char *> accents[] = {
    {'"', "U129 U154 A132 A142 E137 E211 I139 I216 O148 O153 Y152"},
    {'`', "E130 A144 A160 A181 I161 I214 O162 O224 U163 U233 Y236 Y237"},
    {'^', "A131 A182 E136 E210 I140 I215 O147 O208 O226 U150 U234"},
    {'\'', "A133 A183 E138 E212 I141 I222 O149 O227 U151 U235"},
    {'~', "N164 N165 A198 A199 O228 O229"},
    {'*', "A134 A143"},
    {'/', "O155 O157"},
    {'5', "C128 C135"},
    {'E', "A145 A146"},
    {'S', "S225"},
};

weights weights_of(int c) {
    static const std::vector<weights> table = [] {
        std::vector<weights> all(256);
        for (int code = 0; code < 255; ++code) {
            all[std::size_t(code)] =
                code < 32 || code == 127 ? weights{0, code} : weights{std::toupper(code), 1};
        }
        all[255] = {255, 255};
        for (const auto &[accent, letters] : accents) {
            std::istringstream words(letters);
            std::size_t code = 0;
            for (char letter = 0; words >> letter >> code;) {
                all[code] = {letter, accent};
            }
        }
        return all;
    }();
    return table[std::size_t(c)];
}

bool two_letters(int c) {
    return c == 145 || c == 146 || c == 225;
}

}  // namespace

int reference_coll_cmp(const std::uint8_t *a, const std::uint8_t *b, int n) {
    bytes primary[2];
    bytes secondary[2];
    int count[2] = {n, n};
    const std::uint8_t *fields[2] = {a, b};
    for (int side = 0; side < 2; ++side) {
        for (int i = 0; i < n; ++i) {
            const int c = fields[side][i];
            const weights w = weights_of(c);
            if (two_letters(c)) {
                primary[side].push_back(static_cast<std::uint8_t>(w.primary));
                primary[side].push_back(static_cast<std::uint8_t>(w.secondary));
                ++count[side];
                continue;
            }
            if (w.primary != 0 || c == 0) {
                primary[side].push_back(static_cast<std::uint8_t>(w.primary));
            }
            secondary[side].push_back(static_cast<std::uint8_t>(w.secondary));
        }
        primary[side].resize(static_cast<std::size_t>(2 * n + 1));
        secondary[side].resize(static_cast<std::size_t>(n));
    }
    const int result = std::memcmp(primary[0].data(), primary[1].data(),
                                   static_cast<std::size_t>(std::max(count[0], count[1])));
    return result != 0 ? result
                       : std::memcmp(secondary[0].data(), secondary[1].data(), static_cast<std::size_t>(n));
}

bytes reference_key(const ix_keydef &def, const std::uint8_t *record, std::int32_t number) {
    bytes key;
    for (int s = 0; s < ix_max_segments && def.stype[s] != 0; ++s) {
        const std::uint8_t *field = record + def.sstart[s] - 1;
        const int length = def.send[s] - def.sstart[s] + 1;
        bytes part(field, field + length);
        if (def.stype[s] == 'I') {
            std::reverse(part.begin(), part.end());
            if (length != 1 && length != 2 && length != 4) {
                std::fill(part.begin(), part.end(), std::uint8_t{0});
            }
        } else {
            std::fill(std::find(part.begin(), part.end(), 0), part.end(), std::uint8_t{0});
        }
        key.insert(key.end(), part.begin(), part.end());
    }
    if (def.kdups == 'J') {
        for (int shift = 24; shift >= 0; shift -= 8) {
            key.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(number) >> shift));
        }
    }
    return key;
}

int reference_compare(const ix_keydef &def, const std::uint8_t *a, const std::uint8_t *b) {
    int at = 0;
    int result = 0;
    for (int s = 0; s < ix_max_segments && def.stype[s] != 0 && result == 0; ++s) {
        const int length = def.send[s] - def.sstart[s] + 1;
        result = def.stype[s] == 'I' ? std::memcmp(a + at, b + at, static_cast<std::size_t>(length))
                                     : reference_coll_cmp(a + at, b + at, length);
        at += length;
    }
    if (result == 0 && def.kdups == 'J') {
        result = std::memcmp(a + at, b + at, 4);
    }
    return result;
}
