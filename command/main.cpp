#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "command/fleet.h"
#include "command/summary.h"

namespace {

/// Whoever starts this without standard output gets none. No file of a shop may be opened in its place:
/// messages would be written into it.
void fill_standard_files() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    close(fd);
}

}  // namespace

int main(int argc, char **argv) {
    fill_standard_files();
    catalog_open();
    const run_options options = options_of(argc, argv);
    if (options.list) {
        if (!write_out(stdout, findings_table())) {
            write_out(stderr, std::string("rvcheck: --list: ") + std::strerror(errno) + "\n");
            return status_wrong_use;
        }
        return status_clean;
    }
    return fleet_run(options);
}
