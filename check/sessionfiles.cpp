// The indexed files that stay open for the whole run.
#include "check/check.h"

namespace {

struct session_file {
    ICB *open_files::*handle;
    const char *name;
    int mode;
};

constexpr session_file files[] = {
    {&open_files::art, "RVART", ix_shared},       {&open_files::go, "RVGO", ix_shared},
    {&open_files::lev, "RVLEV", ix_shared},       {&open_files::merk, "RVMERK", ix_shared},
    {&open_files::ontv, "RVONTV", ix_readonly},   {&open_files::ser, "RVSER", ix_shared},
    {&open_files::maat, "RVMAAT", ix_shared},     {&open_files::mtom, "RVMTOM", ix_readonly},
    {&open_files::koers, "RVKOERS", ix_readonly},
};

}  // namespace

void chk_session_files(session_action action) {
    for (const session_file &file : files) {
        ICB *&handle = session_files.*file.handle;
        if (action == session_action::open && handle == nullptr) {
            handle = IXOPEN(file.name, file.mode);
        } else if (action == session_action::close && handle != nullptr) {
            IXCLOSE(handle);
            handle = nullptr;
        }
    }
}
