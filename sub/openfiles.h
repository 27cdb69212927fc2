// Indexed files that stay open for the whole run, shared by all modules.
#pragma once

#include "isam/store.h"

/// Handles of the session's files; null while a file is closed. Who opens a file closes it and clears its
/// handle. The current key of each is key 1 between two operations of different modules.
struct open_files {
    ICB *art = nullptr;    ///< RVART, article groups
    ICB *go = nullptr;     ///< RVGO, goods in transit
    ICB *lev = nullptr;    ///< RVLEV, suppliers
    ICB *merk = nullptr;   ///< RVMERK, brands
    ICB *ontv = nullptr;   ///< RVONTV, receipts
    ICB *ser = nullptr;    ///< RVSER, series
    ICB *maat = nullptr;   ///< RVMAAT, size kinds
    ICB *mtom = nullptr;   ///< RVMTOM, size descriptions
    ICB *koers = nullptr;  ///< RVKOERS, rates
};
extern open_files session_files;

/// Makes a key of a file current, and the one before at its end.
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
