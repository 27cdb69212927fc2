#include "command/fleet.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <list>
#include <optional>

#include "command/operator.h"
#include "command/output.h"
#include "command/question.h"
#include "command/shop.h"
#include "command/shop_copy.h"
#include "command/summary.h"

namespace {

using steady = std::chrono::steady_clock;

volatile std::sig_atomic_t cancelled = 0;

double seconds_since(steady::time_point began) {
    return std::chrono::duration<double>(steady::now() - began).count();
}

/// A shop that runs.
struct running_shop {
    std::size_t number;
    pid_t process;
    int from;  ///< pipe with what it tells
    int to;    ///< pipe for answers
    shop_result result{};
    long findings = 0;
    std::string received{};  ///< the begin of a line
    std::string copy{};
    std::optional<json> end{};
    steady::time_point began = steady::now();
};

class fleet {
public:
    explicit fleet(const run_options &options) : options_(options), output_(options) {}
    int run();

private:
    void start_next();
    [[noreturn]] void become_shop(const shop_orders &orders, int out, int in);
    [[nodiscard]] shop_orders orders_for(const std::string &directory) const;
    void wait_for_news();
    void hear(running_shop &shop);
    void obey(running_shop &shop, const std::string &line);
    void count(running_shop &shop, const json &check);
    void end(running_shop &shop);
    void settle(running_shop &shop, int process_status);
    void take_result(const shop_result &result);
    void pass_on_cancel();
    int close_run();

    const run_options &options_;
    run_output output_;
    std::list<running_shop> running_;
    std::vector<shop_result> results_;
    std::size_t next_ = 0;
    bool passed_on_ = false;
    pid_t own_process_ = getpid();
    sigset_t usual_mask_{};
    steady::time_point began_ = steady::now();
};

// ---- Starting

/// One shop has the directories as they were named; of several each has one of its own there.
shop_orders fleet::orders_for(const std::string &directory) const {
    const auto place = [&](const std::string &base) {
        if (base.empty() || options_.directories.size() == 1) {
            return base;
        }
        return base + "/" + name_of_shop(directory);
    };
    return {directory, place(options_.report), place(options_.keep), place(options_.backup),
            output_.bars.wanted()};
}

void fleet::become_shop(const shop_orders &orders, int out, int in) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != own_process_) {
        _exit(1);  // the starting process has died meanwhile
    }
    for (const running_shop &other : running_) {
        close(other.from);
        close(other.to);
    }
    courier_open(out, in);
    shop_run(options_, orders, usual_mask_);
}

void fleet::start_next() {
    const std::string &directory = options_.directories[next_];
    const shop_orders orders = orders_for(directory);
    int tells[2] = {-1, -1};
    int answers[2] = {-1, -1};
    const bool piped = pipe2(tells, O_CLOEXEC) == 0 && pipe2(answers, O_CLOEXEC) == 0;
    const pid_t process = piped ? fork() : -1;
    if (process < 0) {
        const int why = errno;
        for (const int fd : {tells[0], tells[1], answers[0], answers[1]}) {
            close(fd);
        }
        next_++;
        shop_result failed;
        failed.directory = directory;
        failed.status = status_unchecked;
        failed.reason = std::strerror(why);
        take_result(failed);
        return;
    }
    if (process == 0) {
        close(tells[0]);
        close(answers[1]);
        become_shop(orders, tells[1], answers[0]);
    }
    close(tells[1]);
    close(answers[0]);
    running_shop shop{.number = next_++, .process = process, .from = tells[0], .to = answers[1]};
    shop.result.directory = directory;
    running_.push_back(std::move(shop));
}

// ---- Hearing

void fleet::count(running_shop &shop, const json &check) {
    const finding_counts counts{check["found"], check["mended"], check["left"]};
    shop.result.counts += counts;
    if (counts.found > 0) {
        shop.result.by_check.emplace_back(check["check"].get<std::string>(), counts.found);
    }
}

void fleet::obey(running_shop &shop, const std::string &line) {
    const json told = json::parse(line);
    const std::string type = told["type"];
    if (type == "finding") {
        output_.object(line);
        output_.finding(told);
        shop.findings++;
    } else if (type == "check") {
        output_.object(line);
        count(shop, told);
    } else if (type == "progress") {
        output_.bars.step(shop.number, shop.result.directory,
                          told["check"].get<std::string>() + " " + told["text"].get<std::string>(),
                          told["done"], told["total"]);
    } else if (type == "notice") {
        output_.notice(shop.result.directory, told["text"]);
    } else if (type == "copy") {
        shop.copy = told["directory"];
    } else if (type == "ask") {
        output_.bars.clear();
        const char answer = cancelled != 0
                                ? 'X'
                                : question_ask(question_place(options_.json), shop.result.directory,
                                               told["text"], told["default"].get<std::string>(), usual_mask_);
        cancelled = answer == 'X' ? 1 : cancelled;
        if (write(shop.to, &answer, 1) != 1) {
            return;  // it has ended meanwhile, and is told as such
        }
    } else if (type == "end") {
        shop.end = told;
    }
}

/// Reads what a shop tells now; at the end of it the shop has ended.
void fleet::hear(running_shop &shop) {
    char bytes[65536];
    const ssize_t n = read(shop.from, bytes, sizeof bytes);
    if (n < 0 && errno == EINTR) {
        return;
    }
    if (n <= 0) {
        end(shop);
        return;
    }
    shop.received.append(bytes, static_cast<std::size_t>(n));
    std::size_t done = 0;
    for (std::size_t feed = 0; (feed = shop.received.find('\n', done)) != std::string::npos;
         done = feed + 1) {
        obey(shop, shop.received.substr(done, feed + 1 - done));
    }
    shop.received.erase(0, done);
}

void fleet::wait_for_news() {
    std::vector<pollfd> pipes;
    for (const running_shop &shop : running_) {
        pipes.push_back({shop.from, POLLIN, 0});
    }
    if (ppoll(pipes.data(), pipes.size(), nullptr, &usual_mask_) < 0) {
        return;
    }
    std::size_t i = 0;
    for (running_shop &shop : running_) {
        if (pipes[i++].revents != 0) {
            hear(shop);
        }
    }
    running_.remove_if([](const running_shop &shop) { return shop.from < 0; });
}

// ---- Ending

/// What has become of a shop whose process has ended.
void fleet::settle(running_shop &shop, int process_status) {
    shop_result &result = shop.result;
    finding_counts &counts = result.counts;
    if (!shop.end) {
        counts = {.found = shop.findings, .mended = 0, .left = shop.findings};  // nobody knows better
    }
    result.status = counts.left > 0 ? status_left : counts.mended > 0 ? status_mended : status_clean;
    if (shop.end) {
        const json &end = *shop.end;
        result.reason = end["reason"].is_null() ? "" : end["reason"].get<std::string>();
        result.status |= end["unchecked"].get<bool>() ? status_unchecked : 0;
        result.status |= end["cancelled"].get<bool>() ? status_cancelled : 0;
    } else if (WIFSIGNALED(process_status)) {
        const int signal = WTERMSIG(process_status);
        const bool by_person = signal == SIGINT || signal == SIGTERM || signal == SIGHUP;
        result.status |= by_person ? status_cancelled : status_unchecked;
        result.reason = shown_text(str_format(detail_text(28, 40, "proces afgebroken door signaal %d (%s)"),
                                              signal, strsignal(signal))
                                       .c_str());
    } else {
        result.status |= status_unchecked;
        result.reason = shown_text(
            str_format(detail_text(28, 41, "proces beeindigd met status %d"), WEXITSTATUS(process_status))
                .c_str());
    }
}

void fleet::take_result(const shop_result &result) {
    results_.push_back(result);
    json checks = json::object();
    for (const auto &[check, found] : result.by_check) {
        checks[check] = found;
    }
    output_.object(line_of({{"type", "shop"},
                            {"shop", result.directory},
                            {"status", result.status},
                            {"found", result.counts.found},
                            {"mended", result.counts.mended},
                            {"left", result.counts.left},
                            {"checks", checks},
                            {"reason", result.reason.empty() ? json(nullptr) : json(result.reason)},
                            {"rehearsed", options_.rehearse},
                            {"seconds", result.seconds}}));
}

void fleet::end(running_shop &shop) {
    int status = 0;
    while (waitpid(shop.process, &status, 0) < 0 && errno == EINTR) {
    }
    close(shop.from);
    close(shop.to);
    shop.from = -1;
    output_.bars.drop(shop.number);
    shop.result.seconds = seconds_since(shop.began);
    settle(shop, status);
    if (!shop.end && !shop.copy.empty()) {
        shop_copy_remove(shop.copy);
    }
    take_result(shop.result);
}

void fleet::pass_on_cancel() {
    if (passed_on_) {
        return;
    }
    passed_on_ = true;
    for (const running_shop &shop : running_) {
        kill(shop.process, SIGINT);
    }
    for (; next_ < options_.directories.size(); next_++) {
        shop_result result;
        result.directory = options_.directories[next_];
        result.status = status_cancelled;
        take_result(result);
    }
}

int fleet::close_run() {
    int status = 0;
    finding_counts counts;
    for (const shop_result &result : results_) {
        status |= result.status;
        counts += result.counts;
    }
    output_.object(line_of({{"type", "run"},
                            {"shops", results_.size()},
                            {"status", status},
                            {"found", counts.found},
                            {"mended", counts.mended},
                            {"left", counts.left},
                            {"seconds", seconds_since(began_)}}));
    output_.table(summary_table(results_));
    return output_.complete() ? status : status | status_unchecked;
}

int fleet::run() {
    const sigset_t signals = operator_hear_signals([](int) { cancelled = 1; }, 0);
    // They arrive only while this process waits, so none is missed.
    sigprocmask(SIG_BLOCK, &signals, &usual_mask_);
    std::signal(SIGPIPE, SIG_IGN);
    const auto all = options_.directories.size();
    while (next_ < all || !running_.empty()) {
        while (cancelled == 0 && next_ < all && running_.size() < static_cast<std::size_t>(options_.jobs)) {
            start_next();
        }
        if (cancelled != 0) {
            pass_on_cancel();
        }
        if (!running_.empty()) {
            wait_for_news();
        }
    }
    return close_run();
}

}  // namespace

int fleet_run(const run_options &options) {
    if (options.answers == answer_mode::no && !options.quiet) {
        write_out(stderr,
                  shown_text(detail_text(28, 42,
                                         "Alle vragen krijgen nee. Wat de controles zonder vraag herstellen, "
                                         "herstellen ze.")) +
                      "\n");
    }
    return fleet(options).run();
}
