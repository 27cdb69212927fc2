// EAN codes of the sizes of series: reading them, making instore codes, passing changes to the tills.
#pragma once

#include <string>
#include <string_view>

#include "data/eanfile.h"
#include "data/seriesfile.h"
#include "store/store.h"

inline constexpr char ean_file_name[] = "RVEAN";
inline constexpr char ean_of_series = 'M';
inline constexpr char ean_of_article = 'A';

/// Reads a code, cut at 13 characters. One of 13 that begins with "0" is also looked for without the "0".
bool ean_read_code(ICB *file, EanRecord &record, std::string_view code);
/// Reads the code of a size, on key 2 whatever key is current. After a failure `record` holds the key.
bool ean_read_series(ICB *file, EanRecord &record, const SeriesKey &key, std::uint8_t size);

/// The characters of a code, without the zeros after it.
std::string ean_text(const EanRecord &record);
/// True for 8, 12 or 13 digits with a correct check digit, but not for a label number of this shop.
bool ean_valid(std::string_view code);
/// The shop's own code for a number of the generator, 1 to 99999999.
std::string ean_instore(std::uint32_t number);

/// Gives an instore code, in sequence order, to each of these sizes of a series that has none yet. For a
/// series registered by size the tills are told. The label file must be open.
void ean_generate(ICB *file, const SeriesRecord &series, const SizeBitmap &sizes);
/// Tells the tills about the code of a size, if the shop keeps a list of tills: by a line in KASMUT.TXT and a
/// record in the file of each branch that has tills. A code that is no longer in RVEAN is removed from these
/// files.
void ean_tell_tills(ICB *file, const SeriesRecord &series, const EanRecord &code);
