#include "command/shop.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include "check/journals/journals.h"
#include "command/courier.h"
#include "command/operator.h"
#include "command/shop_checks.h"
#include "command/shop_copy.h"
#include "command/text_report.h"
#include "data/shop_session.h"

namespace {

/// The shop of this process.
struct {
    const run_options *options = nullptr;
    const shop_orders *orders = nullptr;
    std::string copy;           ///< private, to be removed
    bool is_open = false;       ///< the user slot is bound
    bool ends = false;          ///< being left
    std::uint16_t printer = 0;  ///< the operator's print set-up, as it was
    std::uint8_t print_flags = 0;
    std::uint8_t print_connection = 0;
    std::optional<shop_checks> checks;
} shop;

// ---- The end

[[noreturn]] void finish(bool unchecked, bool cancelled, const std::string &why) {
    if (!shop.copy.empty()) {
        shop_copy_remove(shop.copy);
    }
    courier_send({{"type", "end"},
                  {"unchecked", unchecked},
                  {"cancelled", cancelled},
                  {"reason", why.empty() ? json(nullptr) : json(shown_text(why))}});
    _exit(0);
}

void restore_print_setup() {
    sys_slot.printer = shop.printer;
    sys_slot.print_flags = shop.print_flags;
    sys_slot.print_connection = shop.print_connection;
}

/// Gives the user slot back, with a warning to other programs when the labels were not proved sound.
void close_shop() {
    restore_print_setup();
    if (!ok_labels) {
        set_program_status(status_chains_suspect);
    }
    shop.is_open = false;
    shop_close();
}

[[noreturn]] void stop(stop_cause cause, const std::string &why, bool orderly) {
    const bool cancelled = cause == stop_cause::cancelled;
    const bool first = !shop.ends;
    shop.ends = true;
    if (first) {
        shop.checks->tell(cancelled ? "cancelled" : "stopped", why);
    }
    if (first && orderly && shop.is_open) {
        close_shop();
    }
    finish(!cancelled, cancelled, why);
}

// ---- The shop

/// A marker that is there must not say what is no longer true.
void settle_marker() {
    if (!shop.checks->sound()) {
        chk_marker_remove();
    } else if (shop.options->marker && !operator_cancelled() && shop.checks->unexplained().empty() &&
               chk_all_recent()) {
        chk_marker_write();
    }
}

/// Opens the shop as rvchk860 does.
void open_shop() {
    shop_open();
    if (std::string release; !shop_release_fits(release)) {
        stop(stop_cause::fatal,
             str_format("%s %-.5s", detail_text(3, 914, "Foutieve release: bestanden van"), release.c_str()),
             true);
    }
    shop_begin();
    shop.printer = sys_slot.printer;
    shop.print_flags = sys_slot.print_flags;
    shop.print_connection = sys_slot.print_connection;
    if (shop_whole_amounts()) {
        setenv("KPOS", "geset", 1);
    }
    set_program_title(detail_text(2, 660, "bestandscontroles"));
    chk_remove_temp();
    if (shop.options->marker) {
        chk_marker_remove();
    }
    if (chk_master_data_waits()) {
        stop(stop_cause::fatal, detail_text(8, 991, "Eerst stamgegevens verwerken a.u.b."), true);
    }
    chk_release_indexes();
    chk_reset_dates();
    chk_session_open();
    shop.is_open = true;
}

/// Makes a directory, with those above it.
void make_directory(const std::filesystem::path &path) {
    std::error_code failed;
    std::filesystem::create_directories(path, failed);
    if (failed) {
        stop(stop_cause::fatal, path.string() + ": " + failed.message(), true);
    }
}

/// Makes the copies that were asked for, and gives the directory in which the checks work.
std::string prepare_directory() {
    const shop_orders &orders = *shop.orders;
    std::error_code failed;
    const std::string from = std::filesystem::absolute(orders.directory, failed).string();
    if (failed) {
        stop(stop_cause::fatal, failed.message(), true);
    }
    copy_result result{.ok = true, .why = {}, .left_out = {}, .changed = {}};
    std::string work = from;
    if (shop.options->rehearse && orders.keep.empty()) {
        journal_copies_on_disk = false;
        result = shop_copy_private(from, rehearsal_place(), [](const std::string &copy) {
            shop.copy = copy;
            courier_send({{"type", "copy"}, {"directory", copy}});
        });
        work = shop.copy;
    } else if (shop.options->rehearse) {
        work = orders.keep;
        make_directory(std::filesystem::path(work).parent_path());
        result = shop_copy(from, work);
    } else if (!orders.backup.empty()) {
        make_directory(std::filesystem::path(orders.backup).parent_path());
        result = shop_copy(from, orders.backup);
    }
    if (!result.ok) {
        stop(operator_cancelled() ? stop_cause::cancelled : stop_cause::fatal, result.why, true);
    }
    for (const std::string &file : result.changed) {
        courier_send(
            {{"type", "notice"},
             {"text", file + ": " + shown_text(detail_text(28, 36, "gewijzigd tijdens het kopieren"))}});
    }
    return work;
}

}  // namespace

void shop_run(const run_options &options, const shop_orders &orders, const sigset_t &mask) {
    shop.options = &options;
    shop.orders = &orders;
    operator_install({.answers = options.answers, .wait = options.wait, .bars = orders.bars, .stop = stop});
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    shop.checks.emplace(options, orders.directory);
    const std::string directory = prepare_directory();
    if (chdir(directory.c_str()) != 0) {
        stop(stop_cause::fatal, std::strerror(errno), true);
    }
    if (!orders.report.empty()) {
        make_directory(orders.report);
    }
    text_report_install(orders.report);
    open_shop();
    shop.checks->take();
    chk_session_close();
    settle_marker();
    close_shop();
    const bool cancelled = operator_cancelled();
    shop.checks->tell("cancelled", cancelled ? detail_text(28, 34, "afgebroken") : "");
    const std::string why = shop.checks->unexplained();
    finish(!why.empty(), cancelled, why);
}
