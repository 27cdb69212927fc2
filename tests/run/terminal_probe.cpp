// Opens the description of TERM with a capital, as the program does, shows a text in each attribute, and then
// the code of every key, numbered. `q` ends it.
#include <curses.h>
#include <stdlib.h>

#include <cctype>
#include <clocale>
#include <string>

int main() {
    setlocale(LC_ALL, "");
    std::string name = getenv("TERM");
    name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    SCREEN *screen = newterm(name.c_str(), stdout, stdin);
    if (!screen) {
        return 10;
    }
    cbreak();
    noecho();
    set_escdelay(50);
    keypad(stdscr, TRUE);
    static const struct {
        attr_t attribute;
        const char *text;
    } samples[] = {{A_BOLD, "bold"},
                   {A_DIM, "dim"},
                   {A_UNDERLINE, "underline"},
                   {A_REVERSE, "reverse"},
                   {A_BLINK, "blink"}};
    move(1, 0);
    for (const auto &sample : samples) {
        attrset(sample.attribute);
        addstr(sample.text);
        attrset(A_NORMAL);
        addch(' ');
    }
    move(2, 0);
    for (const chtype line : {ACS_ULCORNER, ACS_HLINE, ACS_URCORNER, ACS_VLINE, ACS_LARROW, ACS_RARROW}) {
        addch(line);
    }
    mvprintw(6, 0, "ready %dx%d", LINES, COLS);
    refresh();
    for (int count = 1, key = 0; key != 'q'; ++count) {
        key = getch();
        mvprintw(4, 0, "key %d is %d.", count, key);
        clrtoeol();
        refresh();
    }
    endwin();
    delscreen(screen);
    return 0;
}
