// IXCHECK: the lengths of the halves, the mark of an unfinished update, and the free chain. The trees are not
// looked at. Also the mending of a pair that a program left unsound, or without the root of a tree, before it
// is opened again.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "store/store_internal.h"

namespace {

/// The operator is warned when fewer blocks than this are left below the limit.
constexpr int near_limit = 648;

/// Follows the free chain. Returns its length; -1 when it doesn't end, or leads to a record that isn't free.
std::int32_t walk_free_chain(ICB *icb, const char *data_path) {
    const int reclen = icb->reclen;
    const std::time_t start = std::time(nullptr);
    const auto total = static_cast<std::uint32_t>(std::int32_t{icb->nrecs});
    std::uint8_t record[ix_max_reclen + 1];
    bool shown = false;
    std::int32_t count = 0;
    std::int32_t left = icb->nrecs;
    std::int32_t position = icb->freehead;
    while (position >= 0 && left > 0) {
        --left;
        if (position >= icb->nrecs || reclen < 5 || !ix_read_record(icb, record, position) ||
            ix_live(record, reclen - 1)) {
            break;
        }
        std::memcpy(&position, record + 1, sizeof position);
        position = boost::endian::little_to_native(position);
        ++count;
        if (shown) {
            ix_progress(1, static_cast<std::uint32_t>(count), total, nullptr);
        } else if ((count & 0xFF) == 0 && std::time(nullptr) > start + 2) {
            shown = true;
            char title[600];
            std::snprintf(title, sizeof title, term_text(1, 229, "Voortgang %s"), data_path);
            ix_progress(0, 0, total, "%s", title);
        }
    }
    if (shown) {
        ix_progress(2, 0, 0, nullptr);
    }
    return position >= 0 ? -1 : count;
}

/// Warns of an index half that is nearly full; ends the program when the operator doesn't want to go on.
void warn_of_limit(const ICB *icb) {
    if (icb->nblocks <= ix_block_limit - near_limit) {
        return;
    }
    const std::string name(icb->fname, strnlen(icb->fname, sizeof icb->fname));
    char text[200];
    std::snprintf(text, sizeof text,
                  term_text(1, 231, "Het bestand %s is bijna aan zijn limiet !\nWilt U toch doorgaan "),
                  name.c_str());
    if (ix_flash(-2, term_text(1, 230, "Waarschuwing"), text) == 0) {
        isam_fatal(term_text(1, 232, "Het bestand %s is bijna aan zijn limiet !"), name.c_str());
    }
}

/// The check proper, under the header lock. With `quiet` there is no warning of a nearly full index half.
std::int32_t check_pair(ICB *icb, const ix_names &names, bool quiet) {
    const off_t index_size = file_fd_size(icb->ixfd);
    if (icb->inupdate != 0 || index_size != off_t{icb->nblocks} * ix_block_size) {
        return -1;
    }
    const off_t data_size = file_size(names.data);
    // A name that spells out its ".INX" means the pair as well.
    const bool named_plainly = std::strstr(names.index, ".INX") != nullptr;
    if (!ix_header_sound(*icb, index_size, data_size, !named_plainly) ||
        (named_plainly && data_size != off_t{icb->reclen} * icb->nrecs)) {
        return -1;
    }
    icb->datfd = ix_fd_open(names.data, O_RDWR);
    if (icb->datfd < 0) {
        isam_fatal("QBISAM(%d): %s ", errno, names.data);
    }
    const std::int32_t result = walk_free_chain(icb, names.data);
    if (!quiet) {
        warn_of_limit(icb);
    }
    return result;
}

/// A look at a pair under its header lock, so never in the middle of another program's update.
class glance {
public:
    explicit glance(const char *name) {
        if (!ix_resolve(name, names) || names.temporary) {
            return;
        }
        in_use = ix_in_use(names.index) || ix_in_use(names.data);
        const int ixfd = ix_fd_open(names.index, O_RDWR);
        if (ixfd < 0) {
            return;
        }
        icb = ix_new_icb(name, names, ixfd, -1, ix_shared);
        // The header is read first, since the wait for the lock shows the operator the file's name.
        file_read_at(ixfd, static_cast<ix_header *>(icb), offsetof(ix_header, inupdate), 0);
        IXLOCK(icb, ix_lock_header);
        readable = file_read_at(ixfd, static_cast<ix_header *>(icb), ix_header_size, 0) == ix_header_size &&
                   icb->version != ix_old_version;
        data_size = file_size(names.data);
    }
    ~glance() {
        if (icb != nullptr) {
            IXLOCK(icb, ix_unlock_header);
            ix_free_icb(icb);
        }
    }
    glance(const glance &) = delete;
    glance &operator=(const glance &) = delete;

    /// True when both halves are there, in a form that can be judged.
    [[nodiscard]] bool whole() const {
        return readable && data_size >= 0;
    }
    /// True for the header that a rebuild starts with while there are records: the rebuild died.
    [[nodiscard]] bool rebuild_died() const {
        return icb->nrecs == 0 && icb->freehead == -1 && icb->nblocks == icb->nkeys + 2 && data_size > 0;
    }
    [[nodiscard]] bool accepted() {
        return check_pair(icb, names, true) >= 0;
    }
    [[nodiscard]] bool sound() {
        return accepted() && has_roots();
    }
    [[nodiscard]] bool unfinished() {
        return icb->inupdate != 0 || rebuild_died() ||
               (ix_definition_sound(*icb) && !has_roots() && accepted());
    }
    /// Cuts off the part of a record that an insertion left at the end when it died; a rebuild would refuse
    /// it.
    void cut_begun_record() {
        const off_t counted = off_t{icb->nrecs} * icb->reclen;
        if (icb->inupdate != 0 && counted >= 0 && ix_definition_sound(*icb) && data_size > counted &&
            data_size < counted + icb->reclen && truncate(names.data, counted) == 0) {
            data_size = counted;
        }
    }
    /// True when no record of the data half is missing and a rebuild would divide it into the right records.
    /// A record length that the caller knows proves that the definition is right; otherwise the counts must
    /// agree.
    [[nodiscard]] bool has_records(std::size_t record_bytes) const {
        if (icb->reclen < 1 || data_size % icb->reclen != 0) {
            return false;
        }
        const off_t behind = data_size / icb->reclen - icb->nrecs;  // records that the header doesn't count
        const bool known = static_cast<std::size_t>(icb->reclen) == record_bytes;
        return rebuild_died() || (behind >= 0 && (known || behind <= (icb->inupdate != 0 ? 1 : 0)));
    }

    bool in_use = false;  ///< an ICB of this process has the pair open

private:
    /// True when each key has a root to start from. Without one, opening or searching ends the program. The
    /// definition must be sound.
    [[nodiscard]] bool has_roots() {
        ix_make_plans(icb);
        for (int key = 1; key <= icb->nkeys; key++) {
            if (!ix_read_block(icb, key, &icb->blk) || !ix_block_sound(icb, key)) {
                return false;
            }
        }
        return true;
    }

    ix_names names{};
    ICB *icb = nullptr;
    off_t data_size = -1;
    bool readable = false;
};

}  // namespace

std::int32_t IXCHECK(const char *name) {
    ix_names names;
    if (!ix_resolve(name, names)) {
        return -1;
    }
    const off_t size = file_size(names.index);
    if (size < ix_block_size || size % ix_block_size != 0 || !file_exists(names.data)) {
        return -1;
    }
    const int ixfd = ix_fd_open(names.index, O_RDWR);
    if (ixfd < 0) {
        return -1;
    }
    ICB *icb = ix_new_icb(name, names, ixfd, -1, ix_shared);
    ix_header header;
    if (file_read_at(ixfd, &header, ix_header_size, 0) == ix_header_size) {
        if (header.version == ix_old_version) {
            ix_tell_version(header, names.temporary, 17);
            ix_free_icb(icb);
            if (names.temporary) {
                return -1;
            }
            isam_fatal("%s", term_text(1, 228, "U kunt het bestand converteren met IXREMAKE.EXE"));
        }
        ix_stamp_version(header, ixfd);
    }
    // `inupdate` stays zero here, or the read of block 0 would be refused.
    file_read_at(ixfd, static_cast<ix_header *>(icb), offsetof(ix_header, inupdate), 0);
    IXLOCK(icb, ix_lock_header);
    IXRDIX(icb, 0);
    const std::int32_t result = check_pair(icb, names, false);
    IXLOCK(icb, ix_unlock_header);
    ix_free_icb(icb);
    return result;
}

bool ix_unfinished(const char *name) {
    glance at(name);
    return at.whole() && at.unfinished();
}

bool ix_sound(const char *name) {
    glance at(name);
    return !at.whole() || at.sound();
}

void ix_mend(const char *name, std::size_t record_bytes) {
    bool wanted = false;
    {
        glance at(name);
        if (at.whole() && !at.in_use && !at.sound()) {
            at.cut_begun_record();
            wanted = at.has_records(record_bytes);
        }
    }
    // Another program may use the pair before the rebuild starts. That does no harm: the rebuild waits until
    // it has the whole pair to itself.
    if (wanted) {
        IXBLDIX(name);
    }
}
