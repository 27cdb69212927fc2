#include <cstdio>

#include "command/fleet.h"
#include "command/summary.h"

int main(int argc, char **argv) {
    catalog_open();
    const run_options options = options_of(argc, argv);
    if (options.list) {
        std::fputs(findings_table().c_str(), stdout);
        return status_clean;
    }
    return fleet_run(options);
}
