// The work list of the check of goods in transit.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "check/transit/transit.h"
#include "data/data.h"

void label_list::fail() {
    isam_fatal("%s: errno=%d%s", name.c_str(), errno, disk_full_text(errno));
}

void label_list::close() {
    if (!close_stream(file)) {
        fail();
    }
}

void label_list::open(const char *mode) {
    close();
    file.reset(std::fopen(name.c_str(), mode));
    if (file == nullptr) {
        err_open(program_name, name.c_str());
    }
}

void label_list::create() {
    name = chk_tempname();
    count = 0;
    open("w");
}

void label_list::add(std::int32_t number) {
    if (std::fprintf(file.get(), "%ld\n", static_cast<long>(number)) < 0) {
        fail();
    }
    count++;
}

void label_list::rewind() {
    open("r");
}

bool label_list::next(std::int32_t &number) {
    char line[1024 + 1];
    if (std::fgets(line, sizeof line, file.get()) == nullptr) {
        return false;
    }
    number = static_cast<std::int32_t>(std::strtol(line, nullptr, 10));
    return true;
}

void label_list::remove() {
    close();
    file_delete(name.c_str());
}
