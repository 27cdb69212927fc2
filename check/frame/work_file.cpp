#include "check/frame/work_file.h"

#include <cerrno>
#include <cstdarg>

#include "check/frame/error_list.h"
#include "data/data.h"

void work_file::fail() {
    isam_fatal("%s: errno=%d%s", name.c_str(), errno, disk_full_text(errno));
}

work_file::~work_file() {
    discard();
}

void work_file::discard() {
    if (file != nullptr) {
        file.reset();
        file_delete(name.c_str());
    }
}

void work_file::create() {
    remove();
    name = chk_tempname();
    count = 0;
    file.reset(std::fopen(name.c_str(), "w+e"));
    if (file == nullptr) {
        err_open(program_name, name.c_str());
    }
}

void work_file::print(const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = std::vfprintf(file.get(), format, args);
    va_end(args);
    if (length < 0) {
        fail();
    }
    count++;
}

void work_file::rewind() {
    if (std::fflush(file.get()) != 0) {
        fail();
    }
    std::rewind(file.get());
}

void work_file::remove() {
    if (file == nullptr) {
        return;
    }
    const bool written = close_stream(file);
    const int why = errno;
    file_delete(name.c_str());
    if (!written) {
        errno = why;
        fail();
    }
}
