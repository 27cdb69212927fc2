// The check that every customer has a country that is in the system's table. A customer without one gets it
// from the postcode, or else gets the default country; those who still have none are listed.
#include <algorithm>
#include <array>

#include "check/customers/customers.h"
#include "check/frame/old_course.h"
#include "report/report.h"

namespace {

constexpr std::size_t code_length = sizeof CustomerRecord::country;
constexpr char dutch[] = "NLD";

struct CountryError {
    little_uint32_t customer;
    char code[code_length];  // empty
    std::uint8_t unused_7;
};
static_assert(sizeof(CountryError) == 8);

error_list<CountryError> errors("kltlchk",
                                {{"key-1", false, {{'I', 0, 4}}}, {"key-2", true, {{'C', 4, code_length}}}});
ICB *file = nullptr;
std::array<CountryRecord, region_countries.highest> table;

void open_all() {
    file = pair_open("RVKLT", ix_shared, sizeof(CustomerRecord));
    errors.open();
    for (std::int32_t number = 1; number <= region_countries.highest; number++) {
        CountryRecord &country = table[static_cast<std::size_t>(number) - 1];
        country = {};
        iotab(tab_action::read, number, country, region_countries);
    }
}

void close_all() {
    IXCLOSE(file);
    errors.close();
}

/// An empty code is not a country, and an empty record of the table does not name one.
bool is_known(const char *code) {
    return code[0] != '\0' && std::any_of(table.begin(), table.end(), [&](const CountryRecord &country) {
               return std::memcmp(country.code, code, code_length) == 0;
           });
}

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

void add_error(std::uint32_t customer) {
    CountryError error{};
    error.customer = customer;
    errors.add(error);
}

void check_country(CustomerRecord &customer, std::int32_t place) {
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
        add_error(customer.number);
    }
    IXREWRITE(file, &customer);
}

bool walk() {
    return each_customer(file, chk_name(phrase_check_countries), check_country);
}

void print_errors() {
    errors.for_each([](const CountryError &error) {
        chk_room(2);
        prt_printf("%11.11s ", detail_text(22, 40, "Klantnummer"));
        prt_printf("%7ld   ", static_cast<long>(error.customer));
        prt_printf("%s", detail_text(22, 41, "bevat geen geldige landcode; landcode toekennen aan klant."));
        prt_newline();
    });
}

const chk_course course{
    .status = [] { return chk_name(phrase_check_countries); },
    .title = [] { return chk_name(errors.empty() ? phrase_check_countries : phrase_customers); },
    .flag = &ok_countries,
    .date = &SysRow19::countries,
    .shows_date = false,
    .report_time = chk_report_time::as_needed,
    .refusal = {.keeps_flag = true, .keeps_date = true},
    .open = open_all,
    .walk = walk,
    .has_errors = [] { return !errors.empty(); },
    .report = print_errors,
    .close = close_all,
};

}  // namespace

void chk_countries() {
    chk_perform(course);
}
