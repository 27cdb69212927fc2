// The place of a walk in an indexed file.
#pragma once

#include "store/store.h"

/// Brings a file back to the record at which it was, so that a walk can go on after other work on the file.
class record_place {
public:
    explicit record_place(ICB *icb) : file(icb), place(icb->recno) {}
    ~record_place() {
        file->recno = place;
    }
    record_place(const record_place &) = delete;
    record_place &operator=(const record_place &) = delete;

private:
    ICB *file;
    std::int32_t place;
};
