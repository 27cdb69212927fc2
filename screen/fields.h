// Fields: one call lets the operator type a value.
//
// A field is described by a short format string: width, precision, type, character set, options.
//
//     "7l,IEZP"           signed number of 7 characters; opens empty, compulsory, zero and positive
//     "6.2f,ZPN"          floating point, 2 decimals
//     "10D,E"             date as DD-MM-JJJJ
//     "1c[+*C],EIAU"      one of three characters, accepted without <ENTER>
//     "b"                 yes or no
//
// Types: B amount (32 bits, hundredths), U n unsigned and signed 8 bits, d u signed and unsigned 16 bits, l
// signed 32 bits, f double, D day number (16 bits; width 6, 8 or 10), b yes or no (8 bits), c and C
// characters without a terminator, s and S a string, x and X hexadecimal text. The capitals C, S and X
// scroll; their precision is the visible width. Options: A accept when full, E compulsory, F fill completely,
// I open empty, J show right-aligned, N P Z allow negative, positive and zero values, S secret, U capitals.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <span>
#include <type_traits>

inline constexpr int ing_max_width = 255;
inline constexpr int ing_max_options = 20;

/// The field that is being edited, as its format string says.
struct field_description {
    int ing_row = 0;  ///< place in the current window
    int ing_col = 0;
    int ing_len = 0;   ///< width
    int ing_prec = 0;  ///< digits after the point
    char ing_type = '\0';
    char ing_opts[ing_max_options + 1] = "";
    bool ing_numeric = false;
    bool ing_hidden = false;     ///< secret: only underscores are shown
    int ing_scroll = 0;          ///< not zero for a scrolling field
    int ing_vis = 0;             ///< visible width of a scrolling field
    void *ing_target = nullptr;  ///< the caller's variable
};

/// A caller's variable: its address, and its size in bytes if known (0 if not).
struct field_target {
    void *address = nullptr;
    std::size_t room = 0;
    bool scalar = false;  ///< the variable is one number, so its size must be exactly that of the type
};

template <typename T>
field_target ing_target_of(T &&target) {
    using plain = std::remove_reference_t<T>;
    if constexpr (std::is_array_v<plain>) {
        return {target, sizeof target, false};
    } else {
        using pointee = std::remove_pointer_t<plain>;
        if constexpr (std::is_array_v<pointee>) {
            return {target, sizeof(pointee), false};
        } else if constexpr (std::is_void_v<pointee>) {
            return {target, 0, false};
        } else {
            constexpr bool bytes = sizeof(pointee) == 1;
            return {target, bytes ? 0 : sizeof(pointee), !bytes};
        }
    }
}

/// Edits one field; call it through INGAVE. An error in the format string is fatal.
int ing_field(int row, int col, const char *format, std::span<const int *const> slots, field_target target);

/// Lets the operator edit a variable in a field at `row`, `col` of the current window. `slots` are the keys
/// that may end it besides <ENTER>. Before the call, `key_allow` may allow more keys and `scr_keys` may set
/// limits. Returns ING_CHANGED if the content changed, else 0. `ing_exit` and `ing_status` can be read
/// afterwards.
template <typename T>
int INGAVE(int row, int col, const char *format, std::initializer_list<const int *> slots, T &&target) {
    return ing_field(row, col, format, {slots.begin(), slots.size()}, ing_target_of(target));
}

/// Small line editor that starts empty and takes at most `maxlen` characters (`text` has room for one more).
/// Returns KEY_F(2) when the text is accepted, which is also when it is full, and 27 when the operator gives
/// up.
int ing_line(int row, int col, char *text, int maxlen);

/// The letters for yes and no.
char ing_yes_letter();
char ing_no_letter();
