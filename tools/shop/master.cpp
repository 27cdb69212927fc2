// Reference data: sizes, colours, groups, suppliers, brands, currencies, countries, staff, small articles.
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "tools/shop/names.h"
#include "tools/shop/plan.h"

namespace {

constexpr std::uint8_t own_system = 1;
constexpr std::uint8_t english_system = 2;
constexpr int session_highest = 57;

std::vector<std::string> words(const char *text) {
    std::istringstream stream(text);
    std::vector<std::string> result;
    for (std::string word; stream >> word;) {
        result.push_back(word);
    }
    return result;
}

/// Gives sizes in sequence order an index: their place or, when half sizes came later, whole sizes first.
std::vector<std::uint8_t> size_indexes(const std::vector<std::string> &codes, bool halves_later) {
    std::vector<std::uint8_t> indexes(codes.size());
    std::uint8_t next = 1;
    for (const bool halves : {false, true}) {
        for (std::size_t i = 0; i < codes.size(); i++) {
            if ((halves_later && codes[i].back() == '+') == halves) {
                indexes[i] = next++;
            }
        }
    }
    return indexes;
}

void make_size_kind(ShopPlan &plan, const SizeKindName &name, Random &random) {
    Shop &shop = plan.shop;
    const std::vector<std::string> codes = words(name.codes);
    const std::vector<std::uint8_t> indexes = size_indexes(codes, name.halves_later);

    SizeKindRecord own{};
    own.system = own_system;
    own.kind = static_cast<std::uint8_t>(name.number);
    own.session = static_cast<std::uint16_t>(random.range(0, session_highest));
    own.changed = static_cast<std::uint16_t>(random.range(0, session_highest));
    for (std::size_t i = 0; i < codes.size(); i++) {
        SizeEntry &entry = own.entries[indexes[i]];
        put_text(entry.code, codes[i], ' ');
        entry.link = static_cast<std::uint8_t>(i + 1);
        if (codes[i].back() == '+' || codes[i].back() == 'L') {
            own.described.set(indexes[i]);
            SizeNameRecord described{own_system, own.kind, indexes[i], {}};
            put_text(described.text,
                     codes[i].back() == '+' ? codes[i].substr(0, 2) + " half" : "maat " + codes[i]);
            shop.size_names.push_back(described);
        }
    }
    shop.size_kinds.push_back(own);

    if (name.english != nullptr) {
        const std::vector<std::string> foreign = words(name.english);
        SizeKindRecord english{};
        english.system = english_system;
        english.kind = own.kind;
        english.session = own.session;
        english.changed = own.changed;
        for (std::size_t i = 0; i < foreign.size() && i < codes.size(); i++) {
            put_text(english.entries[i + 1].code, foreign[i], ' ');
            english.entries[i + 1].link = indexes[i];
        }
        shop.size_kinds.push_back(english);
    }
    put_text(shop.size_kind_names[static_cast<std::size_t>(name.number - 1)].text, name.name);
    plan.size_kinds.push_back({name.number, indexes});
}

void make_groups(ShopPlan &plan, Random &random) {
    for (const TurnoverName &name : turnover_names) {
        TurnoverGroupRecord record{};
        record.number = static_cast<std::uint16_t>(name.number);
        put_text(record.description, name.name);
        record.vat = static_cast<std::uint8_t>(name.vat);
        put_carried(record.carried_18, random);
        plan.shop.turnover_groups.push_back(record);
    }
    for (const GroupName &name : group_names) {
        ArticleGroupRecord record{};
        record.number = static_cast<std::uint32_t>(name.number);
        put_text(record.description, name.name);
        record.turnover = static_cast<std::uint16_t>(name.turnover);
        record.vat = static_cast<std::uint8_t>(name.vat);
        put_carried(record.carried_34, random);
        record.session = static_cast<std::uint16_t>(random.range(0, session_highest));
        record.changed = static_cast<std::uint16_t>(random.range(0, session_highest));
        record.label_kind = static_cast<std::uint8_t>(name.target);
        record.option = name.target == 6 ? 1 : 0;
        plan.shop.groups.push_back(record);
        plan.groups.push_back({name.number, name.size_kind, name.price_low, name.price_high, name.target,
                               name.vat, name.models});
    }
}

void make_money(ShopPlan &plan, Random &random) {
    struct Money {
        const char *code;
        int decimals;
        const char *name;
        double euros;  ///< price of one
        int unit;
    };
    constexpr Money money[] = {
        {"EUR", 2, "euro", 1.0, 1},
        {"USD", 2, "US dollar", 0.7412, 1},
        {"GBP", 2, "pond sterling", 1.1904, 1},
        {"CHF", 2, "Zwitserse frank", 0.8103, 1},
        {"DKK", 2, "Deense kroon", 0.1341, 100},
        {"SEK", 2, "Zweedse kroon", 0.1128, 100},
        {"JPY", 0, "yen", 0.00731, 100},
        {"BEF", 0, "Belgische frank", 1 / 40.3399, 1},
    };
    Shop &shop = plan.shop;
    const double home_euros = shop.options.no_decimals ? 1 / 40.3399 : 1.0;
    put_text(shop.country.home_currency, shop.options.no_decimals ? "BEF" : "EUR");
    put_text(shop.country.default_country, shop.options.no_decimals ? "BEL" : "NLD");
    for (const Money &one : money) {
        CurrencyRecord currency{};
        put_text(currency.code, one.code);
        currency.decimals = static_cast<std::uint8_t>(one.decimals);
        put_text(currency.name, one.name);
        shop.currencies.push_back(currency);
        if (std::memcmp(one.code, shop.country.home_currency, 3) == 0) {
            continue;
        }
        double value = one.euros / home_euros;
        for (auto day = static_cast<day_number>(plan.shop.today - 1900); day < plan.shop.today;
             day = static_cast<day_number>(day + 30)) {
            RateRecord rate{};
            put_text(rate.currency, one.code);
            rate.rate = static_cast<std::uint32_t>(std::lround(value * one.unit * 10000));
            rate.unit = static_cast<std::uint16_t>(one.unit);
            rate.date = day;
            shop.rates.push_back(rate);
            if (one.euros != 1.0) {
                value *= 1 + random.range(-90, 90) / 10000.0;
            }
        }
    }
}

void make_suppliers(ShopPlan &plan, Random &random) {
    Shop &shop = plan.shop;
    constexpr const char *foreign[] = {"EUR", "USD", "GBP", "CHF", "DKK", "SEK", "JPY"};
    int count = shop.options.series / 10;
    count = count < 4 ? 4 : count > 400 ? 400 : count;
    int brand_count = 0;
    for (int i = 0; i < count; i++) {
        SupplierPlan supplier;
        supplier.number = 101 + i * 7;
        supplier.currency = std::string(shop.country.home_currency, 3);
        if (i % 4 == 3) {
            supplier.currency = random.pick(foreign);
        }
        for (int left = random.range(1, 3); left > 0; left--) {
            const std::size_t name = static_cast<std::size_t>(brand_count) % brand_names.size();
            const std::size_t round = static_cast<std::size_t>(brand_count) / brand_names.size();
            BrandRecord brand{};
            brand.number = static_cast<std::uint16_t>(11 + brand_count * 3);
            std::string text = std::string(brand_names[name]) + brand_endings[round % brand_endings.size()];
            if (round >= brand_endings.size()) {
                text += text_of(" %zu", round / brand_endings.size() + 1);
            }
            put_text(brand.name, text);
            put_carried(brand.carried_32, random);
            brand.size_system = static_cast<std::uint8_t>(random.range(0, 3));
            brand.session = static_cast<std::uint16_t>(random.range(0, session_highest));
            brand.changed = static_cast<std::uint16_t>(random.range(0, session_highest));
            shop.brands.push_back(brand);
            supplier.brands.push_back(brand.number);
            brand_count++;
        }
        const TownName &town = random.pick(town_names);
        SupplierRecord record{};
        record.number = static_cast<std::uint16_t>(supplier.number);
        put_text(record.name, std::string(surnames[static_cast<std::size_t>(i) % surnames.size()]) +
                                  random.pick(supplier_endings));
        put_text(record.street, text_of("%s %d", random.pick(streets), random.range(1, 220)));
        put_text(record.postcode, text_of("%d", town.postcode));
        put_text(record.town, town.town);
        put_carried(record.carried_96, random);
        put_text(record.currency, supplier.currency);
        record.session = static_cast<std::uint16_t>(random.range(0, session_highest));
        record.changed = static_cast<std::uint16_t>(random.range(0, session_highest));
        if (random.chance(60)) {
            record.rate_unit = supplier.currency == "JPY" ? 100 : 1;
            const double today = rate_on(shop, supplier.currency, shop.today);
            record.rate = static_cast<std::uint32_t>(std::lround(today * record.rate_unit * 10000));
        }
        record.factor = static_cast<std::uint32_t>(10000 + 50 * random.range(0, 12));
        record.size_system = static_cast<std::uint8_t>(random.range(0, 3));
        put_carried(record.carried_283, random);
        shop.suppliers.push_back(record);
        plan.suppliers.push_back(supplier);
    }
}

void make_small_articles(Shop &shop, Random &random) {
    for (const SmallArticleName &name : small_article_names) {
        SmallArticleRecord record{};
        record.number = static_cast<std::uint16_t>(name.number);
        put_text(record.description, name.name);
        record.turnover = static_cast<std::uint16_t>(name.turnover);
        record.price = home_amount(shop, name.price);
        put_carried(record.carried_24, random);
        shop.small_articles.push_back(record);
        for (int branch = 0; branch < shop.options.branches && random.chance(40); branch++) {
            record.branch = static_cast<std::uint8_t>(branch + 1);
            shop.small_articles.push_back(record);
        }
    }
}

void make_staff(Shop &shop, Random &random) {
    for (int i = 0; i < 4 + 3 * shop.options.branches; i++) {
        StaffRecord record{};
        record.number = static_cast<std::uint16_t>(1 + i * 2);
        put_text(record.name, random.pick(first_names));
        put_carried(record.carried_23, random);
        shop.staff.push_back(record);
    }
}

void make_tables(Shop &shop) {
    shop.colours.resize(static_cast<std::size_t>(region_colours.highest));
    for (const ColourName &colour : colour_names) {
        put_text(shop.colours[static_cast<std::size_t>(colour.number - 1)].text, colour.name);
    }
    shop.size_systems.resize(static_cast<std::size_t>(region_size_systems.highest));
    constexpr const char *systems[] = {"Europees", "Engels", "Amerikaans"};
    for (std::size_t i = 0; i < std::size(systems); i++) {
        put_text(shop.size_systems[i].text, systems[i]);
    }
    shop.size_kind_names.resize(static_cast<std::size_t>(region_size_kinds.highest));

    shop.titles.resize(static_cast<std::size_t>(region_titles.highest));
    constexpr const char *titles[] = {"mevrouw", "de heer", "familie", "dr.", "drs.", "ir.", "mr.", "firma"};
    for (std::size_t i = 0; i < std::size(titles); i++) {
        put_text(shop.titles[i].text, titles[i]);
    }
    struct Country {
        int dialling;
        const char *code;
        const char *name;
    };
    constexpr Country countries[] = {
        {31, "NLD", "Nederland"}, {32, "BEL", "Belgi\x89"},           {49, "DEU", "Duitsland"},
        {33, "FRA", "Frankrijk"}, {44, "GBR", "Groot-Brittanni\x89"}, {352, "LUX", "Luxemburg"},
    };
    for (const Country &country : countries) {
        CountryRecord record{};
        record.dialling = static_cast<std::uint16_t>(country.dialling);
        put_text(record.code, country.code);
        put_text(record.name, country.name);
        shop.countries.push_back(record);
    }
}

}  // namespace

void plan_master(ShopPlan &plan) {
    Random random = plan.random(stream_master);
    plan.shop.limits.session_limit = session_highest;
    make_tables(plan.shop);
    for (const SizeKindName &name : size_kind_names) {
        make_size_kind(plan, name, random);
    }
    make_groups(plan, random);
    make_money(plan, random);
    make_suppliers(plan, random);
    make_small_articles(plan.shop, random);
    make_staff(plan.shop, random);
}
