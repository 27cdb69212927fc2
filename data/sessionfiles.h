// Indexed files that stay open for the whole run, shared by all modules.
#pragma once

#include "store/store.h"

/// Handles of the session's files; null while a file is closed. Each module leaves key 1 as the current key
/// of a file.
struct session_files {
    ICB *rvart = nullptr;    ///< article groups
    ICB *rvgo = nullptr;     ///< goods in transit
    ICB *rvlev = nullptr;    ///< suppliers
    ICB *rvmerk = nullptr;   ///< brands
    ICB *rvontv = nullptr;   ///< receipts
    ICB *rvser = nullptr;    ///< series
    ICB *rvmaat = nullptr;   ///< size kinds
    ICB *rvmtom = nullptr;   ///< size descriptions
    ICB *rvkoers = nullptr;  ///< rates
};
extern session_files chk_files;

/// Makes a key of a file current, and at its end the key that was current before.
class key_switch {
public:
    key_switch(ICB *icb, int key) : file(icb), before(icb->blk.bkey) {
        IXSWITCH(file, key);
    }
    ~key_switch() {
        IXSWITCH(file, before);
    }
    key_switch(const key_switch &) = delete;
    key_switch &operator=(const key_switch &) = delete;

private:
    ICB *file;
    int before;
};
