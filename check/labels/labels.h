// The label check: every block of the label file belongs to exactly one chain, that of a series or the free
// chain. All other checks rely on it.
//
//   1  once a session the index of the series file is made anew, and unusable leftovers of it are deleted
//   2  FASE-1, each series: its chain is followed, and its blocks are marked
//   3  FASE-2, the free chain: it is cut where it goes wrong. Row 4 is written
//   4  FASE-3, blocks that no chain holds: those without labels go on the free chain
//   5  broken chains are mended without a question, and get back the blocks that they lost
//   6  report; question; blocks that are still on no chain are emptied and freed
#pragma once

#include <array>

#include "check/frame/block_error.h"
#include "check/frame/chain_row.h"
#include "check/frame/findings.h"
#include "check/frame/frame.h"
#include "check/frame/series_hold.h"
#include "data/ioeti.h"

/// What can be wrong with a block or a series.
enum label_error : std::uint8_t {
    label_outside = 1,         ///< the chain leads out of the file
    label_other_series = 2,    ///< into a block of another series
    label_in_free_chain = 3,   ///< into a free block
    label_seen_before = 4,     ///< into a block that is on a chain already
    label_lost_unknown = 5,    ///< a block outside all chains, of a series that does not exist
    label_lost = 6,            ///< the same, of a series that exists
    label_series_invalid = 7,  ///< a series with an impossible number
    label_lost_invalid = 8,    ///< a block outside all chains, of an impossible series
};
/// True for a block outside all chains.
bool label_is_lost(const ChainError &error);

/// The table of what this check can find.
std::span<const finding_kind> label_findings();

/// Reads a block within the file.
bool labels_read(std::int32_t block, LabelBlock &buffer);
/// The number of blocks now in the file.
std::int32_t labels_in_file();

class label_check final : public chk_check {
public:
    label_check();

    const char *status() const override;
    const char *title() const override;
    void open() override;
    bool walk() override;
    bool has_errors() override {
        return !errors.empty();
    }
    void mend() override;
    void preface() override;
    void heads(bool first_page) override;
    void report() override;
    void figures() override;
    bool ask() override;
    void repair() override;
    void close() override;

private:
    void rebuild_series_index();

    // The walk: the chains of the series, the free chain, and the blocks that neither reaches. The first is
    // false when the operator cancelled. Row 4 is locked from the start of the second to the end of the
    // third.
    bool walk_series();
    void walk_free();
    void walk_rest();
    ChainError follow(const SeriesRecord &series);
    void list(const ChainError &error);
    void list_invalid(const SeriesKey &key);
    void list_lost(std::int32_t block, const LabelBlock &content);
    void lock_chain();
    /// Marks the blocks that are now on the chain of a series.
    void mark_chain(const SeriesRecord &series);
    void mark_chain_of(const SeriesKey &key);
    std::uint32_t last_block() const;

    // Repairs.
    void see_row(const chain_row &row);
    void write_row(chain_row &row);
    bool mend_chain(const ChainError &error);
    bool renew_first_block(series_hold &series, chain_row &row, const ChainError &error);
    /// Labels of status 1 to 4; place 0 is not used.
    using status_counts = std::array<std::uint32_t, label_corrected + 1>;
    static void count_labels(const LabelBlock &content, status_counts &counts);
    std::int32_t count_chain(const SeriesRecord &series, status_counts &counts) const;
    void connect_lost(const ChainError &any);

    chain_error_list errors;
    SysRow4Chain chain{};            ///< row 4, as it was read at the start or written last
    std::int32_t known = 0;          ///< blocks in the file at the start; later ones are another program's
    std::int32_t end = 0;            ///< blocks in the file
    bool moved = false;              ///< other programs have taken or freed blocks during the check
    std::int32_t free_in_chain = 0;  ///< blocks on the free chain
    bool tell_rebuilt = false;       ///< the index of the series file was made anew in this run
};
