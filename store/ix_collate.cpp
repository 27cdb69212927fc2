#include "store/ix_collate.h"

#include <algorithm>
#include <cstring>

#include "store/store.h"

namespace {

struct letter {
    std::uint8_t byte;
    char primary;
    char secondary;
};

// Code page 850. The secondary weights of grave and acute are those of the other programs of the package.
constexpr letter letters[] = {
    {128, 'C', '5'},  {135, 'C', '5'}, {129, 'U', '"'}, {154, 'U', '"'},  {130, 'E', '`'},  {131, 'A', '^'},
    {182, 'A', '^'},  {132, 'A', '"'}, {142, 'A', '"'}, {133, 'A', '\''}, {183, 'A', '\''}, {134, 'A', '*'},
    {143, 'A', '*'},  {136, 'E', '^'}, {210, 'E', '^'}, {137, 'E', '"'},  {211, 'E', '"'},  {138, 'E', '\''},
    {212, 'E', '\''}, {139, 'I', '"'}, {216, 'I', '"'}, {140, 'I', '^'},  {215, 'I', '^'},  {141, 'I', '\''},
    {222, 'I', '\''}, {144, 'A', '`'}, {160, 'A', '`'}, {181, 'A', '`'},  {145, 'A', 'E'},  {146, 'A', 'E'},
    {147, 'O', '^'},  {208, 'O', '^'}, {226, 'O', '^'}, {148, 'O', '"'},  {153, 'O', '"'},  {149, 'O', '\''},
    {227, 'O', '\''}, {150, 'U', '^'}, {234, 'U', '^'}, {151, 'U', '\''}, {235, 'U', '\''}, {152, 'Y', '"'},
    {155, 'O', '/'},  {157, 'O', '/'}, {161, 'I', '`'}, {214, 'I', '`'},  {162, 'O', '`'},  {224, 'O', '`'},
    {163, 'U', '`'},  {233, 'U', '`'}, {164, 'N', '~'}, {165, 'N', '~'},  {198, 'A', '~'},  {199, 'A', '~'},
    {225, 'S', 'S'},  {228, 'O', '~'}, {229, 'O', '~'}, {236, 'Y', '`'},  {237, 'Y', '`'},
};

constexpr ix_weights make_weights() {
    ix_weights w{};
    for (int c = 0; c < 256; ++c) {
        const auto at = static_cast<std::size_t>(c);
        const auto byte = static_cast<std::uint8_t>(c);
        if (c == 0) {
            continue;
        }
        if (c < 32 || c == 127) {
            w.secondary[at] = byte;
            w.kind[at] = 1;
        } else {
            w.primary[at] = c >= 97 && c <= 122 ? static_cast<std::uint8_t>(c - 32) : byte;
            w.secondary[at] = c == 255 ? 255 : 1;
        }
    }
    for (const letter &l : letters) {
        w.primary[l.byte] = static_cast<std::uint8_t>(l.primary);
        w.secondary[l.byte] = static_cast<std::uint8_t>(l.secondary);
    }
    w.kind[145] = w.kind[146] = w.kind[225] = 2;
    return w;
}

constexpr std::size_t longest = 256;

/// The weights of a field: two strings, each padded with zeros.
struct weighed {
    std::uint8_t primary[2 * longest] = {};
    std::uint8_t secondary[longest] = {};

    weighed(const std::uint8_t *field, std::size_t n) {
        std::size_t letters_out = 0;
        std::size_t accents_out = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const std::uint8_t c = field[i];
            const std::uint8_t kind = ix_weight.kind[c];
            if (kind != 1) {
                primary[letters_out++] = ix_weight.primary[c];
            }
            if (kind == 2) {
                primary[letters_out++] = ix_weight.secondary[c];
            } else {
                secondary[accents_out++] = ix_weight.secondary[c];
            }
        }
    }
};

/// Compares the weights of both fields in full, for fields whose bytes no longer line up. After the longer of
/// the two primary strings both areas are zero, so comparing whole areas gives the same result.
int compare_shifted(const std::uint8_t *a, const std::uint8_t *b, std::size_t n) {
    const weighed left(a, n);
    const weighed right(b, n);
    const int result = std::memcmp(left.primary, right.primary, 2 * n);
    return result != 0 ? result : std::memcmp(left.secondary, right.secondary, n);
}

}  // namespace

constinit const ix_weights ix_weight = make_weights();

int coll_cmp(const void *a, const void *b, int n) {
    const auto *x = static_cast<const std::uint8_t *>(a);
    const auto *y = static_cast<const std::uint8_t *>(b);
    const std::size_t length = n <= 0 ? 0 : std::min(static_cast<std::size_t>(n), longest);
    // Equal bytes give equal weights on both sides, whatever their kind. So the weights of both fields line
    // up until the first unequal bytes of an unusual kind.
    int accent = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint8_t p = x[i];
        const std::uint8_t q = y[i];
        if (p == q) {
            continue;
        }
        if ((ix_weight.kind[p] | ix_weight.kind[q]) != 0) {
            return compare_shifted(x, y, length);
        }
        if (ix_weight.primary[p] != ix_weight.primary[q]) {
            return ix_weight.primary[p] - ix_weight.primary[q];
        }
        if (accent == 0) {
            accent = ix_weight.secondary[p] - ix_weight.secondary[q];
        }
    }
    return accent;
}
