// The report of the customer check.
#include "check/customers/customers.h"
#include "check/frame/columns.h"
#include "data/data.h"

namespace {

report_cell label_cell(const CustomerError &error) {
    return error.label == no_label
               ? text_cell("%10s", "")
               : number_cell("%8ld  ", static_cast<long>(static_cast<std::uint32_t>(error.label)));
}

eti_rec label_of(const CustomerError &error) {
    std::int32_t number = error.label;
    eti_rec label;
    eti_file(eti_action::read, number, label);
    return label;
}

/// What the label says that speaks against it.
report_cell proof_cell(const CustomerError &error) {
    switch (error.code) {
        case error_foreign:
            return number_cell(": %ld", static_cast<long>(label_of(error).customer));
        case error_not_sold:
            return number_cell(": %ld", static_cast<long>(label_of(error).status));
        default:
            return text_cell("%s", "");
    }
}

constexpr report_column<CustomerError> columns[] = {
    {[] { return detail_text(22, 3, "klantnr"); }, "%7.7s ",
     [](const CustomerError &error) { return number_cell("%7ld ", static_cast<long>(error.customer)); }},
    {[] { return detail_text(22, 4, "etiketnr"); }, "%8.8s  ", label_cell},
    {[] { return detail_text(22, 5, "foutmelding"); }, "%s",
     [](const CustomerError &error) { return text_cell("%s", customer_kind(error.code).text()); }},
    {nullptr, "%s", proof_cell},
};

}  // namespace

void customer_check::heads(bool) {
    chk_dashes();
    print_headings<CustomerError>(columns);
    chk_dashes();
}

void customer_check::report() {
    eti_file(eti_action::open);
    errors.for_each([](const CustomerError &error) {
        chk_room(2);
        print_line<CustomerError>(columns, error);
    });
    eti_file(eti_action::close);
}
