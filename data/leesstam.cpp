#include "data/leesstam.h"

#include "data/errors.h"
#include "data/iotab.h"
#include "data/sessionfiles.h"

namespace {

/// A number that was not found must not stay in the record, or the next call would take it for found.
template <class Record, class Number, class Read>
int read_once(Record &record, Number number, Read read) {
    if (number != 0 && record.number == number) {
        return 1;
    }
    record = {};
    record.number = number;
    if (!read()) {
        record = {};
        return 0;
    }
    return 1;
}

template <class Record, class Number>
int read_file(ICB *file, Record &record, Number number) {
    if (file == nullptr) {
        err_internal("leesstam", 1);
    }
    return read_once(record, number, [&] {
        const key_switch key(file, 1);
        return IXREAD(file, &record) && record.number == number;
    });
}

int read_name(numbered_name &record, std::int32_t number, const sys_region &region) {
    return read_once(record, number,
                     [&] { return iotab(tab_action::read, record.number, record.name, region) != 0; });
}

}  // namespace

int art_read(ICB *file, ArticleGroupRecord &record, std::uint32_t number) {
    return read_file(file, record, number);
}

int merk_read(ICB *file, BrandRecord &record, std::uint16_t number) {
    return read_file(file, record, number);
}

int lev_read(ICB *file, SupplierRecord &record, std::uint16_t number) {
    return read_file(file, record, number);
}

int klant_read(ICB *file, CustomerRecord &record, std::uint32_t number) {
    return read_file(file, record, number);
}

int colour_read(numbered_name &record, std::int32_t number) {
    return read_name(record, number, region_colours);
}

int list_b_read(numbered_name &record, std::int32_t number) {
    return read_name(record, number, region_size_kinds);
}
