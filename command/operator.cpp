#include "command/operator.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <set>

#include "command/courier.h"
#include "data/iotab.h"
#include "store/store.h"

namespace {

using steady = std::chrono::steady_clock;

operator_wishes wishes;
check_record *record = nullptr;
std::string check_name;
volatile std::sig_atomic_t cancelled = 0;
int holds = 0;
double waited = 0;  // seconds
std::set<std::string> answered_before;
std::set<std::string> refused_before;  ///< repairs, each with what was found then

void leave_if_due() {
    if (cancelled != 0 && holds == 0) {
        wishes.stop(stop_cause::cancelled, "", true);
    }
}

// ---- Waiting for other users

void wait_for(double seconds, const char *text) {
    leave_if_due();
    const double left = wishes.wait - waited;
    if (left <= 0) {
        wishes.stop(stop_cause::waited, text, holds == 0);
    }
    const double now = std::min(seconds, left);
    const timespec pause{static_cast<std::time_t>(now),
                         static_cast<long>((now - static_cast<double>(static_cast<long>(now))) * 1e9)};
    const auto began = steady::now();
    nanosleep(&pause, nullptr);
    waited += std::max(0.001, std::chrono::duration<double>(steady::now() - began).count());
    leave_if_due();
}

void wait_for_record(ICB *icb) {
    const off_t length = icb->reclen;
    const std::string holder = lock_holder_text("", icb->datfd, length * icb->recno, length);
    wait_for(2, str_format("%-.11s: %-.19s --> %s", icb->fname, icb->fdesc, holder.c_str()).c_str());
}

bool await_turn(bool, const std::function<bool()> &granted) {
    do {
        wait_for(1, detail_text(8, 672, "Verwerking is actief"));
    } while (!granted());
    return true;
}

// ---- Questions and notices

const char *default_letter(op_default preset) {
    return preset == op_default::yes ? "J" : preset == op_default::no ? "N" : "";
}

/// The answer of the person at the terminal, by way of the process that has it.
bool ask_person(const char *text, const char *preset) {
    const char answer = courier_ask({{"type", "ask"}, {"text", shown_text(text)}, {"default", preset}});
    if (answer == 'X') {
        cancelled = 1;
    }
    return answer == 'J';
}

/// The answer of the person at the terminal about a repair. Who has refused it is not asked again while the
/// check finds the same, as it does when all checks run once more.
bool ask_repair(const std::string &text, const char *preset) {
    const std::string now =
        fmt::format("{} {:x} {}", check_name, record == nullptr ? 0 : record->state(), text);
    if (refused_before.contains(now)) {
        return false;
    }
    const bool yes = ask_person(text.c_str(), preset);
    if (!yes) {
        refused_before.insert(now);
    }
    return yes;
}

bool ask(op_question question, const char *text, const std::vector<std::string> &lines) {
    if (cancelled != 0) {
        return false;
    }
    bool yes = wishes.answers == answer_mode::yes && (record == nullptr || !record->repair_is_vain());
    if (wishes.answers == answer_mode::ask) {
        std::string all;
        for (const std::string &line : lines) {
            all += line + "\n";
        }
        yes = ask_repair(all + text, default_letter(default_of(question)));
    }
    if (yes && record != nullptr) {
        record->agreed();
    }
    return yes;
}

void notice(const std::string &text) {
    courier_send({{"type", "notice"}, {"text", shown_text(text.c_str())}});
}

/// The questions of the store: whether to go on with a file, or to try again. A yes that brought the same
/// question back is not given again.
int flash(int wait, const char *title, const char *text) {
    constexpr int yes_or_no = -2;
    const std::string all = (title == nullptr || *title == '\0' ? "" : std::string(title) + ": ") + text;
    if (wait >= 0) {
        wait_for(std::max(wait, 1), text);
        return 1;
    }
    if (wait != yes_or_no) {
        notice(all);
        return 1;
    }
    if (wishes.answers == answer_mode::ask) {
        return ask_person(all.c_str(), "") ? 1 : 0;
    }
    return wishes.answers == answer_mode::yes && answered_before.insert(all).second ? 1 : 0;
}

void tell(op_notice, const std::vector<std::string> &lines) {
    std::string all;
    for (const std::string &line : lines) {
        all += (all.empty() ? "" : " ") + line;
    }
    notice(all);
}

// ---- Progress

void progress(int action, std::uint32_t value, std::uint32_t total, const char *title) {
    constexpr int opens = 0;
    constexpr int closes = 2;
    constexpr int kinds = 3;
    constexpr auto pause = std::chrono::milliseconds(100);
    static std::string caption;
    static steady::time_point shown;
    if (!wishes.bars) {
        return;
    }
    const int what = action % kinds;
    if (what == opens) {
        caption = title == nullptr ? "" : title;
    }
    const auto now = steady::now();
    if (what == closes || (what != opens && now - shown < pause)) {
        return;
    }
    shown = now;
    courier_send({{"type", "progress"},
                  {"check", check_name},
                  {"text", shown_text(caption.c_str())},
                  {"done", what == opens ? 0 : value},
                  {"total", total}});
}

}  // namespace

sigset_t operator_hear_signals(void (*handler)(int), int flags) {
    sigset_t signals;
    sigemptyset(&signals);
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (signal != SIGHUP || before.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
            sigaction(signal, &action, nullptr);
        }
    }
    return signals;
}

void operator_install(const operator_wishes &wanted) {
    wishes = wanted;
    isam_operator = {};
    isam_operator.fatal = [](const char *text) { wishes.stop(stop_cause::fatal, text, false); };
    isam_operator.flash = flash;
    isam_operator.last_line = [](bool, const char *text, int seconds) { wait_for(seconds, text); };
    isam_operator.progress = progress;
    isam_operator.interrupted = [] { return cancelled != 0; };
    isam_operator.interrupt_reset = isam_operator.interrupt_arm = [] {};
    isam_operator.hold = [] { holds++; };
    isam_operator.release = [] { holds--; };
    isam_operator.leave_if_due = leave_if_due;
    isam_operator.tell = tell;
    isam_operator.ask = ask;
    isam_operator.await_turn = await_turn;
    isam_operator.end = [] { wishes.stop(stop_cause::fatal, "", true); };
    ix_lock_wait = wait_for_record;
    operator_hear_signals([](int) { cancelled = 1; }, SA_RESTART);
    std::signal(SIGPIPE, SIG_IGN);
}

void operator_follow(check_record *followed, const char *check) {
    record = followed;
    check_name = check;
}

bool operator_cancelled() {
    return cancelled != 0;
}
