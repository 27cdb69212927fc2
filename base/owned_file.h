// Owners of open files: the file is closed on every way out of the block.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <memory>

/// A descriptor.
struct open_file {
    int fd;
    explicit open_file(int descriptor) : fd(descriptor) {}
    ~open_file() {
        close();
    }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;

    /// False with errno when the system could not write all that was still to be written.
    bool close() {
        const int descriptor = fd;
        fd = -1;
        return descriptor < 0 || ::close(descriptor) == 0;
    }
};

struct stream_closer {
    void operator()(std::FILE *stream) const {
        std::fclose(stream);
    }
};
/// A stream.
using open_stream = std::unique_ptr<std::FILE, stream_closer>;

/// Closes a stream. False with errno when not everything could be written.
inline bool close_stream(open_stream &stream) {
    return stream == nullptr || std::fclose(stream.release()) == 0;
}
