// Building, comparing and measuring keys. All of it works from the plans that ix_make_plans derives.
#include <algorithm>

#include "store/ix_collate.h"
#include "store/store_internal.h"

namespace {

void convert_segment(const ix_segment &seg, const std::uint8_t *field, std::uint8_t *out) {
    const int length = seg.length;
    if (!seg.integer) {
        const void *end = std::memchr(field, 0, static_cast<std::size_t>(length));
        const auto used = end == nullptr ? length : static_cast<const std::uint8_t *>(end) - field;
        std::memcpy(out, field, static_cast<std::size_t>(used));
        std::memset(out + used, 0, static_cast<std::size_t>(length - used));
    } else if (length == 4) {
        std::uint32_t value;
        std::memcpy(&value, field, 4);
        value = boost::endian::endian_reverse(value);
        std::memcpy(out, &value, 4);
    } else if (length == 1 || length == 2) {
        std::reverse_copy(field, field + length, out);
    } else {
        std::memset(out, 0, static_cast<std::size_t>(length));
    }
}

void store_suffix(std::uint8_t *out, std::int32_t number) {
    const std::uint32_t big = boost::endian::native_to_big(static_cast<std::uint32_t>(number));
    std::memcpy(out, &big, sizeof big);
}

inline int compare_inline(const ix_plan &plan, const std::uint8_t *a, const std::uint8_t *b, int length) {
    if (plan.integers) {
        if (length == 8) {
            std::uint64_t x;
            std::uint64_t y;
            std::memcpy(&x, a, 8);
            std::memcpy(&y, b, 8);
            x = boost::endian::big_to_native(x);
            y = boost::endian::big_to_native(y);
            return x < y ? -1 : x > y;
        }
        return std::memcmp(a, b, static_cast<std::size_t>(length));
    }
    for (int s = 0; s < plan.nsegs && plan.seg[s].at < length; ++s) {
        const ix_segment &seg = plan.seg[s];
        const int result = seg.integer ? std::memcmp(a + seg.at, b + seg.at, seg.length)
                                       : coll_cmp(a + seg.at, b + seg.at, seg.length);
        if (result != 0) {
            return result;
        }
    }
    if (plan.dups && length == plan.klen) {
        return std::memcmp(a + plan.fields, b + plan.fields, 4);
    }
    return 0;
}

}  // namespace

void ix_build_key(const ix_plan &plan, std::uint8_t *key, const std::uint8_t *record, std::int32_t number) {
    for (int s = 0; s < plan.nsegs; ++s) {
        convert_segment(plan.seg[s], record + plan.seg[s].start, key + plan.seg[s].at);
    }
    if (plan.dups) {
        store_suffix(key + plan.fields, number);
    }
}

void IXBLDKEY(ICB *icb, const void *record, int length) {
    ix_demand(icb, "IXBLDKEY");
    const ix_plan &plan = ix_current_plan(icb);
    const auto *bytes = static_cast<const std::uint8_t *>(record);
    if (length == plan.klen) {
        ix_build_key(plan, icb->skey, bytes, icb->recno);
        return;
    }
    int at = 0;
    for (int s = 0; s < plan.nsegs && at < length; ++s) {
        convert_segment(plan.seg[s], bytes + plan.seg[s].start, icb->skey + at);
        at += plan.seg[s].length;
    }
    std::memset(icb->skey + at, 0, static_cast<std::size_t>(plan.klen - at));
}

int ix_compare(const ix_plan &plan, const std::uint8_t *a, const std::uint8_t *b, int length) {
    return compare_inline(plan, a, b, length);
}

int IXCOMP(const ICB *icb, const void *a, const void *b, int length) {
    ix_demand(icb, "IXCOMP");
    return compare_inline(ix_current_plan(icb), static_cast<const std::uint8_t *>(a),
                          static_cast<const std::uint8_t *>(b), length);
}

// Entries ascend, also when fewer bytes are compared. So a binary search finds the same entry as going
// through them one by one.
int ix_locate(const ix_plan &plan, const std::uint8_t *entries, int count, const std::uint8_t *key,
              int length, bool above) {
    int low = 0;
    int high = count;
    while (low < high) {
        const int middle = (low + high) / 2;
        const int order = compare_inline(plan, key, entries + middle * plan.esize, length);
        if (order > 0 || (above && order == 0)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

std::int16_t IXKEYLEN(const ICB *icb, int parts) {
    ix_demand(icb, "IXKEYLEN");
    const ix_plan &plan = ix_current_plan(icb);
    if (parts == 0) {
        return static_cast<std::int16_t>(plan.klen);
    }
    int length = 0;
    for (int s = 0; s < std::min(parts, plan.nsegs); ++s) {
        length += plan.seg[s].length;
    }
    return static_cast<std::int16_t>(length);
}

void IXKEYTOREC(const ICB *icb, void *record) {
    ix_demand(icb, "IXKEYTOREC");
    const ix_plan &plan = ix_current_plan(icb);
    auto *bytes = static_cast<std::uint8_t *>(record);
    for (int s = 0; s < plan.nsegs; ++s) {
        const ix_segment &seg = plan.seg[s];
        if (seg.integer) {
            convert_segment(seg, icb->cur + seg.at, bytes + seg.start);
        } else {
            std::memcpy(bytes + seg.start, icb->cur + seg.at, seg.length);
        }
    }
}

int ix_sort_bytes(const ix_plan &plan, const std::uint8_t *key, std::uint8_t *out) {
    std::uint8_t *p = out;
    for (int s = 0; s < plan.nsegs; ++s) {
        const ix_segment &seg = plan.seg[s];
        const std::uint8_t *field = key + seg.at;
        if (seg.integer) {
            p = std::copy_n(field, seg.length, p);
            continue;
        }
        const std::uint8_t *end = field + seg.length;
        std::uint8_t *stop = p + 2 * seg.length;
        for (const std::uint8_t *c = field; c < end; ++c) {
            if (ix_weight.kind[*c] != 1) {
                *p++ = ix_weight.primary[*c];
                if (ix_weight.kind[*c] == 2) {
                    *p++ = ix_weight.secondary[*c];
                }
            }
        }
        std::fill(p, stop, std::uint8_t{0});
        p = stop;
        stop = p + seg.length;
        for (const std::uint8_t *c = field; c < end; ++c) {
            if (ix_weight.kind[*c] != 2) {
                *p++ = ix_weight.secondary[*c];
            }
        }
        std::fill(p, stop, std::uint8_t{0});
        p = stop;
    }
    if (plan.dups) {
        p = std::copy_n(key + plan.fields, 4, p);
    }
    return static_cast<int>(p - out);
}
