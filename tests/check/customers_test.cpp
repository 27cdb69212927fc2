// The check of customers and of the chains of their labels: what it finds, mends and leaves, and what the run
// after that says.
#include <algorithm>
#include <map>

#include "check/check.h"
#include "support/check_case.h"
#include "tools/shop/plan.h"

namespace {

constexpr unsigned at_customer_date = 8;
using Rows = std::vector<std::string>;

class Customers : public CheckCase {
protected:
    void SetUp() override {
        CheckCase::SetUp();
        make({.series = 12, .labels = 12, .customers = 6, .today = date_today()});
    }
    /// Labels of a customer, the newest sale first.
    std::vector<std::uint32_t> purchases(const CustomerRecord &customer) {
        std::vector<std::uint32_t> labels;
        for (std::uint32_t label = customer.first_label; label != 0; label = label_at(label).next_customer) {
            labels.push_back(label);
        }
        return labels;
    }
    std::uint32_t label_with_status(unsigned status) {
        std::uint32_t label = 1;
        while (label_at(label).amount_status % 10 != status) {
            label++;
        }
        return label;
    }
    /// A customer as it stands on file; number 0 when there is none.
    static CustomerRecord customer_on_file(std::uint32_t number) {
        for (const CustomerRecord &record : records<CustomerRecord>("RVKLT.TXT")) {
            if (record.number == number) {
                return record;
            }
        }
        return {};
    }
    /// Sets the counts of all customers below zero, so that the next run takes them from the chains.
    static void ask_recount() {
        Bytes file("RVKLT.TXT");
        for (std::size_t at = 0; at < file.size(); at += sizeof(CustomerRecord)) {
            if (file.u32(at) <= customer_highest) {
                file.data.replace(at + offsetof(CustomerRecord, count_nine), 2, "\xff\xff");
            }
        }
        put("RVKLT.TXT", file.data);
    }
};

/// The lines that name a customer, without those of the heads.
Rows rows_of(const CheckRun &run) {
    Rows rows;
    for (const std::string &line : run.report) {
        const std::string start = line.substr(0, line.find_first_not_of(" 0123456789"));
        if (line.starts_with("Klant ") || start.find_first_of("0123456789") != std::string::npos) {
            rows.push_back(trimmed(line));
        }
    }
    return rows;
}

std::string row(std::uint32_t customer, std::uint32_t label, const std::string &text) {
    return str_format("%7u %8u  %s", customer, label, text.c_str());
}

// ---- Chains

const char *const no_customer = "etiketnr niet in ketting, klantnr NIET aanwezig";
const char *const not_linked = "etiketnr niet in ketting, klantnr aanwezig";

class Chains : public Customers {
protected:
    void SetUp() override {
        Customers::SetUp();
        for (CustomerRecord &one : shop.customers) {
            if (labels.empty() && purchases(one).size() >= 4) {
                labels = purchases(one);
                customer = &one;
            } else if (one.first_label != 0) {
                other = &one;
            }
        }
        ASSERT_TRUE(customer != nullptr && other != nullptr);
    }
    CustomerRecord *customer = nullptr;  ///< has bought four labels at least
    CustomerRecord *other = nullptr;     ///< has bought something
    std::vector<std::uint32_t> labels;   ///< of `customer`
};

struct ChainFault {
    int from;              ///< label of the chain that leads astray, -1: the customer
    const char *leads_to;  ///< a target below
    const char *text;      ///< in the report
};
const ChainFault chain_faults[] = {
    {-1, "behind the last label", "etiketnr buiten bestand"},
    {1, "a number without sign", "etiketnr buiten bestand"},
    {0, "an empty slot", "etiketnr niet aanwezig"},
    {2, "behind the file", "etiketnr niet aanwezig"},
    {1, "another customer", "etiketnr van ander klantnr: "},
    {-1, "another customer", "etiketnr van ander klantnr: "},
    {-1, "stock", "etiket status: 2"},
    {2, "its first label", "etiketnr reeds aanwezig"},
    {0, "its first label", "etiketnr reeds aanwezig"},
    {0, "nowhere", ""},
    {-1, "nowhere", ""},
};

TEST_F(Chains, FaultsAreCutOffAndTheLabelsBehindThemPutBack) {
    shop.label_chain.end_mark += 5;  // the file is shorter than it should be
    const std::uint32_t highest = static_cast<std::uint32_t>(shop.label_chain.end_mark) * labels_per_block;
    const Shop sound = shop;
    for (const ChainFault &fault : chain_faults) {
        SCOPED_TRACE(fault.leads_to);
        shop.customers = sound.customers;
        shop.label_blocks = sound.label_blocks;
        std::map<std::string, std::uint32_t> targets = {
            {"behind the last label", highest + 1},
            {"a number without sign", 0xfffffff0U},
            {"an empty slot", label_with_status(label_empty)},
            {"behind the file", highest},
            {"another customer", other->first_label},
            {"stock", label_with_status(label_stock)},
            {"its first label", labels[0]},
            {"nowhere", 0},
        };
        const std::uint32_t next = targets[fault.leads_to];
        (fault.from < 0 ? customer->first_label
                        : label_at(labels[static_cast<std::size_t>(fault.from)]).next_customer) = next;
        customer->count_other = -1;
        write();

        Rows expected;
        const bool whose = next == other->first_label;
        if (next != 0) {
            expected.push_back(
                row(customer->number, next, fault.text + (whose ? std::to_string(other->number) : "")));
        }
        if (next > 99999999) {  // a number that is too long for its column stands on a line of its own
            expected.back().replace(8, 10, 8, ' ');
            expected.push_back(str_format("%16u", next));
        }
        std::vector<std::uint32_t> lost(labels.begin() + fault.from + 1, labels.end());
        std::sort(lost.begin(), lost.end());
        for (const std::uint32_t label : lost) {
            expected.push_back(row(customer->number, label, not_linked));
        }
        const CheckRun no = check("full customers", "N");
        EXPECT_EQ(rows_of(no), expected) << no;
        EXPECT_EQ(no.flags, "");
        EXPECT_EQ(no.questions, Rows{"Herstellen foutieve klanten? (J/N) J"});
        const CustomerRecord counted = customer_on_file(customer->number);
        EXPECT_EQ(counted.count_plain + counted.count_other + counted.count_nine,
                  fault.from + 1 +
                      (whose                      ? std::ssize(purchases(*other))
                       : next == targets["stock"] ? 1
                                                  : 0))
            << "the recount goes as far as there are labels";

        expected.push_back(str_format("Klant %6u: hersteld", customer->number.value()));
        const CheckRun yes = check("full customers", ".");  // the default is yes
        EXPECT_EQ(rows_of(yes), expected) << yes;
        EXPECT_EQ(yes.flags, "customers");
        EXPECT_EQ(date_on_file(at_customer_date), date_today());
        ask_recount();
        EXPECT_EQ(check("full customers").flags, "customers");
        EXPECT_EQ(audit(audit_customers | audit_amounts), "");
    }
}

TEST_F(Chains, LabelsOfAnUnknownCustomerMakeOne) {
    const std::uint32_t number = customer->number;
    std::erase_if(shop.customers, [&](const CustomerRecord &one) { return one.number == number; });
    label_at(labels[1]).date_third = label_at(labels[2]).date_third;  // two sales of one day
    write();
    const CheckRun run = check("customers", "J");
    Rows expected;
    std::vector<std::uint32_t> by_number = labels;
    std::sort(by_number.begin(), by_number.end());
    for (const std::uint32_t label : by_number) {
        expected.push_back(row(number, label, no_customer));
    }
    expected.push_back(str_format("Klant %6u: aangemaakt en hersteld", number));
    EXPECT_EQ(rows_of(run), expected) << run;
    EXPECT_TRUE(run.reports("Geen fouten gevonden!"));
    const CustomerRecord made = customer_on_file(number);
    EXPECT_EQ(made.name, "**klant-" + std::to_string(number) + "**");
    EXPECT_EQ(std::string(made.marks, sizeof made.marks), "        ");
    EXPECT_EQ(made.stamp, shop.limits.customer_stamp - 1) << "the run after the repair cleans it";
    const auto next_of = [](std::uint32_t label) { return label_on_file(label).next_customer; };
    EXPECT_EQ(made.first_label, labels[0]);
    EXPECT_EQ(next_of(labels[0]), std::max(labels[1], labels[2])) << "of one day, the last put on is first";
    EXPECT_EQ(next_of(std::max(labels[1], labels[2])), std::min(labels[1], labels[2]));
}

// ---- Records

struct Cleaned {
    int stamp;
    int days_ahead;  ///< of the past date, -50000: none
    int extension;   ///< date
    int count_other;
    const char *marks;  ///< zero bytes as dots
};
struct Cleaning {
    const char *name;
    int system_stamp;
    int extension;  ///< date of the extension record, 0: none
    bool tills;     ///< get the marks
    Cleaned before, after;
    bool told = false;  ///< the operator is, and the run doesn't pass
};
constexpr int no_date = -50000;
const Cleaning cleanings[] = {
    {"nothing", 7, 0, true, {3, -1, 9000, 1, "A C     "}, {3, -1, 9000, 1, "A C     "}},
    {"no stamp", 7, 0, true, {0, -1, 0, 1, "        "}, {6, -1, 0, 1, "        "}},
    {"a stamp of 1 is no change", 1, 0, true, {0, -1, 0, 1, "        "}, {0, -1, 0, 1, "        "}},
    {"but goes with one", 1, 0, true, {0, 0, 0, 1, "        "}, {1, -36525, 0, 1, "        "}},
    {"a date to come", 7, 0, true, {3, 400, 0, 1, "        "}, {3, 400 - 36525, 0, 1, "        "}},
    {"recount", 7, 0, true, {3, no_date, 0, -3, "        "}, {3, no_date, 0, 0, "        "}},
    {"its extension", 7, 9000, true, {3, no_date, 9000, 1, "        "}, {3, no_date, 9000, 1, "        "}},
    {"of another", 7, 8000, true, {3, no_date, 9000, 1, "        "}, {3, no_date, 0, 1, "        "}},
    {"zero bytes", 7, 0, true, {3, no_date, 0, 1, "AB.   . "}, {3, no_date, 0, 1, "AB      "}},
    {"a mark behind one", 7, 0, true, {3, no_date, 0, 1, "A.CD    "}, {3, no_date, 0, 1, "A CD    "}, true},
    {"not on the tills", 7, 0, false, {3, no_date, 0, 1, "A.CD    "}, {3, no_date, 0, 1, "A CD    "}},
};

TEST_F(Customers, RecordsAreCleanedInPlace) {
    CustomerRecord &customer = shop.customers[0];
    for (const std::uint32_t label : purchases(customer)) {
        label_at(label).amount_b = label_at(label).amount_b / 10 * 10;  // of the plain kind, all of them
        label_at(label).customer -= customer.number;
    }
    customer.first_label = 0;
    const auto set = [&](const Cleaned &state) {
        customer.stamp = static_cast<std::uint16_t>(state.stamp);
        customer.past_date = state.days_ahead == no_date
                                 ? day_number{0}
                                 : static_cast<day_number>(date_today() + state.days_ahead);
        customer.extension_date = static_cast<std::uint16_t>(state.extension);
        customer.count_other = static_cast<std::int16_t>(state.count_other);
        customer.amount_plain = state.count_other > 0 ? 900 : 0;
        customer.amount_other = customer.amount_nine = 0;
        customer.count_plain = customer.count_nine = 0;
        std::replace_copy(state.marks, state.marks + sizeof customer.marks, customer.marks, '.', '\0');
    };
    const std::uint8_t mode = shop.settings.mode & static_cast<std::uint8_t>(~mode_selection_marks);
    for (const Cleaning &one : cleanings) {
        shop.settings.mode = mode | (one.tills ? std::uint8_t{mode_selection_marks} : std::uint8_t{0});
        shop.limits.customer_stamp = static_cast<std::uint8_t>(one.system_stamp);
        shop.customer_extensions.clear();
        if (one.extension != 0) {
            shop.customer_extensions = {{customer.number, "", static_cast<std::uint16_t>(one.extension), {}}};
        }
        set(one.before);
        write();
        const CheckRun run = check("full customers");
        EXPECT_EQ(run.flags, one.told ? "" : "customers") << one.name << "\n" << run;
        EXPECT_EQ(run.asked("Bij 1 klant is een ongeldig teken in de selectiekenmerken aangepast."),
                  one.told);
        EXPECT_EQ(run.found(), one.told ? "customers.103" : "") << one.name;
        EXPECT_EQ(rows_of(run), Rows{}) << one.name;
        set(one.after);
        const CustomerRecord after = customer_on_file(customer.number);
        EXPECT_EQ(std::memcmp(&after, &customer, sizeof after), 0) << one.name;
        EXPECT_EQ(check("full customers").flags, "customers") << one.name;
        EXPECT_EQ(live("RVKLTEXT") != "", one.extension != 0 && one.extension == one.after.extension)
            << one.name;
    }
}

TEST_F(Customers, NumbersThatCanNotBeAndMissingNames) {
    const std::uint32_t nameless = shop.customers[2].number;
    std::memset(shop.customers[2].name, 0, sizeof shop.customers[2].name);
    for (const std::uint32_t number : {0U, 1000000U}) {
        CustomerRecord customer = shop.customers[0];
        customer.number = number;
        customer.first_label = 0;
        shop.customers.push_back(customer);
    }
    write();
    const std::string no_name = str_format("%7u %10sklantnaam NIET aanwezig", nameless, "");
    const std::string deleted = str_format("%10sOngeldig klantnummer, klant verwijderd", "");
    const CheckRun run = check("full customers", "JN");
    EXPECT_EQ(rows_of(run), (Rows{"      0 " + deleted, no_name, "1000000 " + deleted, no_name}))
        << run << "\nthe repair leaves the name alone, so the second run has one left";
    EXPECT_EQ(run.flags, "");
    EXPECT_EQ(customer_on_file(1000000).number, 0U);
    // None at all: their labels are left.
    shop.customers.clear();
    shop.customer_extensions.clear();
    write();
    EXPECT_GT(rows_of(check("customers", "N")).size(), 1U);
}

TEST_F(Customers, DamagedIndexesAreMadeAnewOrLeftAlone) {
    shop.customer_extensions.clear();
    for (std::uint16_t i = 1; i < 3; i++) {
        shop.customers[i].extension_date = 9000 + i;
        shop.customer_extensions.push_back(
            {shop.customers[i].number, "", shop.customers[i].extension_date, {}});
    }
    shop.index_damages = {{"RVKLT", index_damage::in_update}, {"RVKLTEXT", index_damage::cut}};
    write();
    EXPECT_EQ(check("full customers titles countries").flags, "customers titles countries");
    // Keys that lead to other records: nobody's record is taken for that of another.
    shop.index_damages = {{"RVKLT", index_damage::swapped}};
    write();
    const std::string extension = get("RVKLTEXT.TXT").substr(sizeof(CustomerExtension));
    put("RVKLTEXT.TXT", extension + extension);
    const std::string data = get("RVKLT.TXT") + get("RVKLTEXT.TXT");
    const std::string labels = get("RVETI.TXT");
    check("full customers titles countries", "JJN");
    EXPECT_TRUE(get("RVKLT.TXT") + get("RVKLTEXT.TXT") == data && get("RVETI.TXT") == labels);
}

// ---- Titles and countries

TEST_F(Customers, TitlesNeedATextInTheTable) {
    shop.titles.resize(8);
    shop.customers[0].title = 21;
    shop.customers[1].title = 0;
    shop.customers[2].title = 8;
    write();
    EXPECT_EQ(check("full titles").flags, "titles");
    EXPECT_EQ(customer_on_file(shop.customers[0].number).title, 0);
    EXPECT_TRUE(check("titles").reports("CONTROLEREN TITULATUURCODES KLANTEN"));
    EXPECT_EQ(date_on_file(offsetof(SysRow19, titles)), date_today());

    shop.customers[4].title = 20;
    shop.customers[3].title = 9;
    write();
    const CheckRun run = check("full titles countries");
    EXPECT_EQ(
        rows_of(run),
        (Rows{str_format("%7u    9  omschrijving niet gedefinieerd", shop.customers[3].number.value()),
              str_format("%7u   20  omschrijving niet gedefinieerd", shop.customers[4].number.value())}));
    EXPECT_TRUE(run.reports("BESTANDSCONTROLES: KLANTEN") && run.reports("klantnr   titulatuurcode")) << run;
    EXPECT_TRUE(run.asked("titulatuurcode zonder omschrijving")) << run;
    EXPECT_EQ(run.flags, "countries");
    EXPECT_EQ(check("12").flags, "") << "linked labels were not checked";
    shop.settings.mode &= static_cast<std::uint8_t>(~mode_customer_labels);
    write();
    EXPECT_EQ(check("12").flags, "customers") << "with titles left, countries are not looked at";
    // A chain that nobody keeps is not looked at.
    shop.customers[0].first_label = 0xfffffff0U;
    shop.customers[0].count_plain = -1;
    for (const int customers : {int{mode_customers}, 0}) {
        shop.settings.mode = static_cast<std::uint8_t>((shop.settings.mode & ~3) | customers);
        write();
        EXPECT_EQ(check("12").flags, customers == 0 ? "" : "customers");
        EXPECT_EQ(check("full customers").flags, "customers");
        EXPECT_EQ(customer_on_file(shop.customers[0].number).count_plain, -1);
    }
}

TEST_F(Customers, CountriesComeFromThePostcode) {
    const struct {
        const char *postcode, *country, *after;
    } homes[] = {
        {"1234 AB", "", "NLD"},    {"1234AB", "XXX", "NLD"},  {"1234AB ", "", "NLD"},
        {"0000 ZZ", "", "NLD"},    {"1234 ab", "", "BEL"},    {"1234ABC", "", "BEL"},
        {"1234  A", "", "BEL"},    {"123 4AB", "", "BEL"},    {"12345", "XXX", "BEL"},
        {"", "", "BEL"},           {"1234 AB", "DEU", "DEU"}, {"", "BEL", "BEL"},
        {"1234 A\x90", "", "BEL"}, {"1234-AB", "nld", "BEL"},
    };
    const auto code_of = [](const CustomerRecord &customer) {
        const CustomerRecord record = customer_on_file(customer.number);
        return std::string(record.country, strnlen(record.country, 3));
    };
    make({.series = 3, .customers = static_cast<int>(std::size(homes)), .linked = false});
    std::memcpy(shop.country.default_country, "BEL", 3);
    for (std::size_t i = 0; i < std::size(homes); i++) {
        CustomerRecord &customer = shop.customers[i];
        put_text(customer.postcode, homes[i].postcode);
        put_text(customer.country, homes[i].country);
    }
    write();
    EXPECT_EQ(check("full countries").flags, "countries");
    for (std::size_t i = 0; i < std::size(homes); i++) {
        EXPECT_EQ(code_of(shop.customers[i]), homes[i].after) << homes[i].postcode;
    }

    // A table without records: all are changed, the Dutch ones reported, and the default is not looked up.
    shop.countries.clear();
    std::memcpy(shop.country.default_country, "QQQ", 3);
    write();
    for (int round = 0; round < 2; round++) {
        const CheckRun run = check("full countries");
        EXPECT_EQ(run.flags, "");
        Rows expected;
        for (std::size_t i = 0; i < std::size(homes); i++) {
            const bool dutch = std::string("NLD DEU").find(homes[i].after) != std::string::npos;
            EXPECT_EQ(code_of(shop.customers[i]), dutch ? "" : "QQQ") << homes[i].postcode;
            if (dutch) {
                expected.push_back(
                    str_format("Klantnummer %7u   bevat geen geldige landcode; landcode toekennen aan klant.",
                               shop.customers[i].number.value()));
            }
        }
        EXPECT_EQ(run.rows({"Klantnummer"}), expected) << run;
    }
    std::erase_if(shop.customers, [&](const CustomerRecord &customer) {
        const std::string_view digits(customer.postcode, 4);
        return digits == "1234" || digits == "0000";
    });
    write();
    EXPECT_EQ(check("full countries").flags, "countries") << "a default that the table does not know passes";
}

}  // namespace
