// The check that every title code of a customer has its text in the system file.
#include <array>

#include "check/customers/customers.h"
#include "check/frame/old_course.h"
#include "report/report.h"

namespace {

constexpr int highest_title = region_titles.highest;

struct TitleError {
    little_uint32_t customer;
    little_uint32_t code;
};
static_assert(sizeof(TitleError) == 8);

error_list<TitleError> errors("klttchk", {{"key-1", false, {{'I', 0, 4}}}, {"key-2", true, {{'I', 4, 4}}}});
ICB *file = nullptr;
std::array<bool, highest_title + 1> known;

void open_all() {
    file = pair_open("RVKLT", ix_shared, sizeof(CustomerRecord));
    errors.open();
    known = {true};  // code 0: no title
    for (std::int32_t code = 1; code <= highest_title; code++) {
        TitleRecord title{};
        known[static_cast<std::size_t>(code)] = iotab(tab_action::read, code, title, region_titles) != 0;
    }
}

void close_all() {
    IXCLOSE(file);
    errors.close();
}

void check_title(CustomerRecord &customer, std::int32_t place) {
    const auto sound = [&] { return customer.title <= highest_title && known[customer.title]; };
    if (sound() || !customer_lock_at(file, place, customer)) {
        return;
    }
    if (customer.title > highest_title) {
        customer.title = 0;
        IXREWRITE(file, &customer);
        return;
    }
    IXFREE(file, &customer);
    if (!sound()) {
        TitleError error{};
        error.customer = customer.number;
        error.code = customer.title;
        errors.add(error);
    }
}

bool walk() {
    return each_customer(file, chk_name(phrase_check_titles), check_title);
}

/// Tells the operator before the report that the shop has to mend this, in one of two ways.
void tell_what_to_do() {
    op_tell(op_notice::titles_unknown,
            {detail_text(22, 32, "Er zijn klanten aangetroffen met een titulatuurcode zonder omschrijving."),
             detail_text(22, 33, "Hiervan wordt nu een verslag afgedrukt."),
             detail_text(22, 34, "U kunt de titulatuurcodes bij deze klanten wijzigen of de omschrijving"),
             detail_text(22, 35, "toevoegen via Klantenadministratie / Definieren titulatuurcodes.")});
}

void print_heads(bool) {
    chk_dashes();
    prt_printf("%7.7s   %s", detail_text(22, 3, "klantnr"), detail_text(22, 30, "titulatuurcode"));
    prt_newline();
    chk_dashes();
}

void print_errors() {
    errors.for_each([](const TitleError &error) {
        chk_room(2);
        prt_printf("%7ld   ", static_cast<long>(error.customer));
        prt_printf("%2d  %s", static_cast<int>(error.code),
                   detail_text(22, 31, "omschrijving niet gedefinieerd"));
        prt_newline();
    });
}

const chk_course course{
    .status = [] { return chk_name(phrase_check_titles); },
    .title = [] { return chk_name(errors.empty() ? phrase_check_titles : phrase_customers); },
    .flag = &ok_titles,
    .date = &SysRow19::titles,
    .shows_date = false,
    .report_time = chk_report_time::as_needed,
    .refusal = {.keeps_flag = true, .keeps_date = true},
    .open = open_all,
    .walk = walk,
    .has_errors = [] { return !errors.empty(); },
    .mend = tell_what_to_do,
    .heads = print_heads,
    .report = print_errors,
    .close = close_all,
};

}  // namespace

void chk_titles() {
    chk_perform(course);
}
