// The check of the order criteria: every block of RVBAPAR.TXT belongs to the chain of one series or is free.
//
//   1  the free chain is given up: until it is rebuilt, blocks are added at the end of the file
//   2  each chain is followed; where it goes wrong, one error
//   3  a block of a series with criteria that is on no chain is an error too
//   4  the series with errors are mended without a question, and reported: a chain ends at its last sound
//      block, and the blocks off the chain are put after that
//   5  blocks that are then on no chain become the free chain
//
// A block is written before anything leads to it. So whenever the program stops, a block of a series is on
// its chain, or the next run finds it off the chain.
//
// Other programs that need a block meanwhile add it past the end that the check began with, and row 12 shows
// this. Then a chain is followed once more, with the row locked, before it is mended.
//
// The repair stands in the report: its lines tell for each series what became of it. A clean run too puts the
// free chain together anew, in `finish`.
#pragma once

#include <set>

#include "check/frame/block_error.h"
#include "check/frame/chain_row.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "data/criteriafile.h"
#include "data/rawfile.h"

enum criteria_error : std::uint8_t {
    criteria_sound = 0,
    criteria_outside = 1,
    criteria_other_series = 2,
    criteria_empty_block = 3,
    criteria_seen_before = 4,
    criteria_off_chain = 5,
};
/// The table of what this check can find: what became of a series.
std::span<const finding_kind> criteria_findings();

inline constexpr std::int32_t chain_end = -1;
inline constexpr std::int32_t off_chain = -2;  ///< `previous` of a block that no chain reaches

/// Where a chain goes wrong; the code is criteria_sound when it does not.
struct chain_fault {
    criteria_error code;
    std::int32_t block;
    std::int32_t previous;
    bool operator==(const chain_fault &) const = default;
};

class criteria_check final : public chk_check {
public:
    criteria_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !errors.empty();
    }
    void heads(bool first_page) override;
    /// Mends and reports each series once.
    void report() override;
    /// Makes the free chain from all blocks that are on no chain.
    void finish() override;
    void close() override;

private:
    bool read_block(std::int32_t block, CriteriaBlock &buffer);
    void write_block(std::int32_t block, CriteriaBlock &buffer);
    bool read_series(const SeriesKey &key, CriteriaRecord &record);
    void give_up_free_chain();

    // The walk.
    void add_error(const SeriesKey &key, criteria_error code, std::int32_t block, std::int32_t previous);
    /// What is wrong with a block that the chain of a series leads to. `visit` gives false for a block seen
    /// before.
    template <class Visit>
    criteria_error judge_block(const SeriesKey &key, std::int32_t block, CriteriaBlock &buffer, Visit visit);
    template <class Visit>
    chain_fault follow(const CriteriaRecord &record, Visit visit);
    /// The blocks that are now on the chain of a series, and what is wrong with it.
    chain_fault follow_now(const CriteriaRecord &record, std::set<std::int32_t> &blocks);
    void check_chain(const CriteriaRecord &record);
    bool check_chains();
    void find_lost_blocks();

    // The repair of a series.
    void see_row(const chain_row &row);
    template <class Visit>
    void for_each_error(const SeriesKey &key, Visit visit);
    void set_next(std::int32_t block, std::int32_t next);
    std::int32_t last_block(const CriteriaRecord &record);
    void append_blocks(CriteriaRecord &record, std::int32_t last);
    bool still_wrong(const SeriesKey &key, const CriteriaRecord &record);
    bool mend_series(const SeriesKey &key);

    raw_file blocks{"RVBAPAR.TXT", sizeof(CriteriaBlock)};
    chain_error_list errors;
    ICB *series = nullptr;  ///< RVBASER
    std::int32_t end = 0;   ///< blocks in the file at the start of the check
    bool moved = false;     ///< other programs have taken or freed blocks since
};

/// Shows which pass is under way, and how far it has come.
void criteria_show_pass(op_field pass, op_field count, const char *title);
void criteria_show_count(op_field count, std::int32_t number);
bool criteria_is_empty(const CriteriaBlock &block);
