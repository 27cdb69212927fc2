// How often each size is missing.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

/// A count for each missing size. There is room for the first `Room` sizes.
template <std::size_t Room>
class missing_sizes {
public:
    struct size {
        unsigned kind;
        unsigned index;
        std::uint32_t count;
    };
    void clear() {
        used = 0;
    }
    /// False, and nothing counted, when there is no room.
    bool add(unsigned kind, unsigned index) {
        const auto same = [&](const size &each) { return each.kind == kind && each.index == index; };
        size *const free = sizes.begin() + used;
        size *const place = std::find_if(sizes.begin(), free, same);
        if (place == sizes.end()) {
            return false;
        }
        if (place == free) {
            *place = {kind, index, 0};
            used++;
        }
        place->count++;
        return true;
    }
    [[nodiscard]] const size *begin() const {
        return sizes.begin();
    }
    [[nodiscard]] const size *end() const {
        return sizes.begin() + used;
    }

private:
    std::array<size, Room> sizes{};
    std::size_t used = 0;
};
