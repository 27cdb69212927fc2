// Seasons, and the small helpers that all parts of a shop use.
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "tools/shop/plan.h"

namespace {

constexpr int days_back = 1500;  ///< age of the oldest season that still has goods
constexpr int days_ahead = 90;   ///< how early the goods of a season are ordered
constexpr int first_year = 1980;

}  // namespace

void plan_calendar(ShopPlan &plan) {
    char text[9];
    date_to_str(text, plan.shop.today, true);
    const int this_year =
        (text[4] - '0') * 1000 + (text[5] - '0') * 100 + (text[6] - '0') * 10 + text[7] - '0';
    struct Start {
        char letter;
        const char *day;
    };
    constexpr Start starts[] = {{'Z', "0102"}, {'W', "0108"}, {'K', "0111"}};
    for (int year = this_year - 5; year <= this_year + 1; year++) {
        for (const Start &start : starts) {
            const day_number day = date_from_str(text_of("%s%04d", start.day, year).c_str());
            if (year >= first_year && day + days_back >= plan.shop.today &&
                day <= plan.shop.today + days_ahead) {
                plan.seasons.push_back({year, start.letter, day});
            }
        }
    }
}

std::string text_of(const char *format, ...) {
    char buffer[256];
    va_list arguments;
    va_start(arguments, format);
    const int n = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return {buffer, static_cast<std::size_t>(n < 0 ? 0 : n < 255 ? n : 255)};
}

char ean_check_digit(std::string_view digits) {
    int sum = 0;
    int weight = 3;
    for (std::size_t i = digits.size(); i-- > 0;) {
        sum += (digits[i] - '0') * weight;
        weight = 4 - weight;
    }
    return static_cast<char>('0' + (10 - sum % 10) % 10);
}

int currency_decimals(const Shop &shop, std::string_view code) {
    for (const CurrencyRecord &currency : shop.currencies) {
        if (std::string_view(currency.code, 3) == code) {
            return currency.decimals;
        }
    }
    return 2;
}

double rate_on(const Shop &shop, const std::string &currency, day_number date) {
    double rate = 1.0;
    for (const RateRecord &record : shop.rates) {
        if (std::string_view(record.currency, 3) == currency && record.date <= date) {
            rate = record.rate / (record.unit * 10000.0);
        }
    }
    return rate;
}

std::uint32_t home_amount(const Shop &shop, std::int64_t euro_cents) {
    // Forty francs to the euro, rounded to fives.
    const std::int64_t amount = shop.options.no_decimals ? (euro_cents * 2 / 25 + 1) * 5 : euro_cents;
    return static_cast<std::uint32_t>(amount < 1 ? 1 : amount);
}
