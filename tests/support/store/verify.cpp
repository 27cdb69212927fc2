#include "support/store/verify.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

struct verifier {
    bytes index;
    bytes data;
    ix_header header{};
    std::vector<std::string> faults;
    std::vector<int> links;    // how often each block is linked
    std::vector<bool> live;    // by record
    std::vector<int> entries;  // of the key in hand, by record
    int key = 0;               // in hand
    std::int32_t block = 0;

    /// Notes what is wrong, and with which number, unless it holds.
    template <typename Number>
    bool demand(bool holds, const char *what, Number number) {
        if (!holds && faults.size() < 20) {
            faults.push_back("key " + std::to_string(key) + " block " + std::to_string(block) + ": " + what +
                             " " + std::to_string(number));
        }
        return holds;
    }

    const std::uint8_t *record(std::size_t n) const {
        return data.data() + n * static_cast<std::size_t>(header.reclen);
    }

    bool read_header() {
        if (!demand(index.size() >= 512 && index.size() % 512 == 0, "bytes of the index half",
                    index.size())) {
            return false;
        }
        std::memcpy(&header, index.data(), sizeof header);
        if (!demand(header.version == 351 && header.inupdate == 0 && header.nkeys >= 1 && header.nkeys <= 5 &&
                        header.reclen >= 1 && header.reclen <= 512,
                    "header unusable, keys", int{header.nkeys})) {
            return false;
        }
        for (int k = 0; k < header.nkeys; ++k) {
            const ix_keydef &def = header.keydef[k];
            int length = def.kdups == 'J' ? 4 : 0;
            bool inside = true;
            for (int s = 0; s < 10 && def.stype[s] != 0; ++s) {
                inside = inside && def.sstart[s] >= 1 && def.send[s] >= def.sstart[s] &&
                         def.send[s] <= header.reclen;
                length += def.send[s] - def.sstart[s] + 1;
            }
            if (!demand(inside && length == def.klen && length >= 1 && length <= 60 &&
                            def.korder == 505 / (length + 4),
                        "badly measured key", k + 1)) {
                return false;
            }
        }
        return demand(header.nblocks >= header.nkeys + 2 &&
                          index.size() == static_cast<std::size_t>(header.nblocks) * 512,
                      "blocks against nblocks", index.size() / 512) &&
               demand(header.nrecs >= 0 && data.size() == static_cast<std::size_t>(header.nrecs) *
                                                              static_cast<std::size_t>(header.reclen),
                      "bytes of the data half", data.size());
    }

    void free_chain() {
        const auto count = static_cast<std::size_t>(header.nrecs);
        std::size_t dead = 0;
        for (std::size_t n = 0; n < count; ++n) {
            const std::uint8_t *r = record(n);
            bool is_live = r[0] != 0xFF;
            for (int at = 5; at < header.reclen; ++at) {
                is_live = is_live || r[at] != 0xFF;
            }
            live.push_back(is_live);
            dead += is_live ? 0 : 1;
        }
        std::size_t steps = 0;
        for (std::int32_t at = header.freehead; header.reclen >= 5 && at != -1 && steps <= count; ++steps) {
            const auto place = static_cast<std::size_t>(at);
            if (!demand(place < count && !live[place], "free chain leads to", place)) {
                return;
            }
            boost::endian::little_int32_t next;
            std::memcpy(&next, record(place) + 1, 4);
            at = next;
        }
        demand(steps == dead || header.reclen < 5, "free records against a chain of", steps);
    }

    /// Checks the tree below a block; `high` receives its highest key.
    bool tree(std::int32_t number, int level, bool rightmost, bytes &high) {
        block = number;
        const ix_keydef &def = header.keydef[key - 1];
        if (!demand(number >= 1 && number < header.nblocks && ++links[static_cast<std::size_t>(number)] == 1,
                    "linked wrongly, level", level)) {
            return false;
        }
        ix_block read;
        std::memcpy(&read, index.data() + static_cast<std::size_t>(number) * 512, 512);
        if (!demand(read.bkey == key && (level == 0 || read.blevel == level) && read.blevel >= 1 &&
                        read.blevel <= 9 && read.bcount >= 1 && read.bcount < def.korder,
                    "bad key, level, or count of", int{read.bcount})) {
            return false;
        }
        const int klen = def.klen;
        const int esize = klen + 4;
        const std::uint8_t *first = read.bentries, *end = first + read.bcount * esize;
        if (!demand(std::all_of(end, first + ix_entry_bytes, [](int byte) { return byte == 0; }),
                    "bytes behind entry", int{read.bcount})) {
            return false;
        }
        for (int e = 0; e < read.bcount; ++e) {
            const std::uint8_t *own = first + e * esize;
            boost::endian::little_int32_t pointer;
            std::memcpy(&pointer, own + klen, 4);
            const auto place = static_cast<std::size_t>(std::int32_t{pointer});
            const bool last = rightmost && e == read.bcount - 1;
            if (e > 0) {
                const int order = reference_compare(def, own - esize, own);
                const bool equals_allowed = def.kdups != 'J' && key > 1;
                demand(order < 0 || (order == 0 && (equals_allowed || last)), "out of order is entry", e);
            }
            demand(!last || bytes(own, own + klen) == bytes(static_cast<std::size_t>(klen), 0xFF),
                   "no sentinel at", e);
            if (read.blevel > 1) {
                bytes below;
                if (!tree(pointer, read.blevel - 1, last, below)) {
                    return false;
                }
                block = number;
                demand(below == bytes(own, own + klen), "not the highest key of its child is entry", e);
            } else if (last) {
                demand(pointer == -1, "sentinel points to", place);
            } else if (demand(place < live.size(), "pointer", place)) {
                ++entries[place];
                demand(!live[place] || reference_compare(
                                           def, reference_key(def, record(place), pointer).data(), own) == 0,
                       "not the key of its record is entry", e);
            }
        }
        high.assign(end - esize, end - 4);
        return true;
    }

    void trees() {
        links.resize(static_cast<std::size_t>(header.nblocks));
        links[0] = 1;
        links[static_cast<std::size_t>(header.nkeys + 1)] = 1;
        for (key = 1; key <= header.nkeys; ++key) {
            entries.assign(live.size(), 0);
            bytes high;
            const bool whole = tree(key, 0, true, high);
            for (std::size_t n = 0; whole && n < live.size(); ++n) {
                demand(entries[n] == (live[n] ? 1 : 0), "in the key not at all, or too often, is record", n);
            }
        }
        for (std::size_t n = 0; faults.empty() && n < links.size(); ++n) {
            demand(links[n] > 0 || index[n * 512 + 4] == 0, "unlinked and not empty is block", n);
        }
    }
};

}  // namespace

bytes file_bytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<std::string> ix_verify(const std::string &name, bool queue_empty) {
    const std::size_t slash = name.rfind('/');
    const std::size_t stop = name.find('.', slash == std::string::npos ? 0 : slash);
    verifier v;
    v.index = file_bytes(stop == std::string::npos ? name + ".INX" : name);
    v.data = file_bytes(name.substr(0, stop) + ".TXT");
    if (v.read_header()) {
        v.free_chain();
        v.trees();
        const std::uint8_t *queue = v.index.data() + static_cast<std::size_t>(v.header.nkeys + 1) * 512;
        v.demand(queue[0] == 1 && queue[1] == 0 && (!queue_empty || queue[4] == 0), "lock block, entries",
                 queue[4]);
    }
    return v.faults;
}
