#include "check/label_prices/price_rate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr double ten_thousand = 10000.0;

double factor_of(std::uint32_t factor) {
    return factor == 0 ? 1.0 : factor / ten_thousand;
}

/// With ten decimals, and zeros in front to at least `width` characters.
std::string digits_of(double number, int width) {
    char text[340];
    const int length = std::snprintf(text, sizeof text, "%0*.10f", width, number);
    return {text, static_cast<std::size_t>(length)};
}

/// The decimal between two others that has the fewest digits after the point.
double shortest_between(double low, double high) {
    constexpr int usual_width = 15;
    const std::string upper = digits_of(high, usual_width);
    const std::string lower = digits_of(low, static_cast<int>(upper.size()));
    const std::size_t point = upper.find('.');
    std::string text;
    for (std::size_t i = 0; i < upper.size(); i++) {
        if (upper[i] == lower[i]) {
            text += upper[i];
            continue;
        }
        const int between = (lower[i] - '0' + (upper[i] - '0') + 1) / 2;
        text += static_cast<char>('0' + between);
        if (i < point) {
            text.append(point - i - 1, '0');
        }
        break;
    }
    return std::strtod(text.c_str(), nullptr);
}

}  // namespace

double rate_on_file(std::uint32_t value, std::uint16_t unit) {
    return value == 0 || unit == 0 ? 0.0 : value / (unit * ten_thousand);
}

double rate_between(std::int32_t label_price, std::int32_t purchase_price, std::uint32_t factor,
                    const price_units &units) {
    const double label = std::max(label_price, 1) * (units.labels_whole ? 100.0 : 1.0);
    const double purchase = std::max(purchase_price, 1) * (units.whole ? 100.0 : 1.0);
    const double divisor = purchase * factor_of(factor);
    return shortest_between((label - 0.5) / divisor, (label + 0.5) / divisor);
}

std::int32_t purchase_price(std::int32_t label_price, std::uint32_t factor, double rate,
                            const price_units &units) {
    // The highest number stands for a price of 0 elsewhere.
    constexpr double highest = 2147483646.0;
    double price = label_price / (factor_of(factor) * rate);
    if (units.whole != units.home_whole) {
        price *= units.home_whole ? 100 : 0.01;
    }
    return static_cast<std::int32_t>(std::round(std::clamp(price, 1.0, highest)));
}
