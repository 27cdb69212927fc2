// Keeps other programs away from a series while it is looked at or mended.
#pragma once

#include "data/seriesfile.h"
#include "data/sessionfiles.h"

/// Holds a series while the object lives: its record is read under its lock, and a series that does not exist
/// can't be made meanwhile. Every program that changes the labels of a series, or takes a block for it, holds
/// it too; so row 4 is locked after a series and never before it. Only one series is held at a time. A walk
/// of the series file stays where it is.
class series_hold {
public:
    explicit series_hold(const SeriesKey &series);
    ~series_hold();
    series_hold(const series_hold &) = delete;
    series_hold &operator=(const series_hold &) = delete;

    [[nodiscard]] bool exists() const {
        return found;
    }
    /// Writes `record`, whose key may not have changed, and releases the series.
    void rewrite();
    /// Deletes the series.
    void remove();

    SeriesRecord record{};

private:
    void leave();

    key_switch by_key;
    SeriesKey series;
    std::int32_t walk_place;  ///< record number that a walk is at
    std::int32_t place = -1;  ///< that of the series
    bool found = false;
    bool held = true;
};
