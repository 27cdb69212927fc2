#include "base/operator.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "base/catalog.h"

operator_table isam_operator{};

void fatal_plain(const char *text) {
    std::printf("%s\r\n%s\r\n%s\r\n%s\r\n", term_text(1, 94, "PROGRAMMA AFGEBROKEN"), text,
                term_text(1, 95, "Neem contact op met de Support-groep"),
                term_text(1, 96, "<ENTER> voor vervolg"));
    std::fflush(stdout);
    for (int c = std::getchar(); c != '\n' && c != EOF;) {
        c = std::getchar();
    }
}

void isam_fatal(const char *format, ...) {
    char text[1024];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (isam_operator.fatal != nullptr) {
        isam_operator.fatal(text);
    }
    fatal_plain(text);
    std::exit(1);
}

op_default default_of(op_question question) {
    switch (question) {
        case op_question::repair_customers:
            return op_default::yes;
        case op_question::assign_codes:
            return op_default::none;
        default:
            return op_default::no;
    }
}

void op_status(const char *text) {
    if (isam_operator.status != nullptr) {
        isam_operator.status(text);
    }
}

void op_phase() {
    if (isam_operator.phase != nullptr) {
        isam_operator.phase();
    }
}

void op_tell(op_notice notice, const std::vector<std::string> &lines) {
    if (isam_operator.tell != nullptr) {
        isam_operator.tell(notice, lines);
    }
}

bool op_ask(op_question question, const char *text, const std::vector<std::string> &lines) {
    return isam_operator.ask != nullptr && isam_operator.ask(question, text, lines);
}

namespace {

void show(op_field field, const char *caption, const char *value) {
    if (isam_operator.show != nullptr) {
        isam_operator.show(field, caption, value);
    }
}

}  // namespace

void op_caption(op_field field, const char *caption) {
    show(field, caption, nullptr);
}

void op_value(op_field field, const char *value) {
    show(field, nullptr, value);
}

void op_clear(op_field field) {
    show(field, nullptr, nullptr);
}

void op_patience() {
    if (isam_operator.patience != nullptr) {
        isam_operator.patience();
    }
}

bool op_interrupted() {
    return isam_operator.interrupted != nullptr && isam_operator.interrupted();
}

void op_interrupt_arm() {
    if (isam_operator.interrupt_arm != nullptr) {
        isam_operator.interrupt_arm();
    }
}

void op_leave_if_due() {
    if (isam_operator.leave_if_due != nullptr) {
        isam_operator.leave_if_due();
    }
}

bool op_await_turn(bool may_ask, const std::function<bool()> &granted) {
    if (isam_operator.await_turn != nullptr) {
        return isam_operator.await_turn(may_ask, granted);
    }
    while (!granted()) {
        sleep(1);
    }
    return true;
}

void op_end() {
    if (isam_operator.end != nullptr) {
        isam_operator.end();
    }
    std::exit(0);
}

void op_in_use(const char *text) {
    constexpr int seconds = 2;
    if (isam_operator.last_line != nullptr) {
        isam_operator.last_line(true, text, seconds);
    } else {
        sleep(seconds);
    }
}

bool op_due(std::chrono::steady_clock::time_point &last) {
    // Asked for each record: the coarse clock costs a fraction, and some milliseconds can't be seen.
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    const std::chrono::steady_clock::time_point now(std::chrono::seconds(time.tv_sec) +
                                                    std::chrono::nanoseconds(time.tv_nsec));
    if (now - last < std::chrono::milliseconds(50)) {
        return false;
    }
    last = now;
    return true;
}

leave_guard::leave_guard() {
    if (isam_operator.hold != nullptr) {
        isam_operator.hold();
    }
}

leave_guard::~leave_guard() {
    if (isam_operator.release != nullptr) {
        isam_operator.release();
    }
}
