// Rates and currencies for the prices of labels.
#include <cstdlib>
#include <cstring>

#include "check/label_prices/label_prices.h"

namespace {

constexpr int currency_parts = 1;
constexpr double no_rate = 1.0;

/// The rate of a day, or else the last one before it. A record without a unit does not count; one without a
/// value says that its day has no rate, and gives 0.
double read_rate(const char (&currency)[3], day_number day) {
    const key_switch key(chk_files.rvkoers, 1);
    RateRecord record{};
    std::memcpy(record.currency, currency, sizeof record.currency);
    record.date = day;
    const RateRecord wanted = record;
    bool found = IXREAD(chk_files.rvkoers, &record);
    if (!found) {
        record = wanted;
        found = IXPREVR(chk_files.rvkoers, &record, currency_parts);
    }
    std::int32_t left = chk_files.rvkoers->nrecs;  // a damaged index can lead in a circle
    while (found && left-- > 0) {
        if (record.unit != 0) {
            return rate_on_file(record.rate, record.unit);
        }
        found = IXPREVR(chk_files.rvkoers, &record, currency_parts);
    }
    return no_rate;
}

}  // namespace

/// A currency that is not in the table has decimals, as most have.
bool label_rates::has_no_decimals(const currency_code &code) const {
    for (const CurrencyRecord &currency : currencies) {
        if (std::memcmp(currency.code, code, sizeof code) == 0) {
            return currency.decimals == 0;
        }
    }
    return false;
}

price_units label_rates::units_of(const PriceSetRecord &set) const {
    return {.whole = has_no_decimals(set.currency),
            .home_whole = has_no_decimals(sys_country.home_currency),
            .labels_whole = std::getenv("KPOS") != nullptr};
}

/// Keeps the last rate, since labels of a series often have the same day.
double label_rates::rate_of_day(const currency_code &currency, day_number day) {
    if (rate <= 0 || asked.date != day || std::memcmp(asked.currency, currency, sizeof currency) != 0) {
        rate = read_rate(currency, day);
        asked.date = day;
        std::memcpy(asked.currency, currency, sizeof currency);
    }
    return rate;
}

/// The fixed rate of the label's supplier when it is for this currency, otherwise that of the label's day.
double label_rates::rate_of_label(const eti_rec &label, const currency_code &currency) {
    supplier_of(label.supplier);
    if (std::memcmp(supplier.currency, currency, sizeof currency) == 0) {
        const double fixed = rate_on_file(supplier.rate, supplier.rate_unit);
        if (fixed > 0) {
            return fixed;
        }
    }
    return rate_of_day(currency, label.status == label_ordered ? label.date_in : label.date_moved);
}

/// Today's rate in place of a rate of 0.
double label_rates::usable(double found, const currency_code &currency) {
    if (found == 0.0) {
        found = rate_of_day(currency, date_today());
    }
    return found == 0.0 ? no_rate : found;
}

void label_rates::open() {
    currencies.clear();
    supplier = {};
    asked = {};
    rate = 0.0;
    CurrencyRecord currency{};
    for (std::int32_t number = 1; iotab(tab_action::read, number, currency, region_currencies) != 0;
         number++) {
        currencies.push_back(currency);
    }
}

const SupplierRecord &label_rates::supplier_of(std::uint16_t number) {
    lev_read(chk_files.rvlev, supplier, number);
    return supplier;
}

std::int32_t label_rates::price_by_day(const eti_rec &label, const PriceSetRecord &set) {
    const double usual = usable(rate_of_label(label, set.currency), set.currency);
    return purchase_price(label.price, set.factor, usual, units_of(set));
}

std::int32_t label_rates::price_by_other(const eti_rec &label, const eti_rec &other, std::int32_t bought_for,
                                         const PriceSetRecord &set) {
    const price_units units = units_of(set);
    const double usual = usable(rate_between(other.price, bought_for, set.factor, units), set.currency);
    return purchase_price(label.price, set.factor, usual, units);
}
