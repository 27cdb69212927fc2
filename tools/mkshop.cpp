// mkshop: makes the data directory of a shop.
#include <getopt.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "base/operator.h"
#include "tools/shop/shop.h"
#include "tools/version.h"

namespace {

enum option_code {
    option_series = 256,
    option_labels,
    option_branches,
    option_customers,
    option_tills,
    option_digits,
    option_unlinked,
    option_no_transit,
    option_no_decimals,
    option_checked,
    option_seed,
    option_today,
    option_fault,
    option_force,
    option_help,
    option_version,
};

constexpr option options[] = {
    {"series", required_argument, nullptr, option_series},
    {"labels", required_argument, nullptr, option_labels},
    {"branches", required_argument, nullptr, option_branches},
    {"customers", required_argument, nullptr, option_customers},
    {"tills", required_argument, nullptr, option_tills},
    {"digits", required_argument, nullptr, option_digits},
    {"unlinked", no_argument, nullptr, option_unlinked},
    {"no-transit", no_argument, nullptr, option_no_transit},
    {"no-decimals", no_argument, nullptr, option_no_decimals},
    {"checked", required_argument, nullptr, option_checked},
    {"seed", required_argument, nullptr, option_seed},
    {"today", required_argument, nullptr, option_today},
    {"fault", required_argument, nullptr, option_fault},
    {"force", no_argument, nullptr, option_force},
    {"help", no_argument, nullptr, option_help},
    {"version", no_argument, nullptr, option_version},
    {nullptr, 0, nullptr, 0},
};

constexpr char usage[] =
    "usage: mkshop DIRECTORY [option ...]\n"
    "Makes the data directory of a fashion and shoe shop: all its files, agreeing with one another.\n"
    "  --series N         series of articles (120)\n"
    "  --labels N         labels of a series on average (10)\n"
    "  --branches N       branches (3)\n"
    "  --customers N      customers, 0 for a shop that keeps none (two for every three series)\n"
    "  --unlinked         sold labels are not linked to customers\n"
    "  --tills N          tills of a branch (2)\n"
    "  --digits N         digits of a label number: 6, 7 or 8 (7)\n"
    "  --no-transit       branches send no goods to one another\n"
    "  --no-decimals      a home currency without decimals\n"
    "  --checked DAYS     all checks passed so many days ago (never)\n"
    "  --seed S           another shop; the same seed gives the same bytes (1)\n"
    "  --today DDMMYYYY   the day that all dates lead up to (today)\n"
    "  --fault NAME       spoils the shop; may be repeated, names below\n"
    "  --force            writes into a directory that holds other files\n"
    "  --help             these options, and the names of the faults\n"
    "  --version          the version, and the commit it was built from\n";

[[noreturn]] void complain(const std::string &why) {
    std::fprintf(stderr, "mkshop: %s\n", why.c_str());
    std::exit(EXIT_FAILURE);
}

/// The number given with an option; anything but a number in the range of int is refused.
int number_of(const char *name, const char *text) {
    char *end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || value < INT_MIN || value > INT_MAX) {
        complain(std::string("--") + name + " wants a number, not \"" + text + "\"");
    }
    return static_cast<int>(value);
}

/// A count given by the user; values below 0, which stand for a default, are refused on the command line.
int count_of(const char *name, const char *text) {
    const int value = number_of(name, text);
    if (value < 0) {
        complain(std::string("--") + name + " must not be below 0");
    }
    return value;
}

std::uint64_t seed_of(const char *text) {
    char *end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || text[0] == '-') {
        complain(std::string("--seed wants a number, not \"") + text + "\"");
    }
    return value;
}

day_number day_of(const char *text) {
    const day_number day = date_from_str(text);
    if (day == 0) {
        complain(std::string("--today wants a day as DDMMYYYY, not \"") + text + "\"");
    }
    return day;
}

void help() {
    std::fputs(usage, stdout);
    std::fputs("Faults:\n", stdout);
    for (const ShopFault &fault : shop_faults()) {
        std::printf("  %-24s %s\n", fault.name, fault.what);
    }
}

/// An option that says what the shop is to be.
void set_option(ShopOptions &wanted, int code, const char *name, const char *value) {
    switch (code) {
        case option_series:
            wanted.series = count_of(name, value);
            break;
        case option_labels:
            wanted.labels = count_of(name, value);
            break;
        case option_branches:
            wanted.branches = count_of(name, value);
            break;
        case option_customers:
            wanted.customers = count_of(name, value);
            break;
        case option_tills:
            wanted.tills = count_of(name, value);
            break;
        case option_digits:
            wanted.label_digits = count_of(name, value);
            break;
        case option_unlinked:
            wanted.linked = false;
            break;
        case option_no_transit:
            wanted.transit = false;
            break;
        case option_no_decimals:
            wanted.no_decimals = true;
            break;
        case option_checked:
            wanted.checked = count_of(name, value);
            break;
        case option_seed:
            wanted.seed = seed_of(value);
            break;
        case option_today:
            wanted.today = day_of(value);
            break;
        case option_fault:
            wanted.faults.emplace_back(value);
            break;
        default:
            break;
    }
}

}  // namespace

int main(int argc, char **argv) {
    // After a fatal error the store would wait for an operator; here there is none.
    isam_operator.fatal = [](const char *text) { complain(text); };
    ShopOptions shop_options;
    shop_target target = shop_target::made;
    int code = 0;
    int index = 0;
    while ((code = getopt_long(argc, argv, "", options, &index)) != -1) {
        const char *name = code == '?' ? "" : options[index].name;
        switch (code) {
            case option_force:
                target = shop_target::any;
                break;
            case option_help:
                help();
                return EXIT_SUCCESS;
            case option_version:
                print_version("mkshop");
                return EXIT_SUCCESS;
            case '?':  // getopt has already printed what is wrong
                return EXIT_FAILURE;
            default:
                set_option(shop_options, code, name, optarg);
        }
    }
    if (optind + 1 != argc) {
        complain("wants the name of one directory; --help shows the options");
    }
    std::string why;
    Shop shop;
    if (!shop_options_valid(shop_options, why) || !build_shop(shop_options, shop, why) ||
        !write_shop(shop, argv[optind], target, why)) {
        complain(why);
    }
    return EXIT_SUCCESS;
}
