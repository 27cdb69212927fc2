#include "support/store/verify.h"

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

    bool fault(const std::string &text) {
        if (faults.size() < 20) {
            faults.push_back(text);
        }
        return false;
    }

    const std::uint8_t *record(std::size_t n) const {
        return data.data() + n * static_cast<std::size_t>(header.reclen);
    }

    bool read_header() {
        if (index.size() < 512 || index.size() % 512 != 0) {
            return fault("index half of " + std::to_string(index.size()) + " bytes");
        }
        std::memcpy(&header, index.data(), sizeof header);
        if (header.version != 351 || header.inupdate != 0 || header.nkeys < 1 || header.nkeys > 5 ||
            header.reclen < 1 || header.reclen > 512) {
            return fault("header unusable");
        }
        for (int k = 0; k < header.nkeys; ++k) {
            const ix_keydef &def = header.keydef[k];
            int length = def.kdups == 'J' ? 4 : 0;
            for (int s = 0; s < 10 && def.stype[s] != 0; ++s) {
                if (def.sstart[s] < 1 || def.send[s] < def.sstart[s] || def.send[s] > header.reclen) {
                    return fault("segment outside the record");
                }
                length += def.send[s] - def.sstart[s] + 1;
            }
            if (length != def.klen || length < 1 || length > 60 || def.korder != 505 / (length + 4)) {
                return fault("key " + std::to_string(k + 1) + " badly measured");
            }
        }
        if (header.nblocks < header.nkeys + 2 ||
            index.size() != static_cast<std::size_t>(header.nblocks) * 512) {
            return fault("nblocks " + std::to_string(header.nblocks) + " against " +
                         std::to_string(index.size() / 512));
        }
        if (header.nrecs < 0 ||
            data.size() != static_cast<std::size_t>(header.nrecs) * static_cast<std::size_t>(header.reclen)) {
            return fault("nrecs " + std::to_string(header.nrecs) + " against " + std::to_string(data.size()) +
                         " bytes of data");
        }
        return true;
    }

    void free_chain() {
        const auto count = static_cast<std::size_t>(header.nrecs);
        live.resize(count);
        std::size_t dead = 0;
        for (std::size_t n = 0; n < count; ++n) {
            const std::uint8_t *r = record(n);
            bool is_live = r[0] != 0xFF;
            for (int at = 5; at < header.reclen; ++at) {
                is_live = is_live || r[at] != 0xFF;
            }
            live[n] = is_live;
            dead += is_live ? 0 : 1;
        }
        if (header.reclen < 5) {
            return;
        }
        std::size_t steps = 0;
        std::int32_t at = header.freehead;
        while (at != -1 && steps <= count) {
            if (at < 0 || at >= header.nrecs || live[static_cast<std::size_t>(at)]) {
                fault("free chain leads to " + std::to_string(at));
                return;
            }
            boost::endian::little_int32_t next;
            std::memcpy(&next, record(static_cast<std::size_t>(at)) + 1, 4);
            at = next;
            ++steps;
        }
        if (steps != dead) {
            fault("free chain of " + std::to_string(steps) + " for " + std::to_string(dead) +
                  " free records");
        }
    }

    /// Checks the tree below a block; `high` receives its highest key.
    bool tree(int k, std::int32_t number, int level, bool rightmost, bytes &high) {
        const std::string name = "key " + std::to_string(k) + " block " + std::to_string(number);
        const ix_keydef &def = header.keydef[k - 1];
        if (number < 1 || number >= header.nblocks || ++links[static_cast<std::size_t>(number)] > 1) {
            return fault(name + ": linked wrongly");
        }
        ix_block block;
        std::memcpy(&block, index.data() + static_cast<std::size_t>(number) * 512, 512);
        if (block.bkey != k || (level != 0 && block.blevel != level) || block.blevel < 1 ||
            block.blevel > 9 || block.bcount < 1 || block.bcount >= def.korder) {
            return fault(name + ": bkey " + std::to_string(block.bkey) + " blevel " +
                         std::to_string(block.blevel) + " bcount " + std::to_string(block.bcount));
        }
        const int klen = def.klen;
        const int esize = klen + 4;
        for (int at = block.bcount * esize; at < ix_entry_bytes; ++at) {
            if (block.bentries[at] != 0) {
                return fault(name + ": bytes behind the last entry");
            }
        }
        for (int e = 0; e < block.bcount; ++e) {
            const std::uint8_t *key = block.bentries + e * esize;
            boost::endian::little_int32_t pointer;
            std::memcpy(&pointer, key + klen, 4);
            const bool last = rightmost && e == block.bcount - 1;
            if (e > 0) {
                const int order = reference_compare(def, key - esize, key);
                const bool equals_allowed = def.kdups != 'J' && k > 1;
                if (order > 0 || (order == 0 && !equals_allowed && !last)) {
                    fault(name + ": entry " + std::to_string(e) + " out of order");
                }
            }
            if (last && bytes(key, key + klen) != bytes(static_cast<std::size_t>(klen), 0xFF)) {
                fault(name + ": no sentinel");
            }
            if (block.blevel > 1) {
                bytes below;
                if (!tree(k, pointer, block.blevel - 1, last, below)) {
                    return false;
                }
                if (below != bytes(key, key + klen)) {
                    fault(name + ": entry " + std::to_string(e) + " isn't the highest key of its child");
                }
            } else if (last) {
                if (pointer != -1) {
                    fault(name + ": sentinel points to " + std::to_string(pointer));
                }
            } else if (pointer < 0 || pointer >= header.nrecs) {
                fault(name + ": pointer " + std::to_string(pointer));
            } else {
                const auto at = static_cast<std::size_t>(std::int32_t{pointer});
                ++entries[at];
                const bytes own = reference_key(def, record(at), pointer);
                if (live[at] && reference_compare(def, own.data(), key) != 0) {
                    fault(name + ": entry " + std::to_string(e) + " isn't the key of its record");
                }
            }
        }
        const std::uint8_t *key = block.bentries + (block.bcount - 1) * esize;
        high.assign(key, key + klen);
        return true;
    }

    void trees() {
        links.resize(static_cast<std::size_t>(header.nblocks));
        links[0] = 1;
        links[static_cast<std::size_t>(header.nkeys + 1)] = 1;
        for (int k = 1; k <= header.nkeys; ++k) {
            entries.assign(live.size(), 0);
            bytes high;
            if (!tree(k, k, 0, true, high)) {
                continue;
            }
            for (std::size_t n = 0; n < live.size(); ++n) {
                if (entries[n] != (live[n] ? 1 : 0)) {
                    fault("key " + std::to_string(k) + ": record " + std::to_string(n) + " stands in it " +
                          std::to_string(entries[n]) + " times");
                }
            }
        }
        if (faults.empty()) {
            for (std::size_t n = 0; n < links.size(); ++n) {
                if (links[n] == 0 && index[n * 512 + 4] != 0) {
                    fault("block " + std::to_string(n) + " is unlinked and not empty");
                }
            }
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
        if (queue[0] != 1 || queue[1] != 0 || (queue_empty && queue[4] != 0)) {
            v.fault("lock block: bkey " + std::to_string(queue[0]) + " bcount " + std::to_string(queue[4]));
        }
    }
    return v.faults;
}
