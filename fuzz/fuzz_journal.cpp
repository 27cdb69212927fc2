// Order journals: any bytes. A walk stays within the journal, and a second one gives the same copy and the
// same numbers. The copy of a journal in which nothing is out of order is clean: it is its own copy, and none
// of its orders gets another number.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/files.h"
#include "check/journals/walk.h"
#include "fuzz/stop.h"

namespace {

std::int32_t last_number = 999;

std::int32_t next_number() {
    return ++last_number;
}

int journal_of(const std::string &bytes) {
    const int fd = memfd_create("journal", MFD_CLOEXEC);
    FUZZ_DEMAND(fd >= 0 && file_write_at(fd, bytes.data(), bytes.size(), 0));
    return fd;
}

/// Walks to the end; gives the copy.
std::string copy_of(journal_walk &walk, std::size_t size, bool &in_order) {
    std::string copy;
    in_order = true;
    std::size_t order_place = 0;
    std::int64_t end = 0;
    while (journal_next(walk)) {
        FUZZ_DEMAND(walk.at == end && journal_payload(walk.code) == static_cast<int>(walk.payload.size()));
        end = walk.at + 1 + static_cast<std::int64_t>(walk.payload.size());
        FUZZ_DEMAND(end <= static_cast<std::int64_t>(size));
        FUZZ_DEMAND(!walk.replaces || (walk.copied && walk.code == 'O' &&
                                       order_place + journal_order_bytes + 1 == copy.size()));
        in_order = in_order && walk.copied && !walk.replaces;
        if (!walk.copied) {
            continue;
        }
        if (walk.replaces) {
            copy.resize(order_place);
        }
        if (walk.code == 'O') {
            order_place = copy.size();
        }
        copy += walk.code;
        copy.append(reinterpret_cast<const char *>(walk.payload.data()), walk.payload.size());
    }
    FUZZ_DEMAND(walk.end != journal_end::open && !journal_next(walk));
    return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    // Payloads are long, and codes are rare in random bytes. So each byte of the input means a record, or
    // itself, and its low bits set what matters in the payload.
    std::string bytes;
    for (std::size_t i = 0; i < size; i++) {
        const char code = "OMDTSEBLF"[data[i] % 9];
        if (data[i] >= 252) {
            bytes += static_cast<char>(data[i]);
            continue;
        }
        std::string payload(static_cast<std::size_t>(journal_payload(code)), static_cast<char>(data[i]));
        if (code == 'O') {
            payload[46] = data[i] & 64 ? order_status_numbered : 1;
            payload[59] = data[i] & 32 ? order_kind_own_text : 1;
            payload.replace(64, 4,
                            std::string{static_cast<char>(data[i]), data[i] & 128 ? '\7' : '\0', 0, 0});
        }
        bytes += code + payload;
    }
    if (size > 0 && (data[0] & 1) != 0) {
        bytes.resize(bytes.size() - std::min<std::size_t>(bytes.size(), data[size - 1] % 40));
    }
    const int fd = journal_of(bytes);
    journal_walk walk;
    journal_begin(walk, fd, next_number);
    bool in_order = false;
    const std::string copy = copy_of(walk, bytes.size(), in_order);
    const journal_end end = walk.end;
    const std::int32_t numbers = last_number;
    journal_again(walk);
    FUZZ_DEMAND(copy_of(walk, bytes.size(), in_order) == copy && walk.end == end && last_number == numbers);
    FUZZ_DEMAND((end == journal_end::empty) == bytes.empty());
    close(fd);
    if (end == journal_end::passed) {
        const int clean = journal_of(copy);
        journal_begin(walk, clean, next_number);
        const bool was_in_order = in_order;
        const std::string again = copy_of(walk, copy.size(), in_order);
        FUZZ_DEMAND(!was_in_order ||
                    (again == copy && walk.end == journal_end::passed && walk.new_numbers.empty()));
        close(clean);
    }
    return 0;
}
