#include "data/iofil.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/base.h"
#include "data/errors.h"
#include "data/iotab.h"

namespace {

constexpr char branch_file_name[] = "RVFILGEG.TXT";
int branch_fd = -1;

bool is_head_office(int branch) {
    return branch == sys_settings.branches;
}

off_t offset_of(int branch) {
    const int number = is_head_office(branch) ? 0 : branch + 1;
    return static_cast<off_t>(number) * static_cast<off_t>(sizeof(BranchRecord));
}

int read_branch(int branch, BranchRecord &record) {
    const ssize_t got = file_read_at(branch_fd, &record, sizeof record, offset_of(branch));
    if (got < 0) {
        isam_fatal("%s: errno=%d", branch_file_name, errno);
    }
    if (got < static_cast<ssize_t>(sizeof record)) {
        record = {};
        return 0;
    }
    if (is_head_office(branch)) {
        std::memcpy(record.name, sys_settings.company, sizeof sys_settings.company);
        return 1;
    }
    char name[sizeof record.name + 1] = "";
    std::memcpy(name, record.name, sizeof record.name);
    UNSCRAMBLE(name);
    std::memset(record.name, 0, sizeof record.name);
    std::memcpy(record.name, name, strnlen(name, sizeof record.name));
    return 1;
}

void write_branch(int branch, const BranchRecord &record) {
    BranchRecord stored = record;
    std::memset(stored.name, 0, sizeof stored.name);
    if (!is_head_office(branch)) {
        // The scrambled form is one byte longer than the name.
        char name[sizeof record.name + 2] = "";
        std::memcpy(name, record.name, sizeof record.name - 1);
        SCRAMBLE(name);
        std::memcpy(stored.name, name, strnlen(name, sizeof stored.name));
    }
    if (!file_write_at(branch_fd, &stored, sizeof stored, offset_of(branch))) {
        isam_fatal("%s: errno=%d", branch_file_name, errno);
    }
}

}  // namespace

int iofil(fil_action action, int branch, BranchRecord &record) {
    if (action == fil_action::open) {
        if (branch_fd < 0) {
            branch_fd = open(branch_file_name, O_RDWR | O_CLOEXEC);
            if (branch_fd < 0) {
                err_open("iofil", branch_file_name);
            }
        }
        return 1;
    }
    if (action == fil_action::close) {
        if (branch_fd >= 0) {
            close(branch_fd);
            branch_fd = -1;
        }
        return 1;
    }
    if (branch < 0 || branch > sys_settings.branches) {
        err_internal("iofil", 1);
    }
    if (branch_fd < 0) {
        err_internal("iofil", 2);
    }
    switch (action) {
        case fil_action::read:
            return read_branch(branch, record);
        case fil_action::write:
            write_branch(branch, record);
            return 1;
        default:
            return 0;
    }
}
