// The list of a check's errors: a temporary indexed file that lives as long as one run of the check.
#pragma once

#include <string>
#include <vector>

#include "check/frame/temporary.h"
#include "store/store.h"

/// A key segment, 'I' (integer) or 'C' (text), by its place in the record.
struct list_segment {
    char type;
    int offset;
    int length;
};
struct list_key {
    const char *name;
    bool duplicates;
    std::vector<list_segment> segments;
};
struct list_definition {
    const char *name;
    int record_length;
    std::vector<list_key> keys;
};

/// A name for a temporary file of this user in the current directory that no file or pair has yet. A file
/// that is left behind is removed by the clean-up at start-up on a later day.
std::string chk_tempname(const char *suffix = "");

/// The file that holds an error list. Its records are visited in the order of the current key.
class temporary_list : private temporary {
public:
    explicit temporary_list(list_definition layout) : definition(std::move(layout)) {}
    ~temporary_list() override {
        close();
    }

    /// Makes the file, empty, under `file_name` or a name of its own. An open list is emptied.
    void open(const std::string &file_name = "");
    /// Closes the file and deletes both its halves.
    void close();
    [[nodiscard]] bool is_open() const {
        return file != nullptr;
    }
    /// The file itself, for what goes beyond the operations here; the list must be open.
    [[nodiscard]] ICB *icb() const {
        return file;
    }
    [[nodiscard]] const std::string &file_name() const {
        return name;
    }
    [[nodiscard]] bool empty() const;

private:
    void discard() override {
        close();
    }

    list_definition definition;
    std::string name;
    ICB *file = nullptr;
};

/// An error list of records of one type.
template <class Record>
class error_list : public temporary_list {
public:
    error_list(const char *list_name, std::vector<list_key> keys)
        : temporary_list({list_name, static_cast<int>(sizeof(Record)), std::move(keys)}) {}

    /// Puts a record in, or in place of the one with the same key 1.
    void add(const Record &record) {
        IXWRITE(icb(), &record);
    }
    /// Writes back the record that a walk is at; its keys may not have changed.
    void update(const Record &record) {
        IXREWRITE(icb(), &record);
    }
    /// The first record at or after the key in `record`, and the next one of a walk. With `parts`, that many
    /// leading segments must stay the same.
    bool first(Record &record, int parts = 0) {
        return parts == 0 ? IXFIRST(icb(), &record) : IXFIRSTR(icb(), &record, parts);
    }
    bool next(Record &record, int parts = 0) {
        return parts == 0 ? IXNEXT(icb(), &record) : IXNEXTR(icb(), &record, parts);
    }
    /// Calls `visit` for each record in key order. `visit` may update the record; to walk the list itself it
    /// has to use a copy of the record.
    template <class Visit>
    void for_each(Visit visit) {
        Record record{};
        for (bool found = first(record); found; found = next(record)) {
            const std::int32_t place = icb()->recno;
            Record here = record;
            visit(here);
            icb()->recno = place;
        }
    }
};
