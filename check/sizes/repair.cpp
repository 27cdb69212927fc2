// Phase 3 of the size check: sizes and price groups of a series follow from its labels and price sets.
#include <algorithm>

#include "check/sizes/sizes.h"

namespace {

/// Those of the sizes that exist in the view.
SizeBitmap existing(const SizeBitmap &sizes) {
    SizeBitmap kept{};
    for (unsigned i = 1; i <= size_highest; i++) {
        if (sizes.test(i) && session_sizes->has(i)) {
            kept.set(i);
        }
    }
    return kept;
}

SizeBitmap sizes_of_labels(const SeriesRecord &series) {
    SizeBitmap sizes{};
    sizes_walk_labels(series, [&](std::int32_t, const eti_rec &label) {
        sizes.set(label.size);
        return true;
    });
    return existing(sizes);
}

/// False when the series has no price set.
bool sizes_of_prices(const SeriesRecord &series, SizeBitmap &sizes) {
    PriceSetRecord set{};
    set.key = series.key;
    sizes = {};
    bool any = false;
    for (bool found = ink_read(ink_action::first, set, 3); found;
         found = ink_read(ink_action::next, set, 3)) {
        sizes.add(set.sizes);
        any = true;
    }
    sizes = existing(sizes);
    return any;
}

/// Adds sizes to those of the series; the reason when one was missing.
size_reasons add_missing(SeriesRecord &series, const SizeBitmap &sizes) {
    const SizeBitmap before = series.sizes;
    series.sizes.add(sizes);
    return series.sizes == before ? 0 : size_reason(size_series_missing);
}

/// Drops sizes that do not exist. Size 0 means nothing, so it is ignored.
size_reasons drop_invalid(SeriesRecord &series) {
    SizeBitmap before{};
    for (unsigned i = 1; i <= size_highest; i++) {
        if (series.sizes.test(i)) {
            before.set(i);
        }
    }
    series.sizes = existing(before);
    return series.sizes == before ? 0 : size_reason(size_series_invalid);
}

/// Walks the price groups that are in use: their last sizes belong to the series. Groups after one whose size
/// does not exist are given up. `last` is the group where the walk ends, -1 for a series without groups.
size_reasons check_groups(SeriesRecord &series, int &last) {
    size_reasons reasons = 0;
    last = -1;
    for (int i = 0; i < price_groups && series.group_last[i] != 0; i++) {
        last = i;
        const unsigned size = series.group_last[i];
        if (!session_sizes->has(size)) {
            for (int rest = i + 1; rest < price_groups; rest++) {
                series.group_last[rest] = 0;
                series.group_price[rest] = 0;
            }
            break;
        }
        SizeBitmap one{};
        one.set(size);
        reasons |= add_missing(series, one);
    }
    return reasons;
}

/// The last of the sizes in the order of their kind, 0 without sizes.
std::uint8_t last_size(const SizeBitmap &sizes) {
    mtrange(session_sizes, sizes);
    size_cursor cursor{};
    cursor.position = size_highest + 1;
    return mtread(session_sizes, mt_action::previous, cursor, mt_key::position) != 0 ? cursor.index
                                                                                     : std::uint8_t{0};
}

/// Makes the last group end at the last size.
size_reasons end_groups(SeriesRecord &series, int group) {
    if (group < 0) {
        return 0;
    }
    const std::uint8_t last = last_size(series.sizes);
    if (last == 0 || series.group_last[group] == last) {
        return 0;
    }
    series.group_last[group] = last;
    return size_reason(size_series_groups);
}

/// Mends the sizes of a series; the reasons for it, 0 for none.
size_reasons mend_sizes(SeriesRecord &series) {
    sizes_view_kind(series);
    SizeBitmap priced{};
    const bool has_prices = sizes_of_prices(series, priced);
    size_reasons reasons = drop_invalid(series);
    reasons |= add_missing(series, sizes_of_labels(series));
    reasons |= add_missing(series, priced);
    if (!has_prices) {
        return reasons;
    }
    int group = -1;
    reasons |= check_groups(series, group);
    if (series.sizes == SizeBitmap{}) {
        SizeBitmap all{};
        std::fill(std::begin(all.bytes), std::end(all.bytes), std::uint8_t{0xFF});
        series.sizes = existing(all);
        reasons |= size_reason(size_series_empty);
    }
    return reasons | end_groups(series, group);
}

/// The same for what stands on file, under its lock: another program may have changed it meanwhile.
size_reasons mend_on_file(const SeriesKey &key) {
    SeriesRecord series{};
    series.key = key;
    if (!IXREADLOCK(chk_files.rvser, &series)) {
        IXFREE(chk_files.rvser, &series);
        return 0;
    }
    const size_reasons reasons = mend_sizes(series);
    if (reasons != 0) {
        IXREWRITE(chk_files.rvser, &series);
    } else {
        IXFREE(chk_files.rvser, &series);
    }
    return reasons;
}

void tell(const SeriesRecord &series, size_reasons reasons) {
    for (const size_finding reason :
         {size_series_invalid, size_series_missing, size_series_empty, size_series_groups}) {
        if (chk_is_heard() && (reasons & size_reason(reason)) != 0) {
            chk_found(size_findings()[reason], "RVSER",
                      {field_of(series.key), field_of("size_kind", series.size_kind)});
        }
    }
}

}  // namespace

std::int64_t size_check::check_series() {
    std::int64_t mended = 0;
    const key_switch key(chk_files.rvser, 1);
    bar_open();
    SeriesRecord series{};
    sizes_walk_by_key(chk_files.rvser, series, 0, [&] {
        if (op_interrupted()) {
            return false;
        }
        SeriesRecord tried = series;
        if (mend_sizes(tried) != 0) {
            if (const size_reasons reasons = mend_on_file(series.key); reasons != 0) {
                sizes_print_mended(series, reasons);
                tell(series, reasons);
                mended++;
            }
        }
        bar_step();
        return true;
    });
    chk_progress(0, 0, chk_bar::close);
    return mended;
}
