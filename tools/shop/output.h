// What is written of a shop. Not for the callers of the library.
#pragma once

#include <list>

#include "tools/shop/plan.h"

/// An indexed file of the shop: its definition texts, that of the file first, and its records.
struct IndexedFile {
    std::string name;
    std::vector<const char *> definition;
    std::size_t record;     ///< bytes of a record
    std::string_view live;  ///< the records
    std::string data;       ///< the data half: the records, deleted ones between them
};

/// All indexed files of the shop, data halves and all. The records stay in the shop.
std::list<IndexedFile> indexed_files(const Shop &shop);
