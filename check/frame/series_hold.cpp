#include "check/frame/series_hold.h"

series_hold::series_hold(const SeriesKey &wanted)
    : by_key(chk_files.rvser, 1), series(wanted), walk_place(chk_files.rvser->recno) {
    record.key = series;
    found = IXREADLOCK(chk_files.rvser, &record) && record.key == series;
    place = chk_files.rvser->recno;
    leave();
}

series_hold::~series_hold() {
    if (held && place >= 0) {
        chk_files.rvser->recno = place;
        IXLOCK(chk_files.rvser, ix_unlock_record);
    } else if (held) {
        record = {};
        record.key = series;
        IXFREE(chk_files.rvser, &record);
    }
    leave();
}

void series_hold::rewrite() {
    chk_files.rvser->recno = place;
    IXREWRITE(chk_files.rvser, &record);
    held = false;
    leave();
}

void series_hold::remove() {
    chk_files.rvser->recno = place;
    IXDELETE(chk_files.rvser, &record);
    held = false;
    leave();
}

void series_hold::leave() {
    chk_files.rvser->recno = walk_place;
}
