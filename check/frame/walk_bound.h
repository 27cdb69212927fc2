// The end of a walk by key that would find none.
#pragma once

#include "store/store.h"

/// Counts the steps of a walk by key: a damaged index can lead in a circle, but no key has more entries than
/// its file has places for records. Other programs may add records meanwhile.
class walk_bound {
public:
    explicit walk_bound(const ICB *icb) : file(icb), places(icb->nrecs) {}
    /// False when there have been more steps than places.
    bool step() {
        if (++steps > places) {
            places = ix_record_places(file);
        }
        return steps <= places;
    }

private:
    const ICB *file;
    std::int32_t steps = 0;
    std::int32_t places;
};
