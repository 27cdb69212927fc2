// The definition of a file, given as texts, and what is derived from it.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/text.h"
#include "store/store_internal.h"

namespace {

constexpr std::size_t definition_size = 133;

// The one definition being made.
char *pending_text = nullptr;
int pending_key = -1;
const char *pending_base = nullptr;

/// Cuts the next token off `text` and strips its blanks; empty at the end.
std::string next_token(std::string_view &text) {
    const std::size_t comma = text.find(',');
    std::string_view token = text.substr(0, comma);
    text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
    const std::size_t first = token.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    const std::size_t last = token.find_last_not_of(' ');
    return std::string(token.substr(first, last - first + 1));
}

/// Copies `text` into a field of fixed width, zero-padded.
template <std::size_t Size>
void store_text(char (&field)[Size], std::string_view text) {
    std::memset(field, 0, Size);
    std::memcpy(field, text.data(), std::min(Size, text.size()));
}

int order_of(int klen) {
    return ix_entry_bytes / (klen + 4);
}

/// Length of a segment. Its ends are single bytes, and so their difference is taken in a single byte.
int segment_length(const ix_keydef &def, int s) {
    return static_cast<std::uint8_t>(def.send[s] - def.sstart[s]) + 1;
}

void define_file(ICB *icb, std::string_view text) {
    const std::string description = next_token(text);
    if (!description.empty()) {
        store_text(icb->fdesc, description);
    }
    const int reclen = std::atoi(next_token(text).c_str());
    if (reclen > 0) {
        icb->reclen = static_cast<std::int16_t>(reclen);
    }
}

void define_key(ICB *icb, int keynr, std::string_view text) {
    ix_keydef &def = icb->keydef[keynr - 1];
    def.kdups = 'J';
    def.klen = 0;
    int segments = 0;
    while (segments < ix_max_segments) {
        const std::string token = next_token(text);
        if (token.empty()) {
            break;
        }
        if (token == "NODUPS") {
            def.kdups = 'N';
        } else if (token == "I" || token == "C") {
            def.stype[segments] = token[0];
            def.sstart[segments] = static_cast<std::uint8_t>(std::atoi(next_token(text).c_str()));
            def.send[segments] = static_cast<std::uint8_t>(std::atoi(next_token(text).c_str()));
            def.klen = static_cast<std::uint8_t>(def.klen + segment_length(def, segments));
            ++segments;
        } else {
            store_text(def.kname, token);
        }
    }
    for (int s = segments; s < ix_max_segments; ++s) {
        def.stype[s] = 0;
        def.sstart[s] = 0;
        def.send[s] = 0;
    }
    if (keynr == 1) {
        def.kdups = 'N';
    }
    if (def.kdups == 'J') {
        def.klen = static_cast<std::uint8_t>(def.klen + 4);
    }
    def.korder = static_cast<std::int8_t>(order_of(def.klen));
    if (keynr > icb->nkeys) {
        icb->nkeys = static_cast<std::int8_t>(keynr);
    }
}

// Fills in the plan instead of returning it: g++ 12 drops calls of a function that does nothing but store
// such a result in place.
void make_plan(const ix_keydef &def, ix_plan &plan) {
    plan = {};
    plan.integers = true;
    plan.dups = def.kdups == 'J';
    int at = 0;
    for (int s = 0; s < ix_max_segments && def.stype[s] != 0; ++s) {
        const int length = segment_length(def, s);
        if (def.sstart[s] < 1 || at + length > ix_max_klen) {
            break;
        }
        plan.seg[s] = {def.stype[s] == 'I', static_cast<std::uint8_t>(def.sstart[s] - 1),
                       static_cast<std::uint8_t>(at), static_cast<std::uint16_t>(length)};
        plan.integers = plan.integers && def.stype[s] == 'I';
        at += length;
        ++plan.nsegs;
    }
    plan.fields = at;
    plan.klen = at + (plan.dups ? 4 : 0);
    plan.esize = plan.klen + 4;
    plan.korder = order_of(plan.klen);
}

char *definition_area(const char *no_memory) {
    auto *area = static_cast<char *>(std::calloc(1, definition_size));
    if (area == nullptr) {
        isam_fatal("%s", no_memory);
    }
    return area;
}

}  // namespace

bool ix_definition_sound(const ix_header &header) {
    if (header.nkeys < 1 || header.nkeys > ix_max_keys || header.reclen < 1 ||
        header.reclen > ix_max_reclen) {
        return false;
    }
    for (int k = 0; k < header.nkeys; ++k) {
        const ix_keydef &def = header.keydef[k];
        int length = def.kdups == 'J' ? 4 : 0;
        for (int s = 0; s < ix_max_segments && def.stype[s] != 0; ++s) {
            if ((def.stype[s] != 'I' && def.stype[s] != 'C') || def.sstart[s] < 1 ||
                def.send[s] < def.sstart[s] || def.send[s] > header.reclen) {
                return false;
            }
            length += segment_length(def, s);
        }
        if (length < 1 || length > ix_max_klen || length != def.klen || def.korder != order_of(length) ||
            (k == 0 && def.kdups == 'J')) {
            return false;
        }
    }
    return true;
}

bool ix_same_definition(const ix_header &a, const ix_header &b) {
    return a.nkeys == b.nkeys && a.reclen == b.reclen &&
           std::memcmp(a.keydef, b.keydef, sizeof a.keydef) == 0;
}

bool ix_header_sound(const ix_header &header, off_t index_size, off_t data_size, bool temporary) {
    // In the temporary flavour the data half may belong to another pair, and then follows that pair's counts.
    return ix_definition_sound(header) && header.nblocks >= header.nkeys + 2 &&
           header.nblocks <= ix_block_limit && off_t{header.nblocks} * ix_block_size <= index_size &&
           header.nrecs >= 0 && off_t{header.nrecs} * header.reclen <= INT_MAX &&
           (temporary || off_t{header.nrecs} * header.reclen <= data_size) && header.freehead >= -1 &&
           header.freehead < header.nrecs;
}

void ix_make_plans(ICB *icb) {
    for (int k = 0; k < ix_max_keys; ++k) {
        make_plan(icb->keydef[k], icb->plan[k]);
    }
}

void IXUPDFCB(ICB *icb, int keynr, const char *text) {
    ix_demand(icb, "IXUPDFCB");
    if (keynr == 0) {
        define_file(icb, text);
    } else if (keynr > 0 && keynr <= ix_max_keys) {
        define_key(icb, keynr, text);
    }
    ix_make_plans(icb);
}

void ix_limit_keys(ICB *icb) {
    ix_demand(icb, "ix_limit_keys");
    if (icb->nkeys > ix_max_keys) {
        icb->nkeys = ix_max_keys;
    }
    for (ix_keydef &def : icb->keydef) {
        // Descriptors after the last key stay zero.
        if (&def - icb->keydef < icb->nkeys) {
            def.korder = static_cast<std::int8_t>(order_of(def.klen));
        }
    }
    ix_make_plans(icb);
}

void UPDFCB_INX(const char *description, const void *base, int reclen) {
    std::free(pending_text);
    pending_text = definition_area(term_text(1, 562, "Onvoldoende geheugen voor UPDFCB_INX"));
    pending_base = static_cast<const char *>(base);
    pending_key = 0;
    std::snprintf(pending_text, definition_size, "%s,%d", description, reclen);
}

void UPDFCB_KEY(int keynr, const char *name, bool dups) {
    std::free(pending_text);
    pending_text = definition_area(term_text(1, 563, "Onvoldoende geheugen voor UPDFCB_KEY"));
    pending_key = keynr;
    std::snprintf(pending_text, definition_size, "%.8s%s", name, dups ? "" : ",NODUPS");
}

void UPDFCB_SEG(char type, const void *field, int length) {
    if (pending_text == nullptr) {
        return;
    }
    const long start = static_cast<long>(static_cast<const char *>(field) - pending_base) + 1;
    const std::size_t used = std::strlen(pending_text);
    std::snprintf(pending_text + used, definition_size - used, ",%c,%ld,%ld", type, start,
                  start + length - 1);
}

void UPDFCB_END(ICB *icb) {
    ix_demand(icb, "UPDFCB_END");
    if (pending_text != nullptr && pending_key >= 0) {
        IXUPDFCB(icb, pending_key, pending_text);
    }
    std::free(pending_text);
    pending_text = nullptr;
    pending_key = -1;
}
