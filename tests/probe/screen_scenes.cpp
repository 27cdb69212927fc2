#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "probe.h"
#include "run/dialogue.h"
#include "screen/macros.h"

namespace {

/// A variable of any type; '#' where nothing was written.
struct variable {
    alignas(8) char bytes[300];
};

/// Bytes of a number; 0 for a text.
std::size_t size_of(char type) {
    return type == 'f'                                 ? sizeof(double)
           : type == 'B' || type == 'l'                ? 4
           : type == 'd' || type == 'u' || type == 'D' ? 2
           : type == 'n' || type == 'U' || type == 'b' ? 1
                                                       : 0;
}

void load(variable &v, char type, int width, const char *value) {
    std::memset(&v, '#', sizeof v);
    const double fraction = std::atof(value);
    const long number = type == 'D' ? date_from_str(value) : std::atol(value);
    if (type == 'f') {
        std::memcpy(v.bytes, &fraction, sizeof fraction);
    } else if (size_of(type) > 0) {
        std::memcpy(v.bytes, &number, size_of(type));
    } else if (type == 's' || type == 'S') {
        std::memcpy(v.bytes, value, std::strlen(value) + 1);
    } else {
        std::strncpy(v.bytes, value, static_cast<std::size_t>(width));
    }
}

/// A text goes up to the first byte that was never written; a zero shows as a point.
std::string shown(const variable &v, char type) {
    const std::size_t size = size_of(type);
    if (type == 'f') {
        double fraction = 0;
        std::memcpy(&fraction, v.bytes, sizeof fraction);
        return str_format("%.3f", fraction);
    }
    if (size == 0) {
        std::string text(v.bytes, std::string_view(v.bytes, sizeof v.bytes).find('#'));
        std::replace(text.begin(), text.end(), '\0', '.');
        return text;
    }
    long number = 0;
    std::memcpy(&number, v.bytes, size);
    if (type == 'D') {
        return number == 0 ? "0" : date_show_long(static_cast<day_number>(number));
    }
    const bool below_zero = std::strchr("Bldn", type) != nullptr && number >> (size * 8 - 1) != 0;
    return std::to_string(below_zero ? number - (1L << size * 8) : number);
}

const char *exit_name() {
    const std::pair<int, const char *> names[] = {{K_CANCEL, " cancel"}, {K_ESC, " esc"}, {K_UP, " up"},
                                                  {K_DOWN, " down"},     {K_TAB, " tab"}, {K_F1, " f1"},
                                                  {K_HELP, " help"},     {key_enter, ""}};
    const auto found = std::find_if(std::begin(names), std::end(names),
                                    [](const auto &each) { return each.first == scr->ing_exit; });
    return found == std::end(names) ? " ?" : found->second;
}

/// FORMAT VALUE KEYS: one field, and then what came of it. KEYS names the keys that may end it, or the limits
/// as "MIN" or "MIN:MAX", or is "edge" for a field at the edge of a window.
void edit(char **arguments) {
    const char *format = arguments[0];
    const char type = format[std::strspn(format, " 0123456789.")];
    variable v;
    load(v, type, std::max(std::atoi(format), 1), arguments[1]);
    const std::string keys = arguments[2];
    for (const auto &[name, slot] : {std::pair{"cancel", K_CANCEL},
                                     {"up", K_UP},
                                     {"down", K_DOWN},
                                     {"tab", K_TAB},
                                     {"help", K_HELP},
                                     {"function", K_F5},
                                     {"function", K_F12}}) {
        if (keys.find(name) != std::string::npos) {
            key_allow(slot);
        }
    }
    double lower = 0.0;
    double upper = -1.0;
    if (std::sscanf(keys.c_str(), "%lf:%lf", &lower, &upper) > 0) {
        scr->scr_keys->ing_min = lower;
        scr->scr_keys->ing_max = upper;
    }
    const bool at_edge = keys == "edge";
    if (at_edge) {
        win_open1(4, 1, 3, 12);
    }
    const int changed = INGAVE(at_edge ? 2 : 5, at_edge ? 9 : 10, format, {}, static_cast<void *>(v.bytes));
    scr_base_text(A_BOLD, 15, 1, "[%s] %s%s%s", shown(v, type).c_str(), changed != 0 ? "changed" : "same",
                  exit_name(), (scr->ing_status & ING_EMPTY) != 0 ? " empty" : "");
    const bool clean = scr->scr_keys->ing_min == 0.0 && scr->scr_keys->ing_max == -1.0 &&
                       scr->scr_keys->soft == 0 && scr->scr_keys->mask == key_state{}.mask;
    scr_base_text(A_BOLD, 16, 1, "%s", clean ? "" : "toetsen niet opgeruimd");
    hold();
}

/// At the edges of the screen and of a window, before and after it has a frame; then clearing within one.
void placing(char **) {
    std::string counts;
    const auto place = [&counts](int row, int col, const char *text) {
        counts += " " + std::to_string(scr_text(A_BOLD, row, col, "%s", text));
    };
    place(3, 0, "links buiten");
    place(3, scr->scr_cols, "rand");
    place(scr->scr_lines + 1, 1, "onder buiten");
    place(4, 71, "afgesneden bij de rand");
    win_open1(6, 10, 5, 30);
    place(1, 1, "zonder kader");
    win_title(" %s ", "titel");
    place(1, 1, "met kader");
    place(4, 1, "onder het kader");
    place(3, 1, "deze regel is langer dan het venster");
    scr_text(A_BOLD | A_UNDERLINE, 2, 1, "kop");
    scr_text(A_BOLD | A_REVERSE, 2, 10, "keuze");
    scr->scr_off = true;
    place(1, 1, "onzichtbaar");
    error("ook onzichtbaar");
    scr->scr_off = false;
    scr_base_text(A_BOLD, 20, 1, "uitkomst%s", counts.c_str());
    hold();
    for (int row = 1; row <= 3; row++) {
        scr_text(A_BOLD, row, 1, "%s", std::string(28, 'X').c_str());
    }
    scr_clear_eol(1, 4);
    scr_clear_eos(2, 2);
    hold();
    win_close();
    hold();
}

/// Messages, and windows that lie over the one below and give back what they hid.
void stack(char **) {
    for (int row = 1; row <= scr->scr_lines; row++) {
        scr_text(A_DIM, row, 1, "onderlaag %d", row);
    }
    win_open1(5, 1, 10, 40);
    win_title(" %s ", "een");
    win_open3(8, 3, 5, 20);
    win_title(" %s ", "twee");
    hold();
    win_close();
    hold();
    win_close();
    hold();
    const std::string messages[] = {"eerste melding", "kort", std::string(100, 'M'), ""};
    for (const std::string &text : messages) {
        error("%s", text.c_str());
        hold();
    }
}

/// Two wide screens one after the other, then three descriptions on top of each other, each with its size.
void sizes(char **) {
    for (const char *mode : {"", "-w", "close", "-w", "close", "-l", "-w", "close", "close"}) {
        if (*mode == '-') {
            scr_switch_terminal(mode);
            scr_text(A_BOLD, 1, scr->scr_cols - 4, "rand");
            scr_text(A_BOLD, 2, 1, "terminals %d", scr->scr_nterm);
        } else if (*mode != '\0') {
            win_close();
        }
        scr_text(A_BOLD, scr->scr_lines, 1, "%d x %d %d x %d", LINES, COLS, scr->scr_lines, scr->scr_cols);
        hold();
    }
}

void fatal_in_windows(char **) {
    win_open1(3, 3, 10, 40);
    win_title(" %s ", "bezig");
    scr_fatal("%s: %s", "PROEF", "kan niet verder");
}

/// A fault with the stack full is shown all the same, and one within the fatal stop does not hide it.
void full_stack(char **) {
    while (scr->scr_nwin < scr_max_windows) {
        win_open1(2, 2, 5, 20);
    }
    scr_switch_terminal("-w");
}

/// Letters, lines and attributes, and the code of every key, numbered; q ends it.
void characters(char **) {
    scr_text(A_BOLD, 2, 1, "caf\x82 \x81 %c%c", 0xDB, 0xF9);
    scr_text(A_BOLD | A_ALTCHARSET, 3, 1, "aaa");
    scr_move(3, 10);
    win_attr(A_BOLD | A_ALTCHARSET);
    scr_add("qq");
    scr_add("q%s", std::string(100, 'x').c_str());
    scr_text(A_BOLD, 4, 1, "stuur\x07\x1b[2Jtekens\n");
    wmove(win_current(), 9, 0);
    for (const attr_t attribute : {A_BOLD, A_DIM, A_UNDERLINE, A_REVERSE, A_BLINK}) {
        wattrset(win_current(), static_cast<int>(attribute));
        waddstr(win_current(), "x");
    }
    for (int count = 0, key = 0; key != 'q'; count++) {
        scr_text(A_BOLD, 6, 1, "toets %d is %d.  ", count, key);
        scr_flush(0);
        key = key_get(win_current());
    }
}

/// What the key reader does with its queue and with what waits.
void keys(char **) {
    key_unget('1');
    key_unget('2');
    const int last = key_get(win_current());
    scr_text(A_BOLD, 2, 1, "%c voor %c", last, key_get(win_current()));
    scr_text(A_BOLD, 3, 1, "wacht %d", key_wait(1, 1, 1));
    char name[7];
    int row = 4;
    for (const int key : {KEY_F(1), KEY_F(12), KEY_BTAB, KEY_RIGHT, int{'x'}}) {
        key_name(key, name);
        scr_text(A_BOLD, row++, 1, "%s.", name);
    }
    // XON and XOFF are dropped, whatever waits comes in the order in which it was typed.
    hold();
    while (!key_wait(1, 1, 1)) {
    }
    const int first = key_get(win_current());
    scr_text(A_BOLD, 10, 1, "%c dan %c", first, key_get(win_current()));
    // Esc ends a replay; a key given back comes before those that are left of it.
    key_unget(K_ESC);
    macros.start('r');
    const int broken = key_get(win_current());
    scr_text(A_BOLD, 11, 1, "esc %d herhaalt %d", broken == K_ESC, macros.replaying());
    macros.start('r');
    key_unget('9');
    for (int col = 1; col <= 3; col++) {
        scr_text(A_BOLD, 12, col, "%c", key_get(win_current()));
    }
    hold();
}

void outcome(int row, int value) {
    scr_base_text(A_BOLD, row, 1, "uitkomst %d%s", value, scr->ing_exit == K_CANCEL ? " cancel" : "");
}

void questions(char **) {
    outcome(16, ing_akkoord(3, 2, "%s", ""));
    outcome(17, ing_akkoord(4, 2, "[+],%s", "Met ja"));
    outcome(18, ing_akkoord(5, 2, "[-]"));
    outcome(19, ing_akkoord(6, 2, "[J]Zeker"));
    outcome(20, ing_akkoord(scr->scr_lines, 2, "[-]%s", "Een vraag waar een melding over heen komt"));
}

void boxes(char **) {
    key_allow(K_F5);
    outcome(16, FFLASH(-1, 0, A_DIM, "titel", "eerste\tregel\ntweede"));
    outcome(17, FFLASH(-2, 2, A_DIM, nullptr, "Alleen een vraag"));
    outcome(18, FFLASH(-2, 1, A_DIM, "Waarschuwing", "Bestand is vol\n[+]Toch doorgaan"));
    FFLASH(0, 0, A_DIM, std::string(70, 'T').c_str(), "%s", std::string(90, 'x').c_str());
    scr_base_text(A_BOLD, 1, 1, "%s", key_allowed(K_F5) ? "toetsen bewaard" : "toetsen kwijt");
    hold();
    msg_info("een regel");
    msg_error("fout", "met twee regels");
    msg_warning("let op", nullptr, std::string(90, 'w').c_str());
    wait_box();
    char any = 0;
    (void)!read(STDIN_FILENO, &any, 1);  // reading a key would take the box away
}

std::string menu_runs;

void menu(char **) {
    menu_application.status_line = [] { scr_text(A_REVERSE, 1, 1, "%s", "statusregel"); };
    menu_application.information_page = [] { FFLASH(-1, 0, A_DIM, "informatie", "een\ntwee"); };
    do {
        menu_reset(0);
        menu_title(true, "  volledige \x82\x82n  ");
        menu_add(true, true, "series/etiketten", [] { menu_runs += " een"; });
        menu_add(true, true, "\x82\x82n klant met een tekst die niet in het menu past",
                 [] { menu_runs += " twee"; });
        menu_add(false, true, "verborgen", [] { menu_runs += " verborgen"; });
        menu_add(true, false, "niet beschikbaar", [] { menu_runs += " drie"; });
        menu_title(false, "niets");
        menu_title(true, "tweede");
        menu_add(true, true, "laatste", [] { menu_runs += " laatste"; });
        scr_text(A_BOLD, 20, 1, "gedraaid%s", menu_runs.c_str());
    } while (menu_run() != 0);
    menu_reset(1);
    menu_title(true, "leeg");
    menu_add(false, true, "verborgen", [] {});
    menu_run();
    menu_reset(1);
    menu_add(true, true, "zonder titel", [] { menu_runs += " enige"; });
    menu_run();
    scr_text(A_BOLD, 20, 1, "gedraaid%s", menu_runs.c_str());
    hold();
    menu_reset(10);
}

void bars(char **) {
    const auto &progress = isam_operator.progress;
    progress(0, 0, 40, " voortgang ");
    progress(1, 20, 40, nullptr);
    hold();
    progress(1, 5, 40, nullptr);
    progress(1, 0, 0, nullptr);
    progress(1, 90, 40, nullptr);
    hold();
    progress(2, 0, 0, nullptr);
    progress(4, 1, 4, "onderaan");
    progress(4, 2, 4, nullptr);
    hold();
    progress(5, 0, 0, nullptr);
    hold();
    progress(0, 0, 40, " tweede ");
    progress(1, 20, 40, nullptr);
    hold();
}

void long_check(char **) {
    busy_release();
    scr_text(A_BOLD, 1, 1, "%s", "lange controle");
    while (!isam_operator.interrupted()) {
        napms(20);
    }
    scr_text(A_BOLD, 2, 1, "%s", "gestopt");
    isam_operator.interrupt_reset();
    ing_break_off();
    scr_text(A_BOLD, 3, 1, "%s", isam_operator.interrupted() ? "nog gestopt" : "vergeten");
    hold();
}

/// An update during which the operator is asked something, and one that is not asked anything.
void leaving(char **) {
    scr_leave_handler = [] {
        std::printf("netjes geeindigd\n");
        scr_exit(0);
    };
    {
        const leave_guard guard;
        scr_text(A_BOLD, 1, 1, "%s", "bijwerken");
        hold();
        scr_text(A_BOLD, 2, 1, "bijgewerkt %d", scr_leave_requested() ? 1 : 0);
        scr_flush(0);
    }
    scr_text(A_BOLD, 3, 1, "%s", "wachten");
    hold();
}

/// Every kind of input one after the other, for keys typed at random, until a field in row 23 holds "stop".
void anything(char **) {
    std::int32_t amount = 1234;
    std::uint16_t date = 36526;
    double fraction = 1.5;
    std::uint8_t yes = 1;
    char text[21] = "tekst";
    char wide[41] = "een lange tekst die schuift";
    char hex[9] = "0A1B";
    char word[5] = "";
    busy_release();
    menu_application.information_page = [] { FFLASH(-1, 0, A_DIM, "informatie", "een\ntwee"); };
    const auto field = [](int row, const char *format, auto *target) {
        INGAVE(row, 5, format, {&K_UP, &K_DOWN, &K_CANCEL}, target);
    };
    while (std::strcmp(word, "stop") != 0) {
        field(3, "8B,JEP", &amount);
        field(4, "7l,ZPN", &amount);
        field(6, "10D,E", &date);
        field(7, "6.2f,ZPN", &fraction);
        field(8, "b", &yes);
        field(9, "20s,U", static_cast<char *>(text));
        field(10, "40.12S", static_cast<char *>(wide));
        field(11, "8x", static_cast<char *>(hex));
        field(12, "4c[0123456789ABCDEF],S", static_cast<char *>(word));
        ing_akkoord(14, 5, "%s", "Vraag");
        isam_operator.interrupted();
        isam_operator.interrupt_reset();
        menu_reset(0);
        menu_title(true, "menu");
        menu_add(true, true, "een", [] {});
        menu_add(true, true, "twee", [] {});
        menu_run();
        scr_text(A_BOLD, 1, 1, "%s", "bovenaan");
        INGAVE(23, 5, "4s", {}, static_cast<char *>(word));
    }
}

void answer(bool yes) {
    scr_text(A_BOLD, 12, 1, "antwoord %s", yes ? "ja" : "nee");
    hold();
    scr_clear_eol(12, 1);
}

/// All fields, notices and questions of the operator of the terminal program, one after another.
void operator_scene(char **) {
    dialogue_install();
    const int fields = static_cast<int>(op_field::journal_series);
    for (int i = 0; i <= fields; i++) {
        const auto field = static_cast<op_field>(i);
        for (int row = 1; row <= scr->scr_lines; row++) {
            scr_text(A_DIM, row, 75, "rest");
        }
        op_caption(field, "bijschrift");
        op_value(field, "oude waarde");
        op_value(field, std::to_string(i).c_str());
        hold();
        op_clear(field);
        hold();
        scr_clear_eos(1, 1);
    }
    scr_text(A_DIM, 2, 1, "onder de vensters");
    for (int i = 0; i <= static_cast<int>(op_notice::bad_marks); i++) {
        op_tell(static_cast<op_notice>(i), {"regel 1", "regel 2", "regel 3", "regel 4"});
        hold();
    }
    for (int i = 0; i <= static_cast<int>(op_question::assign_codes); i++) {
        answer(op_ask(static_cast<op_question>(i), "Vraag", {"regel 1"}));
    }
    // Another program is at work for a while, then all the time.
    for (const int tries : {1, 1000}) {
        int left = tries;
        answer(op_await_turn(true, [&left] { return --left == 0; }));
    }
}

}  // namespace

const named_scene screen_scenes[16] = {
    {"edit", edit},   {"operator", operator_scene}, {"placing", placing},       {"stack", stack},
    {"sizes", sizes}, {"fatal", fatal_in_windows},  {"full-stack", full_stack}, {"characters", characters},
    {"keys", keys},   {"questions", questions},     {"boxes", boxes},           {"menu", menu},
    {"bars", bars},   {"long-check", long_check},   {"leaving", leaving},       {"anything", anything},
};
