// The four printer files: where they lie, making them, and reading them.
//
// A file whose index is missing or not sound is rebuilt. The data half is kept, so printers survive a damaged
// index. The screen is added last: when a start was interrupted before that, the next one finds an empty data
// half.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <span>

#include "print/destination.h"
#include "print/print_internal.h"

namespace {

constexpr std::size_t longest_directory = 63;
constexpr std::size_t cut_directory = 62;

std::optional<std::string> directory;

std::string read_directory() {
    const char *value = std::getenv("ZUVPRT");
    if (value == nullptr) {
        return "";
    }
    std::string path = value;
    if (path.size() > longest_directory) {
        path.resize(cut_directory);
    }
    if (!file_is_dir(path.c_str())) {
        if (scr != nullptr) {
            FFLASH(flash_enter, 0, A_DIM, term_text(1, 72, "PRINTEN"), "%s",
                   term_text(1, 73,
                             "De env.var. ZUVPRT bevat geen geldige directorie.\n"
                             "De huidige directorie wordt gebruikt."));
        }
        return "";
    }
    return path.back() == '/' ? path : path + "/";
}

template <std::size_t N>
void put(char (&field)[N], const char *text) {
    std::memcpy(field, text, std::min(std::strlen(text), N));
}

constexpr std::uint16_t screen_printer = 1;

void add_screen(ICB *icb) {
    PrinterRecord record{};
    record.printer = screen_printer;
    put(record.name, "SCR");
    IXWRITE(icb, &record);
}

void add_screen_connection(ICB *icb) {
    ConnectionRecord record{};
    record.printer = screen_printer;
    record.connection = 1;
    put(record.name, "SCR");
    IXWRITE(icb, &record);
}

void add_screen_forms(ICB *icb) {
    struct form {
        std::uint8_t property;
        std::uint16_t columns;
        std::uint16_t lines;
        const char *description;
    };
    for (const form &one : {form{1, 40, 9999, "SCR-40"}, {2, 80, 64, "SCR-80"}, {3, 132, 64, "SCR-132"}}) {
        PropertyRecord record{};
        record.printer = screen_printer;
        record.property = one.property;
        record.columns = one.columns;
        record.lines = one.lines;
        put(record.description, one.description);
        IXWRITE(icb, &record);
    }
}

struct file_kind {
    const char *name;
    std::span<const char *const> definition;
    void (*add_records)(ICB *icb);
};

const file_kind kinds[] = {
    {"TR_PTRG", printer_definition, add_screen},
    {"TR_PTRC", connection_definition, add_screen_connection},
    {"TR_PTRP", property_definition, add_screen_forms},
    {"TR_PTRCA", capability_definition, nullptr},
};

/// The store ends the program when it can't open a file, and a printer is not worth that.
bool can_be_opened(const std::string &path, int flags) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC | flags, 0666);
    if (fd < 0) {
        return false;
    }
    close(fd);
    return true;
}

/// Makes an index half; when there is a data half, over what it holds.
bool make_index(const file_kind &kind, const std::string &path) {
    const bool had_data = file_exists((path + ".TXT").c_str());
    if (!can_be_opened(path + ".TXT", had_data ? 0 : O_CREAT) || !can_be_opened(path + ".INX", O_CREAT)) {
        return false;
    }
    ICB *icb = IXCREATE(path.c_str(), ix_exclusive);
    for (std::size_t key = 0; key < kind.definition.size(); key++) {
        IXUPDFCB(icb, static_cast<int>(key), kind.definition[key]);
    }
    if (!had_data) {
        IXINIT(icb);
    }
    IXCLOSE(icb);
    return !had_data || IXBLDIX(path.c_str());
}

bool file_ready(const file_kind &kind) {
    const std::string path = prt_path(kind.name);
    const std::string index = path + ".INX";
    const std::string data = path + ".TXT";
    if (file_exists(data.c_str()) && file_exists(index.c_str()) &&
        (!can_be_opened(data, 0) || !can_be_opened(index, 0))) {
        return false;
    }
    if (IXCHECK(path.c_str()) < 0 || !ix_sound(path.c_str()) || !file_exists(data.c_str())) {
        file_delete(index.c_str());
    }
    const bool missing = !file_exists(index.c_str());
    if (missing && !make_index(kind, path)) {
        return false;
    }
    if (kind.add_records != nullptr && (missing || file_size(data.c_str()) == 0)) {
        ICB *icb = IXOPEN(path.c_str(), ix_exclusive);
        kind.add_records(icb);
        IXCLOSE(icb);
    }
    return true;
}

template <typename Record>
bool read_record(const printer_file &file, Record &record) {
    return IXREAD(file.icb, &record);
}

}  // namespace

std::string prt_path(const char *name) {
    if (!directory) {
        directory = read_directory();
    }
    return *directory + name;
}

void prt_path_forget() {
    directory.reset();
}

bool prt_tables_ready() {
    const leave_guard guard;
    return std::all_of(std::begin(kinds), std::end(kinds), file_ready);
}

printer_file::printer_file(const char *name) {
    const std::string path = prt_path(name);
    const bool usable = can_be_opened(path + ".TXT", 0) && can_be_opened(path + ".INX", 0);
    icb = usable ? IXOPEN(path.c_str(), ix_readonly) : nullptr;
}

printer_file::~printer_file() {
    if (icb != nullptr) {
        IXCLOSE(icb);
    }
}

bool find_printer(const printer_table &table, int printer, PrinterRecord &record) {
    record = {};
    record.printer = static_cast<std::uint16_t>(printer);
    return read_record(table.general, record);
}

bool find_connection(const printer_table &table, int printer, int connection, ConnectionRecord &record) {
    record = {};
    record.printer = static_cast<std::uint16_t>(printer);
    record.connection = static_cast<std::uint8_t>(connection);
    return read_record(table.connections, record);
}

bool find_property(const printer_table &table, int printer, int property, PropertyRecord &record) {
    record = {};
    record.printer = static_cast<std::uint16_t>(printer);
    record.property = static_cast<std::uint8_t>(property);
    return read_record(table.properties, record);
}
