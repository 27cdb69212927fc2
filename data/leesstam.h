// One way to read a record of a reference file by its number.
//
// A record that is already in the buffer is not read again. So going through the series costs one read for
// each change of brand, not one for each series. The buffer must start zeroed and be used for one file only.
#pragma once

#include "data/customerfile.h"
#include "data/masterfile.h"
#include "data/sysfile.h"

struct ICB;

/// Each returns 1 when `record` has the record of that number: at once when it had it already (not for number
/// 0), else after a read, on key 1 whatever key is current. 0 when there is none; the record is then all
/// zero.
int art_read(ICB *file, ArticleGroupRecord &record, std::uint32_t number);
int merk_read(ICB *file, BrandRecord &record, std::uint16_t number);
int lev_read(ICB *file, SupplierRecord &record, std::uint16_t number);
int klant_read(ICB *file, CustomerRecord &record, std::uint32_t number);

/// A name of one of the tables of the system file, with its number.
struct numbered_name {
    std::int32_t number = 0;
    NameRecord name{};
};
/// The same for the names of colours and of size kinds (list B). An empty name is no record.
int colour_read(numbered_name &record, std::int32_t number);
int list_b_read(numbered_name &record, std::int32_t number);
