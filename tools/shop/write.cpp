// Writing a shop to its directory.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <set>

#include "base/files.h"
#include "base/text.h"
#include "tools/shop/output.h"

namespace {

constexpr const char marker[] = ".mkshop";
constexpr mode_t file_mode = 0660;
constexpr mode_t directory_mode = 0770;

/// A plain file: a name within the directory, and its bytes in pieces.
struct PlainFile {
    std::string name;
    std::vector<std::pair<std::uint64_t, std::string_view>> pieces;  ///< offset, bytes
    std::uint64_t size = 0;
};

template <typename Record>
std::string_view bytes_of(const Record &record) {
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

template <typename Record>
std::string_view bytes_of_all(const std::vector<Record> &records) {
    return {reinterpret_cast<const char *>(records.data()), records.size() * sizeof(Record)};
}

/// Stores a name scrambled. Programs take the key from the clock; here it comes from the seed. The older form
/// with its small keys is still found in old data.
template <std::size_t N>
void scramble_name(char (&field)[N], std::uint64_t seed, std::size_t number) {
    char text[N + 2] = {};
    std::memcpy(text, field, N - 2);
    const auto place = static_cast<std::uint8_t>((seed + number * 7) % 94 + 32);
    scramble_with(text, number % 5 == 3 ? place : static_cast<std::uint8_t>(place | 128));
    std::memcpy(field, text, N);
}

/// Everything that is written, together with its storage.
struct Output {
    std::vector<UserSlot> users;
    std::vector<BranchRecord> branches;
    std::string till_changes;
    std::list<IndexedFile> indexed;
    std::vector<PlainFile> files;
};

void add_whole(Output &output, const Shop &shop, const std::string &name, std::string_view bytes) {
    PlainFile file{name, {{0, bytes}}, bytes.size()};
    const auto tail = shop.tails.find(name);
    if (tail != shop.tails.end()) {
        file.pieces.emplace_back(bytes.size(), tail->second);
        file.size += tail->second.size();
    }
    output.files.push_back(file);
}

void add_system_file(Output &output, const Shop &shop) {
    PlainFile file{"RVSYS.TXT", {}, static_cast<std::uint64_t>(region_actions.end())};
    const auto row = [&](sys_row_number number, std::string_view bytes) {
        file.pieces.emplace_back(region_rows.offset(number), bytes);
    };
    row(row_settings, bytes_of(shop.settings));
    row(row_label_chain, bytes_of(shop.label_chain));
    row(row_serial, bytes_of(shop.serial));
    row(row_limits, bytes_of(shop.limits));
    row(row_price_chain, bytes_of(shop.price_chain));
    row(row_status, bytes_of(shop.status));
    row(row_criteria_chain, bytes_of(shop.criteria_chain));
    row(row_ean, bytes_of(shop.ean_generator));
    row(row_country, bytes_of(shop.country));
    row(row_document, bytes_of(shop.document));
    row(row_dates, bytes_of(shop.dates));
    row(row_transit, bytes_of(shop.transit));
    const auto region = [&](const sys_region &place, std::string_view bytes) {
        file.pieces.emplace_back(place.base, bytes.substr(0, static_cast<std::size_t>(place.highest) *
                                                                 static_cast<std::size_t>(place.size)));
    };
    region(region_titles, bytes_of_all(shop.titles));
    region(region_users, bytes_of_all(output.users));
    region(region_currencies, bytes_of_all(shop.currencies));
    region(region_colours, bytes_of_all(shop.colours));
    region(region_size_systems, bytes_of_all(shop.size_systems));
    region(region_size_kinds, bytes_of_all(shop.size_kind_names));
    region(region_countries, bytes_of_all(shop.countries));
    region(region_actions, bytes_of_all(shop.actions));
    output.files.push_back(file);
}

void gather(Output &output, const Shop &shop) {
    output.users = shop.users;
    for (std::size_t i = 0; i < output.users.size(); i++) {
        if (output.users[i].name[0] != '\0') {
            scramble_name(output.users[i].name, shop.options.seed, i);
        }
    }
    output.branches = shop.branches;
    for (std::size_t i = 1; i < output.branches.size(); i++) {
        scramble_name(output.branches[i].name, shop.options.seed, i);
    }
    add_system_file(output, shop);
    add_whole(output, shop, "RVFILGEG.TXT", bytes_of_all(output.branches));
    add_whole(output, shop, "RVETI.TXT", bytes_of_all(shop.label_blocks));
    add_whole(output, shop, "RVIPG.TXT", bytes_of_all(shop.price_blocks));
    add_whole(output, shop, "RVBAPAR.TXT", bytes_of_all(shop.criteria_blocks));
    add_whole(output, shop, "KASPARM.TXT", bytes_of(shop.till_settings));
    for (const std::string &line : shop.till_changes) {
        output.till_changes += line;
    }
    if (!output.till_changes.empty()) {
        add_whole(output, shop, "KASMUT.TXT", output.till_changes);
    }
    for (const Till &till : shop.tills) {
        add_whole(output, shop, text_of("KAS%02d%02d.SYS", till.branch + 1, till.number), "kassa\n");
    }
    output.indexed = indexed_files(shop);
    for (const IndexedFile &file : output.indexed) {
        add_whole(output, shop, file.name + ".TXT", file.data);
    }
    for (const Journal &journal : shop.journals) {
        add_whole(output, shop, text_of("%04d%c/ORD%04d.JRN", journal.year, journal.letter, journal.number),
                  journal.bytes);
    }
}

bool fail(std::string &why, const std::string &name, const char *what) {
    why = text_of("%.120s: %s: %s", name.c_str(), what, std::strerror(errno));
    return false;
}

bool write_file(const std::string &directory, const PlainFile &file, std::string &why) {
    const std::string path = directory + "/" + file.name;
    const std::size_t slash = file.name.find('/');
    if (slash != std::string::npos) {
        const std::string season = directory + "/" + file.name.substr(0, slash);
        if (mkdir(season.c_str(), directory_mode) != 0 && errno != EEXIST) {
            return fail(why, season, "cannot be made");
        }
    }
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, file_mode);
    if (fd < 0) {
        return fail(why, path, "cannot be created");
    }
    bool good = ftruncate(fd, static_cast<off_t>(file.size)) == 0;
    for (const auto &[offset, bytes] : file.pieces) {
        good = good && file_write_at(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    }
    if (!good) {
        const int error = errno;
        close(fd);
        errno = error;
        return fail(why, path, "cannot be written");
    }
    return close(fd) == 0 || fail(why, path, "cannot be written");
}

/// True for a name that this program may have written: in the directory, or one directory down.
bool own_name(const std::string &name) {
    const std::size_t slash = name.find('/');
    return !name.empty() && name[0] != '/' && name.find("..") == std::string::npos &&
           (slash == std::string::npos || name.find('/', slash + 1) == std::string::npos);
}

/// Removes the files of an earlier shop, by the list in its marker.
void remove_earlier(const std::string &directory) {
    const auto path = [&directory](const std::string &name) {
        return std::string(directory).append("/").append(name);
    };
    std::ifstream list(path(marker));
    std::set<std::string> seasons;
    for (std::string name; std::getline(list, name);) {
        if (own_name(name) && name != "mkshop") {
            unlink(path(name).c_str());
            if (name.find('/') != std::string::npos) {
                seasons.insert(name.substr(0, name.find('/')));
            }
        }
    }
    for (const std::string &season : seasons) {
        rmdir(path(season).c_str());  // fails, and the directory stays, when others have put something in it
    }
}

bool prepare(const std::string &directory, shop_target target, std::string &why) {
    if (mkdir(directory.c_str(), directory_mode) != 0 && errno != EEXIST) {
        return fail(why, directory, "cannot be made");
    }
    DIR *stream = opendir(directory.c_str());
    if (stream == nullptr) {
        return fail(why, directory, "cannot be read");
    }
    bool empty = true;
    bool made = false;
    while (const dirent *entry = readdir(stream)) {
        const std::string name = entry->d_name;
        empty = empty && (name == "." || name == "..");
        made = made || name == marker;
    }
    closedir(stream);
    if (!empty && !made && target == shop_target::made) {
        why = text_of("%.120s: holds files that are not from a made shop", directory.c_str());
        return false;
    }
    if (made) {
        remove_earlier(directory);
    }
    return true;
}

}  // namespace

bool write_shop(const Shop &shop, const std::string &directory, shop_target target, std::string &why) {
    if (!prepare(directory, target, why)) {
        return false;
    }
    Output output;
    gather(output, shop);
    // The marker is written first, so that a half-written shop can be made again.
    std::string names = "mkshop\n";
    for (const PlainFile &file : output.files) {
        names += file.name + "\n";
    }
    for (const IndexedFile &file : output.indexed) {
        names += file.name + ".INX\n";
    }
    if (!write_file(directory, {marker, {{0, names}}, names.size()}, why)) {
        return false;
    }
    for (const PlainFile &file : output.files) {
        if (!write_file(directory, file, why)) {
            return false;
        }
    }
    for (const IndexedFile &file : output.indexed) {
        if (!write_index(directory, file, why)) {
            return false;
        }
        for (const auto &[name, damage] : shop.index_damages) {
            if (name == file.name && !damage_index(directory, file, damage, why)) {
                return false;
            }
        }
    }
    return true;
}
