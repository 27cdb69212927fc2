// What lasts for the whole session: the flags of the checks and the files that stay open.
#include "check/check.h"

bool ok_labels = false;
bool ok_series = false;
bool ok_prices = false;
bool ok_sizes = false;
bool ok_transit = false;
bool ok_order_criteria = false;
bool ok_customers = false;
bool ok_titles = false;
bool ok_countries = false;
bool ok_master = false;
bool ok_ean = false;
bool ok_order_numbers = false;
bool ok_barcodes = false;
bool ok_journals = false;
bool chk_full_run = false;

session_files chk_files{};

namespace {

struct session_file {
    ICB *session_files::*icb;
    const char *name;
    int mode;
};

constexpr session_file files[] = {
    {&session_files::rvart, "RVART", ix_shared},     {&session_files::rvgo, "RVGO", ix_shared},
    {&session_files::rvlev, "RVLEV", ix_shared},     {&session_files::rvmerk, "RVMERK", ix_shared},
    {&session_files::rvontv, "RVONTV", ix_readonly}, {&session_files::rvser, "RVSER", ix_shared},
    {&session_files::rvmaat, "RVMAAT", ix_shared},   {&session_files::rvmtom, "RVMTOM", ix_readonly},
    {&session_files::rvkoers, "RVKOERS", ix_readonly},
};

}  // namespace

void chk_session_files_open() {
    for (const session_file &file : files) {
        chk_files.*file.icb = IXOPEN(file.name, file.mode);
    }
}

void chk_session_files_close() {
    for (const session_file &file : files) {
        IXCLOSE(chk_files.*file.icb);
        chk_files.*file.icb = nullptr;
    }
}
