// The check of customers and of the chains of their labels: what it finds, mends and leaves, and what the run
// after that says.
#include <algorithm>
#include <functional>
#include <random>

#include "check/check.h"
#include "support/check_case.h"
#include "support/terminal.h"

namespace {

constexpr unsigned at_customer_date = 8;
using Rows = std::vector<std::string>;

int count_from(const char *name, int otherwise) {
    const char *text = std::getenv(name);
    return text == nullptr ? otherwise : std::atoi(text);
}

class Customers : public CheckCase {
protected:
    void SetUp() override {
        CheckCase::SetUp();
        make({.series = 12, .labels = 12, .customers = 6, .today = date_today()});
    }
    LabelEntry &entry(std::uint32_t label) {
        return shop.label_blocks[(label - 1) / labels_per_block].slots[(label - 1) % labels_per_block];
    }
    /// Labels of a customer, the newest sale first.
    Rows::size_type purchases(const CustomerRecord &customer, std::vector<std::uint32_t> &labels) {
        labels.clear();
        for (std::uint32_t label = customer.first_label; label != 0; label = entry(label).next_customer) {
            labels.push_back(label);
        }
        return labels.size();
    }
    std::uint32_t label_with_status(int status) {
        for (std::uint32_t label = 1; label <= shop.label_blocks.size() * labels_per_block; label++) {
            if (entry(label).amount_status % 10 == static_cast<unsigned>(status)) {
                return label;
            }
        }
        return 0;
    }
    /// A customer as it stands on file; number 0 when there is none.
    static CustomerRecord on_file(std::uint32_t number) {
        const Bytes file("RVKLT.TXT");
        CustomerRecord record{};
        for (std::size_t at = 0; at < file.size(); at += sizeof record) {
            if (file.u32(at) == number) {
                std::memcpy(&record, file.data.data() + at, sizeof record);
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
            rows.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
        }
    }
    return rows;
}

std::string row(std::uint32_t customer, std::uint32_t label, const std::string &text) {
    return str_format("%7u %8u  %s", customer, label, text.c_str());
}

// ---- Chains

const char *const outside = "etiketnr buiten bestand";
const char *const missing = "etiketnr niet aanwezig";
const char *const foreign = "etiketnr van ander klantnr: ";
const char *const unsold = "etiket status: ";
const char *const seen = "etiketnr reeds aanwezig";
const char *const no_customer = "etiketnr niet in ketting, klantnr NIET aanwezig";
const char *const not_linked = "etiketnr niet in ketting, klantnr aanwezig";

/// Damage to the chain of a customer with at least four labels; `next` is where it leads from the label
/// `from` (-1: the customer), and `text` what the report says of that.
struct ChainFault {
    const char *name;
    int from;
    std::function<std::uint32_t(const std::vector<std::uint32_t> &)> next;
    std::string text;
};

class Chains : public Customers {
protected:
    CustomerRecord *other = nullptr;
    /// A customer with four labels at least, and another that has bought something.
    CustomerRecord &buyer(std::vector<std::uint32_t> &labels) {
        CustomerRecord *found = nullptr;
        for (CustomerRecord &customer : shop.customers) {
            if (found == nullptr && purchases(customer, labels) >= 4) {
                found = &customer;
            } else if (customer.first_label != 0) {
                other = &customer;
            }
        }
        purchases(*found, labels);
        return *found;
    }
};

TEST_F(Chains, FaultsAreCutOffAndTheLabelsBehindThemPutBack) {
    const auto behind_end = [this] {
        return static_cast<std::uint32_t>(shop.label_chain.end_mark) * labels_per_block + 1;
    };
    using Labels = std::vector<std::uint32_t>;
    const ChainFault faults[] = {
        {"behind the last label", -1, [&](const Labels &) { return behind_end(); }, outside},
        {"no sign", 1, [](const Labels &) { return 0xfffffff0U; }, outside},
        {"an empty slot", 0, [this](const Labels &) { return label_with_status(label_empty); }, missing},
        {"behind the file", 2,
         [&](const Labels &) {
             shop.label_chain.end_mark += 5;
             return behind_end() - 1;
         },
         missing},
        {"another customer", 1, [this](const Labels &) { return other->first_label.value(); }, foreign},
        {"in stock", -1, [this](const Labels &) { return label_with_status(label_stock); },
         std::string(unsold) + "2"},
        {"a loop", 2, [](const Labels &labels) { return labels[0]; }, seen},
        {"itself", 0, [](const Labels &labels) { return labels[0]; }, seen},
        {"the end", 0, [](const Labels &) { return 0U; }, ""},
        {"nowhere", -1, [](const Labels &) { return 0U; }, ""},
    };
    const Shop sound = shop;
    for (const ChainFault &fault : faults) {
        shop = sound;
        Labels labels;
        CustomerRecord &customer = buyer(labels);
        const std::uint32_t next = fault.next(labels);
        (fault.from < 0 ? customer.first_label
                        : entry(labels[static_cast<std::size_t>(fault.from)]).next_customer) = next;
        write();

        Rows expected;
        if (!fault.text.empty()) {
            const std::string whose = fault.text == foreign ? std::to_string(other->number) : "";
            // A number that is too long for its column stands on a line of its own.
            const bool fits = next <= 99999999;
            expected.push_back(row(customer.number, next, fault.text + whose));
            if (!fits) {
                expected.back().replace(8, 10, 8, ' ');
                expected.push_back(str_format("%16u", next));
            }
        }
        Labels lost(labels.begin() + fault.from + 1, labels.end());
        std::sort(lost.begin(), lost.end());
        for (const std::uint32_t label : lost) {
            expected.push_back(row(customer.number, label, not_linked));
        }
        const CheckRun no = check("full customers", "N");
        EXPECT_EQ(rows_of(no), expected) << fault.name << "\n" << no;
        EXPECT_EQ(no.flags, "") << fault.name;
        EXPECT_EQ(no.questions, Rows{"Herstellen foutieve klanten? (J/N) J"}) << fault.name;

        expected.push_back(str_format("Klant %6u: hersteld", customer.number.value()));
        const CheckRun yes = check("full customers", ".");  // the default is yes
        EXPECT_EQ(rows_of(yes), expected) << fault.name << "\n" << yes;
        EXPECT_EQ(yes.flags, "customers") << fault.name;
        EXPECT_EQ(date_on_file(at_customer_date), date_today()) << fault.name;
        EXPECT_EQ(audit(audit_customers | audit_amounts), "") << fault.name;
    }
}

TEST_F(Chains, LabelsOfAnUnknownCustomerMakeOne) {
    std::vector<std::uint32_t> labels;
    CustomerRecord &customer = buyer(labels);
    const std::uint32_t number = customer.number;
    std::erase_if(shop.customers, [&](const CustomerRecord &one) { return one.number == number; });
    entry(labels[1]).date_third = entry(labels[2]).date_third;  // two sales of one day
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
    const CustomerRecord made = on_file(number);
    EXPECT_EQ(made.name, "**klant-" + std::to_string(number) + "**");
    EXPECT_EQ(std::string(made.marks, sizeof made.marks), "        ");
    EXPECT_EQ(made.stamp, shop.limits.customer_stamp - 1) << "the run after the repair cleans it";
    const Bytes file("RVETI.TXT");
    const auto next_of = [&](std::uint32_t label) {
        return file.u32((label - 1) / 10 * sizeof(LabelBlock) + 16 + (label - 1) % 10 * sizeof(LabelEntry) +
                        16);
    };
    EXPECT_EQ(made.first_label, labels[0]);
    EXPECT_EQ(next_of(labels[0]), std::max(labels[1], labels[2])) << "of one day, the last put on is first";
    EXPECT_EQ(next_of(std::max(labels[1], labels[2])), std::min(labels[1], labels[2]));
}

TEST_F(Chains, EveryCombinationOfModes) {
    std::vector<std::uint32_t> labels;
    CustomerRecord &customer = buyer(labels);
    const std::uint32_t number = customer.number;
    entry(labels[1]).next_customer = 0;
    customer.count_plain = -1;
    customer.past_date = date_today();
    const std::uint8_t others = shop.settings.mode & static_cast<std::uint8_t>(~3);
    struct Mode {
        std::uint8_t bits;
        const char *by_entry;  ///< flags; the label check has not been run
        bool chains;
    };
    for (const Mode &mode : {Mode{0, "", false}, Mode{mode_customers, "customers titles countries", false},
                             Mode{mode_customer_labels, "", true}, Mode{3, "", true}}) {
        shop.settings.mode = others | mode.bits;
        write();
        EXPECT_EQ(check("12", "N").flags, mode.by_entry) << int{mode.bits};
        const CheckRun run = check("full customers", "N");
        EXPECT_EQ(run.flags, mode.chains ? "" : "customers") << int{mode.bits};
        EXPECT_EQ(rows_of(run).size(), mode.chains ? labels.size() - 2 : 0U) << run;
        EXPECT_EQ(on_file(number).count_plain == -1, !mode.chains);
        EXPECT_EQ(date_show_long(on_file(number).past_date) + std::string(), [] {
            const std::string today = date_show_long(date_today());
            return today.substr(0, 6) + std::to_string(std::stoi(today.substr(6)) - 100);
        }());
    }
}

// ---- Records

struct Cleaning {
    const char *name;
    std::function<void(Shop &, CustomerRecord &)> spoil;  ///< of the shop and its first customer
    std::function<void(CustomerRecord &)> mended;         ///< what differs afterwards from the spoilt record
    const char *flags = "customers";                      ///< of the first run, in which nothing is asked
    const char *shown = "";
};

TEST_F(Customers, RecordsAreCleanedInPlace) {
    const day_number today = date_today();
    const auto same = [](CustomerRecord &) {};
    const CustomerRecord first = shop.customers[0];
    const Cleaning cases[] = {
        {"nothing", [](Shop &, auto &) {}, same},
        {"no stamp",
         [](Shop &s, auto &c) {
             s.limits.customer_stamp = 7;
             c.stamp = 0;
         },
         [](auto &c) { c.stamp = 6; }},
        {"a stamp of 1 is not made lower, nor a change of its own",
         [](Shop &s, auto &c) {
             s.limits.customer_stamp = 1;
             c.stamp = 0;
         },
         same},
        {"but goes along with one",
         [&](Shop &s, auto &c) {
             s.limits.customer_stamp = 1;
             c.stamp = 0;
             c.past_date = today;
         },
         [&](auto &c) {
             c.stamp = 1;
             c.past_date = static_cast<day_number>(today - 36525);
         }},
        {"a count below zero",
         [](Shop &, auto &c) {
             c.count_other = -3;
             c.amount_plain = 5;
         },
         [&](auto &c) {
             c.count_other = first.count_other;
             c.amount_plain = first.amount_plain;
         }},
        {"yesterday", [&](Shop &, auto &c) { c.past_date = today - 1; }, same},
        {"tomorrow", [&](Shop &, auto &c) { c.past_date = today + 1; },
         [&](auto &c) { c.past_date = static_cast<day_number>(today + 1 - 36525); }},
        {"an extension of an earlier customer",
         [&](Shop &s, auto &c) {
             c.extension_date = 9000;
             s.customer_extensions = {{c.number, "oud", 8000, {}}};
         },
         [](auto &c) { c.extension_date = 0; }},
        {"its own extension",
         [&](Shop &s, auto &c) {
             c.extension_date = 9000;
             s.customer_extensions = {{c.number, "nu", 9000, {}}};
         },
         same},
        {"an extension that is not there",
         [&](Shop &s, auto &c) {
             c.extension_date = 9000;
             s.customer_extensions.clear();
         },
         same},
        {"zero bytes",
         [](Shop &s, auto &c) {
             s.settings.mode |= mode_selection_marks;
             std::memcpy(c.marks, "AB\0   \0 ", 8);
         },
         [](auto &c) { std::memcpy(c.marks, "AB      ", 8); }},
        {"a mark behind a zero byte",
         [](Shop &s, auto &c) {
             s.settings.mode |= mode_selection_marks;
             std::memcpy(c.marks, "A\0CD    ", 8);
         },
         [](auto &c) { std::memcpy(c.marks, "A CD    ", 8); }, "", "Bij 1 klant is een ongeldig teken"},
        {"the same without tills",
         [](Shop &s, auto &c) {
             s.settings.mode &= static_cast<std::uint8_t>(~mode_selection_marks);
             std::memcpy(c.marks, "A\0CD    ", 8);
         },
         [](auto &c) { std::memcpy(c.marks, "A CD    ", 8); }},
    };
    const Shop sound = shop;
    for (const Cleaning &one : cases) {
        shop = sound;
        CustomerRecord &customer = shop.customers[0];
        customer.past_date = 0;
        customer.extension_date = 0;
        one.spoil(shop, customer);
        write();
        CustomerRecord expected = customer;
        one.mended(expected);
        const CheckRun run = check("full customers");
        EXPECT_EQ(run.flags, one.flags) << one.name << "\n" << run;
        EXPECT_NE(run.last_output.find(one.shown), std::string::npos) << one.name;
        EXPECT_EQ(rows_of(run), Rows{}) << one.name;
        const CustomerRecord after = on_file(customer.number);
        EXPECT_EQ(std::memcmp(&after, &expected, sizeof after), 0) << one.name;
        EXPECT_EQ(check("full customers").flags, "customers") << one.name;
        EXPECT_EQ(audit(audit_customers).find("extension"), std::string::npos) << one.name;
    }
}

TEST_F(Customers, NumbersThatCanNotBeAndMissingNames) {
    const std::uint32_t nameless = shop.customers[2].number;
    std::memset(shop.customers[2].name, 0, sizeof shop.customers[2].name);
    for (const std::uint32_t number : {0U, 1000000U}) {
        CustomerRecord customer = shop.customers[0];
        customer.number = number;
        customer.first_label = number == 0 ? 0 : customer.first_label.value();
        shop.customers.push_back(customer);
    }
    write();
    const std::uint32_t first = shop.customers[0].first_label;
    const std::string no_name = str_format("%7u %10sklantnaam NIET aanwezig", nameless, "");
    const std::string deleted = str_format("%10sOngeldig klantnummer, klant verwijderd", "");
    Rows expected = {"      0 " + deleted, no_name};
    if (first != 0) {
        expected.push_back(row(1000000, first, foreign + std::to_string(shop.customers[0].number)));
    }
    expected.push_back("1000000 " + deleted);
    expected.push_back(no_name);
    const CheckRun run = check("full customers", "JN");
    EXPECT_EQ(rows_of(run), expected) << run << "\nthe repair leaves them alone, the second run has one left";
    EXPECT_EQ(run.flags, "");
    EXPECT_EQ(on_file(1000000).number, 0U);
}

TEST_F(Customers, NoneAtAllPass) {
    shop.customers.clear();
    shop.customer_extensions.clear();
    write();
    EXPECT_TRUE(rows_of(check("customers", "N")).size() > 1) << "their labels are left";
    for (LabelBlock &block : shop.label_blocks) {
        for (LabelEntry &label : block.slots) {
            label.customer -= label.customer % 1000000;
        }
    }
    write();
    EXPECT_EQ(check("full customers titles countries").flags, "customers titles countries");
}

TEST_F(Customers, DamagedIndexesAreMadeAnewOrLeftAlone) {
    for (const index_damage damage :
         {index_damage::in_update, index_damage::cut, index_damage::stale_locks}) {
        shop.index_damages = {{"RVKLT", damage}, {"RVKLTEXT", damage}};
        write();
        EXPECT_EQ(check("full customers titles countries").flags, "customers titles countries");
    }
    // Keys that lead to other records: nobody's record is taken for that of another.
    shop.index_damages = {{"RVKLT", index_damage::swapped}};
    write();
    const std::string data = get("RVKLT.TXT");
    const std::string labels = get("RVETI.TXT");
    check("full customers titles countries", "JJN");
    EXPECT_TRUE(get("RVKLT.TXT") == data && get("RVETI.TXT") == labels);
}

TEST_F(Chains, BrokenOffOrWithoutAReportNothingIsSet) {
    const std::uint32_t first = shop.customers[0].first_label;
    for (const char *words : {"break=FASE-1 customers", "break=FASE-2 customers"}) {
        const CheckRun run = check(words, "J");
        EXPECT_EQ(run.flags, "") << words;
        EXPECT_EQ(run.report.size(), 0U) << words;
        EXPECT_EQ(date_on_file(at_customer_date), shop.dates.customers) << words;
    }
    EXPECT_EQ(check("refuse customers").flags, "customers") << "a clean run needs no report";
    std::vector<std::uint32_t> labels;
    buyer(labels);
    entry(labels[0]).next_customer = 0;
    write();
    const CheckRun run = check("refuse customers", "J");
    EXPECT_EQ(run.flags, "");
    EXPECT_EQ(run.questions.size(), 0U);
    EXPECT_EQ(on_file(shop.customers[0].number).first_label, first);
}

// ---- Random faults

/// Does something to a customer or a label.
void spoil(Shop &shop, std::mt19937 &random) {
    const auto below = [&](std::size_t n) { return random() % n; };
    const std::size_t labels = shop.label_blocks.size() * labels_per_block;
    LabelEntry &label = shop.label_blocks[below(shop.label_blocks.size())].slots[below(labels_per_block)];
    CustomerRecord &customer = shop.customers[below(shop.customers.size())];
    const std::uint32_t numbers[] = {0, static_cast<std::uint32_t>(1 + below(labels + 25)),
                                     static_cast<std::uint32_t>(random()), customer.first_label};
    const std::uint32_t number = numbers[below(4)];
    switch (below(9)) {
        case 0:
        case 1:
            customer.first_label = number;
            break;
        case 2:
        case 3:
        case 4:
            label.next_customer = number;
            break;
        case 5:
            label.customer = label.customer - label.customer % 1000000 +
                             (below(2) == 0 ? customer.number.value() : below(1000000));
            break;
        case 6:
            label.amount_status = label.amount_status - label.amount_status % 10 + below(6);
            break;
        case 7:
            customer.amount_nine = static_cast<std::int32_t>(random());
            customer.count_plain = static_cast<std::int16_t>(random());
            break;
        default:
            shop.customers.erase(shop.customers.begin() + (&customer - shop.customers.data()));
            break;
    }
}

TEST_F(Customers, AnyFaultsAreMendedAndKillsLoseNoRecord) {
    const int seeds = count_from("CUSTOMER_SEEDS", 6);
    for (int seed = 1; seed <= seeds; seed++) {
        std::mt19937 random(static_cast<unsigned>(seed));
        make({.series = 15, .labels = 15, .customers = 12, .seed = static_cast<unsigned>(seed)});
        for (std::size_t faults = 1 + random() % 25; faults > 0 && shop.customers.size() > 1; faults--) {
            spoil(shop, random);
        }
        write();
        for (int kills = seed % 2 == 0 ? 3 : 0; kills > 0; kills--) {
            check("kill-after=" + std::to_string(random() % 50000) + " customers", "J");
        }
        const CheckRun run = check("customers titles countries", "J");
        EXPECT_EQ(run.flags, "customers titles countries") << "seed " << seed << "\n" << run;
        EXPECT_EQ(audit(audit_customers), "") << "seed " << seed;
        for (const CustomerRecord &customer : shop.customers) {
            EXPECT_EQ(std::memcmp(on_file(customer.number).name, customer.name, 60), 0) << "seed " << seed;
        }
        ask_recount();
        EXPECT_EQ(check("full customers").flags, "customers") << "seed " << seed;
        EXPECT_EQ(audit(audit_customers | audit_amounts), "") << "seed " << seed;
    }
}

// ---- Titles and countries

TEST_F(Customers, TitlesNeedATextInTheTable) {
    shop.titles.resize(8);
    shop.customers[0].title = 21;
    shop.customers[1].title = 0;
    shop.customers[2].title = 8;
    write();
    EXPECT_EQ(check("full titles").flags, "titles");
    EXPECT_EQ(on_file(shop.customers[0].number).title, 0);
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
    EXPECT_TRUE(run.asked("<ENTER> voor vervolg")) << run;
    EXPECT_EQ(run.flags, "countries");
    EXPECT_EQ(check("12").flags, "") << "linked labels were not checked";
    shop.settings.mode &= static_cast<std::uint8_t>(~mode_customer_labels);
    write();
    EXPECT_EQ(check("12").flags, "customers") << "with titles left, countries are not looked at";
}

// Both mode bits are set, and the labels count as sound at the start of a session.
TEST_F(Customers, TheMenuLeadsToTheWindowOfUnknownTitles) {
    shop.customers[0].title = 17;
    write();
    TerminalOptions options;
    options.program = RVCHK_PROGRAM;
    Terminal t(options);
    ASSERT_TRUE(t.wait_for("<ENTER> voor vervolg"));
    t.key("ENTER");
    ASSERT_TRUE(t.wait_for("Uw keuze"));
    t.type("12");
    t.key("ENTER");
    ASSERT_TRUE(t.wait_row(16, "Er zijn klanten aangetroffen met een titulatuurcode zonder omschrijving."))
        << t.dump();
    EXPECT_TRUE(t.wait_row(17, "Hiervan wordt nu een verslag afgedrukt."));
    EXPECT_TRUE(t.wait_row(19, "U kunt de titulatuurcodes bij deze klanten wijzigen of de omschrijving"));
    EXPECT_TRUE(t.wait_row(20, "toevoegen via Klantenadministratie / Definieren titulatuurcodes."));
}

struct Home {
    const char *postcode;
    const char *country;
    const char *after;
};

TEST_F(Customers, CountriesComeFromThePostcode) {
    const Home homes[] = {
        {"1234 AB", "", "NLD"},    {"1234AB", "XXX", "NLD"},  {"1234AB ", "", "NLD"},
        {"0000 ZZ", "", "NLD"},    {"1234 ab", "", "BEL"},    {"1234ABC", "", "BEL"},
        {"1234  A", "", "BEL"},    {"123 4AB", "", "BEL"},    {"12345", "XXX", "BEL"},
        {"", "", "BEL"},           {"1234 AB", "DEU", "DEU"}, {"", "BEL", "BEL"},
        {"1234 A\x90", "", "BEL"}, {"1234-AB", "nld", "BEL"},
    };
    const auto code_of = [](std::uint32_t number) {
        const CustomerRecord record = on_file(number);
        return std::string(record.country, strnlen(record.country, 3));
    };
    make({.series = 3, .customers = static_cast<int>(std::size(homes)), .linked = false});
    std::memcpy(shop.country.default_country, "BEL", 3);
    for (std::size_t i = 0; i < std::size(homes); i++) {
        CustomerRecord &customer = shop.customers[i];
        std::strncpy(customer.postcode, homes[i].postcode, sizeof customer.postcode);
        std::strncpy(customer.country, homes[i].country, sizeof customer.country);
    }
    write();
    EXPECT_EQ(check("full countries").flags, "countries");
    for (std::size_t i = 0; i < std::size(homes); i++) {
        EXPECT_EQ(code_of(shop.customers[i].number), homes[i].after) << homes[i].postcode;
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
            const bool dutch = std::string("NLD") == homes[i].after || std::string("DEU") == homes[i].after;
            EXPECT_EQ(code_of(shop.customers[i].number), dutch ? "" : "QQQ") << homes[i].postcode;
            if (dutch) {
                expected.push_back(
                    str_format("Klantnummer %7u   bevat geen geldige landcode; landcode toekennen aan klant.",
                               shop.customers[i].number.value()));
            }
        }
        Rows rows;
        std::copy_if(run.report.begin(), run.report.end(), std::back_inserter(rows),
                     [](const std::string &line) { return line.starts_with("Klantnummer"); });
        EXPECT_EQ(rows, expected) << run;
    }
    std::erase_if(shop.customers, [&](const CustomerRecord &customer) {
        return std::string_view(customer.postcode, 4) == "1234" ||
               std::string_view(customer.postcode, 4) == "0000";
    });
    write();
    EXPECT_EQ(check("full countries").flags, "countries") << "a default that the table does not know passes";
    EXPECT_EQ(check("full countries").flags, "countries");
}

}  // namespace
