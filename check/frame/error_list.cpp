#include "check/frame/error_list.h"

#include <cstdio>

#include "data/data.h"

std::string chk_tempname(const char *suffix) {
    const std::int32_t user = sys_user < 1 || sys_user > region_users.highest ? 1 : sys_user;
    char prefix[16];
    std::snprintf(prefix, sizeof prefix, "TP%02lu", static_cast<unsigned long>(user));
    std::string name;
    do {
        name = file_tempname("", prefix);
        if (name.empty()) {
            err_open(program_name, prefix);
        }
        name += suffix;
    } while (file_exists((name + ".INX").c_str()) || file_exists((name + ".TXT").c_str()));
    return name;
}

void temporary_list::open(const std::string &file_name) {
    close();
    name = file_name.empty() ? chk_tempname() : file_name;
    // The definition takes addresses within a record, whatever the record contains.
    const std::vector<char> record(static_cast<std::size_t>(definition.record_length));
    file = IXCREATE(name.c_str(), ix_exclusive);
    UPDFCB_INX(definition.name, record.data(), definition.record_length);
    UPDFCB_END(file);
    int number = 0;
    for (const list_key &key : definition.keys) {
        UPDFCB_KEY(++number, key.name, key.duplicates);
        for (const list_segment &segment : key.segments) {
            UPDFCB_SEG(segment.type, record.data() + segment.offset, segment.length);
        }
        UPDFCB_END(file);
    }
    IXINIT(file);
    IXCLOSE(file);
    file = ix_open_alone(name.c_str());
}

void temporary_list::close() {
    if (file != nullptr) {
        IXCLOSE(file);
        file = nullptr;
        ix_remove(name.c_str());
    }
}

bool temporary_list::empty() const {
    std::vector<char> record(static_cast<std::size_t>(definition.record_length));
    return !IXFIRST(file, record.data());
}
