// The repair of customers' chains.
//
// Errors come customer by customer: first those of the chain, then the labels on no chain, newest sale first.
// A customer is held from its first error to its last. Each label belongs at or after the place of the one
// before it, so one walk of the chain finds the places of all labels of a customer.
//
// A label is written, with its link to the next one, before anything leads to it; the customer's record is
// written last. So a program that dies in between leaves labels on no chain, which the next run finds again.
//
// A till may have sold or taken back goods since the walk. So a chain is cut only where it still leads to the
// fault, and the labels now on it are marked before others are put on it.
#include <cstdio>
#include <cstring>

#include "check/customers/customers.h"
#include "data/data.h"
#include "report/report.h"

namespace {

/// The customer whose errors are being mended.
struct held_customer {
    bool taken = false;
    std::uint32_t number = 0;
    CustomerRecord record{};
    std::int32_t place = -1;  ///< record number
    bool exists = false;      ///< and is locked
    bool changed = false;
    bool created = false;
    bool repaired = false;
    bool marked = false;       ///< the labels on the chain are marked
    std::uint32_t before = 0;  ///< label after which the next one is put; 0 for the head of the chain
    std::uint32_t at = 0;      ///< label before which it is put; 0 for the end of the chain
    std::int32_t steps = 0;    ///< labels walked; a chain is no longer than the file
};

/// Mends customer by customer.
class customer_mender {
public:
    customer_mender(ICB *customers, std::int32_t highest) : file(customers), highest_label(highest) {}

    /// Mends what an error tells. The customer of the error before is let go when this one is another's.
    void mend_next(const CustomerError &error) {
        if (!held.taken || held.number != error.customer) {
            let_go();
            take(error.customer);
        }
        mend(error);
    }

    /// Writes what has changed, tells it, and releases the customer.
    void let_go() {
        if (!held.taken) {
            return;
        }
        if (held.exists && held.changed) {
            file->recno = held.place;
            IXREWRITE(file, &held.record);
        } else if (held.exists) {
            IXFREE(file, &held.record);
        }
        if (held.created || held.repaired) {
            tell();
        }
        held = {};
    }

private:
    void begin_chain() {
        held.before = 0;
        held.at = held.record.first_label;
        held.steps = 0;
    }

    void lock_held() {
        held.exists = customer_lock(file, held.number, held.record);
        held.place = file->recno;
        begin_chain();
    }

    void take(std::uint32_t number) {
        held = {};
        held.taken = true;
        held.number = number;
        lock_held();
    }

    void tell() {
        if (chk_page_full(2)) {
            chk_report_header(chk_name(phrase_customers), true, chk_last_date(&SysRow19::customers));
        }
        prt_printf("%s %6ld: ", detail_text(22, 24, "Klant"), static_cast<long>(held.number));
        prt_printf("%s", held.created ? detail_text(22, 26, "aangemaakt en hersteld")
                                      : detail_text(22, 25, "hersteld"));
        prt_newline();
    }

    /// Makes the customer that labels were sold to. When the key exists after all, its record is damaged and
    /// is not overwritten.
    void create() {
        CustomerRecord there{};
        there.number = held.number;
        IXREADLOCK(file, &there);
        if (file->recno >= 0) {
            there.number = held.number;
            IXFREE(file, &there);
            return;
        }
        CustomerRecord customer{};
        customer.number = held.number;
        std::snprintf(customer.name, sizeof customer.name, "**%s-%ld**", detail_text(22, 21, "klant"),
                      static_cast<long>(held.number));
        std::memset(customer.marks, ' ', sizeof customer.marks);
        held.created = IXWRITE(file, &customer);
        lock_held();
    }

    /// Makes a label lead to another one; false when it can't be read.
    bool lead_on(std::int32_t number, std::uint32_t next) {
        eti_rec label;
        if (eti_file(eti_action::read, number, label) == 0) {
            return false;
        }
        label.next_customer_label = static_cast<std::int32_t>(next);
        eti_file(eti_action::write, number, label);
        return true;
    }

    /// Marks the labels now on the chain, so that none is put on it a second time.
    void mark_chain() {
        eti_rec label;
        std::int32_t left = highest_label;
        for (auto number = static_cast<std::int32_t>(held.record.first_label);
             number > 0 && left-- > 0 && eti_file(eti_action::read, number, label) != 0;
             number = label.next_customer_label) {
            chk_bit_set(number);
        }
        held.marked = true;
    }

    bool leads_to(std::int32_t number, std::int32_t next) {
        eti_rec label;
        return eti_file(eti_action::read, number, label) != 0 && label.next_customer_label == next;
    }

    /// Ends the chain before the fault.
    void cut_chain(const CustomerError &error) {
        if (error.previous != no_label) {
            held.repaired |= leads_to(error.previous, error.label) && lead_on(error.previous, 0);
        } else if (held.exists && held.record.first_label == static_cast<std::uint32_t>(error.label)) {
            held.record.first_label = 0;
            held.changed = held.repaired = true;
            begin_chain();
        }
    }

    /// Moves on to the first label of the chain that was not sold later. False when the chain can't be
    /// followed.
    bool find_place(day_number sold) {
        while (held.at != 0) {
            eti_rec walked;
            auto number = static_cast<std::int32_t>(held.at);
            if (eti_file(eti_action::read, number, walked) == 0 || held.steps > highest_label) {
                return false;
            }
            if (sold >= walked.date_sold) {
                break;
            }
            held.steps++;
            held.before = held.at;
            held.at = static_cast<std::uint32_t>(walked.next_customer_label);
        }
        return true;
    }

    void put_on_chain(std::int32_t number) {
        eti_rec label;
        if (!held.marked) {
            mark_chain();
        }
        if (chk_bit_test(number)) {
            return;
        }
        if (eti_file(eti_action::read, number, label) == 0 || label.status != label_sold ||
            static_cast<std::uint32_t>(label.customer) != held.number || !find_place(label.date_sold)) {
            return;
        }
        lead_on(number, held.at);
        const auto here = static_cast<std::uint32_t>(number);
        if (held.before == 0) {
            held.record.first_label = here;
            held.changed = true;
        } else {
            lead_on(static_cast<std::int32_t>(held.before), here);
        }
        held.at = here;  // of labels sold on one day the last one put on comes first
        chk_bit_set(number);
    }

    void mend(const CustomerError &error) {
        switch (error.code) {
            case error_outside:
            case error_no_label:
            case error_foreign:
            case error_not_sold:
            case error_seen:
                cut_chain(error);
                break;
            case error_no_customer:
                if (!held.exists) {
                    create();
                }
                [[fallthrough]];
            case error_not_linked:
                if (held.exists) {
                    put_on_chain(error.label);
                    held.repaired = true;
                }
                break;
            default:
                break;
        }
    }

    ICB *file;
    const std::int32_t highest_label;
    held_customer held;
};

}  // namespace

void customer_check::repair() {
    eti_file(eti_action::open);
    const key_switch order(errors.icb(), errors_by_sale);
    customer_mender mender(customers, highest_label);
    errors.for_each([&](const CustomerError &error) { mender.mend_next(error); });
    mender.let_go();
    eti_file(eti_action::close);
}
