// Writing a shop. Not for callers of the library.
#pragma once

#include <list>

#include "tools/shop/plan.h"

/// An indexed file of the shop: its definition texts, with that of the file first, and its records.
struct IndexedFile {
    std::string name;
    std::vector<const char *> definition;
    std::size_t record;     ///< bytes of a record
    std::string_view live;  ///< the records
    std::string data;       ///< the data half: the records, deleted ones between them
};

/// All indexed files of the shop with their data halves. The records themselves stay in the shop.
std::list<IndexedFile> indexed_files(const Shop &shop);

/// Makes the index half of a file whose data half is in the directory.
bool write_index(const std::string &directory, const IndexedFile &file, std::string &why);

/// Damages a finished pair as asked for.
bool damage_index(const std::string &directory, const IndexedFile &file, index_damage damage,
                  std::string &why);
