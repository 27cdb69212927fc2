// Random operations on pairs of one to five keys, held against the model after every one of them. The count
// of operations for each pair and mode comes from STORE_MODEL_OPS, the first seed from STORE_MODEL_SEED.
#include <algorithm>
#include <cstdlib>
#include <random>

#include "support/store/model.h"
#include "support/store/store_fixture.h"

namespace {

struct shape {
    const char *name;
    std::vector<const char *> texts;
};

const shape shapes[] = {
    {"EEN", {"een sleutel,20", "nr,I,1,4"}},
    {"TWEE", {"twee sleutels,32", "nr,I,1,4", "naam,C,5,16"}},
    {"DRIE", {"drie sleutels,40", "k,I,1,2,I,3,4,I,5,5", "naam,C,6,9,I,1,2", "om,NODUPS,I,5,5,I,3,4,I,1,2"}},
    {"VIER",
     {"vier sleutels,64", "tekst,C,1,10", "groep,I,11,11", "drie,I,12,14,C,15,18", "n,NODUPS,C,1,10"}},
    {"VIJF",
     {"vijf sleutels,90", "lang,C,1,60", "a,C,61,64", "b,I,65,66,C,61,62", "c,I,67,70", "d,C,71,74,I,65,66"}},
};

int from_environment(const char *name, int fallback) {
    const char *text = std::getenv(name);
    return text == nullptr ? fallback : std::atoi(text);
}

struct run {
    ICB *icb = nullptr;
    store_model model;
    std::mt19937 random;
    std::string name;
    int mode = 0;
    int step = 0;
    bytes area;  // the application's record area

    int below(int n) {
        return static_cast<int>(random() % static_cast<unsigned>(n));
    }

    bool live(std::int32_t n) const {
        return n >= 0 && !model.slots[static_cast<std::size_t>(n)].empty();
    }

    int key() const {
        return icb->blk.bkey - 1;
    }

    int segments() const {
        const ix_keydef &def = icb->keydef[key()];
        return static_cast<int>(std::find(def.stype, def.stype + ix_max_segments, '\0') - def.stype);
    }

    bytes random_record() {
        // Letters that share primaries, two-letter values, control characters, zeros, the highest byte.
        static const std::uint8_t letters[] = {'a', 'A', 'b', 'E', 'e', 's', 130, 144, 145, 146, 225,
                                               148, 1,   31,  127, ' ', 0,   0,   255, 210, 'z'};
        bytes record(static_cast<std::size_t>(model.reclen));
        for (auto &byte : record) {
            byte = static_cast<std::uint8_t>(random());
        }
        for (const ix_keydef &def : model.keys) {
            for (int s = 0; s < ix_max_segments && def.stype[s] != 0; ++s) {
                const bool far = below(20) == 0;
                for (int at = def.sstart[s] - 1; at < def.send[s]; ++at) {
                    std::uint8_t &byte = record[static_cast<std::size_t>(at)];
                    if (def.stype[s] == 'C') {
                        byte =
                            at - def.sstart[s] > 2 && below(4) != 0 ? 0 : letters[below(std::size(letters))];
                    } else {
                        byte =
                            far ? (below(2) == 0 ? 255 : 128)
                                : static_cast<std::uint8_t>(at < def.sstart[s] ? below(40) : below(4) == 0);
                    }
                }
            }
        }
        return record;
    }

    /// A record that exists, or one that mostly doesn't.
    bytes some_record() {
        if (!model.slots.empty() && below(3) != 0) {
            const bytes &slot =
                model.slots[static_cast<std::size_t>(below(static_cast<int>(model.slots.size())))];
            if (!slot.empty()) {
                return slot;
            }
        }
        return random_record();
    }

    /// What an operation gave, against what it should give.
    void expect(const char *operation, bool result, std::int32_t number, const bytes &record) {
        ASSERT_EQ(icb->recno, number) << operation << " at step " << step << " key " << key() + 1;
        ASSERT_EQ(result, number >= 0) << operation << " at step " << step;
        ASSERT_EQ(area, record) << operation << " at step " << step;
    }

    std::int32_t entry_record(std::size_t at) const {
        const auto &tree = model.trees[static_cast<std::size_t>(key())];
        return at < tree.size() ? tree[at].record : -1;
    }

    /// The entry `at`, if its first `parts` segments are those of the key.
    std::int32_t in_group(std::size_t at, int parts, const bytes &wanted) const {
        const auto &tree = model.trees[static_cast<std::size_t>(key())];
        return at < tree.size() && (parts == 0 || model.compare(key(), parts, tree[at].key, wanted) == 0)
                   ? tree[at].record
                   : -1;
    }

    void read_step() {
        area = some_record();
        bytes before = area;
        icb->recno = below(4) == 0 ? below(20) : icb->recno;
        const int k = key();
        const int parts = below(segments() + 1);
        const bytes wanted = model.key_of(k, area, icb->recno);
        const auto slot = [this, &before](std::int32_t n) {
            return n >= 0 ? model.slots[static_cast<std::size_t>(n)] : before;
        };
        std::int32_t n = -1;
        switch (below(7)) {
            case 0: {
                n = model.find(k, wanted);
                const bool found = IXREAD(icb, area.data());
                return expect("IXREAD", found, n, slot(n));
            }
            case 1: {
                const bool found = IXFIND(icb, area.data());
                return expect("IXFIND", found, model.find(k, wanted), before);
            }
            case 2: {
                const bool found = IXFINDP(icb, area.data(), parts);
                return expect("IXFINDP", found, model.find(k, wanted, parts), before);
            }
            case 3: {
                const bytes first = model.key_of(k, area, 0);
                n = in_group(model.lower(k, 0, first), parts, first);
                const bool found = IXFIRSTR(icb, area.data(), parts);
                return expect("IXFIRSTR", found, n, slot(n));
            }
            case 4: {
                n = in_group(model.upper(k, 0, wanted), parts, wanted);
                const bool found = IXNEXTR(icb, area.data(), parts);
                return expect("IXNEXTR", found, n, slot(n));
            }
            case 5: {
                const std::size_t at = model.lower(k, 0, wanted);
                n = at == 0 ? -1 : in_group(at - 1, parts, wanted);
                const bool found = IXPREVR(icb, area.data(), parts);
                return expect("IXPREVR", found, n, slot(n));
            }
            default: {
                n = below(static_cast<int>(model.slots.size()) + 3) - 1;
                const std::int32_t noted = icb->recno;
                const int result = IXGET(icb, area.data(), n);
                if (n < 0 || n >= static_cast<std::int32_t>(model.slots.size())) {
                    ASSERT_EQ(result, -1);
                    return expect("IXGET", noted >= 0, noted, before);
                }
                ASSERT_EQ(result, live(n) ? 1 : 0) << "step " << step;
                return expect("IXGET", true, n, live(n) ? slot(n) : area);
            }
        }
    }

    /// The forms by partial key fill in the key's fields only.
    void partial_step() {
        area = some_record();
        bytes after = area;
        const int k = key();
        const int parts = below(segments() + 1);
        const bytes wanted = model.key_of(k, area, icb->recno);
        const std::size_t first = model.lower(k, parts, wanted);
        const int what = below(3);
        std::size_t at = what == 0 ? first : model.upper(k, parts, wanted);
        if (what == 2) {
            at = first - 1;  // wraps when there is none before
        }
        const std::int32_t n = parts > 1 ? in_group(at, parts - 1, wanted) : entry_record(at);
        if (n >= 0) {
            const bytes &entry = model.trees[static_cast<std::size_t>(k)][at].key;
            const ix_keydef &def = icb->keydef[k];
            std::size_t from = 0;
            for (int s = 0; s < segments(); ++s) {
                const auto length = static_cast<std::size_t>(def.send[s] - def.sstart[s] + 1);
                bytes field(entry.begin() + static_cast<std::ptrdiff_t>(from),
                            entry.begin() + static_cast<std::ptrdiff_t>(from + length));
                if (def.stype[s] == 'I') {
                    std::reverse(field.begin(), field.end());
                }
                std::copy(field.begin(), field.end(), after.begin() + def.sstart[s] - 1);
                from += length;
            }
        }
        const bool found = what == 0   ? IXFIRSTK(icb, area.data(), parts)
                           : what == 1 ? IXNEXTK(icb, area.data(), parts)
                                       : IXPREVK(icb, area.data(), parts);
        expect(what == 0 ? "IXFIRSTK" : what == 1 ? "IXNEXTK" : "IXPREVK", found, n, after);
    }

    /// A whole walk of the current key, or a scan.
    void walk_step() {
        const auto &tree = model.trees[static_cast<std::size_t>(key())];
        const bool back = below(2) == 0;
        std::vector<std::int32_t> seen;
        std::vector<std::int32_t> wanted;
        if (below(3) == 0) {
            while (IXSEQ(icb, area.data())) {
                seen.push_back(icb->recno);
            }
            for (std::int32_t n = 0; n < static_cast<std::int32_t>(model.slots.size()); ++n) {
                if (live(n)) {
                    wanted.push_back(n);
                }
            }
        } else {
            for (const model_entry &entry : tree) {
                wanted.push_back(entry.record);
            }
            std::fill(area.begin(), area.end(), back ? std::uint8_t{255} : std::uint8_t{0});
            icb->recno = back ? -1 : 0;
            for (bool more = back ? IXPREV(icb, area.data()) : IXFIRST(icb, area.data()); more;
                 more = back ? IXPREV(icb, area.data()) : IXNEXT(icb, area.data())) {
                seen.push_back(icb->recno);
            }
            if (back) {
                std::reverse(seen.begin(), seen.end());
            }
        }
        ASSERT_EQ(seen, wanted) << "step " << step << " key " << key() + 1 << (back ? " back" : "");
    }

    void write_step() {
        area = some_record();
        if (below(2) == 0) {
            // Another record, or the same one with other fields after key 1.
            bytes other = random_record();
            std::copy(other.begin() + icb->keydef[0].klen, other.end(), area.begin() + icb->keydef[0].klen);
        }
        const bytes record = area;
        const int k = icb->blk.bkey;
        switch (below(8)) {
            case 0:
            case 1: {
                IXSWITCH(icb, 1);
                if (!IXREADLOCK(icb, area.data())) {
                    IXFREE(icb, area.data());
                    break;
                }
                const std::int32_t n = icb->recno;
                const bytes read = area;
                ASSERT_FALSE(IXDELETE(icb, area.data()));
                ASSERT_EQ(area, read);
                model.erase(n);
                break;
            }
            case 2: {
                const bytes changed = area;
                IXSWITCH(icb, 1);
                const std::int32_t n = model.find(0, model.key_of(0, area, 0));
                ASSERT_EQ(IXREADLOCK(icb, area.data()), n >= 0);
                area = changed;
                ASSERT_TRUE(IXWRITEK(icb, area.data()));
                ASSERT_EQ(icb->recno, model.write(area)) << "step " << step;
                IXFREE(icb, area.data());
                break;
            }
            case 3: {
                IXSWITCH(icb, 1);
                if (IXREAD(icb, area.data())) {
                    bool in_key = false;
                    for (const ix_keydef &def : model.keys) {
                        in_key = in_key || *std::max_element(def.send, def.send + 10) >= model.reclen;
                    }
                    area.back() = in_key ? area.back() : static_cast<std::uint8_t>(below(256));
                    ASSERT_TRUE(IXREWRITE(icb, area.data()));
                    model.rewrite(icb->recno, area);
                }
                break;
            }
            default:
                ASSERT_TRUE(IXWRITE(icb, area.data()));
                ASSERT_EQ(area, record);
                ASSERT_EQ(icb->recno, model.write(area)) << "step " << step;
                ASSERT_EQ(icb->blk.bkey, k);
        }
        ASSERT_EQ(icb->nrecs, static_cast<int>(model.slots.size()));
        ASSERT_EQ(icb->freehead, model.free.empty() ? -1 : model.free.back());
    }

    void one_step() {
        if (below(6) == 0) {
            IXSWITCH(icb, 1 + below(icb->nkeys));
        }
        switch (below(12)) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                return write_step();
            case 5:
            case 6:
                return partial_step();
            case 7:
                return below(200) == 0 ? walk_step() : read_step();
            default:
                return read_step();
        }
    }

    void reopen() {
        IXCLOSE(icb);
        ASSERT_EQ(ix_verify(name), std::vector<std::string>{}) << "step " << step;
        ASSERT_EQ(IXCHECK(name.c_str()), static_cast<std::int32_t>(model.free.size()));
        if (below(3) == 0) {
            ASSERT_TRUE(IXBLDIX(name.c_str()));
            model.rebuild();
            ASSERT_EQ(ix_verify(name), std::vector<std::string>{}) << "after a rebuild at step " << step;
            ASSERT_EQ(IXCHECK(name.c_str()), static_cast<std::int32_t>(model.free.size()));
        }
        icb = IXOPEN(name.c_str(), mode);
    }
};

struct model_case {
    int shape;
    int mode;
};

class store_model_test : public store_test, public testing::WithParamInterface<model_case> {};

TEST_P(store_model_test, RandomOperations) {
    const shape &of = shapes[GetParam().shape];
    const int operations = from_environment("STORE_MODEL_OPS", 20000);
    run r;
    r.random.seed(static_cast<unsigned>(from_environment("STORE_MODEL_SEED", 1) * 100 + GetParam().shape));
    r.name = of.name;
    r.mode = GetParam().mode;
    r.icb = make_pair_of(of.name, of.texts, r.mode);
    r.model.define(*r.icb);
    for (r.step = 1; r.step <= operations && !HasFatalFailure(); ++r.step) {
        r.one_step();
        if (r.step % 1000 == 0 && !HasFatalFailure()) {
            r.reopen();
        }
    }
    IXCLOSE(r.icb);
    EXPECT_EQ(ix_verify(r.name), std::vector<std::string>{});
}

INSTANTIATE_TEST_SUITE_P(
    shapes_and_modes, store_model_test,
    testing::Values(model_case{0, 1}, model_case{0, 2}, model_case{1, 1}, model_case{1, 2}, model_case{2, 1},
                    model_case{2, 2}, model_case{3, 1}, model_case{3, 2}, model_case{4, 1}, model_case{4, 2}),
    [](const auto &tested) {
        return std::string(shapes[tested.param.shape].name) + "_mode" + std::to_string(tested.param.mode);
    });

}  // namespace
