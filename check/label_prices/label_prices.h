// The prices of the labels. Every label must find a purchase price for its size, in the set of its supplier
// that is valid on the day the label was made. One that finds none gets the purchase price that its own price
// amounts to:
//
//   1  in the set, when only its size is missing there, at the rate of a label that came with it
//   2  in a set of that one day, when there is no set, at the rate of its supplier or its day
//
// What was missing is reported, without a question: the labels show what prices there were.
//
// It writes only during the walk: sets and their blocks with row 9, and a label without a price of its own,
// which gets the lowest one.
#pragma once

#include <vector>

#include "check/frame/error_list.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/label_prices/price_rate.h"
#include "data/data.h"

/// A label and where it stands.
struct label_place {
    std::int32_t number = 0;
    eti_rec rec;
};

/// The first label of its size among those that came together. Key 1: all fields up to `size`.
struct Arrival {
    little_uint16_t supplier;  // 0
    little_uint16_t date_in;   // 2
    little_uint16_t moved;     // 4  0 for a label on order
    std::uint8_t on_order;     // 6
    std::uint8_t size;         // 7
    little_int32_t turn;       // 8  place in the chain, among the labels listed
    little_int32_t number;     // 12
};
static_assert(sizeof(Arrival) == 16);

/// The search for a label that came with another one.
class companion_search {
public:
    companion_search();
    /// Called before the labels of each series, and at the end of the check.
    void begin();
    void close();
    /// The first label of the series that came with this one and whose size has a price in the set; false
    /// when there is none. The label file stays at the label it was at.
    bool find(const SeriesRecord &series, const label_place &label, const PriceSetRecord &set,
              eti_rec &other);

private:
    bool walk_to_companion(const SeriesRecord &series, const eti_rec &label, const PriceSetRecord &set,
                           eti_rec &other);
    void list_labels(const SeriesRecord &series);
    bool look_up_companion(const eti_rec &label, const PriceSetRecord &set, eti_rec &other);

    error_list<Arrival> arrivals;
    std::uint32_t walked = 0;  ///< labels walked in this series
    bool listed = false;       ///< those of this series are in `arrivals`
};

/// Rates and currencies for the prices of labels.
class label_rates {
public:
    /// Reads the currencies, and forgets what was kept.
    void open();
    /// The supplier of a number; all zero when there is none. Valid until the next call.
    const SupplierRecord &supplier_of(std::uint16_t number);
    /// The purchase price of a label in the currency and by the factor of `set`, at the rate of its supplier
    /// or of its day.
    std::int32_t price_by_day(const eti_rec &label, const PriceSetRecord &set);
    /// The same at the rate that another label was priced with, whose purchase price is known.
    std::int32_t price_by_other(const eti_rec &label, const eti_rec &other, std::int32_t bought_for,
                                const PriceSetRecord &set);

private:
    using currency_code = char[3];
    bool has_no_decimals(const currency_code &code) const;
    price_units units_of(const PriceSetRecord &set) const;
    double rate_of_day(const currency_code &currency, day_number day);
    double rate_of_label(const eti_rec &label, const currency_code &currency);
    double usable(double rate, const currency_code &currency);

    std::vector<CurrencyRecord> currencies;
    SupplierRecord supplier{};
    RateRecord asked{};  ///< the currency and day of the last rate from RVKOERS
    double rate = 0.0;
};

/// A set in which labels were given prices. Key 1: series, supplier, end date.
struct LabelPrice {
    SeriesKey key;             // 0
    little_uint16_t supplier;  // 8
    little_uint16_t end_date;  // 10
    SizeBitmap sizes;          // 12  sizes that got a price
    std::uint8_t size_kind;    // 24
    std::uint8_t unused_25[3];
};
static_assert(sizeof(LabelPrice) == 28);
static_assert(offsetof(LabelPrice, sizes) == 12 && offsetof(LabelPrice, size_kind) == 24);

/// The table of what this check can find.
std::span<const finding_kind> label_price_findings();

/// Stores the price set that a program was replacing when it died, if its series exists.
void finish_left_put();

class label_price_check final : public chk_check {
public:
    label_price_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !prices.empty();
    }
    void heads(bool first_page) override;
    void report() override;
    void close() override;

private:
    void walk_labels(const SeriesRecord &series);
    void give_price(const SeriesRecord &series, const label_place &label, bool has_set, PriceSetRecord set);
    /// A set without prices for the day of the label.
    PriceSetRecord set_of_day(const SeriesRecord &series, const eti_rec &label);
    void note(const PriceSetRecord &set, const label_place &label);

    error_list<LabelPrice> prices;
    companion_search companions;
    label_rates rates;
};
