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
//
// Phase 1 writes: records are cleaned, and customers with an impossible number are deleted. What else is
// found is mended in the repair, which tells on a report of its own what it did.
#pragma once

#include "check/frame/error_list.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "data/customerfile.h"
#include "data/ioeti.h"

// ---- Walking customers

/// Calls `visit(record, place)` for each customer in the order of the file, with a progress bar. `visit` may
/// do what it likes with the file. False when the operator cancelled.
template <class Visit>
bool each_customer(ICB *file, const char *caption, Visit visit) {
    CustomerRecord customer{};
    chk_phase(caption, static_cast<std::uint32_t>(file->nrecs));
    for (bool more = chk_scan_first(file, &customer); more; more = IXSEQ(file, &customer)) {
        const std::int32_t place = file->recno;
        visit(customer, place);
        file->recno = place;
        chk_progress(static_cast<std::uint32_t>(place) + 1, static_cast<std::uint32_t>(file->nrecs),
                     chk_bar::step);
    }
    chk_progress(0, 0, chk_bar::close);
    return !op_interrupted();
}

/// Reads and locks a customer; `file->recno` is its place. False, with nothing locked, when the number does
/// not exist or the index leads to another customer.
bool customer_lock(ICB *file, std::uint32_t number, CustomerRecord &customer);
/// The same for the customer that a walk met at `place`. Also false for a record that its own key does not
/// lead to: no program can reach it.
bool customer_lock_at(ICB *file, std::int32_t place, CustomerRecord &customer);
inline bool customer_number_valid(std::uint32_t number) {
    return number >= 1 && number <= customer_highest;
}

// ---- Errors

enum customer_error : std::uint8_t {
    error_outside = 1,        ///< the chain leads out of the label file
    error_no_label = 2,       ///< to a label that can't be read
    error_foreign = 3,        ///< to a label of another customer
    error_not_sold = 4,       ///< to a label that isn't sold
    error_seen = 5,           ///< to a label already walked
    error_no_customer = 101,  ///< a sold label is on no chain, and its customer does not exist
    error_not_linked = 102,   ///< a sold label is on no chain
    error_bad_mark = 103,     ///< told, but on no list
    error_bad_number = 104,   ///< an impossible number; the customer has been deleted
    error_no_name = 105,
};

inline constexpr std::int32_t no_label = -1;

struct CustomerError {
    little_uint32_t customer;     // 0
    little_int32_t label;         // 4   -1 for none
    little_int32_t previous;      // 8   the label before it in the chain, -1 for none
    std::uint8_t code;            // 12
    std::uint8_t unused_13;       // 13
    little_uint16_t unsold_days;  // for a label on no chain: the highest day number less the day of sale
};
static_assert(sizeof(CustomerError) == 16 && offsetof(CustomerError, code) == 12);

/// The two keys of the list: the order of the report, and the order in which the labels of a customer that
/// are on no chain are put on it, newest sale first.
inline constexpr int errors_by_label = 1;
inline constexpr int errors_by_sale = 2;

/// The tables of what this check, that of the titles and that of the countries can find.
std::span<const finding_kind> customer_findings();
std::span<const finding_kind> title_findings();
std::span<const finding_kind> country_findings();
/// By the code of an error.
const finding_kind &customer_kind(int code);

// ---- The check

/// Kinds of sale that a customer's figures are kept by.
enum sale_kind { kind_plain, kind_other, kind_nine, sale_kinds };
/// The totals of the labels of a chain.
struct customer_totals {
    std::int64_t amount[sale_kinds] = {};
    std::int64_t count[sale_kinds] = {};
    bool whole = true;  ///< false when they stop at a fault
};
/// Counts the labels of a chain as long as they can be read, whatever else is wrong with them. Stops at a
/// label that it has counted before.
customer_totals customer_count(const CustomerRecord &customer);
void customer_count_label(customer_totals &totals, const eti_rec &label);

/// The highest label number that the file can hold, by its end mark.
std::int32_t customer_highest_label();

class customer_check final : public chk_check {
public:
    customer_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return bad_marks > 0 || !errors.empty();
    }
    void heads(bool first_page) override;
    void report() override;
    /// The repair tells what it does on a report of its own; without that report it is not done.
    bool ask() override;
    void repair() override;
    void close() override;

private:
    void add_error(std::uint32_t customer, customer_error code, std::int32_t label = no_label,
                   std::int32_t previous = no_label, day_number sold = 0);

    // Phase 1.
    void know_more_labels();
    int chain_fault(std::uint32_t customer, std::int64_t number, eti_rec &label);
    customer_totals walk_chain(const CustomerRecord &customer);
    void check_customer(CustomerRecord &customer, std::int32_t place);
    /// Mends what can be mended within a customer with a valid number; true when the record has changed.
    /// `totals` are those of its chain, where labels are linked.
    bool clean(CustomerRecord &customer, const customer_totals &totals);

    // Phase 2.
    bool customer_exists(std::uint32_t number);
    void check_block(std::int32_t number, const LabelBlock &block);
    bool walk_labels();

    void tell_bad_marks() const;

    ICB *customers = nullptr;   ///< RVKLT
    ICB *extensions = nullptr;  ///< RVKLTEXT
    error_list<CustomerError> errors{
        "kltchk",
        {{"key-1", false, {{'I', 0, 4}, {'I', 12, 1}, {'I', 4, 4}}},
         {"key-2", false, {{'I', 0, 4}, {'I', 12, 1}, {'I', 14, 2}, {'I', 4, 4}}}}};
    std::int32_t highest_label = 0;  ///< of the label file
    std::int32_t bad_marks = 0;      ///< customers with a selection mark that should not be there
    bool repair_report = false;      ///< the report of the repair is open
};
