// The repair of the price check.
//
// A chain is cut before the block at fault, and its set then describes what is left; a set of which nothing
// is left is deleted. The blocks that were cut off are among those that no walk has seen, which go on the
// free chain at the end.
//
// Row 9 is locked for each step. Other programs may have changed the prices since, and row 9 need not show
// it: a set that is stored again takes the blocks that it has just freed. So the fault is looked for again
// first, and what is mended is what is wrong with the set now.
#include "check/prices/prices.h"

namespace {

void cut_behind(std::int32_t number) {
    PriceBlock block{};
    if (price_read_block(number, block)) {
        block.next = price_no_block;
        chk_ipg_raw(raw_action::write, number, block);
    }
}

/// Marks the blocks that other programs have put on the free chain.
void mark_free_chain(const SysRow4Chain &chain) {
    PriceBlock block{};
    std::int32_t left = chain.end_mark;
    for (std::int32_t number = chain.free_head; number != chain.end_mark && left-- > 0 &&
                                                price_read_block(number, block) && price_block_empty(block);
         number = block.next) {
        chk_bit_set(number);
    }
}

}  // namespace

/// The set that an error belongs to; false when it is gone.
bool price_check::read_set(const PriceError &error, PriceSetRecord &set) {
    set = {};
    set.key = error.key;
    set.supplier = error.supplier;
    set.end_date = error.end_date;
    return IXREAD(sets, &set);
}

void price_check::delete_set(const PriceError &error) {
    PriceSetRecord set;
    if (read_set(error, set)) {
        IXDELETE(sets, &set);
    }
}

/// Makes the sizes of a set those of its chain; without a block it is deleted.
void price_check::recompute_set(const PriceError &error) {
    PriceSetRecord set;
    if (!read_set(error, set)) {
        return;
    }
    set.sizes = {};
    bool any = false;
    PriceBlock block{};
    std::int32_t number = set.chain;
    std::int32_t left = price_blocks_in_file();
    while (left-- > 0 && price_read_block(number, block) && ink_owns(set, block)) {
        any = true;
        set.sizes.add(block.sizes);
        number = block.next;
    }
    if (any) {
        IXREWRITE(sets, &set);
    } else {
        IXDELETE(sets, &set);
    }
}

/// What is to be mended: for a set, what is wrong with it now.
PriceError price_check::present_fault(const PriceError &found) {
    PriceSetRecord set;
    if (found.code >= price_set_no_series ||
        (found.code >= price_lost_no_set && found.code <= price_lost_no_series)) {
        return found;
    }
    return read_set(found, set) ? price_fault(set) : PriceError{};
}

void price_check::mend_error(const PriceError &found) {
    const chain_row row(row_price_chain);
    const PriceError error = present_fault(found);
    switch (error.code) {
        case price_outside:
        case price_other_set:
        case price_in_free_chain:
        case price_seen_before:
            if (error.previous == price_no_block) {
                delete_set(error);
            } else {
                cut_behind(error.previous);
                recompute_set(error);
            }
            break;
        case price_wrong_sizes:
            recompute_set(error);
            break;
        case price_set_no_series:
            if (!price_series_exists(error.key)) {
                delete_set(error);
            }
            break;
        default:  // lost blocks go with the others; which supplier to prefer is for the shop to decide
            break;
    }
}

void price_check::repair() {
    const auto total = static_cast<std::uint32_t>(errors.icb()->nrecs);
    std::uint32_t done = 0;
    chk_phase(detail_text(13, 35, "herstellen fouten"), total);
    errors.for_each([&](const PriceError &error) {
        mend_error(error);
        chk_progress(++done, total, chk_bar::step);
    });
    chk_progress(0, 0, chk_bar::close);
    ok_prices = true;
}

/// False for a block that a set has taken during the check.
bool price_check::is_lost(std::int32_t number) {
    PriceBlock block{};
    return !chk_bit_test(number) &&
           !(price_read_block(number, block) && !price_block_empty(block) && held_by_set(block, number));
}

// Row 9 is written when all blocks are linked: until then the chain that it leads to is whole, and the blocks
// already linked are on no chain.
void price_check::free_lost() {
    const leave_guard undisturbed;
    chain_row row(row_price_chain);
    const auto total = static_cast<std::uint32_t>(end);
    chk_phase(detail_text(13, 36, "herstellen vrijketting"), total);
    mark_free_chain(row.chain);
    for (std::int32_t number = 0; number < end; number++) {
        if (is_lost(number)) {
            PriceBlock block{};
            block.next = row.chain.free_head;
            chk_ipg_raw(raw_action::write, number, block);
            row.chain.free_head = number;
        }
        chk_progress(static_cast<std::uint32_t>(number), total, chk_bar::step);
    }
    row.write();
    chk_progress(0, 0, chk_bar::close);
}
