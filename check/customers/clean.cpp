// What the customer check mends within a record, without a question.
#include <algorithm>
#include <cstdlib>
#include <limits>

#include "check/customers/customers.h"
#include "data/data.h"

namespace {

/// Gives a customer without a stamp the one before the present stamp, so that the tills see it as changed.
bool give_stamp(CustomerRecord &customer) {
    if (customer.stamp != 0) {
        return false;
    }
    SysRow8 limits{};
    iotab_row(tab_action::lock_read, row_limits, limits);
    iotab(tab_action::unlock, sys_row, limits, region_rows);
    customer.stamp = limits.customer_stamp;
    if (limits.customer_stamp <= 1) {
        return false;
    }
    customer.stamp = static_cast<std::uint16_t>(limits.customer_stamp - 1);
    return true;
}

template <class Field>
Field fitting(std::int64_t value) {
    return static_cast<Field>(std::min<std::int64_t>(value, std::numeric_limits<Field>::max()));
}

/// Figures below zero are impossible: all figures are then counted again from the chain.
bool recount(CustomerRecord &customer, const customer_totals &walked) {
    if ((sys_settings.mode & mode_customer_labels) == 0 ||
        (customer.count_plain >= 0 && customer.count_other >= 0 && customer.count_nine >= 0 &&
         customer.amount_plain >= 0 && customer.amount_other >= 0 && customer.amount_nine >= 0)) {
        return false;
    }
    const customer_totals totals = walked.whole ? walked : customer_count(customer);
    customer.amount_plain = fitting<std::int32_t>(totals.amount[kind_plain]);
    customer.amount_other = fitting<std::int32_t>(totals.amount[kind_other]);
    customer.amount_nine = fitting<std::int32_t>(totals.amount[kind_nine]);
    customer.count_plain = fitting<std::int16_t>(totals.count[kind_plain]);
    customer.count_other = fitting<std::int16_t>(totals.count[kind_other]);
    customer.count_nine = fitting<std::int16_t>(totals.count[kind_nine]);
    return true;
}

/// Deletes the extension left by an earlier customer with this number.
bool drop_old_extension(CustomerRecord &customer, ICB *file) {
    if (customer.extension_date == 0) {
        return false;
    }
    CustomerExtension extension{};
    extension.number = customer.number;
    if (!IXREAD(file, &extension) || extension.number != customer.number ||
        extension.date == customer.extension_date) {
        return false;
    }
    if (IXREADLOCK(file, &extension) && extension.number == customer.number &&
        extension.date != customer.extension_date) {
        IXDELETE(file, &extension);
        customer.extension_date = 0;
        return true;
    }
    extension.number = customer.number;
    IXFREE(file, &extension);
    return false;
}

/// A date that does not lie in the past was meant a hundred years earlier.
bool move_date_back(CustomerRecord &customer) {
    if (customer.past_date < date_today()) {
        return false;
    }
    constexpr int year_at = 4;
    char text[9];
    date_to_str(text, customer.past_date, true);
    const int year = std::atoi(text + year_at) - 100;
    customer.past_date = date_from_str(str_format("%.*s%04d", year_at, text, year).c_str());
    return true;
}

/// Replaces zero bytes by blanks. Where the tills get the marks, a mark after a zero byte is taken for a
/// leftover, and the operator is told.
bool mend_marks(CustomerRecord &customer, std::int32_t &bad_marks) {
    const bool on_tills = (sys_settings.mode & mode_selection_marks) != 0;
    constexpr int last = sizeof customer.marks - 1;
    int zero_at = last;
    bool changed = false;
    bool leftover = false;
    for (int at = 0; at <= last; at++) {
        char &mark = customer.marks[at];
        if (mark == '\0') {
            mark = ' ';
            zero_at = at;
            changed = true;
        } else if (mark != ' ' && at > zero_at && on_tills) {
            leftover = true;
        }
    }
    if (leftover) {
        bad_marks++;
        if (chk_is_heard()) {
            chk_found(customer_kind(error_bad_mark), "RVKLT",
                      {field_of("customer", std::int64_t{customer.number})});
        }
    }
    return changed;
}

}  // namespace

bool customer_check::clean(CustomerRecord &customer, const customer_totals &totals) {
    if (customer.name[0] == '\0') {
        add_error(customer.number, error_no_name);
    }
    bool changed = give_stamp(customer);
    changed |= recount(customer, totals);
    changed |= drop_old_extension(customer, extensions);
    changed |= move_date_back(customer);
    changed |= mend_marks(customer, bad_marks);
    return changed;
}
