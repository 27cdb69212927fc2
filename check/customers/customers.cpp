// The check of the customers and of the chains of their labels.
//
//   phase 1  every customer: the record is cleaned in place and its chain is followed. A label is marked when
//            it is reached, so a circular chain ends and no label is read twice
//   phase 2  every label block: a sold label that has a customer but no mark is on no chain. This also finds
//            the labels after the fault of a chain
//   repair   on request: chains are cut before their fault, and labels on no chain are put on one
//
// The walk of a chain also counts its labels. Only a customer who is recounted and whose chain has a fault
// needs a second walk, which continues as long as labels can be read.
#include "check/customers/customers.h"

#include <algorithm>
#include <limits>
#include <set>

#include "check/frame/old_course.h"
#include "report/report.h"

error_list<CustomerError> customer_errors(
    "kltchk", {{"key-1", false, {{'I', 0, 4}, {'I', 12, 1}, {'I', 4, 4}}},
               {"key-2", false, {{'I', 0, 4}, {'I', 12, 1}, {'I', 14, 2}, {'I', 4, 4}}}});
customer_run customer_check;

namespace {

bool repair_report = false;

bool labels_linked() {
    return (sys_settings.mode & mode_customer_labels) != 0;
}

// ---- Open and close

/// The highest label number that the file can hold, by its end mark.
std::int32_t highest_label() {
    SysRow4Chain chain{};
    iotab_row(tab_action::read, row_label_chain, chain);
    return std::clamp<std::int32_t>(chain.end_mark, 0, eti_max_block() + 1) * labels_per_block;
}

void open_all() {
    customer_check = {};
    customer_check.customers = pair_open("RVKLT", ix_shared, sizeof(CustomerRecord));
    customer_check.extensions = pair_open("RVKLTEXT", ix_shared, sizeof(CustomerExtension));
    customer_errors.open();
    customer_check.highest_label = highest_label();
    chk_bits_open(static_cast<std::size_t>(customer_check.highest_label) / 8 + 1);
    eti_file(eti_action::open);
}

void tell_bad_marks() {
    const std::int32_t count = customer_check.bad_marks;
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

void close_all() {
    if (repair_report) {
        prt_close("");
        repair_report = false;
    }
    tell_bad_marks();
    chk_bits_close();
    IXCLOSE(customer_check.customers);
    IXCLOSE(customer_check.extensions);
    customer_errors.close();
}

// ---- Phase 1

/// A till may have sold a label of a block that was added since the start.
void know_more_labels() {
    const std::int32_t highest = highest_label();
    if (highest > customer_check.highest_label) {
        customer_check.highest_label = highest;
        chk_bits_grow(static_cast<std::size_t>(highest) / 8 + 1);
    }
}

/// What is wrong with a label that the chain of a customer leads to; 0 for nothing.
int chain_fault(std::uint32_t customer, std::int64_t number, eti_rec &label) {
    if (number > customer_check.highest_label) {
        know_more_labels();
    }
    if (number > customer_check.highest_label) {
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

void count_label(customer_totals &totals, const eti_rec &label) {
    const sale_kind kind = label.digit_b == 0 ? kind_plain : label.digit_b == 9 ? kind_nine : kind_other;
    totals.count[kind]++;
    totals.amount[kind] += label.amount_c;
}

/// Follows a chain to its end or its fault. Numbers in a chain have no sign: one that would be negative is
/// also past the end of the file.
customer_totals walk_chain(const CustomerRecord &customer) {
    customer_totals totals;
    std::int32_t previous = no_label;
    for (std::uint32_t number = customer.first_label; number != 0;) {
        eti_rec label;
        const int fault = chain_fault(customer.number, number, label);
        const auto here = static_cast<std::int32_t>(number);
        if (fault != 0) {
            customer_add_error(customer.number, static_cast<customer_error>(fault), here, previous);
            totals.whole = false;
            break;
        }
        count_label(totals, label);
        previous = here;
        number = static_cast<std::uint32_t>(label.next_customer_label);
    }
    return totals;
}

void check_customer(CustomerRecord &customer, std::int32_t place) {
    ICB *file = customer_check.customers;
    if (!customer_lock_at(file, place, customer)) {
        return;
    }
    const customer_totals totals = labels_linked() ? walk_chain(customer) : customer_totals{};
    if (!customer_number_valid(customer.number)) {
        customer_add_error(customer.number, error_bad_number);
        IXDELETE(file, &customer);
    } else if (customer_clean(customer, totals)) {
        IXREWRITE(file, &customer);
    } else {
        IXFREE(file, &customer);
    }
}

// ---- Phase 2

bool customer_exists(std::uint32_t number) {
    CustomerRecord customer{};
    customer.number = number;
    return IXFIND(customer_check.customers, &customer);
}

void check_block(std::int32_t number, const LabelBlock &block) {
    for (int slot = 0; slot < labels_per_block; slot++) {
        const std::int32_t label_number = eti_number(number, slot);
        if (block.slots[slot].amount_status % 10 != label_sold || chk_bit_test(label_number)) {
            continue;
        }
        eti_rec label;
        eti_unpack(block, slot, label);
        if (label.customer != 0) {
            const auto customer = static_cast<std::uint32_t>(label.customer);
            customer_add_error(customer, customer_exists(customer) ? error_not_linked : error_no_customer,
                               label_number, no_label, label.date_sold);
        }
    }
}

/// Blocks past the end mark are not part of the file: no chain may lead there.
bool walk_labels() {
    const auto total =
        static_cast<std::uint32_t>(chk_txt_size("RVETI") / static_cast<off_t>(sizeof(LabelBlock)));
    chk_phase(detail_text(22, 2, "FASE-2: controleren klantetiketten"), total);
    chk_eti_raw(raw_action::open);
    LabelBlock block;
    bool goes_on = true;
    for (std::int32_t number = 0; goes_on && number < customer_check.highest_label / labels_per_block &&
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

bool walk() {
    const bool done = each_customer(customer_check.customers,
                                    detail_text(22, 1, "FASE-1: controleren klanten"), check_customer);
    eti_file(eti_action::close);
    return done && (!labels_linked() || walk_labels());
}

// ---- Report

bool has_errors() {
    return customer_check.bad_marks > 0 || !customer_errors.empty();
}

void print_heads(bool) {
    chk_dashes();
    prt_printf("%7.7s %8.8s  %s", detail_text(22, 3, "klantnr"), detail_text(22, 4, "etiketnr"),
               detail_text(22, 5, "foutmelding"));
    prt_newline();
    chk_dashes();
}

eti_rec label_of(const CustomerError &error) {
    std::int32_t number = error.label;
    eti_rec label;
    eti_file(eti_action::read, number, label);
    return label;
}

void print_text(const CustomerError &error) {
    switch (error.code) {
        case error_outside:
            prt_printf("%s", detail_text(22, 10, "etiketnr buiten bestand"));
            break;
        case error_no_label:
            prt_printf("%s", detail_text(22, 11, "etiketnr niet aanwezig"));
            break;
        case error_foreign:
            prt_printf("%s: %ld", detail_text(22, 12, "etiketnr van ander klantnr"),
                       static_cast<long>(label_of(error).customer));
            break;
        case error_not_sold:
            prt_printf("%s: %u", detail_text(22, 13, "etiket status"),
                       static_cast<unsigned>(label_of(error).status));
            break;
        case error_seen:
            prt_printf("%s", detail_text(22, 14, "etiketnr reeds aanwezig"));
            break;
        case error_no_customer:
            prt_printf("%s", detail_text(22, 15, "etiketnr niet in ketting, klantnr NIET aanwezig"));
            break;
        case error_not_linked:
            prt_printf("%s", detail_text(22, 16, "etiketnr niet in ketting, klantnr aanwezig"));
            break;
        case error_bad_number:
            prt_printf("%s", detail_text(22, 17, "Ongeldig klantnummer, klant verwijderd"));
            break;
        case error_no_name:
            prt_printf("%s", detail_text(22, 18, "klantnaam NIET aanwezig"));
            break;
        default:
            break;
    }
}

void print_errors() {
    eti_file(eti_action::open);
    customer_errors.for_each([](const CustomerError &error) {
        chk_room(2);
        prt_printf("%7ld ", static_cast<long>(error.customer));
        if (error.label == no_label) {
            prt_fill(10, ' ');
        } else {
            prt_printf("%8ld  ", static_cast<long>(static_cast<std::uint32_t>(error.label)));
        }
        print_text(error);
        prt_newline();
    });
    eti_file(eti_action::close);
}

// ---- Repair

/// The repair tells what it does on a report of its own; without that report it is not done.
bool ask_repair() {
    if (customer_errors.empty() ||
        !op_ask(op_question::repair_customers, detail_text(22, 23, "Herstellen foutieve klanten"))) {
        return false;
    }
    repair_report = chk_open_report();
    return repair_report;
}

const chk_course course{
    .status = [] { return chk_name(phrase_check_customers); },
    .title = [] { return chk_name(phrase_customers); },
    .flag = &ok_customers,
    .date = &SysRow19::customers,
    .report_time = chk_report_time::as_needed,
    .refusal = {.keeps_flag = true, .keeps_date = true},
    .open = open_all,
    .walk = walk,
    .has_errors = has_errors,
    .heads = print_heads,
    .report = print_errors,
    .ask = ask_repair,
    .repair = customer_repair,
    .close = close_all,
};

}  // namespace

void customer_add_error(std::uint32_t customer, customer_error code, std::int32_t label,
                        std::int32_t previous, day_number sold) {
    CustomerError error{};
    error.customer = customer;
    error.label = label;
    error.previous = previous;
    error.code = code;
    error.unsold_days = static_cast<std::uint16_t>(std::numeric_limits<day_number>::max() - sold);
    customer_errors.add(error);
}

customer_totals customer_count(const CustomerRecord &customer) {
    customer_totals totals;
    std::set<std::int32_t> counted;
    auto number = static_cast<std::int32_t>(customer.first_label);
    eti_rec label;
    while (eti_file(eti_action::read, number, label) != 0 && counted.insert(number).second) {
        count_label(totals, label);
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

void chk_customers() {
    chk_perform(course);
}
