#include "support/store/reference.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <utility>

namespace {

struct weights {
    int primary;
    int secondary;
};

weights weights_of(int c) {
    static const std::pair<std::vector<int>, weights> listed[] = {
        {{0}, {0, 0}},
        {{255}, {255, 255}},
        {{127}, {0, 127}},
        {{128, 135}, {'C', '5'}},
        {{129, 154}, {'U', '"'}},
        {{130}, {'E', '`'}},
        {{131, 182}, {'A', '^'}},
        {{132, 142}, {'A', '"'}},
        {{133, 183}, {'A', 39}},
        {{134, 143}, {'A', '*'}},
        {{136, 210}, {'E', '^'}},
        {{137, 211}, {'E', '"'}},
        {{138, 212}, {'E', 39}},
        {{139, 216}, {'I', '"'}},
        {{140, 215}, {'I', '^'}},
        {{141, 222}, {'I', 39}},
        {{144, 160, 181}, {'A', '`'}},
        {{145, 146}, {'A', 'E'}},
        {{147, 208, 226}, {'O', '^'}},
        {{148, 153}, {'O', '"'}},
        {{149, 227}, {'O', 39}},
        {{150, 234}, {'U', '^'}},
        {{151, 235}, {'U', 39}},
        {{152}, {'Y', '"'}},
        {{155, 157}, {'O', '/'}},
        {{161, 214}, {'I', '`'}},
        {{162, 224}, {'O', '`'}},
        {{163, 233}, {'U', '`'}},
        {{164, 165}, {'N', '~'}},
        {{198, 199}, {'A', '~'}},
        {{225}, {'S', 'S'}},
        {{228, 229}, {'O', '~'}},
        {{236, 237}, {'Y', '`'}},
    };
    static const std::vector<weights> table = [] {
        std::vector<weights> all(256);
        for (int code = 0; code < 256; ++code) {
            all[std::size_t(code)] = code < 32 ? weights{0, code} : weights{std::toupper(code), 1};
        }
        for (const auto &[codes, w] : listed) {
            for (const int code : codes) {
                all[std::size_t(code)] = w;
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
