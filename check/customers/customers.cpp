// The course of the customer check.
#include "check/customers/customers.h"

#include <algorithm>

#include "data/data.h"
#include "report/report.h"

customer_check::customer_check()
    : chk_check({.flag = &ok_customers,
                 .date = &SysRow19::customers,
                 .report_time = chk_report_time::as_needed,
                 .refusal = {.keeps_flag = true, .keeps_date = true}}) {}

const char *customer_check::status() const {
    return chk_name(phrase_check_customers);
}

const char *customer_check::title() const {
    return chk_name(phrase_customers);
}

void customer_check::open() {
    bad_marks = 0;
    repair_report = false;
    customers = pair_open("RVKLT", ix_shared, sizeof(CustomerRecord));
    extensions = pair_open("RVKLTEXT", ix_shared, sizeof(CustomerExtension));
    errors.open();
    highest_label = customer_highest_label();
    chk_bits_open(static_cast<std::size_t>(highest_label) / 8 + 1);
    eti_file(eti_action::open);
}

void customer_check::tell_bad_marks() const {
    const std::int32_t count = bad_marks;
    if (count == 0) {
        return;
    }
    op_tell(op_notice::bad_marks,
            {str_format(detail_text(22, 20,
                                    "Bij %ld %s is een ongeldig teken in de selectiekenmerken aangepast.\n"
                                    "Eventueel opnieuw klaarzetten voor de kassa."),
                        static_cast<long>(count),
                        count == 1 ? detail_text(22, 21, "klant") : chk_name(phrase_customers))});
}

void customer_check::close() {
    if (repair_report) {
        prt_close("");
        repair_report = false;
    }
    tell_bad_marks();
    chk_bits_close();
    IXCLOSE(customers);
    IXCLOSE(extensions);
    errors.close();
}

bool customer_check::ask() {
    if (errors.empty() ||
        !op_ask(op_question::repair_customers, detail_text(22, 23, "Herstellen foutieve klanten"))) {
        return false;
    }
    repair_report = chk_open_report();
    return repair_report;
}

void chk_customers() {
    customer_check check;
    chk_perform(check);
}
