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
#include <algorithm>
#include <limits>
#include <set>

#include "check/frame/block_error.h"
#include "check/frame/frame.h"
#include "check/frame/old_course.h"
#include "data/criteriafile.h"
#include "report/report.h"

namespace {

constexpr char blocks_name[] = "RVBAPAR";
constexpr char series_name[] = "RVBASER";
constexpr std::int32_t chain_end = -1;
constexpr std::int32_t off_chain = -2;  ///< `previous` of a block that no chain reaches
constexpr int row_margin = 2;

enum criteria_error : std::uint8_t {
    error_none = 0,
    error_outside = 1,
    error_other_series = 2,
    error_empty = 3,
    error_seen_before = 4,
    error_off_chain = 5,
};

raw_file criteria_blocks{"RVBAPAR.TXT", sizeof(CriteriaBlock)};
chain_error_list stdchk;
ICB *rvbaser = nullptr;
std::int32_t bapar_end = 0;  ///< blocks in the file at the start of the check
bool moved = false;          ///< other programs have taken or freed blocks since

bool read_block(std::int32_t block, CriteriaBlock &buffer) {
    return raw_access(criteria_blocks, raw_action::read, block, &buffer) != 0;
}

/// Locks row 12 for as long as the object lives.
class criteria_lock {
public:
    criteria_lock() {
        iotab_row(tab_action::lock_read, row_criteria_chain, chain);
        moved = moved || chain.free_head != bapar_end || chain.end_mark != bapar_end;
    }
    ~criteria_lock() {
        iotab_row(tab_action::unlock, row_criteria_chain, chain);
    }
    criteria_lock(const criteria_lock &) = delete;
    criteria_lock &operator=(const criteria_lock &) = delete;

    SysRow4Chain chain{};
};

void write_block(std::int32_t block, CriteriaBlock &buffer) {
    raw_access(criteria_blocks, raw_action::write, block, &buffer);
}

bool is_empty(const CriteriaBlock &block) {
    return block.key == SeriesKey{};
}

bool read_series(const SeriesKey &key, CriteriaRecord &record) {
    record.key = key;
    return IXREAD(rvbaser, &record);
}

// ---- Opening

/// Empties the free chain. Programs that need a block meanwhile add it at the end of the file, where this
/// check frees nothing.
void give_up_free_chain() {
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_criteria_chain, chain);
    const off_t blocks = chk_txt_size(blocks_name) / static_cast<off_t>(sizeof(CriteriaBlock));
    bapar_end = static_cast<std::int32_t>(std::min<off_t>(blocks, std::numeric_limits<std::int32_t>::max()));
    moved = false;
    chain.free_head = bapar_end;
    chain.end_mark = bapar_end;
    iotab_row(tab_action::write, row_criteria_chain, chain);
}

void open_files() {
    // A missing file stops the program before the row that counts its blocks is changed.
    raw_access(criteria_blocks, raw_action::open, 0, nullptr);
    give_up_free_chain();
    chk_bits_open(static_cast<std::size_t>(bapar_end) / 8 + 1);
    rvbaser = pair_open(series_name, ix_readonly, sizeof(CriteriaRecord));
    stdchk.open();
}

void close_files() {
    IXCLOSE(rvbaser);
    raw_access(criteria_blocks, raw_action::close, 0, nullptr);
    chk_bits_close();
    stdchk.close();
}

// ---- Walk

void add_error(const SeriesKey &key, criteria_error code, std::int32_t block, std::int32_t previous) {
    ChainError error{};
    error.key = key;
    error.block = block;
    error.previous = previous;
    error.code = code;
    stdchk.add(error);
}

/// What is wrong with a block that the chain of a series leads to. `visit` gives false for a block seen
/// before.
template <class Visit>
criteria_error judge_block(const SeriesKey &key, std::int32_t block, CriteriaBlock &buffer, Visit visit) {
    if (!read_block(block, buffer)) {
        return error_outside;
    }
    if (is_empty(buffer)) {
        return error_empty;
    }
    if (!(buffer.key == key)) {
        return error_other_series;
    }
    return visit(block) ? error_none : error_seen_before;
}

/// Where a chain goes wrong; the code is error_none when it does not.
struct chain_fault {
    criteria_error code;
    std::int32_t block;
    std::int32_t previous;
    bool operator==(const chain_fault &) const = default;
};

template <class Visit>
chain_fault follow(const CriteriaRecord &record, Visit visit) {
    std::int32_t block = record.chain;
    std::int32_t previous = chain_end;
    do {
        CriteriaBlock buffer;
        const criteria_error error = judge_block(record.key, block, buffer, visit);
        if (error != error_none) {
            return {error, block, previous};
        }
        previous = block;
        block = buffer.next;
    } while (block != chain_end);
    return {error_none, block, previous};
}

void check_chain(const CriteriaRecord &record) {
    std::int32_t added = 0;
    const chain_fault fault = follow(record, [&](std::int32_t block) {
        // Past the blocks of the start, only a circle has as many blocks as there are numbers.
        return block < bapar_end ? chk_bit_set(block) : added++ < eti_max_block();
    });
    if (fault.code != error_none) {
        add_error(record.key, fault.code, fault.block, fault.previous);
    }
}

/// The blocks that are now on the chain of a series, and what is wrong with it.
chain_fault follow_now(const CriteriaRecord &record, std::set<std::int32_t> &blocks) {
    return follow(record, [&](std::int32_t block) { return blocks.insert(block).second; });
}

/// False when the operator cancelled.
bool check_chains() {
    const auto total = static_cast<std::uint32_t>(rvbaser->nrecs);
    chk_phase(detail_text(3, 660, "FASE-1: controleren series"), total);
    std::uint32_t count = 0;
    CriteriaRecord record;
    while (!op_interrupted() && IXSEQ(rvbaser, &record)) {
        check_chain(record);
        chk_progress(++count, total, chk_bar::step);
    }
    chk_progress(total, total, chk_bar::close);
    return !op_interrupted();
}

/// Shows which pass is under way, and how far it has come.
void show_pass(op_field pass, op_field count, const char *title) {
    op_caption(pass, title);
    op_caption(count, detail_text(14, 3, "Aantal verwerkt"));
}

void show_count(op_field count, std::int32_t number) {
    op_value(count, std::to_string(number).c_str());
}

/// A block off the chain counts as seen: it has an owner, so it is not freed, even when it does not get back
/// on the chain in this run.
void find_lost_blocks() {
    show_pass(op_field::criteria_lost, op_field::criteria_lost_count,
              detail_text(13, 3, "FASE-2: controleren vrijketting"));
    show_count(op_field::criteria_lost_count, 0);
    const auto total = static_cast<std::uint32_t>(std::max(bapar_end - 1, 0));
    chk_phase(detail_text(3, 671, "FASE-3: controleren etiketblokken niet in ketting"), total);
    for (std::int32_t block = 0; block < bapar_end; block++) {
        CriteriaBlock buffer;
        CriteriaRecord owner{};
        if (!chk_bit_test(block) && read_block(block, buffer) && !is_empty(buffer)) {
            owner.key = buffer.key;
            if (IXFIND(rvbaser, &owner)) {
                add_error(buffer.key, error_off_chain, block, off_chain);
                chk_bit_set(block);
            }
        }
        chk_progress(static_cast<std::uint32_t>(block), total, chk_bar::step);
    }
    chk_progress(total, total, chk_bar::close);
}

bool walk() {
    if (!check_chains()) {
        return false;
    }
    find_lost_blocks();
    return true;
}

// ---- Repair of a series

/// Calls `visit` for each error of the series.
template <class Visit>
void for_each_error(const SeriesKey &key, Visit visit) {
    ChainError error{};
    error.key = key;
    for (bool found = stdchk.first(error, stdchk_series_parts); found;
         found = stdchk.next(error, stdchk_series_parts)) {
        visit(static_cast<const ChainError &>(error));
    }
}

void set_next(std::int32_t block, std::int32_t next) {
    CriteriaBlock buffer;
    if (read_block(block, buffer)) {
        buffer.next = next;
        write_block(block, buffer);
    }
}

/// The last block of a mended chain; chain_end when the chain still does not end.
std::int32_t last_block(const CriteriaRecord &record) {
    std::int32_t block = record.chain;
    for (std::int32_t steps = 0; steps < eti_max_block(); steps++) {
        CriteriaBlock buffer;
        if (!read_block(block, buffer) || !(buffer.key == record.key)) {
            break;
        }
        if (buffer.next == chain_end) {
            return block;
        }
        block = buffer.next;
    }
    return chain_end;
}

/// True when the first block of the chain does not belong to the series. A first block that was seen before
/// is no such case: that takes a second record of the same series, and this one may be sound.
bool loses_head(const ChainError &error, const CriteriaRecord &record) {
    return error.code < error_seen_before && error.previous < 0 && error.block == record.chain;
}

/// Puts the blocks off the chain after its last block, `last`; with chain_end they become the chain.
void append_blocks(CriteriaRecord &record, const std::int32_t last) {
    std::int32_t end = last;
    for_each_error(record.key, [&](const ChainError &error) {
        if (error.code != error_off_chain) {
            return;
        }
        const std::int32_t block = error.block;
        set_next(block, chain_end);
        if (end == chain_end) {
            record.chain = block;
            IXREWRITE(rvbaser, &record);
        } else {
            set_next(end, block);
        }
        end = block;
    });
}

/// True when the chain is still wrong as it was found, and none of the blocks off the chain is on it.
bool still_wrong(const SeriesKey &key, const CriteriaRecord &record) {
    std::set<std::int32_t> blocks;
    const chain_fault now = follow_now(record, blocks);
    chain_fault found{error_none, now.block, now.previous};
    bool same_blocks = true;
    for_each_error(key, [&](const ChainError &error) {
        CriteriaBlock buffer;
        if (error.code != error_off_chain) {
            found = {static_cast<criteria_error>(error.code), error.block, error.previous};
        } else {
            same_blocks = same_blocks && !blocks.contains(error.block) && read_block(error.block, buffer) &&
                          buffer.key == key;
        }
    });
    return now == found && same_blocks;
}

/// Mends the chain of a series; false when nothing was left of it and its record was deleted.
bool mend_series(const SeriesKey &key) {
    const criteria_lock row;
    CriteriaRecord record{};
    if (!read_series(key, record)) {
        return true;  // deleted by another program in the meantime
    }
    if (moved && !still_wrong(key, record)) {
        return true;
    }
    bool head_lost = false;
    int blocks_off_chain = 0;
    for_each_error(key, [&](const ChainError &error) {
        if (error.code == error_off_chain) {
            blocks_off_chain++;
        } else if (error.previous >= 0) {
            set_next(error.previous, chain_end);
        } else if (loses_head(error, record)) {
            head_lost = true;
        }
    });
    const std::int32_t last = head_lost ? chain_end : last_block(record);
    if (blocks_off_chain > 0 && (head_lost || last != chain_end)) {
        append_blocks(record, last);
    } else if (head_lost) {
        IXDELETE(rvbaser, &record);
        return false;
    }
    return true;
}

// ---- Report

void print_heads(bool first_page) {
    if (!first_page) {
        return;
    }
    prt_printf(
        "%-.132s",
        detail_text(
            14, 1,
            "Bij de volgende series zijn fouten in de bestelcriteria gevonden. Deze fouten zijn hersteld."));
    prt_newline();
    prt_printf(
        "%-.132s",
        detail_text(14, 2,
                    "U dient zelf de juistheid van de bestelcriteria van deze series te controleren bij "
                    "besteladviezen."));
    prt_newline();
    chk_dashes();
}

void print_series(const SeriesKey &key, const char *what) {
    chk_room(row_margin);
    const std::string text = str_format("%lu.%u.%u", static_cast<unsigned long>(key.group),
                                        unsigned{key.colour}, unsigned{key.number});
    prt_printf("%-15.15s  ", text.c_str());
    prt_printf("%s", what);
    prt_newline();
}

/// Mends and reports each series once.
void repair_and_report() {
    const leave_guard undisturbed;
    ChainError error{};
    while (stdchk.first(error)) {
        const SeriesKey key = error.key;
        const bool kept = mend_series(key);
        print_series(key, kept ? detail_text(14, 4, "bestelcriteria gecorrigeerd")
                               : detail_text(14, 5, "bestelcriteria verwijderd"));
        // The next look is after all errors of this series.
        error.key = key;
        error.code = std::numeric_limits<std::uint8_t>::max();
    }
}

// ---- Free blocks

/// Makes the free chain from all blocks that are on no chain. The row is locked meanwhile, so that a block
/// that another program adds is not dropped from the count.
void free_blocks() {
    const leave_guard undisturbed;
    show_pass(op_field::criteria_free, op_field::criteria_free_count,
              detail_text(14, 6, "FASE-3: herstellen vrije etiketblokken"));
    SysRow4Chain chain{};
    iotab_row(tab_action::lock_read, row_criteria_chain, chain);
    chain.end_mark = std::max(chain.end_mark.value(), bapar_end);
    std::int32_t head = chain.end_mark;
    for (std::int32_t block = 0; block < bapar_end; block++) {
        if (!chk_bit_test(block)) {
            CriteriaBlock empty{};
            empty.next = head;
            write_block(block, empty);
            head = block;
            show_count(op_field::criteria_free_count, block);
        }
    }
    chain.free_head = head;
    iotab_row(tab_action::write, row_criteria_chain, chain);
}

}  // namespace

void chk_order_criteria() {
    chk_course course{.status = [] { return detail_text(14, 7, "controleren bestelcriteria"); },
                      .title = [] { return detail_text(14, 8, "CONTROLEREN BESTELCRITERIA"); },
                      .flag = &ok_order_criteria};
    course.shows_date = false;
    course.withdraws = true;
    course.open = open_files;
    course.walk = walk;
    course.has_errors = [] { return !stdchk.empty(); };
    course.heads = print_heads;
    course.report = repair_and_report;
    course.finish = free_blocks;
    course.close = close_files;
    chk_perform(course);
}
