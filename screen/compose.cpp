// Letters that the keyboard lacks, typed as a mnemonic: a letter and a sign, or an abbreviation.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string_view>

#include "screen/field_internal.h"

namespace {

struct compose_row {
    std::string_view mnemonic;
    int code;
};

constexpr compose_row ing_compose[] = {
    {"u\"", 129}, {"a\"", 132}, {"e\"", 137}, {"i\"", 139}, {"A\"", 142}, {"o\"", 148}, {"y\"", 152},
    {"O\"", 153}, {"U\"", 154}, {"E\"", 211}, {"I\"", 216}, {"e'", 130},  {"E'", 144},  {"a'", 160},
    {"i'", 161},  {"o'", 162},  {"u'", 163},  {"A'", 181},  {"I'", 214},  {"O'", 224},  {"U'", 233},
    {"y'", 236},  {"Y'", 237},  {"a^", 131},  {"e^", 136},  {"i^", 140},  {"o^", 147},  {"u^", 150},
    {"A^", 182},  {"E^", 210},  {"I^", 215},  {"O^", 226},  {"U^", 234},  {"a`", 133},  {"e`", 138},
    {"i`", 141},  {"o`", 149},  {"u`", 151},  {"A`", 183},  {"E`", 212},  {"I`", 222},  {"O`", 227},
    {"U`", 235},  {"n~", 164},  {"N~", 165},  {"a~", 198},  {"A~", 199},  {"o~", 228},  {"O~", 229},
    {"ao", 134},  {"Ao", 143},  {"C,", 128},  {"c,", 135},  {"u,", 230},  {"o/", 155},  {"O/", 157},
    {"c/", 189},  {"a_", 166},  {"o_", 167},  {"ae", 145},  {"AE", 146},  {"\\/", 158}, {"ro", 169},
    {"1/2", 171}, {"1/4", 172}, {"<<", 174},  {">>", 175},  {"co", 184},  {"Y=", 190},  {"D-", 209},
    {"ss", 225},  {"+-", 241},  {"3/4", 243}, {"SS", 245},  {":-", 246},  {"gr", 248},
};

constexpr int longest_mnemonic = 4;

}  // namespace

int compose_key() {
    const field_description &field = scr->field;
    const screen_place place = win_screen_place(field.ing_row, field.ing_col);
    win_open2(place.row, place.col, 3, longest_mnemonic + 2);
    win_title("%s", "");
    char text[longest_mnemonic + 1] = "";
    ing_line(1, 1, text, longest_mnemonic);
    win_close();
    const std::string_view mnemonic = text;
    if (std::all_of(mnemonic.begin(), mnemonic.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        // Only codes of characters: a higher number would be some other key.
        const int code = std::atoi(text);
        return code <= 255 ? code : 0;
    }
    const auto *row = std::find_if(std::begin(ing_compose), std::end(ing_compose),
                                   [&](const compose_row &each) { return each.mnemonic == mnemonic; });
    return row == std::end(ing_compose) ? 0 : row->code;
}
