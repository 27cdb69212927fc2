#include "command/options.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "base/codepage.h"
#include "command/question.h"
#include "tools/version.h"

namespace {

constexpr int most_jobs = 256;
constexpr int longest_wait = 7 * 24 * 3600;

/// What CLI11 fills in, before it is judged.
struct given_options {
    run_options run;
    std::vector<std::string> only;
    std::vector<int> entries;
    bool yes = false;
    bool no = false;
    bool progress = false;
    bool version = false;
};

class wrong_use : public CLI::Error {
public:
    explicit wrong_use(const std::string &why) : Error("wrong_use", why, status_wrong_use) {}
};

/// Behind an option stands what it takes and no more: what goes with what is in its text.
class plain_help : public CLI::Formatter {
    std::string make_option_opts(const CLI::Option *option) const override {
        return option->get_type_size() == 0 ? "" : " " + option->get_type_name();
    }
};

/// A range of numbers that the help does not show.
CLI::Validator range_of(int lowest, int highest) {
    return CLI::Range(lowest, highest).description("");
}

/// As from a variable that is not set: the option would count as not given.
const CLI::Validator is_named(
    [](const std::string &name) {
        return name.empty() ? shown_text(detail_text(28, 29, "hier ontbreekt een naam")) : "";
    },
    "");

std::string names_of_checks() {
    std::string all;
    for (const chk_row &row : chk_rows()) {
        all += (all.empty() ? "" : ", ") + std::string(row.name);
    }
    return all;
}

void add_answers(CLI::App &app, given_options &given) {
    auto *const yes = app.add_flag("-y,--yes", given.yes,
                                   shown_text(detail_text(28, 1, "alle vragen met ja beantwoorden")));
    auto *const no =
        app.add_flag("-n,--no", given.no,
                     shown_text(detail_text(28, 2,
                                            "alle vragen met nee beantwoorden; wat de controles zonder vraag "
                                            "herstellen, herstellen ze ook dan")));
    yes->excludes(no);
    auto *const rehearse =
        app.add_flag("--rehearse", given.run.rehearse,
                     shown_text(detail_text(28, 3,
                                            "controleren en herstellen in een kopie die daarna verdwijnt; in "
                                            "DIRECTORY wordt niets geschreven of vergrendeld")));
    rehearse->excludes(no);
    app.add_option("--keep", given.run.keep,
                   shown_text(detail_text(28, 4, "de kopie van --rehearse hier bewaren")))
        ->needs(rehearse)
        ->check(is_named)
        ->type_name("DIR");
    app.add_option("--backup", given.run.backup,
                   shown_text(detail_text(28, 5, "eerst hier een volledige kopie maken")))
        ->excludes(rehearse)
        ->check(is_named)
        ->type_name("DIR");
    app.add_flag("--marker", given.run.marker,
                 shown_text(detail_text(28, 6, "RVCHK860.OK schrijven als alles goed is")))
        ->excludes(rehearse);
}

void add_choice(CLI::App &app, given_options &given) {
    auto *const only =
        app.add_option("--only", given.only,
                       shown_text(detail_text(28, 7, "alleen deze controles")) + ": " + names_of_checks())
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name("CHECK,...");
    app.add_option("--entry", given.entries,
                   shown_text(detail_text(28, 8, "alleen de controles van deze menukeuzes: 11, 12, 13")))
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(range_of(entry_series, entry_other))
        ->excludes(only)
        ->type_name("NR,...");
    app.add_option("-j,--jobs", given.run.jobs,
                   shown_text(detail_text(28, 9, "zoveel winkels tegelijk, elk in een eigen proces")))
        ->check(range_of(1, most_jobs))
        ->type_name("N");
    app.add_option("--wait", given.run.wait,
                   shown_text(detail_text(28, 10,
                                          "zoveel seconden in totaal op andere gebruikers wachten (60); "
                                          "daarna status 8 voor de winkel")))
        ->check(range_of(0, longest_wait))
        ->type_name("SECONDS");
}

void add_output(CLI::App &app, given_options &given) {
    app.add_option("--report", given.run.report,
                   shown_text(detail_text(28, 11, "de verslagen als tekst (UTF-8) in deze directory")))
        ->check(is_named)
        ->type_name("DIR");
    app.add_option("--json", given.run.json,
                   shown_text(detail_text(28, 12, "de bevindingen als JSON Lines; - is de standaarduitvoer")))
        ->check(is_named)
        ->type_name("FILE");
    auto *const progress =
        app.add_flag("--progress", given.progress,
                     shown_text(detail_text(28, 13,
                                            "een balk per winkel op de foutuitvoer; dit is zo op een "
                                            "terminal")));
    app.add_flag("-q,--quiet", given.run.quiet,
                 shown_text(detail_text(28, 14, "geen balken en geen regel per bevinding")))
        ->excludes(progress);
    app.add_flag("--list", given.run.list,
                 shown_text(detail_text(28, 15,
                                        "alles wat gevonden kan worden: code, soort, tekst en wat "
                                        "het herstel doet")));
    app.add_flag("--version", given.version, shown_text(detail_text(28, 16, "de versie")));
    app.add_option("DIRECTORY", given.run.directories,
                   shown_text(detail_text(28, 17, "een of meer directories met de gegevens van een winkel")))
        ->check(is_named)
        ->type_name("");
}

/// The checks that were chosen, all when none was.
std::vector<const chk_row *> chosen_checks(const given_options &given) {
    for (const std::string &name : given.only) {
        if (chk_row_of(name) == nullptr) {
            throw wrong_use("--only: " + name + ": " +
                            shown_text(detail_text(28, 18, "deze controle bestaat niet")));
        }
    }
    const bool all = given.only.empty() && given.entries.empty();
    std::vector<const chk_row *> chosen;
    for (const chk_row &row : chk_rows()) {
        const bool named = std::find(given.only.begin(), given.only.end(), row.name) != given.only.end();
        const bool entered =
            std::find(given.entries.begin(), given.entries.end(), row.entry) != given.entries.end();
        if (all || named || entered) {
            chosen.push_back(&row);
        }
    }
    return chosen;
}

/// Each process goes to the directory of its shop, so what lies elsewhere is named in full.
void make_absolute(std::string &path) {
    if (!path.empty() && path != "-") {
        std::error_code failed;
        const std::string given = path;
        path = std::filesystem::absolute(given, failed).string();
        if (failed) {
            throw wrong_use(given + ": " + failed.message());
        }
    }
}

/// Two processes in one shop would wait for each other, and copies of one name fall together.
void require_different(const run_options &run) {
    std::set<std::string> places;
    std::set<std::string> names;
    const bool by_name = !run.keep.empty() || !run.backup.empty() || !run.report.empty();
    for (const std::string &directory : run.directories) {
        std::error_code failed;
        const auto place = std::filesystem::weakly_canonical(directory, failed);
        if (!failed && !places.insert(place.string()).second) {
            throw wrong_use(directory + ": " +
                            shown_text(detail_text(28, 19, "deze directory is meer dan eens genoemd")));
        }
        if (by_name && !names.insert(name_of_shop(directory)).second) {
            throw wrong_use(directory + ": " +
                            shown_text(detail_text(28, 20,
                                                   "twee winkels met deze naam: kopieen en verslagen vielen "
                                                   "samen")));
        }
    }
}

bool is_in(const std::string &path, const std::string &directory) {
    std::error_code failed;
    const auto from_there = std::filesystem::weakly_canonical(path, failed)
                                .lexically_relative(std::filesystem::weakly_canonical(directory, failed));
    return !failed && !from_there.empty() && *from_there.begin() != "..";
}

/// A copy of a shop does not lie in the shop, above all not that of a rehearsal, which writes nothing there.
void require_outside(const run_options &run) {
    for (const std::string &place :
         {run.backup, run.rehearse && run.keep.empty() ? rehearsal_place() : run.keep}) {
        for (const std::string &directory : run.directories) {
            if (!place.empty() && is_in(place, directory)) {
                throw wrong_use(place + ": " +
                                shown_text(detail_text(28, 28, "dit ligt in de directory van een winkel")));
            }
        }
    }
}

void judge(given_options &given) {
    run_options &run = given.run;
    if (!run.list && run.directories.empty()) {
        throw wrong_use(shown_text(detail_text(28, 21, "geen DIRECTORY genoemd")));
    }
    run.checks = chosen_checks(given);
    for (std::string *path : {&run.keep, &run.backup, &run.report, &run.json}) {
        make_absolute(*path);
    }
    require_different(run);
    require_outside(run);
    if (given.yes || run.rehearse) {
        run.answers = answer_mode::yes;
    } else if (given.no || isatty(STDIN_FILENO) == 0 || question_place(run.json) == nullptr) {
        run.answers = answer_mode::no;
    }
}

/// The bytes of the character with which a text begins, when it is one of several bytes in UTF-8; else 0. In
/// code page 850 these would be frames and signs that no text holds.
std::size_t utf8_length(std::string_view text) {
    const auto byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const std::size_t length = byte(0) >= 0xf0 && byte(0) <= 0xf4   ? 4
                               : byte(0) >= 0xe0 && byte(0) <= 0xef ? 3
                               : byte(0) >= 0xc2 && byte(0) <= 0xdf ? 2
                                                                    : 0;
    for (std::size_t i = 1; i < length; i++) {
        if ((byte(i) & 0xc0U) != 0x80U) {
            return 0;
        }
    }
    return length;
}

}  // namespace

std::string name_of_shop(const std::string &directory) {
    std::error_code failed;
    auto place = std::filesystem::weakly_canonical(directory, failed);
    if (failed) {
        place = directory;
    }
    return (place.has_filename() ? place : place.parent_path()).filename().string();
}

std::string rehearsal_place() {
    const char *wanted = std::getenv("TMPDIR");
    std::error_code failed;
    return std::filesystem::absolute(wanted == nullptr || *wanted == '\0' ? "/var/tmp" : wanted, failed)
        .string();
}

std::string shown_text(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = std::max<std::size_t>(utf8_length(text), 1);
        shown += length > 1 ? std::string(text.substr(0, length)) : codepage_to_utf8(text.substr(0, 1));
        text.remove_prefix(length);
    }
    return shown;
}

bool write_out(std::FILE *to, const std::string &text) {
    return std::fwrite(text.data(), 1, text.size(), to) == text.size() && std::fflush(to) == 0;
}

std::string name_in_line(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
    return name;
}

run_options options_of(int argc, char **argv) {
    given_options given;
    CLI::App app(shown_text(detail_text(28, 22,
                                        "De controles van rvchk860 zonder scherm, in een of meer "
                                        "winkels.")),
                 "rvcheck");
    app.formatter(std::make_shared<plain_help>());
    app.get_formatter()->label("Usage", shown_text(detail_text(28, 24, "Gebruik")));
    app.get_formatter()->label("Positionals", shown_text(detail_text(28, 25, "Waar")));
    app.option_defaults()->group(shown_text(detail_text(28, 26, "Opties")));
    app.set_help_flag("-h,--help", shown_text(detail_text(28, 27, "deze tekst")));
    add_answers(app, given);
    add_choice(app, given);
    add_output(app, given);
    app.footer(shown_text(detail_text(
        28, 23,
        "Status: 0 niets gevonden, 1 alles hersteld, 4 er bleef iets over, 8 een winkel was niet te\n"
        "controleren, 16 verkeerd aangeroepen, 32 afgebroken; opgeteld over de winkels.")));
    try {
        app.parse(argc, argv);
        if (given.version) {
            print_version("rvcheck");
            std::exit(status_clean);
        }
        judge(given);
    } catch (const CLI::Success &asked) {
        std::exit(app.exit(asked));
    } catch (const CLI::Error &error) {
        app.exit(error);
        std::exit(status_wrong_use);
    }
    return given.run;
}
