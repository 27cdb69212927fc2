// What lasts for the whole session: the flags of the checks, and the files that stay open.
#include "check/session/session.h"

#include <dirent.h>

#include "data/errors.h"
#include "data/iomaat.h"
#include "data/masterfile.h"
#include "data/pairopen.h"
#include "data/pricefile.h"
#include "data/seriesfile.h"
#include "data/sizefile.h"
#include "data/transitfile.h"

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
bool chk_broken_off = false;
bool chk_series_index_made = false;

namespace {

struct session_file {
    ICB *session_files::*icb;
    const char *name;
    int mode;
    std::size_t record_bytes;
};

// Of RVONTV only the index is read.
constexpr session_file files[] = {
    {&session_files::rvart, "RVART", ix_shared, sizeof(ArticleGroupRecord)},
    {&session_files::rvgo, "RVGO", ix_shared, sizeof(TransitRecord)},
    {&session_files::rvlev, "RVLEV", ix_shared, sizeof(SupplierRecord)},
    {&session_files::rvmerk, "RVMERK", ix_shared, sizeof(BrandRecord)},
    {&session_files::rvontv, "RVONTV", ix_readonly, any_length},
    {&session_files::rvser, "RVSER", ix_shared, sizeof(SeriesRecord)},
    {&session_files::rvmaat, "RVMAAT", ix_shared, sizeof(SizeKindRecord)},
    {&session_files::rvmtom, "RVMTOM", ix_readonly, sizeof(SizeNameRecord)},
    {&session_files::rvkoers, "RVKOERS", ix_readonly, sizeof(RateRecord)},
};

}  // namespace

SysRow20 chk_transit_settings{};

void chk_session_open() {
    constexpr std::uint8_t last_trusted_status = 9;
    for (const session_file &file : files) {
        chk_files.*file.icb = pair_open(file.name, file.mode, file.record_bytes);
    }
    iotab_row(tab_action::read, row_transit, chk_transit_settings);
    for (const chk_row &row : chk_rows()) {
        *row.passed = false;
    }
    chk_series_index_made = false;
    // The status on file tells how the slot's last program ended; the one in memory starts at rest.
    ok_labels = sys_slot_status <= last_trusted_status;
}

void chk_session_close() {
    for (const session_file &file : files) {
        IXCLOSE(chk_files.*file.icb);
        chk_files.*file.icb = nullptr;
    }
    if (session_sizes != nullptr) {
        mtclose(session_sizes);
        session_sizes = nullptr;
    }
}

bool chk_master_data_waits() {
    DIR *directory = opendir(".");
    if (directory == nullptr) {
        err_open(program_name, ".");
    }
    closedir(directory);
    std::string pattern = "STAT%*02hd.TXT";
    return FILES_PRESENT(pattern) != 0;
}
