// The help window of a field: its whole content follows from the format and the key mask.
#include <string>

#include "screen/field_internal.h"

namespace {

constexpr int last_text_key = 254;

/// Places texts one after the other on a row.
class line_writer {
public:
    explicit line_writer(int row) : row_(row) {}
    void put(attr_t attr, const std::string &text) {
        scr_text(attr, row_, col_, "%s", text.c_str());
        col_ += static_cast<int>(text.size());
    }
    /// Starts one blank after the previous text.
    void put_behind(attr_t attr, const std::string &text) {
        col_++;
        put(attr, text);
    }

private:
    int row_;
    int col_ = 2;
};

const char *type_word() {
    switch (scr->field.ing_type) {
        case 'B':
            return term_text(1, 102, "bedrag");
        case 'c':
        case 'C':
        case 's':
        case 'S':
            return term_text(1, 100, "tekst");
        case 'D':
            return term_text(1, 103, "datum");
        case 'x':
        case 'X':
            return term_text(1, 104, "hexadecimale waarde");
        case 'b':
            return term_text(1, 101, "Ja of Nee");
        default:
            return term_text(1, 105, "getal");
    }
}

void show_kind() {
    line_writer line(2);
    line.put(A_DIM, term_text(1, 98, "Er wordt ingave"));
    if (scr->field.ing_type != 'b') {
        line.put_behind(A_DIM, term_text(1, 99, "van een"));
    }
    line.put(A_BOLD, str_format(" %s ", type_word()));
    line.put_behind(A_DIM, term_text(1, 246, "verwacht"));
}

void show_width() {
    const field_description &field = scr->field;
    line_writer line(3);
    line.put(A_DIM, ing_option('E') ? term_text(1, 106, "U moet") : term_text(1, 107, "U mag"));
    line.put_behind(A_BOLD, str_format(" %d ", field.ing_len));
    line.put_behind(A_DIM, term_text(1, 108, "posities vullen"));
    if (field.ing_numeric && field.ing_prec > 0) {
        line.put_behind(A_DIM, str_format(", %s ", term_text(1, 109, "waarvan")));
        line.put_behind(A_BOLD, str_format(" %d ", field.ing_prec));
        line.put_behind(A_DIM, term_text(1, 110, "cijfers na de komma"));
    }
    if (field.ing_type == 'D') {
        line.put_behind(A_BOLD, "  (DDMMJJ)");
    }
}

/// The text keys that are allowed, or those that are not.
std::string characters(bool allowed) {
    std::string text;
    for (int key = ' '; key <= last_text_key; key++) {
        if (key_allowed(key) == allowed) {
            text += static_cast<char>(key);
            text += ' ';
        }
    }
    return text;
}

const char *all_characters() {
    if (ing_type_in("cCsS")) {
        return term_text(1, 111, "Alle tekens");
    }
    if (ing_type_in("xX")) {
        return term_text(1, 114, "Hexadecimale tekens");
    }
    return scr->field.ing_type == 'b' ? term_text(1, 112, "J, N") : term_text(1, 113, "Alle cijfers");
}

void show_characters() {
    line_writer line(5);
    switch (ing_charset) {
        case charset_given::listed:
            line.put(A_BOLD, characters(true) + " ");
            break;
        case charset_given::excluded:
            line.put(A_BOLD, characters(false) + " ");
            line.put_behind(A_DIM, term_text(1, 115, "niet"));
            break;
        default:
            line.put(A_BOLD, str_format("%s ", all_characters()));
            break;
    }
    line.put_behind(A_DIM, term_text(1, 116, "toegestaan"));
}

std::string with_comma(const std::string &list, const std::string &name) {
    return list.empty() ? name : list + ", " + name;
}

void show_keys() {
    const struct {
        int key;
        const char *name;
    } named[] = {
        {K_UP, "Cursor Up"}, {K_DOWN, "Cursor Down"}, {K_PGUP, "Page Up"}, {K_PGDN, "Page Down"},
        {K_TAB, "Tab"},      {K_SHTAB, "Shift+Tab"},  {K_HELP, "HELP"},    {K_CANCEL, "CANCEL"},
    };
    std::string keys;
    for (const auto &each : named) {
        if (key_allowed(each.key)) {
            keys = with_comma(keys, each.name);
        }
    }
    if (!keys.empty()) {
        scr_text(A_DIM, 7, 2, "%s", term_text(1, 117, "De volgende functietoetsen zijn toe te passen :"));
        scr_text(A_BOLD, 8, 2, "%s", keys.c_str());
    }
    std::string function_keys;
    for (int i = 1; i <= 12; i++) {
        if (key_allowed(key_slot[11 + static_cast<std::size_t>(i)])) {
            function_keys = with_comma(function_keys, str_format("F%d", i));
        }
    }
    if (!function_keys.empty()) {
        scr_text(A_BOLD, 9, 2, "%s", function_keys.c_str());
    }
}

void show_range() {
    const field_description &field = scr->field;
    if (!field.ing_numeric) {
        return;
    }
    const int prec = field.ing_prec;
    const int width = prec > 0 ? prec + 1 : 0;
    const std::string lower = number_text(scr->scr_keys->ing_min, width, prec);
    const std::string upper = number_text(scr->scr_keys->ing_max, width, prec);
    line_writer line(10);
    line.put(A_DIM, str_format("%s : ", term_text(1, 118, "Bereik")));
    line.put(A_DIM, str_format("%s %s %s", lower.c_str(), term_text(1, 119, "t/m"), upper.c_str()));
}

}  // namespace

void ing_help() {
    constexpr int enter_row = 12;
    win_open(9, 5, 14, 70, 4);
    win_title(" %s ", term_text(1, 97, "Ingave HELP-informatie"));
    show_kind();
    show_width();
    show_characters();
    show_keys();
    show_range();
    scr_clear_eol(enter_row, 2);
    const int length = scr_text(A_DIM, enter_row, 2, "%s _", term_text(1, 96, "<ENTER> voor vervolg"));
    for (;;) {
        scr_move(enter_row, 2 + length - 1);
        if (key_get(win_current()) == key_enter) {
            break;
        }
        error("%s", term_text(1, 120, "Ongeldige ingave"));
    }
    win_close();
}
