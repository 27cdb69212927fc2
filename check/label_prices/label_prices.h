// Prices for labels that have none: what the walk shares with the calculation of a price.
#pragma once

#include "data/data.h"

/// A label and where it stands.
struct label_place {
    std::int32_t number = 0;
    eti_rec rec;
};

/// The first label of the series that came with this one and whose size has a price in the set; false when
/// there is none. The label file stays at the label it was at.
bool companion_find(const SeriesRecord &series, const label_place &label, const PriceSetRecord &set,
                    eti_rec &other);
/// Called before the labels of each series, and at the end of the check.
void companion_begin();
void companion_end();

/// Reads what is needed to calculate the rates.
void label_rates_open();
/// The supplier of a number; all zero when there is none. Valid until the next call.
const SupplierRecord &label_supplier(std::uint16_t number);
/// The purchase price of a label in the currency and by the factor of `set`, at the rate of its supplier or
/// of its day.
std::int32_t label_price_by_day(const eti_rec &label, const PriceSetRecord &set);
/// The same at the rate that another label was priced with, whose purchase price is known.
std::int32_t label_price_by_other(const eti_rec &label, const eti_rec &other, std::int32_t bought_for,
                                  const PriceSetRecord &set);
