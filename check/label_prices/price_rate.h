// The arithmetic between the price on a label and the price that its goods were bought for.
//
// A rate is the price of one unit of a currency in the home currency. All prices are whole numbers in the
// smallest unit of their currency, factors are in ten-thousandths.
#pragma once

#include <cstdint>

/// Currencies with which a price is worked out.
struct price_units {
    bool whole = false;         ///< the set's currency has no decimals
    bool home_whole = false;    ///< the home currency has none, by the currency table
    bool labels_whole = false;  ///< amounts in home currency have none, by the settings of the process
};

/// A rate as it is on file; 0 when its value or its unit is 0.
double rate_on_file(std::uint32_t value, std::uint16_t unit);

/// The shortest decimal among the rates at which a purchase price gives a label's price. Prices below 1 count
/// as 1, and a factor of 0 counts as 1.0.
double rate_between(std::int32_t label_price, std::int32_t purchase_price, std::uint32_t factor,
                    const price_units &units);

/// The purchase price of a label's price at a rate, which may not be 0; at least 1.
std::int32_t purchase_price(std::int32_t label_price, std::uint32_t factor, double rate,
                            const price_units &units);
