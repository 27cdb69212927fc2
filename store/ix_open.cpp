// Opening, creating, emptying and closing a pair.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "store/store_internal.h"

namespace {

/// Bytes of the header that are read first: up to `inupdate`, without it.
constexpr int header_head = offsetof(ix_header, inupdate);

/// A write past a limit on file sizes must fail, not kill the program.
void ignore_size_signal() {
    struct sigaction action {};
    if (sigaction(SIGXFSZ, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
        signal(SIGXFSZ, SIG_IGN);
    }
}

void read_header(ICB *icb, const ix_names &names) {
    IXRDIX(icb, 0);
    if (icb->inupdate != 0 ||
        !ix_header_sound(*icb, file_fd_size(icb->ixfd), file_fd_size(icb->datfd), names.temporary)) {
        ix_inconsistent(icb);
    }
    ix_make_plans(icb);
}

struct descriptors {
    int index = -1;
    int data = -1;
    const char *failed = nullptr;  ///< path of the half that can't be opened
};

descriptors open_pair(const ix_names &names) {
    descriptors fds;
    fds.data = ix_fd_open(names.data, O_RDWR);
    if (fds.data < 0) {
        fds.failed = names.data;
        return fds;
    }
    errno = 0;
    if (file_size(names.index) >= ix_block_size) {
        fds.index = ix_fd_open(names.index, O_RDWR);
    }
    if (fds.index < 0) {
        const int error = errno;
        ix_fd_close(fds.data);
        errno = error;
        fds.failed = names.index;
    }
    return fds;
}

int open_or_create_data(const char *path) {
    return ix_fd_open(path, file_exists(path) ? O_RDWR : O_RDWR | O_CREAT | O_TRUNC);
}

int create_index(const char *path) {
    return ix_fd_open(path, O_RDWR | O_CREAT | O_TRUNC);
}

bool same_file(const char *path, int fd) {
    struct stat named {};
    struct stat open {};
    return stat(path, &named) == 0 && fstat(fd, &open) == 0 && named.st_dev == open.st_dev &&
           named.st_ino == open.st_ino;
}

/// Opens the file of that name for the ICB, unless it already has it; makes the file if need be.
void reopen(ICB *icb, std::int32_t &fd, file_view &view, const std::string &path) {
    if (same_file(path.c_str(), fd)) {
        return;
    }
    ix_range_release(icb, fd);
    file_view_close(view);
    ix_fd_close(fd);
    fd = ix_fd_open(path.c_str(), O_RDWR | O_CREAT);
    if (fd < 0) {
        isam_fatal("%s : %s", "File open mislukt", path.c_str());
    }
}

void cut(ICB *icb, int fd, file_view &view, off_t size, bool index_half) {
    file_view_close(view);
    if (ftruncate(fd, size) != 0) {
        ix_disk_failed(icb, index_half);
    }
}

}  // namespace

bool ix_resolve(const char *name, ix_names &names) {
    const std::size_t length = name == nullptr ? 0 : std::strlen(name);
    if (length == 0 || length + 5 > sizeof names.index) {
        return false;
    }
    // A full stop in the directory part does not count.
    const char *base = std::strrchr(name, '/');
    const char *stop = std::strchr(base == nullptr ? name : base, '.');
    names.temporary = stop != nullptr;
    if (names.temporary) {
        std::snprintf(names.index, sizeof names.index, "%s", name);
        std::snprintf(names.data, sizeof names.data, "%.*s.TXT", static_cast<int>(stop - name), name);
    } else {
        std::snprintf(names.index, sizeof names.index, "%s.INX", name);
        std::snprintf(names.data, sizeof names.data, "%s.TXT", name);
    }
    return true;
}

ICB *ix_new_icb(const char *name, const ix_names &names, int ixfd, int datfd, int mode) {
    ignore_size_signal();
    auto *icb = static_cast<ICB *>(std::calloc(1, sizeof(ICB)));
    if (icb == nullptr) {
        isam_fatal("%s", term_text(1, 238, "Onvoldoende geheugen voor ICB"));
    }
    icb->ixfd = ixfd;
    icb->datfd = datfd;
    icb->mode = mode;
    icb->tempfile = names.temporary ? 1 : 0;
    icb->cur = icb->blk.bentries;
    std::snprintf(icb->opened_as, sizeof icb->opened_as, "%s", name);
    return icb;
}

void ix_free_icb(ICB *icb) {
    ix_scan_forget(icb);
    for (const int fd : {icb->datfd, icb->ixfd}) {
        ix_range_release(icb, fd);
        ix_fd_close(fd);
    }
    file_view_close(icb->data_view);
    file_view_close(icb->index_view);
    std::free(icb);
}

void ix_tell_version(const ix_header &header, bool temporary, int blanks) {
    const std::string name(header.fname, strnlen(header.fname, sizeof header.fname));
    char text[400];
    if (temporary) {
        std::snprintf(text, sizeof text,
                      "Versie van het tijdelijke bestand is onjuist.\n"
                      "Tijdelijke bestanden kunnen niet geconverteerd worden.\n"
                      "Deze kunnen het beste verwijderd worden%*s\n"
                      "Bestandnaam : %s\nVersie bestand : %d\nVersie pakket : %d",
                      blanks, "", name.c_str(), ix_old_version, ix_version);
    } else {
        std::snprintf(text, sizeof text,
                      term_text(1, 227,
                                "Versie van het bestand is onjuist.\nBestandnaam : %s\nVersie bestand : %d\n"
                                "Versie pakket : %d"),
                      name.c_str(), ix_old_version, ix_version);
    }
    ix_flash(-1, nullptr, text);
}

void ix_stamp_version(ix_header &header, int ixfd) {
    if (header.version != ix_version && header.version != ix_old_version) {
        header.version = ix_version;
        // Only the bytes of the version are written: another user may be writing the counts.
        file_write_at(ixfd, &header.version, sizeof header.version, offsetof(ix_header, version));
    }
}

ICB *IXOPEN(const char *name, int mode) {
    const bool ask = (mode & ix_ask_again) != 0;
    mode &= ~ix_ask_again;
    ix_names names;
    if (!ix_resolve(name, names)) {
        isam_fatal("QBISAM(%d): %s ", ENOENT, name == nullptr ? "" : name);
    }
    descriptors fds = open_pair(names);
    while (fds.failed != nullptr) {
        const int error = errno;
        if (!ask || error != EACCES ||
            ix_flash(-2, name,
                     term_text(1, 237,
                               "Het bestand is al door een andere gebruiker geopend,\n"
                               "of u heeft onvoldoende bevoegdheden om het bestand te openen.\n"
                               "[J]Nogmaals proberen ")) == 0) {
            isam_fatal("QBISAM(%d): %s ", error, fds.failed);
        }
        fds = open_pair(names);
    }
    ICB *icb = ix_new_icb(name, names, fds.index, fds.data, mode);

    ix_header header{};
    file_read_at(icb->ixfd, &header, ix_header_size, 0);
    if (header.version == ix_old_version) {
        ix_tell_version(header, names.temporary, 19);
        ix_free_icb(icb);
        isam_fatal("%s", names.temporary ? term_text(1, 240, "Programma is beeindigd")
                                         : term_text(1, 239, "U kunt het bestand converteren met ixremake"));
    }
    ix_stamp_version(header, icb->ixfd);

    file_read_at(icb->ixfd, static_cast<ix_header *>(icb), header_head, 0);
    IXLOCK(icb, ix_lock_header);
    read_header(icb, names);
    IXLOCK(icb, ix_unlock_header);
    if (mode == ix_exclusive) {
        IXLOCK(icb, ix_lock_file);
        read_header(icb, names);  // others may have changed the file until now
    }
    IXSWITCH(icb, 1);
    return icb;
}

ICB *ix_open_alone(const char *name) {
    ICB *icb = IXOPEN(name, ix_exclusive);
    IXLOCK(icb, ix_unlock_file);
    icb->flocked = ix_alone;
    return icb;
}

ICB *IXCREATE(const char *name, int mode) {
    const bool data_first = (mode & ix_data_first) != 0;
    mode &= ~ix_data_first;
    ix_names names;
    if (!ix_resolve(name, names)) {
        isam_fatal("File create mislukt : %s", name == nullptr ? "" : name);
    }
    int ixfd = -1;
    int datfd = -1;
    if (data_first) {
        const bool existed = file_exists(names.data);
        datfd = open_or_create_data(names.data);
        if (datfd < 0) {
            isam_fatal("%s : %s%s", existed ? "File open mislukt" : "File create mislukt", names.data,
                       disk_full_text(errno));
        }
        ixfd = create_index(names.index);
    } else {
        ixfd = create_index(names.index);
        if (ixfd >= 0) {
            datfd = open_or_create_data(names.data);
            if (datfd < 0) {
                const char *full = disk_full_text(errno);
                ix_fd_close(ixfd);
                isam_fatal("File create mislukt : %s%s", names.data, full);
            }
        }
    }
    if (ixfd < 0) {
        isam_fatal("File create mislukt : %s%s", names.index, disk_full_text(errno));
    }
    ICB *icb = ix_new_icb(name, names, ixfd, datfd, mode);
    const char *slash = std::strrchr(name, '/');
    const char *base = slash == nullptr ? name : slash + 1;
    std::memcpy(icb->fname, base, std::min(std::strlen(base), sizeof icb->fname));
    icb->version = ix_version;
    if (mode == ix_exclusive) {
        IXLOCK(icb, ix_lock_file);
    }
    return icb;
}

void ix_initial_image(ICB *icb, bool marked) {
    ix_make_plans(icb);
    if (!ix_definition_sound(*icb)) {
        ix_inconsistent(icb);
    }
    icb->freehead = -1;
    icb->nrecs = 0;
    icb->nblocks = icb->nkeys + 2;
    icb->inupdate = marked ? 1 : 0;
    icb->version = ix_version;
    IXWRIX(icb, 0);
    icb->inupdate = 0;
    for (int k = 1; k <= icb->nkeys; ++k) {
        icb->blk = {};
        icb->blk.bkey = static_cast<std::int8_t>(k);
        icb->blk.blevel = 1;
        icb->blk.bcount = 1;
        std::memset(icb->blk.bentries, 0xFF, static_cast<std::size_t>(icb->plan[k - 1].esize));
        IXWRIX(icb, k);
    }
    icb->blk = {};
    icb->blk.bkey = 1;
    IXWRIX(icb, icb->nkeys + 1);
    IXRDIX(icb, 1);
}

void IXINITIX(ICB *icb) {
    ix_demand(icb, "IXINITIX");
    ix_initial_image(icb, false);
}

void ix_cut_index(ICB *icb) {
    cut(icb, icb->ixfd, icb->index_view, off_t{icb->nkeys + 2} * ix_block_size, true);
}

void IXINIT(ICB *icb) {
    ix_demand(icb, "IXINIT");
    const std::string name = icb->opened_as;
    IXLOCK(icb, ix_lock_file);
    reopen(icb, icb->ixfd, icb->index_view, name + ".INX");
    icb->flocked = 0;  // a new descriptor carries no lock yet
    IXLOCK(icb, ix_lock_file);
    IXINITIX(icb);
    ix_cut_index(icb);
    reopen(icb, icb->datfd, icb->data_view, name + ".TXT");
    cut(icb, icb->datfd, icb->data_view, 0, false);
    if (icb->mode != ix_exclusive) {
        IXLOCK(icb, ix_unlock_file);
    }
}

void IXCLOSE(ICB *icb) {
    ix_demand(icb, "IXCLOSE");
    if (icb->mode == ix_exclusive) {
        IXWRIX(icb, 0);
        IXLOCK(icb, ix_unlock_file);
    }
    ix_free_icb(icb);
}

bool ix_remove(const char *name) {
    const std::string base = name;
    return file_delete((base + ".INX").c_str()) && file_delete((base + ".TXT").c_str());
}

void ix_disk_failed(ICB *icb, bool index_half) {
    const int error = errno;
    if (icb->mode == ix_exclusive) {
        const std::uint8_t mark = 1;
        file_write_at(icb->ixfd, &mark, 1, offsetof(ix_header, inupdate));
        icb->mode = ix_readonly;  // closed on the way out it would write its header, and fail again
    }
    ix_names names;
    ix_resolve(icb->opened_as, names);
    const char *full = disk_full_text(error);
    isam_fatal("QBISAM(%d): %s%s", error, index_half ? names.index : names.data, *full == '\0' ? " " : full);
}

int ix_flash(int wait, const char *title, const char *text) {
    if (isam_operator.flash != nullptr) {
        return isam_operator.flash(wait, title, text);
    }
    if (title != nullptr) {
        std::printf("%s\n", title);
    }
    std::printf("%s\n", text);
    std::fflush(stdout);
    if (isatty(STDIN_FILENO) == 0) {
        return wait == -2 ? 0 : 1;
    }
    const int answer = wait < 0 ? std::getchar() : '\n';
    for (int c = answer; c != '\n' && c != EOF;) {
        c = std::getchar();
    }
    return wait == -2 ? answer == 'J' || answer == 'j' : 1;
}
