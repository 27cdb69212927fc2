// A case of a check: a made shop with faults, the answers of the operator, and what came of it.
#pragma once

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "store/store.h"
#include "support/play.h"
#include "support/rounds.h"
#include "support/scratch_dir.h"
#include "support/shop_audit.h"
#include "support/shop_bytes.h"
#include "tools/shop/shop.h"

/// Runs the checks that `words` name, in the order of the words:
///   labels series ...   the check of that name, as outside a full run
///   11 12 13            the entry of the menu with that number
///   full                the checks after this word run as in a full run
///   trusted             the labels count as sound, as after an orderly end of the run before
///   sound               the series have passed a check
///   break               breaks off at the first look for the wish to
///   break=TEXT          breaks off in the pass whose caption holds TEXT
///   kill-at=N           SIGKILL before the write to a file of data that comes N writes from here
///   leave-at=N          likewise SIGTERM, which is obeyed at the next safe place
///   refuse              no destination is found for reports
CheckRun run_check(const std::string &words, const std::string &answers = "");

class CheckCase : public ScratchDir {
protected:
    Shop shop;

    /// Makes a shop with faults in `shop` and writes it to the directory of the test. What is in it depends on
    /// its latest day, which is the same in each run.
    void make(const ShopOptions &options, const std::vector<std::string> &faults = {});
    /// Writes `shop` once it was changed, over the files that are there.
    void write();
    /// Runs checks; a run that does not end well is a failure, unless it was to be killed.
    static CheckRun check(const std::string &words, const std::string &answers = "");
    /// What an independent reading of the files finds wrong, one line each; empty when they agree.
    [[nodiscard]] std::string audit(unsigned parts) const {
        return audit_shop(".", shop.today, parts);
    }
    LabelBlock &block(std::int32_t number) {
        return shop.label_blocks[static_cast<std::size_t>(number)];
    }
    LabelEntry &label_at(std::int32_t number) {
        return block((number - 1) / labels_per_block).slots[(number - 1) % labels_per_block];
    }
    /// The blocks of a chain of labels, as far as it leads through the file.
    std::vector<std::int32_t> chain(std::int32_t first);
    SizeKindRecord &kind_of(unsigned number);
    static LabelBlock block_on_file(std::int32_t block);
    static LabelEntry label_on_file(std::int32_t number) {
        return block_on_file((number - 1) / labels_per_block).slots[(number - 1) % labels_per_block];
    }
    /// True when a record stands on file byte by byte.
    template <class Record>
    static bool on_file(const std::string &file, const Record &record) {
        return get(file).find({reinterpret_cast<const char *>(&record), sizeof record}) != std::string::npos;
    }
    /// Key and advice of each block of order criteria in use.
    static std::multiset<std::string> criteria_blocks();
    /// The live records of an indexed file, one behind the other.
    static std::string live(const std::string &pair);
    /// The live records of a file.
    template <class Record>
    static std::vector<Record> records(const std::string &file) {
        const std::string bytes = get(file);
        std::vector<Record> found;
        for (std::size_t at = 0; at + sizeof(Record) <= bytes.size(); at += sizeof(Record)) {
            if (ix_live(bytes.data() + at, sizeof(Record))) {
                std::memcpy(&found.emplace_back(), bytes.data() + at, sizeof(Record));
            }
        }
        return found;
    }
    /// True when a work list of a check was left.
    static bool temporary_files();
    /// A date of row 19 as it stands on file, by its offset there.
    static unsigned date_on_file(unsigned offset);
};
