// What the files of field editing share: the field's text and value, and the steps of an edit.
#pragma once

#include <string>
#include <string_view>

#include "screen/screen_internal.h"

inline constexpr std::size_t ing_text_size = 258;

/// The text being edited. All bytes after its end are zero, since character fields are written as a whole.
extern char ing_text[ing_text_size];
/// The value of a number, a date or a yes/no field.
extern double ing_value;
/// How the format string gave the character set, for the help window.
enum class charset_given : int { none, listed, excluded };
extern charset_given ing_charset;

/// The state of one edit of the field.
struct field_edit {
    int cursor = 0;         ///< index into the text, 0 to the width
    int first_visible = 0;  ///< index of the first visible character of a scrolling field
    std::string saved_text;
    double saved_value = 0.0;
    bool moved = false;  ///< a deletion counts as a movement
};

// format.cpp

/// Parses the format string into the field description, loads text and value from the caller's variable,
/// completes the key mask and sets the limits.
void ing_format(const char *format, field_target target);
/// True if the options hold `option`.
bool ing_option(char option);
/// True when the field's type letter is one of `types`.
bool ing_type_in(const char *types);
/// A number as the field shows it: `prec` decimals, left-aligned and padded with blanks to `width`.
std::string number_text(double value, int width, int prec);

// convert.cpp

/// True for the letter of a type.
bool convert_type_known(char type);
/// Size in bytes of the caller's variable for a number, a date or a yes/no; 0 for the text types.
std::size_t convert_storage(char type);
/// Loads a number, a date or a yes/no into the value.
void convert_load();
/// Copies a character array or a string into the text, at most the field's width.
void convert_load_text();
/// Writes value or text back to the caller's variable.
void convert_store();

// edit.cpp

/// The edit loop.
void ing_edit();
/// Shows "<text> message", with the field's text, on the message line and refuses the input.
void ing_fail(const char *message);
/// Puts a text into the field.
void text_set(std::string_view text);
/// Removes blanks at the end of the text.
void text_trim();
int text_length();
/// Puts back the text, or text and value, from the start of the edit.
void edit_restore_text(const field_edit &edit);
void edit_restore(const field_edit &edit);

// edit_keys.cpp

/// Applies a key that doesn't end the field to text and cursor.
void edit_key(field_edit &edit, int key);

// validate.cpp

/// Tests the text when an accepting key is pressed and turns it into the value.
void validate(const field_edit &edit, int key);

// number.cpp

/// Reads and tests the numeric text.
void ing_number();
/// The number that a text starts with, 0 if none; the decimal sign is always a point.
double number_from(std::string_view text);

// date_entry.cpp

/// True for a date with separators: width 8 or 10, and not relative.
bool date_separated();
/// Puts the separators into the text as far as it has been typed, and moves the cursor off them.
void date_place_separators(field_edit &edit);
/// Keeps the groups of digits in place after the deletion at the cursor.
void date_repair(field_edit &edit, char filler);
/// Takes the separators out of the text of a field of width 8 or 10.
void date_strip(char *text);
/// Tests the date in the text and turns it into the value.
void date_validate(const field_edit &edit);
/// A day number in the form for the field's width; day 0 gives blanks between the separators.
std::string date_text(double value);

// compose.cpp

/// Asks for a mnemonic and returns the character, or the code, that it stands for; 0 if there is none.
int compose_key();

// help.cpp

/// Explains the field in a window.
void ing_help();
