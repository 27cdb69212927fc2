#include "data/iotab.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/base.h"
#include "data/errors.h"

std::int32_t sys_row = 1;
std::int32_t sys_user = 0;
UserSlot sys_slot{};
std::uint8_t sys_slot_status = 0;
SysRow1 sys_settings{};
SysRow15 sys_country{};

namespace {

int tab_fd = -1;

/// One record of a region, while an action works on it.
struct record_place {
    std::int32_t number;
    void *buffer;
    std::int32_t base;
    std::int32_t highest;
    std::size_t size;

    [[nodiscard]] bool inside() const {
        return number >= 1 && number <= highest;
    }
    [[nodiscard]] off_t offset() const {
        return static_cast<off_t>(base) + (static_cast<off_t>(number) - 1) * static_cast<off_t>(size);
    }
    [[nodiscard]] off_t length() const {
        return static_cast<off_t>(size);
    }
};

[[noreturn]] void fail(tab_action action, off_t offset) {
    isam_fatal("%s: errno=%d a=%c fd=%d o=%ld", sys_file_name, errno, static_cast<char>(action), tab_fd,
               static_cast<long>(offset));
}

std::string current_directory() {
    constexpr std::size_t shown = 254;
    char *path = getcwd(nullptr, 0);
    std::string text = path == nullptr ? "" : path;
    std::free(path);
    return text.substr(0, shown);
}

off_t present_size() {
    struct stat info {};
    return fstat(tab_fd, &info) == 0 ? info.st_size : 0;
}

void open_file(std::int32_t &number) {
    if (tab_fd < 0) {
        tab_fd = open(sys_file_name, O_RDWR | O_CLOEXEC);
        if (tab_fd < 0 && errno == ENOENT) {
            isam_fatal(detail_text(9, 751, "%s niet aanwezig in %-39.39s"), sys_file_name,
                       current_directory().c_str());
        }
        if (tab_fd < 0) {
            err_open("iotab", sys_file_name);
        }
        // A file that lacks rows is damaged. Going on would mean working with made-up settings and dates.
        if (present_size() < region_rows.end()) {
            errno = EIO;
            fail(tab_action::open, present_size());
        }
    }
    number = 1;
}

void close_file() {
    if (tab_fd >= 0) {
        close(tab_fd);
        tab_fd = -1;
    }
}

bool is_empty(const record_place &place) {
    const auto *bytes = static_cast<const unsigned char *>(place.buffer);
    return std::all_of(bytes, bytes + place.size, [](unsigned char c) { return c == 0; });
}

/// True when the whole record is there and is not all zeros.
bool read_record(tab_action action, const record_place &place) {
    if (!place.inside()) {
        return false;
    }
    const ssize_t got = file_read_at(tab_fd, place.buffer, place.size, place.offset());
    if (got < 0) {
        fail(action, place.offset());
    }
    if (got < static_cast<ssize_t>(place.size)) {
        std::memset(place.buffer, 0, place.size);
        return false;
    }
    return !is_empty(place);
}

/// Never makes the file longer: a record past its end was not read from it either.
void write_record(tab_action action, const record_place &place) {
    if (place.inside() && place.offset() + place.length() > present_size()) {
        errno = EFBIG;
        fail(action, place.offset());
    }
    if (place.inside() && !file_write_at(tab_fd, place.buffer, place.size, place.offset())) {
        fail(action, place.offset());
    }
}

int unlock_record(const record_place &place) {
    return place.inside() && file_lock(lock_action::unlock, tab_fd, place.offset(), place.length()) ? 1 : 0;
}

void lock_record(const record_place &place) {
    while (!file_lock(lock_action::sole, tab_fd, place.offset(), place.length())) {
        if (errno != EACCES && errno != EAGAIN) {
            fail(tab_action::lock_read, place.offset());
        }
        op_leave_if_due();
        const std::string holder = lock_holder_text("", tab_fd, place.offset(), place.length());
        op_in_use((detail_text(4, 572, "SYSTEEM-") + holder).c_str());
    }
}

bool read_next(tab_action action, record_place &place) {
    while (place.number < place.highest) {
        place.number = std::max(place.number, 0) + 1;
        if (read_record(action, place)) {
            return true;
        }
    }
    place.number = place.highest + 1;
    return false;
}

bool read_previous(tab_action action, record_place &place) {
    place.number = std::min(place.number, place.highest + 1);
    while (--place.number > 0) {
        if (read_record(action, place)) {
            return true;
        }
    }
    place.number = 0;
    return false;
}

/// The text of a field, which is zero-terminated when it is shorter than the field.
std::string field_text(const char *field, std::size_t room) {
    return {field, strnlen(field, room)};
}

/// Number of the user slot whose lock `process` holds, with its record in `slot`; 0 for none.
std::int32_t slot_of_process(pid_t process, UserSlot &slot) {
    for (std::int32_t number = 1; number <= region_users.highest; number++) {
        if (file_lock_holder(tab_fd, region_users.offset(number), region_users.size) != process) {
            continue;
        }
        std::int32_t wanted = number;
        if (iotab(tab_action::read, wanted, slot, region_users) != 0) {
            return number;
        }
    }
    return 0;
}

}  // namespace

int iotab(tab_action action, std::int32_t &number, void *buffer, std::int32_t base, std::int32_t highest,
          std::size_t size) {
    record_place place{number, buffer, base, highest, size};
    bool found = false;
    switch (action) {
        case tab_action::open:
            open_file(number);
            return 1;
        case tab_action::close:
            close_file();
            return 1;
        case tab_action::read:
            return read_record(action, place) ? 1 : 0;
        case tab_action::first:
            found = read_record(action, place) || read_next(action, place);
            number = place.number;
            return found ? 1 : 0;
        case tab_action::next:
            found = read_next(action, place);
            number = place.number;
            return found ? 1 : 0;
        case tab_action::previous:
            found = read_previous(action, place);
            number = place.number;
            return found ? 1 : 0;
        case tab_action::lock_read:
            if (!place.inside()) {
                return 0;
            }
            lock_record(place);
            return read_record(action, place) ? 1 : 0;
        case tab_action::clear:
            std::memset(buffer, 0, size);
            [[fallthrough]];
        case tab_action::write:
            write_record(action, place);
            unlock_record(place);
            return 1;
        case tab_action::write_keep:
            write_record(action, place);
            return 1;
        case tab_action::unlock:
            return unlock_record(place);
        case tab_action::test:
            return place.inside() && file_lock(lock_action::test, tab_fd, place.offset(), place.length()) ? 1
                                                                                                          : 0;
    }
    return 0;
}

int iotab_descriptor() {
    return tab_fd;
}

void set_system_busy(const char *text) {
    SysRow10 row{};
    iotab_row(tab_action::lock_read, row_status, row);
    row.state = state_busy;
    std::memset(row.busy_text, 0, sizeof row.busy_text);
    std::memcpy(row.busy_text, text, strnlen(text, sizeof row.busy_text - 1));
    iotab_row(tab_action::write, row_status, row);
}

void set_program_status(std::uint8_t status) {
    if (sys_user == 0) {
        return;
    }
    sys_slot.status = status;
    iotab(tab_action::write_keep, sys_user, sys_slot, region_users);
}

std::string user_name(const UserSlot &slot) {
    char name[sizeof slot.name + 2] = "";
    std::memcpy(name, slot.name, sizeof slot.name);
    UNSCRAMBLE(name);
    return name;
}

std::string lock_holder_text(const std::string &word, int fd, off_t start, off_t length) {
    UserSlot slot{};
    const pid_t process = file_lock_holder(fd, start, length);
    if (process == 0 || slot_of_process(process, slot) == 0) {
        return detail_text(1, 250, "Informatie in gebruik op ander scherm");
    }
    const std::string name = user_name(slot);
    std::string text;
    if (word == "PROG") {
        text = std::string(detail_text(9, 955, "Programma in gebruik door")) + " " + name;
    } else if (word.starts_with('~')) {
        text = word.substr(1) + ": " + detail_text(9, 956, "in gebruik door") + " " + name;
    } else {
        text = std::string(detail_text(5, 32, "Informatie in gebruik door")) + " " + name;
    }
    const std::string terminal = field_text(slot.terminal, sizeof slot.terminal);
    return terminal.empty() ? text : text + " (tty" + terminal + ")";
}
