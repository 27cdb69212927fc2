// Size kinds in memory: a view of one size kind, read from RVMAAT, and a cursor that moves over its sizes.
//
// A size has an index, which never changes, and a sequence number, its place in the order of the kind. It
// exists in the kind when it has a sequence number.
#pragma once

#include "data/sizefile.h"

/// What a view says about a size.
struct size_cursor {
    std::uint8_t system;
    std::uint8_t kind;
    std::uint8_t index;     ///< size index, 1 to 95
    std::uint8_t sequence;  ///< sequence number, 1 to 95
    std::uint8_t position;  ///< place among the sizes of the view's bitmap, from 1; 0: not in it
    char code[3];
    char text[7];  ///< description; always empty
};
static_assert(sizeof(size_cursor) == 15);

/// A view, with tables for lookup in both directions. Callers may read it.
struct mt_view {
    bool open;
    bool own;  ///< the view is of the shop's own size system
    std::uint8_t system;
    std::uint8_t kind;
    SizeEntry by_index[96];     ///< link: sequence number, 0 for an index not in use; code in the own system
    SizeEntry by_sequence[96];  ///< link: size index, 0 for a number not in use
    std::uint8_t position[96];  ///< by size index
    std::uint8_t at_position[96];  ///< sequence number, by position
    std::uint8_t positions;        ///< the highest of them
    [[nodiscard]] bool has(unsigned index) const {
        return index < 96 && by_index[index].link != 0;
    }
};

inline constexpr int mt_max_views = 3;

/// Action of `mtread`.
enum class mt_action : char { first = 'F', next = 'N', previous = 'P', read = 'R' };
/// What `mtread` goes by: the field of the cursor that it starts from.
enum class mt_key : int { index = 1, sequence = 2, code = 3, position = 4 };

/// Opens a view of a size kind. A kind that is not on file has no sizes; in a damaged one, links that lead
/// out of the tables count as 0. A fourth view is refused with a warning, and null is returned. System 0,
/// kind 0 or a closed RVMAAT is an internal error.
mt_view *mtopen(int system, int kind);
/// Closes a view; one that is not open gives a warning.
void mtclose(mt_view *view);
/// Finds a size. Returns 1 and fills the cursor, or returns 0 and leaves it as it was. Positions count only
/// the sizes that `mtrange` gave; there are none before that.
int mtread(const mt_view *view, mt_action action, size_cursor &cursor, mt_key key);
/// Sets which sizes of the view have a position.
void mtrange(mt_view *view, const SizeBitmap &sizes);

/// Makes `view` a view of this kind, with positions for the given sizes if any. Kind 0, which no sound record
/// has, has no sizes.
void size_view(mt_view *&view, int system, int kind, const SizeBitmap *sizes = nullptr);
/// The view that the modules share; null while none has been asked for.
extern mt_view *session_sizes;
/// Closes it, so that the next use reads the kind again: other programs may have changed it.
void size_view_forget();
