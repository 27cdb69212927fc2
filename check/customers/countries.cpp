// The check that every customer has a country that is in the system's table. A customer without one gets it
// from the postcode, or else gets the default country, during the walk; those who still have none are listed.
#include <algorithm>
#include <array>

#include "check/customers/customers.h"
#include "check/frame/columns.h"
#include "data/data.h"

namespace {

constexpr std::size_t code_length = sizeof CustomerRecord::country;
constexpr char dutch[] = "NLD";

struct CountryError {
    little_uint32_t customer;
    char code[code_length];  // empty
    std::uint8_t unused_7;
};
static_assert(sizeof(CountryError) == 8);

constexpr report_column<CountryError> columns[] = {
    {nullptr, "%s",
     [](const CountryError &) { return text_cell("%11.11s ", detail_text(22, 40, "Klantnummer")); }},
    {nullptr, "%s",
     [](const CountryError &error) { return number_cell("%7ld   ", static_cast<long>(error.customer)); }},
    {nullptr, "%s", [](const CountryError &) { return text_cell("%s", country_findings()[0].text()); }},
};

/// Four digits and two capitals, with or without a blank between them.
bool is_dutch(const char (&postcode)[7]) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    const auto capital = [](char c) { return c >= 'A' && c <= 'Z'; };
    constexpr int digits = 4;
    if (!std::all_of(postcode, postcode + digits, digit)) {
        return false;
    }
    if (postcode[digits] == ' ') {
        return capital(postcode[5]) && capital(postcode[6]);
    }
    return capital(postcode[4]) && capital(postcode[5]) && (postcode[6] == '\0' || postcode[6] == ' ');
}

class country_check final : public chk_check {
public:
    country_check()
        : chk_check({.flag = &ok_countries,
                     .date = &SysRow19::countries,
                     .shows_date = false,
                     .repairs = false,
                     .report_time = chk_report_time::as_needed,
                     .refusal = {.keeps_flag = true, .keeps_date = true}}) {}

    const char *status() const override {
        return chk_name(phrase_check_countries);
    }
    const char *title() const override {
        return chk_name(errors.empty() ? phrase_check_countries : phrase_customers);
    }
    void open() override {
        file = pair_open("RVKLT", ix_shared, sizeof(CustomerRecord));
        errors.open();
        for (std::int32_t number = 1; number <= region_countries.highest; number++) {
            CountryRecord &country = table[static_cast<std::size_t>(number) - 1];
            country = {};
            iotab(tab_action::read, number, country, region_countries);
        }
    }
    bool walk() override {
        return each_customer(
            file, chk_name(phrase_check_countries),
            [this](CustomerRecord &customer, std::int32_t place) { check(customer, place); });
    }
    bool has_errors() override {
        return !errors.empty();
    }
    void report() override {
        errors.for_each([](const CountryError &error) {
            chk_room(2);
            print_line<CountryError>(columns, error);
        });
    }
    void close() override {
        IXCLOSE(file);
        errors.close();
    }

private:
    bool is_known(const char *code) const;
    void check(CustomerRecord &customer, std::int32_t place);
    void list(std::uint32_t customer);

    ICB *file = nullptr;  ///< RVKLT
    error_list<CountryError> errors{
        "kltlchk", {{"key-1", false, {{'I', 0, 4}}}, {"key-2", true, {{'C', 4, code_length}}}}};
    std::array<CountryRecord, region_countries.highest> table{};
};

/// An empty code is not a country, and an empty record of the table does not name one.
bool country_check::is_known(const char *code) const {
    return code[0] != '\0' && std::any_of(table.begin(), table.end(), [&](const CountryRecord &country) {
               return std::memcmp(country.code, code, code_length) == 0;
           });
}

void country_check::list(std::uint32_t customer) {
    CountryError error{};
    error.customer = customer;
    errors.add(error);
    if (chk_is_heard()) {
        chk_found(country_findings()[0], "RVKLT", {field_of("customer", std::int64_t{customer})});
    }
}

void country_check::check(CustomerRecord &customer, std::int32_t place) {
    if (is_known(customer.country) || !customer_lock_at(file, place, customer)) {
        return;
    }
    if (is_known(customer.country)) {
        IXFREE(file, &customer);
        return;
    }
    const bool by_postcode = is_dutch(customer.postcode);
    if (!by_postcode) {
        std::memcpy(customer.country, sys_country.default_country, code_length);
    } else if (is_known(dutch)) {
        std::memcpy(customer.country, dutch, code_length);
    } else {
        std::memset(customer.country, 0, code_length);
        list(customer.number);
    }
    IXREWRITE(file, &customer);
}

}  // namespace

void chk_countries() {
    country_check check;
    chk_perform(check);
}
