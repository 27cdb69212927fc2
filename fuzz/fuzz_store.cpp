// Pairs with bytes changed anywhere. The input is
//
//     which pair, flags, number of patches, patches of 4 bytes (place, 2 bytes little-endian; half and
//     value), then operations of 3 bytes
//
// so a short input already reaches any field of the header, of a block or of a record. The store may stop
// the program, and it may find the wrong thing; it may not touch memory that isn't its own, and it must come
// back. A rebuild that says it was done must leave a pair that is sound in every byte.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/stop.h"
#include "store/store_internal.h"
#include "support/store/verify.h"

namespace {

struct halves {
    bytes index;
    bytes data;
};
std::array<halves, 3> pairs;

struct reader {
    const std::uint8_t *at;
    std::size_t left;

    int byte() {
        if (left == 0) {
            return 0;
        }
        --left;
        return *at++;
    }
};

bytes file_content(const char *path) {
    bytes all(static_cast<std::size_t>(std::max(file_size(path), off_t{0})));
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    file_read_at(fd, all.data(), all.size(), 0);
    close(fd);
    return all;
}

void put(const char *path, const bytes &all) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    file_write_at(fd, all.data(), all.size(), 0);
    close(fd);
}

halves make(const std::vector<const char *> &definition, int reclen, int records) {
    ICB *icb = IXCREATE("F", ix_exclusive);
    for (std::size_t k = 0; k < definition.size(); ++k) {
        IXUPDFCB(icb, static_cast<int>(k), definition[k]);
    }
    IXINIT(icb);
    bytes record(static_cast<std::size_t>(reclen));
    for (int n = 0; n < records; ++n) {
        const int number = n * 7 % records;
        std::fill(record.begin(), record.end(), static_cast<std::uint8_t>('a' + number % 5));
        std::memcpy(record.data(), &number, 4);
        IXWRITE(icb, record.data());
        if (n % 4 == 3) {
            IXDELETE(icb, record.data());
        }
    }
    IXCLOSE(icb);
    return {file_content("F.INX"), file_content("F.TXT")};
}

void patch(halves &pair, reader &input) {
    for (int left = input.byte() % 12; left > 0; --left) {
        const int place = input.byte() | input.byte() << 8;
        const int half = input.byte();
        const int value = input.byte();
        bytes &of = half % 4 == 0 ? pair.data : pair.index;
        if (half >= 250) {
            of.resize(std::min<std::size_t>(static_cast<std::size_t>(place), 16384));
        } else if (!of.empty()) {
            of[static_cast<std::size_t>(place) % of.size()] = static_cast<std::uint8_t>(value);
        }
    }
}

void operate(ICB *icb, reader &input) {
    std::uint8_t record[ix_max_reclen] = {};
    for (int left = 40; left > 0 && input.left > 0; --left) {
        const int what = input.byte() % 20;
        const int number = input.byte();
        const int letter = input.byte();
        if (letter != 0) {
            std::memset(record, letter, static_cast<std::size_t>(icb->reclen));
            std::memcpy(record, &number, std::min<std::size_t>(4, static_cast<std::size_t>(icb->reclen)));
        }
        std::int32_t position = number;
        switch (what) {
            case 0:
                IXREAD(icb, record);
                break;
            case 1:
                IXREADLOCK(icb, record);
                break;
            case 2:
                IXFINDP(icb, record, number % 4);
                break;
            case 3:
                IXFIRST(icb, record);
                break;
            case 4:
                IXFIRSTR(icb, record, number % 4);
                break;
            case 5:
                IXFIRSTK(icb, record, number % 4);
                break;
            case 6:
                IXNEXT(icb, record);
                break;
            case 7:
                IXNEXTR(icb, record, number % 4);
                break;
            case 8:
                IXNEXTK(icb, record, number % 4);
                break;
            case 9:
                IXPREV(icb, record);
                break;
            case 10:
                IXPREVR(icb, record, number % 4);
                break;
            case 11:
                IXPREVK(icb, record, number % 4);
                break;
            case 12:
                IXSKIP(icb, record, number % 3, letter % 7 - 3, &position);
                break;
            case 13:
                IXGET(icb, record, number - 2);
                break;
            case 14:
                for (int steps = 0; IXSEQ(icb, record) && steps < 200; ++steps) {
                }
                break;
            case 15:
                IXWRITE(icb, record);
                break;
            case 16:
                IXDELETE(icb, record);
                break;
            case 17:
                IXFREE(icb, record);
                break;
            case 18:
                IXSWITCH(icb, number);
                break;
            default:
                for (int steps = 0; IXNEXT(icb, record) && steps < 200; ++steps) {
                }
        }
    }
}

/// Sound but for equal keys of key 1, and keys as high as the last of all, which come with the data.
void demand_sound() {
    for (const std::string &fault : ix_verify("F")) {
        if (fault.find("out of order") == std::string::npos) {
            std::fprintf(stderr, "%s\n", fault.c_str());
            std::abort();
        }
    }
}

int first_fd = 0;

/// A refused open leaves descriptors open, since the program was to end.
void close_what_is_left() {
    for (int fd = first_fd; fd < first_fd + 8; ++fd) {
        if (fcntl(fd, F_GETFD) != -1) {
            ix_fd_close(fd);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    fuzz_catch_stops();
    ix_lock_wait = [](ICB *) { throw fuzz_stop{}; };
    char directory[] = "/dev/shm/fuzz_store.XXXXXX";
    char elsewhere[] = "/tmp/fuzz_store.XXXXXX";
    const char *made = mkdtemp(directory);
    made = made == nullptr ? mkdtemp(elsewhere) : made;
    FUZZ_DEMAND(made != nullptr && chdir(made) == 0);
    first_fd = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    close(first_fd);
    static std::string place = made;
    std::atexit([] {
        ix_remove((place + "/F").c_str());
        rmdir(place.c_str());
    });
    pairs[0] = make({"een,12", "k,I,1,4"}, 12, 5);
    pairs[1] = make({"diep,60", "k,I,1,4", "naam,C,5,60", "c,I,5,6,C,7,9"}, 60, 70);
    pairs[2] = make({"vijf,20", "k,I,1,4", "b,I,5,6", "c,C,7,12", "d,NODUPS,C,1,20", "e,C,13,20"}, 20, 40);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    reader input{data, size};
    halves pair = pairs[static_cast<std::size_t>(input.byte()) % pairs.size()];
    const int flags = input.byte();
    patch(pair, input);
    put("F.INX", pair.index);
    put("F.TXT", pair.data);
    if ((flags & 1) != 0) {
        IXCHECK("F");
    }
    ICB *icb = nullptr;
    try {
        // An open that is refused leaks its memory, since the program would have ended; so few are tried.
        ix_header header{};
        std::memcpy(&header, pair.index.data(), std::min(pair.index.size(), sizeof header));
        const bool hopeful =
            header.inupdate == 0 && ix_header_sound(header, static_cast<off_t>(pair.index.size()),
                                                    static_cast<off_t>(pair.data.size()), false);
        if (hopeful || flags >= 250) {
            icb = IXOPEN("F", flags / 2 % 3);
            operate(icb, input);
        }
    } catch (const fuzz_stop &) {
    }
    if (icb != nullptr) {
        ix_free_icb(icb);
    }
    close_what_is_left();
    if ((flags & 8) != 0 && IXBLDIX("F")) {
        FUZZ_DEMAND(IXCHECK("F") >= 0);
        demand_sound();
    }
    return 0;
}
