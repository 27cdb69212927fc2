// Index halves, made by the store, and damage to finished pairs.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "base/files.h"
#include "store/store.h"
#include "tools/shop/output.h"

namespace {

/// One half of a pair, open for damage.
struct Half {
    std::string path;
    int fd;
    explicit Half(const std::string &name) : path(name), fd(open(name.c_str(), O_RDWR | O_CLOEXEC)) {}
    Half(const Half &) = delete;
    Half &operator=(const Half &) = delete;
    ~Half() {
        if (fd >= 0) {
            close(fd);
        }
    }
    [[nodiscard]] bool put(const void *bytes, std::size_t size, std::size_t offset) const {
        return file_write_at(fd, bytes, size, static_cast<off_t>(offset));
    }
};

/// Leaves keys in the lock block, as of a process that is gone.
bool leave_locks(const Half &index, std::size_t nkeys) {
    ix_header header{};
    if (file_read_at(index.fd, &header, sizeof header, 0) != static_cast<ssize_t>(sizeof header)) {
        return false;
    }
    constexpr int locks = 2;
    std::string block(ix_block_size, '\0');
    block[0] = 1;
    block[4] = locks;
    for (int i = 1; i <= locks; i++) {
        block[4U + static_cast<std::size_t>(i) * header.keydef[0].klen] = static_cast<char>(i);
    }
    return index.put(block.data(), block.size(), (nkeys + 1) * ix_block_size);
}

/// Swaps the first and the last record of the data half without telling the index.
bool swap_records(const Half &data, const IndexedFile &file) {
    std::size_t first = 0;
    while (first < file.data.size() && !ix_live(file.data.data() + first, static_cast<int>(file.record))) {
        first += file.record;
    }
    const std::size_t last = file.data.size() - file.record;  // always live
    return data.put(file.data.data() + last, file.record, first) &&
           data.put(file.data.data() + first, file.record, last);
}

}  // namespace

bool write_index(const std::string &directory, const IndexedFile &file, std::string &why) {
    const std::string path = directory + "/" + file.name;
    ICB *icb = IXCREATE(path.c_str(), ix_exclusive | ix_data_first);
    for (std::size_t key = 0; key < file.definition.size(); key++) {
        IXUPDFCB(icb, static_cast<int>(key), file.definition[key]);
    }
    IXINITIX(icb);
    IXCLOSE(icb);
    // The rebuild also links the deleted records. The store does not report a full disk, so check the result.
    if (!IXBLDIX(path.c_str()) || IXCHECK(path.c_str()) < 0) {
        why = text_of("%.120s.INX: cannot be written", path.c_str());
        return false;
    }
    return true;
}

bool damage_index(const std::string &directory, const IndexedFile &file, index_damage damage,
                  std::string &why) {
    const Half index(directory + "/" + file.name + ".INX");
    const Half data(directory + "/" + file.name + ".TXT");
    bool done = index.fd >= 0 && data.fd >= 0;
    const off_t size = file_size(index.path.c_str());
    const char in_update = 1;
    switch (damage) {
        case index_damage::cut:
            // The header stays: without the definition in it the index can't be rebuilt.
            done = done && ftruncate(index.fd, std::max<off_t>(size - ix_block_size, ix_block_size)) == 0;
            break;
        case index_damage::in_update:
            done = done && index.put(&in_update, 1, offsetof(ix_header, inupdate));
            break;
        case index_damage::stale_locks:
            done = done && leave_locks(index, file.definition.size() - 1);
            break;
        case index_damage::swapped:
            done = done && file.live.size() >= 2 * file.record && swap_records(data, file);
            break;
        case index_damage::missing:
            done = done && unlink(index.path.c_str()) == 0;
            break;
    }
    if (!done) {
        why = text_of("%.120s: cannot be damaged: %s", index.path.c_str(), std::strerror(errno));
    }
    return done;
}
