// A program that plays one scene in a session: probe SCENE [ARGUMENT...]
//   <F2> and z write a mark after all output, so that a test knows that its keys have been worked off. <F2>
//   and r replay a macro of three keys, <F2> and i one that the operator interrupts at its second key.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <deque>
#include <string_view>

#include "print/print.h"
#include "probe.h"
#include "screen/macros.h"

namespace {

std::deque<int> replay;
bool replay_on = false;
bool interrupt = false;

int start_macro(int key) {
    if (key == 'r' || key == 'i') {
        interrupt = key == 'i';
        replay = {'2', '3'};
        replay_on = true;
        return '1';
    }
    std::fflush(stdout);
    constexpr std::string_view mark = "\033]2;mark\007";
    (void)!write(STDOUT_FILENO, mark.data(), mark.size());
    return -2;
}

int next_key() {
    const int key = replay.front();
    replay.pop_front();
    if (interrupt) {
        interrupt = false;
        raise(SIGINT);
    }
    return key;
}

void connect_macros() {
    macros.enabled = [] { return true; };
    macros.enable = macros.disable = [] {};
    macros.replaying = [] { return replay_on; };
    macros.keys_left = [] { return !replay.empty(); };
    macros.next_key = next_key;
    macros.push = [](int key) { replay.push_front(key); };
    macros.stop = [] {
        replay_on = false;
        replay.clear();
    };
    macros.choose = [] { return 0; };
    macros.record = [] { error("opnemen"); };
    macros.remove = [] { error("verwijderen"); };
    macros.start = start_macro;
}

}  // namespace

void hold() {
    scr_flush(0);
    key_get(win_current());
}

int main(int argc, char **argv) {
    connect_macros();
    SCRINIT();
    const std::string_view name = argc > 1 ? argv[1] : "";
    for (const auto &[known, play] : screen_scenes) {
        if (name == known) {
            play(argv + 2);
        }
    }
    for (const auto &[known, play] : print_scenes) {
        if (name == known) {
            prt_install();
            busy_release();
            play(argv + 2);
        }
    }
    scr_exit(0);
}
