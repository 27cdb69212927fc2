// Random operations on pairs of one to five keys, held against the model after every one of them.
#include <algorithm>
#include <random>

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
    // Few values, in spite of "no duplicates": equal keys fill whole leaves. An integer of 20 bytes weighs
    // nothing.
    {"GELIJK", {"gelijke sleutels,30", "nr,I,1,4", "n,NODUPS,I,5,5,I,6,25"}},
};

/// An entry of a tree: a key, and the record that has it.
struct model_entry {
    bytes key;
    std::int32_t record;
};

/// What an indexed file should hold, kept in plain vectors, with the order of the reference.
struct store_model {
    int reclen;
    std::vector<ix_keydef> keys;
    std::vector<bytes> slots;  // empty: free
    std::vector<std::int32_t> free;
    std::vector<std::vector<model_entry>> trees;

    explicit store_model(const ix_header &header)
        : reclen(header.reclen), keys(header.keydef, header.keydef + header.nkeys), trees(keys.size()) {}

    bytes key_of(std::size_t k, const bytes &record, std::int32_t number) const {
        return reference_key(keys[k], record.data(), number);
    }
    /// Order of two keys by their first `parts` segments, 0 for the whole key.
    int compare(std::size_t k, int parts, const bytes &a, const bytes &b) const {
        ix_keydef def = keys[k];
        if (parts > 0) {
            def.kdups = 'N';
            std::fill(def.stype + std::min(parts, ix_max_segments), def.stype + ix_max_segments, '\0');
        }
        return reference_compare(def, a.data(), b.data());
    }
    /// Index in the tree of key `k` of the first entry not below, or above, a key.
    std::size_t place(std::size_t k, int parts, const bytes &key, bool above) const {
        const auto at = std::partition_point(trees[k].begin(), trees[k].end(), [&](const model_entry &entry) {
            const int order = compare(k, parts, entry.key, key);
            return order < 0 || (above && order == 0);
        });
        return static_cast<std::size_t>(at - trees[k].begin());
    }
    void add(std::size_t k, const bytes &key, std::int32_t number) {
        trees[k].insert(trees[k].begin() + static_cast<std::ptrdiff_t>(place(k, 0, key, false)),
                        {key, number});
    }
    void drop(std::size_t k, std::int32_t number) {
        std::erase_if(trees[k], [number](const model_entry &entry) { return entry.record == number; });
    }
    /// The record with the same key 1, or -1.
    std::int32_t find(const bytes &record) const {
        const bytes key = key_of(0, record, 0);
        const std::size_t at = place(0, 0, key, false);
        return at < trees[0].size() && compare(0, 0, trees[0][at].key, key) == 0 ? trees[0][at].record : -1;
    }
    /// Insert or update by key 1; returns the record number.
    std::int32_t write(const bytes &record) {
        std::int32_t number = find(record);
        const bool known = number >= 0;
        if (!known && free.empty()) {
            number = static_cast<std::int32_t>(slots.size());
            slots.emplace_back();
        } else if (!known) {
            number = free.back();
            free.pop_back();
        }
        bytes &slot = slots[static_cast<std::size_t>(number)];
        for (std::size_t k = 0; k < keys.size(); ++k) {
            const bytes key = key_of(k, record, number);
            // Of an equal key the tree keeps the image it has.
            if (!known || compare(k, 0, key, key_of(k, slot, number)) != 0) {
                drop(k, number);
                add(k, key, number);
            }
        }
        slot = record;
        return number;
    }
    void erase(std::int32_t number) {
        for (std::size_t k = 0; k < keys.size(); ++k) {
            drop(k, number);
        }
        slots[static_cast<std::size_t>(number)].clear();
        free.push_back(number);
    }
    /// The trees and the free chain as a rebuild leaves them.
    void rebuild() {
        free.clear();
        trees.assign(keys.size(), {});
        for (std::int32_t n = 0; n < static_cast<std::int32_t>(slots.size()); ++n) {
            const bytes &slot = slots[static_cast<std::size_t>(n)];
            if (slot.empty()) {
                free.push_back(n);
            }
            for (std::size_t k = 0; !slot.empty() && k < keys.size(); ++k) {
                add(k, key_of(k, slot, n), n);
            }
        }
    }
};

enum class way { exact, first, next, previous };
enum class fills { nothing, key, record };

struct reading {
    const char *name;
    bool (*call)(ICB *, void *, int);
    way go;
    fills what;
};
const reading readings[] = {
    {"IXREAD", [](ICB *icb, void *record, int) { return IXREAD(icb, record); }, way::exact, fills::record},
    {"IXFINDP", [](ICB *icb, void *record, int parts) { return IXFINDP(icb, record, parts); }, way::exact,
     fills::nothing},
    {"IXFIRSTR", IXFIRSTR, way::first, fills::record},
    {"IXNEXTR", IXNEXTR, way::next, fills::record},
    {"IXPREVR", IXPREVR, way::previous, fills::record},
    {"IXFIRSTK", IXFIRSTK, way::first, fills::key},
    {"IXNEXTK", IXNEXTK, way::next, fills::key},
    {"IXPREVK", IXPREVK, way::previous, fills::key},
};

struct run {
    ICB *icb;
    std::vector<ICB *> handles;
    std::string name;
    int mode;
    store_model model;
    std::mt19937 random;
    int step = 0;
    bytes area;  // the application's record area

    int below(int n) {
        return static_cast<int>(random() % static_cast<unsigned>(n));
    }
    int slots() const {
        return static_cast<int>(model.slots.size());
    }
    const bytes &slot(std::int32_t n) const {
        return model.slots[static_cast<std::size_t>(n)];
    }
    bool live(std::int32_t n) const {
        return n >= 0 && n < slots() && !slot(n).empty();
    }
    std::size_t key() const {
        return static_cast<std::size_t>(icb->blk.bkey) - 1;
    }
    const std::vector<model_entry> &tree() const {
        return model.trees[key()];
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
                    const bool tail = at - def.sstart[s] > 2 && below(4) != 0;
                    if (def.stype[s] == 'C') {
                        byte = tail ? 0 : letters[below(std::size(letters))];
                    } else if (far) {
                        byte = below(2) == 0 ? 255 : 128;
                    } else {
                        byte = static_cast<std::uint8_t>(at < def.sstart[s] ? below(40) : below(4) == 0);
                    }
                }
            }
        }
        return record;
    }

    /// A record that exists, or one that mostly doesn't.
    bytes some_record() {
        const std::int32_t n = below(slots() + 1);
        return live(n) && below(3) != 0 ? slot(n) : random_record();
    }

    /// Puts the fields of a key into a record.
    void fill_in(bytes &record, const bytes &from) const {
        const ix_keydef &def = icb->keydef[key()];
        auto at = from.begin();
        for (int s = 0; s < segments(); ++s) {
            const int length = def.send[s] - def.sstart[s] + 1;
            const auto to = record.begin() + def.sstart[s] - 1;
            std::copy(at, at + length, to);
            if (def.stype[s] == 'I') {
                std::reverse(to, to + length);
            }
            at += length;
        }
    }

    /// The record that a reading must find from `record` and `number`; in `record` what it must leave there.
    std::int32_t lead(const reading &r, int parts, bytes &record, std::int32_t number) const {
        const std::size_t k = key();
        const bool by_record = r.what == fills::record;
        const bytes wanted = model.key_of(k, record, by_record && r.go == way::first ? 0 : number);
        const int compared = by_record ? 0 : parts;
        std::size_t at = model.place(k, compared, wanted, r.go == way::next);
        if (r.go == way::previous) {
            --at;  // wraps when there is none before
        }
        const int alike = by_record ? parts : parts - 1;  // first segments that must be the same
        if (at >= tree().size() ||
            (r.go == way::exact ? model.compare(k, compared, tree()[at].key, wanted) != 0
                                : alike > 0 && model.compare(k, alike, tree()[at].key, wanted) != 0)) {
            return -1;
        }
        if (r.what == fills::key) {
            fill_in(record, tree()[at].key);
        } else if (by_record) {
            record = slot(tree()[at].record);
        }
        return tree()[at].record;
    }

    /// What an operation gave, against what it should give.
    void expect(const char *operation, bool result, std::int32_t number, const bytes &record) {
        ASSERT_EQ(icb->recno, number) << operation << " at step " << step << " key " << key() + 1;
        ASSERT_EQ(result, number >= 0) << operation << " at step " << step;
        ASSERT_EQ(area, record) << operation << " at step " << step;
    }

    void read_step() {
        area = some_record();
        bytes record = area;
        icb->recno = below(4) == 0 ? below(20) : icb->recno;
        const reading &r = readings[below(std::size(readings))];
        const int parts = below(segments() + 1);
        const std::int32_t number = lead(r, parts, record, icb->recno);
        const bool found = r.call(icb, area.data(), parts);
        expect(r.name, found, number, record);
    }

    void skip_step() {
        area = some_record();
        std::int32_t position = below(slots() + 2) - 1;
        const int parts = below(segments() + 1);
        const int n = below(9) - 4;
        bytes record = live(position) ? slot(position) : area;
        std::int32_t number = position;
        std::int32_t reached = position;
        for (int left = n == 0 && !live(position) ? 1 : n; left != 0; left -= left > 0 ? 1 : -1) {
            number = lead(readings[left > 0 ? 6 : 7], parts, record, number);
            if (number < 0) {
                break;
            }
            reached = number;
        }
        const bool found = IXSKIP(icb, area.data(), parts, n, &position);
        expect("IXSKIP", found, number, number < 0 ? record : slot(number));
        ASSERT_EQ(position, reached) << "step " << step;
    }

    void get_step() {
        area = random_record();
        const bytes before = area;
        const std::int32_t noted = icb->recno;
        const std::int32_t n = below(slots() + 3) - 1;
        const bool inside = n >= 0 && n < icb->nrecs;
        ASSERT_EQ(IXGET(icb, area.data(), n), inside ? int{live(n)} : -1) << "step " << step;
        ASSERT_EQ(icb->recno, inside ? n : noted);
        ASSERT_EQ(area, !inside ? before : live(n) ? slot(n) : area);
    }

    /// A walk of the current key, forward from its start or back from its last entry. Of equal keys it sees
    /// one. `dead` tells of records that a damaged file has lost.
    void walk(bool back, const std::vector<bool> &dead = {}) {
        std::vector<std::int32_t> seen;
        std::vector<std::int32_t> wanted;
        for (std::size_t at = 0; at < tree().size(); ++at) {
            const std::size_t other = back ? at + 1 : at - 1;
            const bool start = back && other == tree().size();
            const bool equal =
                other < tree().size() && model.compare(key(), 0, tree()[at].key, tree()[other].key) == 0;
            const std::int32_t record = tree()[at].record;
            if (!start && !equal && (dead.empty() || !dead[static_cast<std::size_t>(record)])) {
                wanted.push_back(record);
            }
        }
        area.assign(static_cast<std::size_t>(model.reclen), 0);
        icb->recno = 0;
        if (back && !tree().empty()) {
            icb->recno = tree().back().record;
            area = slot(icb->recno);
        }
        for (bool more = back ? IXPREV(icb, area.data()) : IXFIRST(icb, area.data()); more;
             more = back ? IXPREV(icb, area.data()) : IXNEXT(icb, area.data())) {
            seen.push_back(icb->recno);
        }
        if (back) {
            std::reverse(seen.begin(), seen.end());
        }
        ASSERT_EQ(seen, wanted) << "step " << step << " key " << key() + 1 << (back ? " back" : "");
    }

    void scan() {
        for (std::int32_t n = 0; n < icb->nrecs; ++n) {
            if (live(n)) {
                ASSERT_TRUE(IXSEQ(icb, area.data()));
                ASSERT_EQ(icb->recno, n) << "step " << step;
            }
        }
        ASSERT_FALSE(IXSEQ(icb, area.data()));
    }

    void delete_step() {
        IXSWITCH(icb, 1);
        if (!IXREADLOCK(icb, area.data())) {
            return IXFREE(icb, area.data());
        }
        const std::int32_t n = icb->recno;
        const bytes read = area;
        IXSWITCH(icb, 1 + below(icb->nkeys));
        const int k = icb->blk.bkey;
        icb->recno = n;
        ASSERT_FALSE(IXDELETE(icb, area.data()));
        ASSERT_EQ(icb->blk.bkey, k);
        model.erase(n);
        // Neither the record that is gone already nor another one is deleted.
        icb->recno = below(2) == 0 ? n : below(slots());
        ASSERT_FALSE(IXDELETE(icb, area.data()));
        ASSERT_EQ(area, read);
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
        const int what = below(8);
        if (what < 2) {
            delete_step();
        } else if (what == 2) {
            IXSWITCH(icb, 1);
            if (IXREAD(icb, area.data())) {
                area.back() = static_cast<std::uint8_t>(below(256));  // in no key
                ASSERT_TRUE(IXREWRITE(icb, area.data()));
                model.slots[static_cast<std::size_t>(icb->recno)] = area;
            }
        } else if (what == 3) {
            IXSWITCH(icb, 1);
            const std::int32_t n = model.find(area);
            ASSERT_EQ(IXREADLOCK(icb, area.data()), n >= 0);
            area = record;
            ASSERT_TRUE(IXWRITEK(icb, area.data()));
            ASSERT_EQ(icb->recno, model.write(area)) << "step " << step;
            IXFREE(icb, area.data());
        } else {
            ASSERT_TRUE(IXWRITE(icb, area.data()));
            ASSERT_EQ(area, record);
            ASSERT_EQ(icb->recno, model.write(area)) << "step " << step;
            ASSERT_EQ(icb->blk.bkey, k);
        }
    }

    void one_step() {
        icb = handles[static_cast<std::size_t>(below(static_cast<int>(handles.size())))];
        if (below(6) == 0) {
            IXSWITCH(icb, 1 + below(icb->nkeys));
        }
        const int what = below(2400);
        if (what < 1000) {
            write_step();
        } else if (what < 1001) {
            walk(below(2) == 0);
        } else if (what < 1003) {
            scan();
        } else if (what < 1200) {
            get_step();
        } else if (what < 1300) {
            skip_step();
        } else {
            read_step();
        }
    }

    void open() {
        handles = {IXOPEN(name.c_str(), mode)};
        if (mode == ix_shared) {
            handles.push_back(IXOPEN(name.c_str(), mode));  // the two are used in turn
        }
        icb = handles[0];
    }

    void close() {
        for (ICB *each : handles) {
            IXCLOSE(each);
        }
        expect_sound();
    }

    void expect_sound() const {
        ASSERT_EQ(ix_verify(name), sound) << "step " << step;
        ASSERT_EQ(IXCHECK(name.c_str()), static_cast<std::int32_t>(model.free.size()));
    }

    void rebuild() {
        ix_rebuild_area = below(2) == 0 ? 65536 : 56 << 20;
        ASSERT_TRUE(IXBLDIX(name.c_str()));
        ix_rebuild_area = 56 << 20;
        model.rebuild();
        expect_sound();
    }

    /// Entries whose records are dead, which only a damaged file has: walks step over them, and a record that
    /// is written again is whole.
    void lose_records() {
        std::vector<bool> dead(model.slots.size());
        const auto reclen = static_cast<std::size_t>(model.reclen);
        for (std::size_t n = 0; n < dead.size(); ++n) {
            if (live(static_cast<std::int32_t>(n)) && below(3) == 0) {
                dead[n] = true;
                put_bytes(name + ".TXT", n * reclen, bytes(reclen, 0xFF));
            }
        }
        open();
        for (int k = 1; k <= icb->nkeys; ++k) {
            IXSWITCH(icb, k);
            walk(false, dead);
            walk(true, dead);
        }
        IXSWITCH(icb, 1);
        for (std::size_t n = 0; n < dead.size(); ++n) {
            if (dead[n]) {
                area = model.slots[n];
                ASSERT_FALSE(IXREAD(icb, area.data()));
                ASSERT_EQ(icb->recno, static_cast<std::int32_t>(n));
                ASSERT_TRUE(IXWRITE(icb, model.slots[n].data()));
            }
        }
        close();
    }
};

class store_model_test : public store_test, public testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(store_model_test, RandomOperations) {
    const auto [which, mode] = GetParam();
    const shape &of = shapes[which];
    ICB *icb = make_pair_of(of.name, of.texts);
    run r{icb, {icb}, of.name, mode, store_model(*icb), {}, 0, {}};
    r.random.seed(static_cast<unsigned>(first_seed() * 100 + which));
    r.close();
    r.open();
    const int steps = rounds(20000);
    for (r.step = 1; r.step <= steps && !HasFatalFailure(); ++r.step) {
        r.one_step();
        if (r.step % 1000 == 0 && !HasFatalFailure()) {
            r.close();
            if (r.below(3) == 0 && !HasFatalFailure()) {
                r.rebuild();
            }
            r.open();
        }
    }
    ASSERT_FALSE(HasFatalFailure());
    r.close();
    if (r.name != "GELIJK") {  // there only a rebuild would do
        r.lose_records();
    }
}

INSTANTIATE_TEST_SUITE_P(shapes_and_modes, store_model_test,
                         testing::Combine(testing::Range(0, int{std::size(shapes)}),
                                          testing::Values(ix_exclusive, ix_shared)));

// Each letter against each other one, by itself and in front of a letter.
TEST(text_order, IsThatOfTheReference) {
    for (int pair = 0; pair < 256 * 256; ++pair) {
        const std::uint8_t a[] = {std::uint8_t(pair / 256), 'e'}, b[] = {std::uint8_t(pair % 256), 'e'};
        for (const int n : {1, 2}) {
            const int wanted = reference_coll_cmp(a, b, n), told = coll_cmp(a, b, n);
            ASSERT_TRUE((wanted < 0) == (told < 0) && (wanted > 0) == (told > 0)) << pair;
        }
    }
}

}  // namespace
