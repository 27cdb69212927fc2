// The two phases of the customer check: customers with their chains, and the labels on no chain.
#include <algorithm>
#include <limits>
#include <set>

#include "check/customers/customers.h"
#include "data/data.h"

namespace {

bool labels_linked() {
    return (sys_settings.mode & mode_customer_labels) != 0;
}

}  // namespace

/// The highest label number that the file can hold, by its end mark.
std::int32_t customer_highest_label() {
    SysRow4Chain chain{};
    iotab_row(tab_action::read, row_label_chain, chain);
    return std::clamp<std::int32_t>(chain.end_mark, 0, eti_max_block() + 1) * labels_per_block;
}

// ---- Phase 1

/// A till may have sold a label of a block that was added since the start.
void customer_check::know_more_labels() {
    const std::int32_t highest = customer_highest_label();
    if (highest > highest_label) {
        highest_label = highest;
        chk_bits_grow(static_cast<std::size_t>(highest) / 8 + 1);
    }
}

/// What is wrong with a label that the chain of a customer leads to; 0 for nothing.
int customer_check::chain_fault(std::uint32_t customer, std::int64_t number, eti_rec &label) {
    if (number > highest_label) {
        know_more_labels();
    }
    if (number > highest_label) {
        return error_outside;
    }
    auto place = static_cast<std::int32_t>(number);
    if (eti_file(eti_action::read, place, label) == 0) {
        return error_no_label;
    }
    if (label.status != label_sold) {
        return error_not_sold;
    }
    if (static_cast<std::uint32_t>(label.customer) != customer) {
        return error_foreign;
    }
    return chk_bit_set(number) ? 0 : error_seen;
}

void customer_count_label(customer_totals &totals, const eti_rec &label) {
    const sale_kind kind = label.digit_b == 0 ? kind_plain : label.digit_b == 9 ? kind_nine : kind_other;
    totals.count[kind]++;
    totals.amount[kind] += label.amount_c;
}

/// Follows a chain to its end or its fault. Numbers in a chain have no sign: one that would be negative is
/// also past the end of the file.
customer_totals customer_check::walk_chain(const CustomerRecord &customer) {
    customer_totals totals;
    std::int32_t previous = no_label;
    for (std::uint32_t number = customer.first_label; number != 0;) {
        eti_rec label;
        const int fault = chain_fault(customer.number, number, label);
        const auto here = static_cast<std::int32_t>(number);
        if (fault != 0) {
            add_error(customer.number, static_cast<customer_error>(fault), here, previous);
            totals.whole = false;
            break;
        }
        customer_count_label(totals, label);
        previous = here;
        number = static_cast<std::uint32_t>(label.next_customer_label);
    }
    return totals;
}

void customer_check::check_customer(CustomerRecord &customer, std::int32_t place) {
    ICB *file = customers;
    if (!customer_lock_at(file, place, customer)) {
        return;
    }
    const customer_totals totals = labels_linked() ? walk_chain(customer) : customer_totals{};
    if (!customer_number_valid(customer.number)) {
        add_error(customer.number, error_bad_number);
        IXDELETE(file, &customer);
    } else if (clean(customer, totals)) {
        IXREWRITE(file, &customer);
    } else {
        IXFREE(file, &customer);
    }
}

// ---- Phase 2

bool customer_check::customer_exists(std::uint32_t number) {
    CustomerRecord customer{};
    customer.number = number;
    return IXFIND(customers, &customer);
}

void customer_check::check_block(std::int32_t number, const LabelBlock &block) {
    for (int slot = 0; slot < labels_per_block; slot++) {
        const std::int32_t label_number = eti_number(number, slot);
        if (block.slots[slot].amount_status % 10 != label_sold || chk_bit_test(label_number)) {
            continue;
        }
        eti_rec label;
        eti_unpack(block, slot, label);
        if (label.customer != 0) {
            const auto customer = static_cast<std::uint32_t>(label.customer);
            add_error(customer, customer_exists(customer) ? error_not_linked : error_no_customer,
                      label_number, no_label, label.date_sold);
        }
    }
}

/// Blocks past the end mark are not part of the file: no chain may lead there.
bool customer_check::walk_labels() {
    const auto total =
        static_cast<std::uint32_t>(chk_txt_size("RVETI") / static_cast<off_t>(sizeof(LabelBlock)));
    chk_phase(detail_text(22, 2, "FASE-2: controleren klantetiketten"), total);
    chk_eti_raw(raw_action::open);
    LabelBlock block;
    bool goes_on = true;
    for (std::int32_t number = 0; goes_on && number < highest_label / labels_per_block &&
                                  chk_eti_raw(raw_action::read_on, 0, block) != 0;
         number++) {
        check_block(number, block);
        chk_progress(static_cast<std::uint32_t>(number) + 1, total, chk_bar::step);
        goes_on = !op_interrupted();
    }
    chk_eti_raw(raw_action::close);
    chk_progress(0, 0, chk_bar::close);
    return goes_on;
}

bool customer_check::walk() {
    const bool done = each_customer(
        customers, detail_text(22, 1, "FASE-1: controleren klanten"),
        [this](CustomerRecord &customer, std::int32_t place) { check_customer(customer, place); });
    eti_file(eti_action::close);
    return done && (!labels_linked() || walk_labels());
}

void customer_check::add_error(std::uint32_t customer, customer_error code, std::int32_t label,
                               std::int32_t previous, day_number sold) {
    CustomerError error{};
    error.customer = customer;
    error.label = label;
    error.previous = previous;
    error.code = code;
    error.unsold_days = static_cast<std::uint16_t>(std::numeric_limits<day_number>::max() - sold);
    errors.add(error);
    if (chk_is_heard()) {
        std::vector<finding_field> fields{field_of("customer", std::int64_t{customer})};
        if (label != no_label) {
            fields.push_back(field_of("label", std::int64_t{static_cast<std::uint32_t>(label)}));
        }
        add_unless_none(fields, "previous", previous, no_label);
        chk_found(customer_kind(code), label == no_label ? "RVKLT" : "RVETI", std::move(fields));
    }
}

customer_totals customer_count(const CustomerRecord &customer) {
    customer_totals totals;
    std::set<std::int32_t> counted;
    auto number = static_cast<std::int32_t>(customer.first_label);
    eti_rec label;
    while (eti_file(eti_action::read, number, label) != 0 && counted.insert(number).second) {
        customer_count_label(totals, label);
        number = label.next_customer_label;
    }
    return totals;
}

bool customer_lock(ICB *file, std::uint32_t number, CustomerRecord &customer) {
    customer = {};
    customer.number = number;
    if (IXREADLOCK(file, &customer) && customer.number == number) {
        return true;
    }
    customer = {};
    customer.number = number;
    IXFREE(file, &customer);
    return false;
}

bool customer_lock_at(ICB *file, std::int32_t place, CustomerRecord &customer) {
    if (!customer_lock(file, customer.number, customer)) {
        return false;
    }
    if (file->recno != place) {
        IXFREE(file, &customer);
        return false;
    }
    return true;
}
