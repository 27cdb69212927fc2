// Keyboard macros: the macro file, the replay, and what is handed to the next program on the line.
#include "print/macros.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "screen/screen.h"

namespace {

constexpr std::size_t path_room = 80;
constexpr int key_carriage_return = 13;
constexpr int first_no_key = 512;
constexpr int key_consumed = -2;

/// The directory, and after it the path that was built last.
struct macro_paths {
    char directory[path_room];
    char path[path_room];
};

bool mac_enabled = false;
bool mac_running = false;
std::unique_ptr<macro_paths> mac_path;
/// The replay: its keys in reverse order, so the next one is the last.
MacroRecord replay{};

macro_paths &paths() {
    if (mac_path == nullptr) {
        mac_path.reset(new (std::nothrow) macro_paths{});
        if (mac_path == nullptr) {
            scr_fatal("%s", term_text(1, 17, "Onvoldoende geheugen"));
        }
        constexpr std::size_t longest = 63;
        const char *value = getenv("MACRO");
        std::string directory = value == nullptr ? "" : value;
        if (directory.size() > longest) {
            directory.resize(longest - 1);
        }
        if (!directory.empty() && directory.back() != '/') {
            directory += '/';
        }
        std::memcpy(mac_path->directory, directory.c_str(), directory.size() + 1);
    }
    return *mac_path;
}

/// Keeps other programs from making the file at the same time. Where the directory can't be locked nothing
/// does.
class directory_lock {
public:
    directory_lock() {
        const std::string directory = paths().directory;
        fd_ = open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd_ >= 0) {
            flock(fd_, LOCK_EX);
        }
    }
    ~directory_lock() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    directory_lock(const directory_lock &) = delete;
    directory_lock &operator=(const directory_lock &) = delete;

    /// True when there is such a directory and files can be made in it.
    [[nodiscard]] bool writable() const {
        const char *directory = paths().directory;
        return fd_ >= 0 && access(*directory == '\0' ? "." : directory, W_OK) == 0;
    }

private:
    int fd_;
};

bool usable(const char *name) {
    return access(mac_file_path(name), R_OK | W_OK) == 0;
}

/// Makes the missing half of the pair, or both. False when that is not possible.
bool make_file() {
    const directory_lock lock;
    if (!file_exists(mac_file_path("MACRO.TXT"))) {
        file_delete(mac_file_path("MACRO.INX"));
    }
    if (!file_exists(mac_file_path("MACRO.INX"))) {
        if (!lock.writable()) {
            return false;
        }
        const bool has_data = file_exists(mac_file_path("MACRO.TXT"));
        ICB *icb = IXCREATE(mac_file_path("MACRO"), ix_exclusive);
        int key = 0;
        for (const char *text : macro_definition) {
            IXUPDFCB(icb, key++, text);
        }
        if (has_data) {
            IXINITIX(icb);
            IXCLOSE(icb);
            return IXBLDIX(mac_file_path("MACRO"));
        }
        IXINIT(icb);
        IXCLOSE(icb);
    }
    return true;
}

bool sound(const MacroRecord &record) {
    return record.count <= macro_keys &&
           std::all_of(record.keys, record.keys + record.count,
                       [](std::uint16_t key) { return key > 0 && key < first_no_key; });
}

int take_key() {
    if (replay.count == 0) {
        return 0;
    }
    replay.count -= 1;
    return replay.keys[replay.count];
}

void push_key(int key) {
    if (replay.count < macro_keys) {
        replay.keys[replay.count] = static_cast<std::uint16_t>(key);
        replay.count += 1;
    }
}

/// Makes a stored macro the replay. A macro that no recording could have made is refused.
bool begin_replay(const MacroRecord &record, int key) {
    if (!sound(record)) {
        char name[8];
        key_name(key, name);
        error(term_text(1, 601, "Macro %s is beschadigd"), name);
        return false;
    }
    replay = record;
    std::reverse(replay.keys, replay.keys + replay.count);
    for (auto &stored : replay.keys) {
        if (stored == key_carriage_return) {
            stored = key_enter;
        }
    }
    mac_running = true;
    return true;
}

/// The hand-over to the next program on this terminal line, byte by byte.
struct MacroHandover {
    char directory[path_room];              // 0
    char path[path_room];                   // 80
    boost::endian::little_int32_t running;  // 160
    boost::endian::little_int32_t enabled;  // 164
    boost::endian::little_uint16_t user;    // 168
    MacroRecord replay;                     // 170
};
static_assert(sizeof(MacroHandover) == 406 && offsetof(MacroHandover, running) == 160);
static_assert(offsetof(MacroHandover, replay) == 170);

/// The name of that file; empty when output does not go to a terminal.
std::string handover_name() {
    char name[256];
    if (ttyname_r(STDOUT_FILENO, name, sizeof name) != 0) {
        return "";
    }
    const char *last = std::strrchr(name, '/');
    return std::string("MAC") + (last == nullptr ? name : last + 1) + ".TMP";
}

}  // namespace

void mac_enable() {
    mac_enabled = true;
    mac_path.reset();
}

void mac_disable() {
    mac_enabled = false;
    mac_path.reset();
}

bool mac_active() {
    return mac_enabled && mac_running;
}

void mac_stop() {
    mac_running = false;
    replay.count = 0;
}

const char *mac_file_path(const char *name) {
    macro_paths &both = paths();
    const std::string path = std::string(both.directory) + name;
    std::memcpy(both.path, path.c_str(), std::min(path.size() + 1, path_room - 1));
    both.path[path_room - 1] = '\0';
    return both.path;
}

ICB *mac_open() {
    if (!make_file() || !usable("MACRO.TXT") || !usable("MACRO.INX") || IXCHECK(mac_file_path("MACRO")) < 0 ||
        !ix_sound(mac_file_path("MACRO"))) {
        return nullptr;
    }
    return IXOPEN(mac_file_path("MACRO"), ix_shared);
}

bool mac_is_activating(int key) {
    constexpr int letter_or_digit = char_upper | char_lower | char_digit;
    return key > 0 && key < 256 && (char_class_of(static_cast<unsigned char>(key)) & letter_or_digit) != 0;
}

int mac_stored_key(int key) {
    return key >= 'A' && key <= 'Z' ? key - 'A' + 'a' : key;
}

int mac_start(int key) {
    if (!mac_enabled || !mac_is_activating(key)) {
        return 0;
    }
    mac_disable();
    MacroRecord record{};
    record.key = static_cast<std::uint16_t>(mac_stored_key(key));
    record.user = mac_user;
    ICB *icb = mac_open();
    if (icb == nullptr) {
        mac_enable();
        return 0;
    }
    const bool found = IXREAD(icb, &record);
    IXCLOSE(icb);
    int result = 0;
    if (found) {
        result = begin_replay(record, key) ? take_key() : key_consumed;
    } else {
        char name[8];
        key_name(key, name);
        if (mac_ask(term_text(1, 376, "Macro %s is niet aanwezig !"), name)) {
            mac_enable();
            mac_record(key);
        } else {
            result = key_consumed;
        }
    }
    mac_enable();
    return result;
}

void mac_save() {
    const std::string name = handover_name();
    if (name.empty()) {
        return;
    }
    MacroHandover left{};
    std::memcpy(left.directory, paths().directory, sizeof left.directory);
    std::memcpy(left.path, paths().path, sizeof left.path);
    left.running = mac_running ? 1 : 0;
    left.enabled = mac_enabled ? 1 : 0;
    left.user = mac_user;
    left.replay = replay;
    const int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd >= 0) {
        if (!file_write_at(fd, &left, sizeof left, 0)) {
            unlink(name.c_str());
        }
        close(fd);
    }
    mac_path.reset();
}

void mac_restore() {
    const std::string name = handover_name();
    const int fd = name.empty() ? -1 : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    MacroHandover left;
    const bool whole = file_read_at(fd, &left, sizeof left, 0) == ssize_t{sizeof left} && sound(left.replay);
    close(fd);
    unlink(name.c_str());
    if (whole) {
        mac_enabled = left.enabled != 0;
        mac_running = left.running != 0;
        replay = left.replay;
    }
}

void mac_connect() {
    macros.enabled = [] { return mac_enabled; };
    macros.enable = mac_enable;
    macros.disable = mac_disable;
    macros.replaying = mac_active;
    macros.keys_left = [] { return replay.count > 0; };
    macros.next_key = take_key;
    macros.push = push_key;
    macros.stop = mac_stop;
    macros.record = [] { mac_record(0); };
    macros.start = mac_start;
    macros.session_restore = mac_restore;
    macros.session_save = mac_save;
}
