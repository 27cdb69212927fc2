// The search for a label that came with another one.
//
// In most series it is a walk along the chain. When the walks of one series add up, its labels are listed by
// what they are searched for, so that a series with many labels and many days does not need a walk for each.
#include "check/label_prices/label_prices.h"

namespace {

constexpr std::uint32_t most_walked = 2000;  ///< labels walked in a series before they are listed
constexpr int parts_of_arrival = 4;          ///< of the key, up to the size

/// Without the size, since several sizes arrive together.
Arrival arrival_of(const eti_rec &label) {
    Arrival arrival{};
    arrival.supplier = label.supplier;
    arrival.date_in = label.date_in;
    arrival.on_order = label.status == label_ordered ? 1 : 0;
    arrival.moved = label.status == label_ordered ? std::uint16_t{0} : label.date_moved;
    return arrival;
}

/// True when the two came together: both are still on order, or both were delivered together.
bool came_together(const eti_rec &label, const eti_rec &other) {
    if (other.supplier != label.supplier || other.date_in != label.date_in) {
        return false;
    }
    return label.status == label_ordered
               ? other.status == label_ordered
               : other.status > label_ordered && other.date_moved == label.date_moved;
}

bool is_companion(const eti_rec &label, const PriceSetRecord &set, const eti_rec &other) {
    return came_together(label, other) && set.sizes.test(other.size);
}

/// Visits the labels of the series in the order of the chain, until `visit` gives false.
template <class Visit>
void each_label(const SeriesRecord &series, Visit visit) {
    std::int32_t number = series.first_block;
    eti_rec label;
    for (int found = eti_file(eti_action::first, number, label); found != 0 && visit(number, label);
         found = eti_file(eti_action::next, number, label)) {
    }
}

}  // namespace

companion_search::companion_search()
    : arrivals("epkomst",
               {{"komst", false, {{'I', 0, 2}, {'I', 2, 2}, {'I', 4, 2}, {'I', 6, 1}, {'I', 7, 1}}}}) {}

bool companion_search::walk_to_companion(const SeriesRecord &series, const eti_rec &label,
                                         const PriceSetRecord &set, eti_rec &other) {
    bool found = false;
    each_label(series, [&](std::int32_t, const eti_rec &each) {
        walked++;
        found = is_companion(label, set, each);
        other = each;
        return !found;
    });
    return found;
}

void companion_search::list_labels(const SeriesRecord &series) {
    arrivals.open();
    listed = true;
    std::int32_t turn = 0;
    each_label(series, [&](std::int32_t number, const eti_rec &label) {
        Arrival arrival = arrival_of(label);
        arrival.size = label.size;
        if (!IXFIND(arrivals.icb(), &arrival)) {
            arrival.turn = turn++;
            arrival.number = number;
            arrivals.add(arrival);
        }
        return true;
    });
}

bool companion_search::look_up_companion(const eti_rec &label, const PriceSetRecord &set, eti_rec &other) {
    Arrival first{};
    bool found = false;
    Arrival arrival = arrival_of(label);
    for (bool more = arrivals.first(arrival, parts_of_arrival); more;
         more = arrivals.next(arrival, parts_of_arrival)) {
        if (set.sizes.test(arrival.size) && (!found || arrival.turn < first.turn)) {
            first = arrival;
            found = true;
        }
    }
    std::int32_t number = first.number;
    return found && eti_file(eti_action::read, number, other) != 0 && is_companion(label, set, other);
}

void companion_search::begin() {
    walked = 0;
    listed = false;
}

bool companion_search::find(const SeriesRecord &series, const label_place &label, const PriceSetRecord &set,
                            eti_rec &other) {
    if (!listed && walked > most_walked) {
        list_labels(series);
    }
    const bool found =
        listed ? look_up_companion(label.rec, set, other) : walk_to_companion(series, label.rec, set, other);
    std::int32_t number = label.number;
    eti_rec back;
    eti_file(eti_action::read, number, back);
    return found;
}

void companion_search::close() {
    arrivals.close();
}
