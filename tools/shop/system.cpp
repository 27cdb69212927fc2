// The system file's rows and users, branches and tills.
#include "tools/shop/names.h"
#include "tools/shop/plan.h"

namespace {

/// The tills of a branch; every fourth branch has none.
int tills_of(const ShopOptions &options, int branch) {
    return branch % 4 == 3 ? 0 : options.tills;
}

void make_rows(Shop &shop) {
    const ShopOptions &options = shop.options;
    SysRow1 &settings = shop.settings;
    put_text(settings.company,
             options.branches > 1 ? "Van Dalen Schoenen en Mode BV" : "De Linde Schoenen en Mode");
    const bool customers = options.customers != 0;
    settings.mode = static_cast<std::uint8_t>((customers ? mode_customers : 0) |
                                              (customers && options.linked ? mode_customer_labels : 0) |
                                              (options.tills > 0 ? mode_till_list | mode_saving : 0));
    settings.session_options = 1;
    settings.divisor = 10;
    settings.branches = static_cast<std::uint8_t>(options.branches);
    settings.size_system = 1;
    settings.group_value[1] = 60;   // low rate, in tenths of a percent
    settings.group_value[2] = 210;  // high rate
    settings.group_value[3] = 0;

    put_text(shop.status.release, data_release);
    shop.country.label_digits = static_cast<std::uint8_t>(options.label_digits);
    shop.country.ean_check_option = 1;
    if (options.checked >= 0) {
        const auto day = static_cast<std::uint16_t>(shop.today - options.checked);
        SysRow19 &dates = shop.dates;
        for (little_uint16_t *date :
             {&dates.labels, &dates.series, &dates.prices, &dates.sizes, &dates.customers, &dates.transit,
              &dates.ean, &dates.order_numbers, &dates.barcodes, &dates.master, &dates.titles,
              &dates.countries, &dates.journals}) {
            *date = day;
        }
    }
}

void make_users(Shop &shop, Random &random) {
    constexpr const char *names[] = {"Beheer", "Inkoop", "Magazijn", "Administratie", "Filiaal", "Kassa"};
    shop.users.resize(static_cast<std::size_t>(region_users.highest));
    for (std::size_t i = 0; i < std::size(names); i++) {
        UserSlot &user = shop.users[i];
        put_text(user.name, names[i]);
        user.printer = 1;  // the screen
        user.print_flags = 1;
        user.print_connection = 1;
        put_carried(user.carried_30, random);
        user.rights = 'J';
        user.branch = static_cast<std::uint8_t>(i % static_cast<std::size_t>(shop.options.branches));
    }
}

void make_branches(Shop &shop, Random &random) {
    for (int branch = -1; branch < shop.options.branches; branch++) {
        BranchRecord record{};
        put_carried(record.carried_32, random);
        put_carried(record.carried_322, random);
        put_carried(record.carried_388, random);
        put_carried(record.carried_600, random);
        record.user_number = static_cast<std::uint8_t>(branch + 1);
        if (branch >= 0) {
            const auto n = static_cast<std::size_t>(branch);
            const std::size_t round = n / branch_names.size();
            put_text(record.name, round == 0
                                      ? std::string(branch_names[n])
                                      : text_of("%s %zu", branch_names[n % branch_names.size()], round + 1));
            const int tills = tills_of(shop.options, branch);
            record.till_count = static_cast<std::uint8_t>(tills == 1 ? 2 : tills);
            for (int till = 1; till <= tills; till++) {
                record.tills[till / 8] = static_cast<std::uint8_t>(record.tills[till / 8] | 1 << (till % 8));
                shop.tills.push_back({branch, till});
            }
        }
        shop.branches.push_back(record);
    }
}

void make_actions(Shop &shop, Random &random) {
    for (int i = 0; i < 5; i++) {
        ActionRecord action{};
        const int begin = shop.today - random.range(0, 300);
        action.first_day = static_cast<std::uint16_t>(begin);
        action.last_day = static_cast<std::uint16_t>(begin + random.range(7, 120));
        action.bits[0] = static_cast<std::uint8_t>(random.range(1, 255));
        shop.actions.push_back(action);
    }
    TillSettings &tills = shop.till_settings;
    put_carried(tills.carried_0, random);
    constexpr const char *names[] = {"spaarkaart", "verjaardag", "tiende paar gratis"};
    for (std::size_t i = 0; i < std::size(names); i++) {
        SavingAction &action = tills.actions[i * 2];
        put_text(action.description, names[i]);
        const int begin = shop.today - random.range(30, 200);
        action.begin_date = static_cast<std::uint16_t>(begin);
        action.end_date = static_cast<std::uint16_t>(begin + random.range(100, 400));
        action.in_use = 1;
    }
    put_carried(tills.carried_1740, random);
}

}  // namespace

void plan_system(ShopPlan &plan) {
    Random random = plan.random(stream_system);
    make_rows(plan.shop);
    make_users(plan.shop, random);
    make_branches(plan.shop, random);
    make_actions(plan.shop, random);
}
