// A program that goes through one dialogue of the screen layer, for the tests that type into it.
//   field_probe edit FORMAT VALUE KEYS [MIN [MAX]]   one field; shows what came of it
//   field_probe SCENARIO
// <F2> and z write a mark after all output, so that a test knows that its keys have been worked off.
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <string>

#include "print/macros.h"
#include "screen/screen.h"

namespace {

constexpr int field_row = 5;
constexpr int field_col = 10;

void mark() {
    std::fflush(stdout);
    constexpr char text[] = "\033]2;mark\007";
    (void)!write(STDOUT_FILENO, text, sizeof text - 1);
}

/// A macro of three keys, started by 'r'; with 'i' the operator interrupts while its second key is read.
std::deque<int> replay;
bool replay_on = false;
bool interrupt = false;
bool macros_on = true;

void macros_connect() {
    macros.enabled = [] { return macros_on; };
    macros.enable = [] { macros_on = true; };
    macros.disable = [] { macros_on = false; };
    macros.replaying = [] { return replay_on && macros_on; };
    macros.keys_left = [] { return !replay.empty(); };
    macros.next_key = [] {
        const int key = replay.front();
        replay.pop_front();
        if (interrupt) {
            interrupt = false;
            raise(SIGINT);
        }
        return key;
    };
    macros.push = [](int key) { replay.push_front(key); };
    macros.stop = [] {
        replay_on = false;
        replay.clear();
    };
    macros.choose = [] { return 0; };
    macros.record = [] { error("opnemen"); };
    macros.remove = [] { error("verwijderen"); };
    macros.start = [](int key) {
        if (key == 'r' || key == 'i') {
            interrupt = key == 'i';
            replay = {'2', '3'};
            replay_on = true;
            return static_cast<int>('1');
        }
        mark();
        return -2;
    };
}

const char *exit_name() {
    const std::map<int, const char *> names{
        {key_enter, "enter"}, {K_CANCEL, "cancel"}, {K_ESC, "esc"}, {K_UP, "up"},
        {K_DOWN, "down"},     {K_TAB, "tab"},       {K_F1, "f1"},   {K_HELP, "help"},
    };
    const auto found = names.find(scr->ing_exit);
    return found == names.end() ? "?" : found->second;
}

union variable {
    std::int32_t i32;
    std::int16_t i16;
    std::uint16_t u16;
    std::int8_t i8;
    std::uint8_t u8;
    double f;
    char text[300];
};

char type_of(const char *format) {
    return format[std::strspn(format, " 0123456789.")];
}

void load(variable &v, const char *format, const char *value) {
    std::memset(&v, '#', sizeof v);
    const char type = type_of(format);
    const auto width = static_cast<std::size_t>(std::max(std::atoi(format), 1));
    switch (type) {
        case 'B':
        case 'l':
            v.i32 = std::atoi(value);
            break;
        case 'd':
            v.i16 = static_cast<std::int16_t>(std::atoi(value));
            break;
        case 'u':
            v.u16 = static_cast<std::uint16_t>(std::atoi(value));
            break;
        case 'D':
            v.u16 = date_from_str(value);
            break;
        case 'n':
            v.i8 = static_cast<std::int8_t>(std::atoi(value));
            break;
        case 'U':
        case 'b':
            v.u8 = static_cast<std::uint8_t>(std::atoi(value));
            break;
        case 'f':
            v.f = std::atof(value);
            break;
        case 's':
        case 'S':
            std::memcpy(v.text, value, std::strlen(value) + 1);
            break;
        default:
            std::strncpy(v.text, value, width);
            break;
    }
}

/// Bytes of a text up to the first that was never written; a zero shows as a point.
std::string written(const variable &v) {
    std::string text;
    for (const char *c = v.text; *c != '#'; c++) {
        text += *c == '\0' ? '.' : *c;
    }
    return text;
}

std::string shown(const variable &v, char type) {
    switch (type) {
        case 'B':
        case 'l':
            return std::to_string(v.i32);
        case 'd':
            return std::to_string(v.i16);
        case 'u':
            return std::to_string(v.u16);
        case 'D':
            return v.u16 == 0 ? "0" : date_show_long(v.u16);
        case 'n':
            return std::to_string(v.i8);
        case 'U':
        case 'b':
            return std::to_string(v.u8);
        case 'f':
            return str_format("%.3f", v.f);
        default:
            return written(v);
    }
}

void edit(char **argv) {
    const std::map<std::string, const int *> slots{
        {"cancel", &K_CANCEL}, {"up", &K_UP}, {"down", &K_DOWN}, {"tab", &K_TAB}, {"help", &K_HELP}};
    const char *format = argv[2];
    variable v;
    load(v, format, argv[3]);
    for (const auto &[name, slot] : slots) {
        if (std::strstr(argv[4], name.c_str()) != nullptr) {
            key_allow(*slot);
        }
    }
    if (argv[5] != nullptr) {
        scr->scr_keys->ing_min = std::atof(argv[5]);
        if (argv[6] != nullptr) {
            scr->scr_keys->ing_max = std::atof(argv[6]);
        }
    }
    // At the edge of a window, or in the middle of the screen.
    int col = field_col;
    if (std::strstr(argv[4], "edge") != nullptr) {
        win_open1(4, 1, 3, 12);
        col = 9;
    }
    const int changed = INGAVE(std::strstr(argv[4], "edge") != nullptr ? 2 : field_row, col, format, {},
                               static_cast<void *>(&v));
    scr_base_text(A_BOLD, 15, 1, "[%s] %s %s%s", shown(v, type_of(format)).c_str(),
                  changed != 0 ? "changed" : "same", exit_name(),
                  (scr->ing_status & ING_EMPTY) != 0 ? " empty" : "");
    const bool clean = scr->scr_keys->ing_min == 0.0 && scr->scr_keys->ing_max == -1.0 &&
                       scr->scr_keys->soft == 0 && scr->scr_keys->mask == key_state{}.mask;
    scr_base_text(A_BOLD, 16, 1, "%s", clean ? "" : "toetsen niet opgeruimd");
    key_get(win_current());
}

void outcome(int row, int value) {
    scr_base_text(A_BOLD, row, 1, "uitkomst %d %s", value, exit_name());
}

void questions() {
    outcome(16, ing_akkoord(3, 2, "%s", ""));
    outcome(17, ing_akkoord(4, 2, "[+],%s", "Met ja"));
    outcome(18, ing_akkoord(5, 2, "[-]"));
    outcome(19, ing_akkoord(6, 2, "[J]Zeker"));
    outcome(20, ing_akkoord(scr->scr_lines, 2, "[-]%s", "Een vraag waar een melding over heen komt"));
    key_get(win_current());
}

void flashes() {
    key_allow(K_F5);
    outcome(16, FFLASH(-1, 0, A_DIM, "titel", "eerste\tregel\ntweede"));
    outcome(17, FFLASH(-2, 2, A_DIM, nullptr, "Alleen een vraag"));
    outcome(18, FFLASH(-2, 1, A_DIM, "Waarschuwing", "Bestand is vol\n[+]Toch doorgaan"));
    outcome(19, FFLASH(0, 0, A_DIM, std::string(70, 'T').c_str(), "%s", std::string(90, 'x').c_str()));
    scr_base_text(A_BOLD, 20, 1, "%s", key_allowed(K_F5) ? "toetsen bewaard" : "toetsen kwijt");
    key_get(win_current());
}

void impossible_flash() {
    FFLASH(-3, 0, A_DIM, nullptr, "nooit");
}

void boxes() {
    msg_info("een regel");
    msg_error("fout", "met twee regels");
    msg_warning("let op", nullptr, std::string(90, 'w').c_str());
    wait_box();
    mark();
    char any = 0;
    (void)!read(STDIN_FILENO, &any, 1);
}

int menu_runs = 0;

void first() {
    menu_runs = menu_runs % 1000 * 10 + 1;
}

void second() {
    menu_runs = menu_runs % 1000 * 10 + 2;
}

void third() {
    menu_runs = menu_runs % 1000 * 10 + 3;
}

void status_line() {
    scr_text(A_REVERSE, 1, 1, "%s", "statusregel");
}

void menu() {
    menu_application.status_line = status_line;
    menu_application.information_page = [] {
        win_open1(9, 1, 5, 40);
        win_title("%s", "");
        ing_enter(2, 2);
        win_close();
    };
    int ran = 0;
    do {
        menu_reset(0);
        menu_title(true, "  volledige \x82\x82n  ");
        menu_add(true, true, "series/etiketten", first);
        menu_add(true, true, "\x82\x82n klant met een tekst die niet in het menu past", second);
        menu_add(false, true, "verborgen", first);
        menu_add(true, false, "niet beschikbaar", third);
        menu_title(false, "niets");
        menu_title(true, "tweede");
        menu_add(true, true, "laatste", third);
        scr_text(A_BOLD, 20, 1, "gedraaid %d", menu_runs);
        ran = menu_run();
    } while (ran != 0);
    scr_text(A_BOLD, 21, 1, "%s", "einde van het menu");
    key_get(win_current());
}

void empty_menu() {
    menu_reset(1);
    menu_title(true, "leeg");
    menu_add(false, true, "verborgen", first);
    outcome(16, menu_run());
    menu_reset(1);
    menu_add(true, true, "zonder titel", first);
    menu_run();
    scr_text(A_BOLD, 20, 1, "gedraaid %d", menu_runs);
    key_get(win_current());
    menu_reset(10);
}

void bars() {
    isam_operator.progress(0, 0, 40, " voortgang ");
    isam_operator.progress(1, 20, 40, nullptr);
    mark();
    key_get(win_current());
    isam_operator.progress(1, 5, 40, nullptr);
    isam_operator.progress(1, 0, 0, nullptr);
    isam_operator.progress(1, 90, 40, nullptr);
    mark();
    key_get(win_current());
    isam_operator.progress(2, 0, 0, nullptr);
    isam_operator.progress(4, 1, 4, "onderaan");
    isam_operator.progress(4, 2, 4, nullptr);
    mark();
    key_get(win_current());
    isam_operator.progress(5, 0, 0, nullptr);
    mark();
    key_get(win_current());
}

void long_check() {
    busy_release();
    scr_text(A_BOLD, 1, 1, "%s", "lange controle");
    while (!isam_operator.interrupted()) {
        napms(20);
    }
    scr_text(A_BOLD, 2, 1, "%s", "gestopt");
    isam_operator.interrupt_reset();
    ing_break_off();
    scr_text(A_BOLD, 3, 1, "%s", isam_operator.interrupted() ? "nog gestopt" : "vergeten");
    key_get(win_current());
}

void orderly_end() {
    std::printf("netjes geeindigd\n");
    scr_exit(0);
}

/// An update during which the operator is asked something, and one that is not asked anything.
void leaving() {
    scr_leave_handler = orderly_end;
    {
        const leave_guard guard;
        scr_text(A_BOLD, 1, 1, "%s", "bijwerken");
        key_get(win_current());
        scr_text(A_BOLD, 2, 1, "bijgewerkt %d", scr_leave_requested() ? 1 : 0);
        scr_flush(0);
    }
    scr_text(A_BOLD, 3, 1, "%s", "wachten");
    key_get(win_current());
}

/// What the key reader does with mask, slots, queue and replay, one answer a row.
void keys() {
    int row = 0;
    const auto answer = [&row](const char *what, int value) {
        scr_text(A_BOLD, ++row, 1, "%s %d", what, value);
    };
    key_allow(K_CANCEL);
    answer("esc bij cancel", key_allowed(K_ESC));
    key_deny(K_CANCEL);
    answer("esc zonder cancel", key_allowed(K_ESC));
    key_allow(K_HELP);
    answer("f1 bij help", key_is_exit(K_F1));
    key_allow(512);
    key_allow(-1);
    answer("buiten het masker", key_allowed(512) || key_allowed(-1));
    key_allow('a');
    answer("letter als uitgang", key_is_exit('a'));
    key_soft_set(K_UP);
    answer("zacht maar niet toegestaan", key_is_soft(K_UP));
    key_allow(K_UP);
    answer("zacht", key_is_soft(K_UP));
    key_state *kept = key_state_new();
    key_soft_clear(K_UP);
    key_deny('a');
    answer("zacht gewist", key_is_soft(K_UP));
    key_state_restore(kept);
    key_state_free(kept);
    answer("hersteld", key_is_soft(K_UP) && key_allowed('a'));
    key_unget('1');
    key_unget('2');
    answer("laatste eerst", key_get(win_current()) * 1000 + key_get(win_current()));
    key_unget(27);
    replay = {'7', '8'};
    replay_on = true;
    answer("afgebroken", key_get(win_current()) * 10 + (replay_on ? 1 : 0));
    replay = {'7', '8'};
    replay_on = true;
    key_unget('6');
    int read = 0;
    for (int i = 0; i < 3; i++) {
        read = read * 100 + key_get(win_current());
    }
    answer("herhaald", read);
    answer("wacht", key_wait(1, 1, 1));
    scr_text(A_BOLD, row + 1, 1, "%s", "klaar");
    mark();
    // XON and XOFF are dropped, whatever waits comes in the order in which it was typed.
    napms(300);
    key_pending();
    answer("eerste", key_get(win_current()));
    answer("tweede", key_get(win_current()));
    char name[7];
    for (const int key : {KEY_F(1), KEY_F(12), KEY_BTAB, KEY_RIGHT, int{'x'}}) {
        key_name(key, name);
        scr_text(A_BOLD, ++row, 1, "%s|", name);
    }
    key_get(win_current());
}

/// Every kind of input one after the other, for keys typed at random, until a field in row 23 holds "stop".
void anything() {
    std::int32_t amount = 1234;
    std::int32_t number = -5;
    std::uint16_t date = 36526;
    double fraction = 1.5;
    std::uint8_t yes = 1;
    char text[21] = "tekst";
    char wide[41] = "een lange tekst die schuift";
    char hex[9] = "0A1B";
    char word[5] = "";
    busy_release();
    menu_application.information_page = [] { FFLASH(-1, 0, A_DIM, "informatie", "een\ntwee"); };
    for (;;) {
        const auto field = [](int row, const char *format, auto *target) {
            INGAVE(row, 5, format, {&K_UP, &K_DOWN, &K_CANCEL}, target);
        };
        field(3, "8B,JEP", &amount);
        field(4, "7l,ZPN", &number);
        field(5, "8D", &date);
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
        menu_add(true, true, "een", first);
        menu_add(true, true, "twee", second);
        menu_run();
        scr_text(A_BOLD, 1, 1, "%s", "bovenaan");
        INGAVE(23, 5, "4s", {}, static_cast<char *>(word));
        if (std::strcmp(word, "stop") == 0) {
            return;
        }
    }
}

}  // namespace

int main(int argc, char **argv) {
    const std::map<std::string, void (*)()> scenarios{
        {"questions", questions},
        {"flashes", flashes},
        {"impossible-flash", impossible_flash},
        {"boxes", boxes},
        {"menu", menu},
        {"empty-menu", empty_menu},
        {"bars", bars},
        {"long-check", long_check},
        {"leaving", leaving},
        {"anything", anything},
        {"keys", keys},
    };
    if (argc < 2) {
        return 2;
    }
    macros_connect();
    SCRINIT();
    mark();
    const std::string name = argv[1];
    if (name == "edit" && argc >= 5) {
        edit(argv);
    } else {
        scenarios.at(name)();
    }
    scr_exit(0);
}
