// The work list of a check, in a temporary text file: there may be too much for memory. It lives as long as
// one run of the check.
#pragma once

#include <cstdio>
#include <string>

#include "base/owned_file.h"
#include "check/frame/temporary.h"

class work_file : private temporary {
public:
    work_file() = default;
    ~work_file() override;

    /// Makes the file, empty. Failing to make it or to write it stops the program: what is not on the list
    /// would be told, and not mended.
    void create();
    [[gnu::format(printf, 2, 3)]] void print(const char *format, ...);
    /// Makes sure that all lines are in the file, and goes back to the first.
    void rewind();
    /// The file, for reading.
    [[nodiscard]] std::FILE *stream() const {
        return file.get();
    }
    [[nodiscard]] bool empty() const {
        return count == 0;
    }
    /// Closes the file and deletes it.
    void remove();

private:
    void discard() override;
    [[noreturn]] void fail();

    std::string name;
    open_stream file;
    std::uint32_t count = 0;  ///< lines
};
