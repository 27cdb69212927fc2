// The index of the EAN codes, and sizes with two codes.
//
//   1  One walk through the tree of a key proves that each search ends well, where that is so. Where it
//   isn't,
//      each record is looked up by that key. A search that ends elsewhere is a fault; on the key of the size
//      the other record may be a second code, so both are listed.
//   2  Of the listed records of one size the last by date and code is taken off the list; the others are
//      deleted.
//   3  After any fault the index is rebuilt.
#include <cstring>
#include <limits>

#include "check/ean/ean.h"
#include "data/data.h"

namespace {

constexpr int by_code = 1;

/// A record that may be one of two, and its number.
struct ean_double {
    EanRecord record;
    little_uint32_t place;
};
static_assert(sizeof(ean_double) == 32);

/// Both keys begin with the key of the size.
constexpr list_segment size_segments[] = {
    {'C', 13, 1}, {'I', 16, 4}, {'I', 14, 2}, {'I', 20, 2}, {'I', 22, 1}};
constexpr int parts_of_size = std::size(size_segments);

std::vector<list_segment> size_key(std::initializer_list<list_segment> rest) {
    std::vector<list_segment> segments(std::begin(size_segments), std::end(size_segments));
    segments.insert(segments.end(), rest);
    return segments;
}

using double_list = error_list<ean_double>;

void list_double(double_list &doubles, const EanRecord &record, std::int32_t place) {
    ean_double item{record, {}};
    item.place = static_cast<std::uint32_t>(place);
    doubles.add(item);
}

/// By how many segments records are searched for, 0 for the whole key. Records of one size count as equal.
int search_parts(const ICB *file, int key) {
    const ix_plan &plan = file->plan[key - 1];
    return key == ean_by_size && plan.dups ? plan.nsegs : 0;
}

/// Where the search for a record by the current key ends; -1 when it finds nothing.
std::int32_t search(ICB *file, int key, std::int32_t place, const EanRecord &record) {
    file->recno = place;
    const int parts = search_parts(file, key);
    const bool found = parts > 0 ? IXFINDP(file, &record, parts) : IXFIND(file, &record);
    return found ? std::int32_t{file->recno} : -1;
}

/// Looks a record up by a key; what the search for a size ends at instead may be its second code.
void look_up(ICB *file, int key, std::int32_t place, double_list &doubles, std::uint32_t &faults) {
    EanRecord record{};
    if (IXGET(file, &record, place) != 1) {
        return;
    }
    const std::int32_t found = search(file, key, place, record);
    if (found == place) {
        return;
    }
    faults++;
    if (key == ean_by_size) {
        EanRecord other{};
        list_double(doubles, record, place);
        if (found >= 0 && IXGET(file, &other, found) == 1) {
            list_double(doubles, other, found);
        }
    }
}

/// Proves a key, or looks each record up by it. False when the operator cancelled.
bool find_faults_of_key(ICB *file, int key, double_list &doubles, std::uint32_t &faults) {
    const std::int32_t records = file->nrecs;
    const auto show = [&](std::int32_t done) {
        const std::int64_t all = std::int64_t{records} * (key - 1) + done;
        chk_progress(static_cast<std::uint32_t>(all / file->nkeys), static_cast<std::uint32_t>(records),
                     chk_bar::step);
        return !op_interrupted();
    };
    const ix_proof proof = ix_prove(file, key, search_parts(file, key), show);
    if (proof != ix_proof::none) {
        return proof == ix_proof::proven;
    }
    IXSWITCH(file, key);
    bool going_on = true;
    for (std::int32_t place = 0; place < records && going_on; place++) {
        going_on = show(place + 1);
        look_up(file, key, place, doubles, faults);
    }
    return going_on;
}

/// Key by key, since records that follow each other are neighbours in the index, too. False when the operator
/// cancelled.
bool find_faults(ICB *file, double_list &doubles, std::uint32_t &faults) {
    chk_phase("RVEAN.INX", static_cast<std::uint32_t>(std::int32_t{file->nrecs}));
    bool going_on = true;
    for (int key = 1; key <= file->nkeys && going_on; key++) {
        going_on = find_faults_of_key(file, key, doubles, faults);
    }
    IXSWITCH(file, by_code);
    chk_progress(0, 0, chk_bar::close);
    return going_on;
}

bool same_size(const EanRecord &a, const EanRecord &b) {
    return a.type == b.type && a.group == b.group && a.colour == b.colour && a.number == b.number &&
           a.size == b.size;
}

/// Takes the record to keep off the list: the last of each size by date and code.
void spare_last(double_list &doubles) {
    IXSWITCH(doubles.icb(), 2);
    ean_double before{};
    std::int32_t place = -1;
    const auto spare = [&] {
        if (place >= 0) {
            doubles.icb()->recno = place;
            IXDELETE(doubles.icb(), &before);
        }
    };
    doubles.for_each([&](const ean_double &item) {
        const std::int32_t here = doubles.icb()->recno;
        if (!same_size(before.record, item.record)) {
            spare();
        }
        before = item;
        place = here;
    });
    spare();
    IXSWITCH(doubles.icb(), 1);
}

/// Among equal keys the index has the last record first, so in this order each is found at once.
void delete_doubles(ICB *file, double_list &doubles) {
    spare_last(doubles);
    constexpr std::uint32_t behind_all = std::numeric_limits<std::uint32_t>::max();
    ean_double size{};
    while (doubles.first(size)) {
        size.place = behind_all;
        ean_double item = size;
        while (IXPREVR(doubles.icb(), &item, parts_of_size)) {
            ean_delete(file, static_cast<std::int32_t>(item.place), item.record);
        }
    }
}

/// False, after telling the operator, when the index was left as it is.
bool rebuild_index() {
    return isam_operator.rebuild_index != nullptr ? isam_operator.rebuild_index(ean_file_name)
                                                  : IXBLDIX(ean_file_name);
}

}  // namespace

bool ean_check_index(ICB *&file, bool &sound) {
    static_assert(parts_of_size == 5);
    double_list doubles("tmpean", {{"key-1", false, size_key({{'I', 28, 4}})},
                                   {"key-2", true, size_key({{'I', 24, 2}, {'C', 0, 13}})}});
    doubles.open("TMPEAN");
    std::uint32_t faults = 0;
    if (!find_faults(file, doubles, faults)) {
        return false;
    }
    sound = true;
    if (faults != 0) {
        const leave_guard undisturbed;
        if (chk_is_heard()) {
            chk_found(ean_kind_of(ean_kind::faulty_index), ean_file_name,
                      {field_of("faults", std::int64_t{faults})});
        }
        op_caption(op_field::ean_code, detail_text(21, 26, "Eannummer"));
        delete_doubles(file, doubles);
        doubles.close();
        IXCLOSE(file);
        sound = rebuild_index();
        file = pair_open(ean_file_name, ix_shared, sizeof(EanRecord));
    }
    return true;
}

void ean_delete(ICB *file, std::int32_t number, const EanRecord &expected) {
    EanRecord record{};
    file->recno = number;
    while (!IXLOCK(file, ix_lock_record)) {
    }
    if (IXGET(file, &record, number) == 1 && std::memcmp(&record, &expected, sizeof record) == 0) {
        IXDELETE(file, &record);
    } else {
        IXLOCK(file, ix_unlock_record);
    }
}
