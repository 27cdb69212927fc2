// The check that every title code of a customer has its text in the system file. A code above the highest
// becomes 0 during the walk; the others are for the shop to mend.
#include <array>

#include "check/customers/customers.h"
#include "check/frame/columns.h"
#include "data/data.h"

namespace {

constexpr int highest_title = region_titles.highest;

struct TitleError {
    little_uint32_t customer;
    little_uint32_t code;
};
static_assert(sizeof(TitleError) == 8);

constexpr report_column<TitleError> columns[] = {
    {[] { return detail_text(22, 3, "klantnr"); }, "%7.7s   ",
     [](const TitleError &error) { return number_cell("%7ld   ", static_cast<long>(error.customer)); }},
    {[] { return detail_text(22, 30, "titulatuurcode"); }, "%s",
     [](const TitleError &error) { return number_cell("%2ld  ", static_cast<long>(error.code)); }},
    {nullptr, "%s", [](const TitleError &) { return text_cell("%s", title_findings()[0].text()); }},
};

/// Tells the operator before the report that the shop has to mend this, in one of two ways.
void tell_what_to_do() {
    op_tell(op_notice::titles_unknown,
            {detail_text(22, 32, "Er zijn klanten aangetroffen met een titulatuurcode zonder omschrijving."),
             detail_text(22, 33, "Hiervan wordt nu een verslag afgedrukt."),
             detail_text(22, 34, "U kunt de titulatuurcodes bij deze klanten wijzigen of de omschrijving"),
             detail_text(22, 35, "toevoegen via Klantenadministratie / Definieren titulatuurcodes.")});
}

class title_check final : public chk_check {
public:
    title_check()
        : chk_check({.flag = &ok_titles,
                     .date = &SysRow19::titles,
                     .shows_date = false,
                     .repairs = false,
                     .report_time = chk_report_time::as_needed,
                     .refusal = {.keeps_flag = true, .keeps_date = true}}) {}

    const char *status() const override {
        return chk_name(phrase_check_titles);
    }
    const char *title() const override {
        return chk_name(errors.empty() ? phrase_check_titles : phrase_customers);
    }
    void open() override {
        file = pair_open("RVKLT", ix_shared, sizeof(CustomerRecord));
        errors.open();
        known = {true};  // code 0: no title
        for (std::int32_t code = 1; code <= highest_title; code++) {
            TitleRecord text{};
            known[static_cast<std::size_t>(code)] = iotab(tab_action::read, code, text, region_titles) != 0;
        }
    }
    bool walk() override {
        return each_customer(
            file, chk_name(phrase_check_titles),
            [this](CustomerRecord &customer, std::int32_t place) { check(customer, place); });
    }
    bool has_errors() override {
        return !errors.empty();
    }
    void mend() override {
        tell_what_to_do();
    }
    void heads(bool) override {
        chk_dashes();
        print_headings<TitleError>(columns);
        chk_dashes();
    }
    void report() override {
        errors.for_each([](const TitleError &error) {
            chk_room(2);
            print_line<TitleError>(columns, error);
        });
    }
    void close() override {
        IXCLOSE(file);
        errors.close();
    }

private:
    void check(CustomerRecord &customer, std::int32_t place) {
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
            list(customer);
        }
    }
    void list(const CustomerRecord &customer) {
        TitleError error{};
        error.customer = customer.number;
        error.code = customer.title;
        errors.add(error);
        if (chk_is_heard()) {
            chk_found(title_findings()[0], "RVKLT",
                      {field_of("customer", std::int64_t{customer.number}),
                       field_of("title", std::int64_t{customer.title})});
        }
    }

    ICB *file = nullptr;  ///< RVKLT
    error_list<TitleError> errors{"klttchk",
                                  {{"key-1", false, {{'I', 0, 4}}}, {"key-2", true, {{'I', 4, 4}}}}};
    std::array<bool, highest_title + 1> known{};
};

}  // namespace

void chk_titles() {
    title_check check;
    chk_perform(check);
}
