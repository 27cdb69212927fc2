// Indexed files, block files and the bit map of seen blocks.
#include <algorithm>
#include <cstdlib>

#include "check/frame/frame.h"

namespace {

constexpr int bits_a_byte = 8;

raw_file price_blocks{"RVIPG.TXT", sizeof(PriceBlock)};

struct {
    std::uint8_t *bytes = nullptr;
    std::int64_t bits = 0;
} seen;

std::uint8_t mask_of(std::int64_t bit) {
    return static_cast<std::uint8_t>(1U << (bit % bits_a_byte));
}

}  // namespace

bool chk_scan_first(ICB *file, void *record) {
    file->recno = file->nrecs;  // after the last record a scan that is under way ends
    return IXSEQ(file, record) || (!op_interrupted() && IXSEQ(file, record));
}

off_t chk_txt_size(const char *name) {
    return file_size((std::string(name) + ".TXT").c_str());
}

int chk_ipg_raw(raw_action action, std::int32_t block, PriceBlock &buffer) {
    return raw_access(price_blocks, action, block, &buffer);
}

int chk_ipg_raw(raw_action action) {
    return raw_access(price_blocks, action, 0, nullptr);
}

void chk_bits_open(std::size_t bytes) {
    chk_bits_close();
    seen.bytes = static_cast<std::uint8_t *>(std::calloc(bytes, 1));
    if (seen.bytes == nullptr) {
        err_nomem(program_name, 1);
    }
    seen.bits = static_cast<std::int64_t>(bytes) * bits_a_byte;
}

bool chk_bit_test(std::int64_t bit) {
    return bit < 0 || bit >= seen.bits || (seen.bytes[bit / bits_a_byte] & mask_of(bit)) != 0;
}

bool chk_bit_set(std::int64_t bit) {
    if (chk_bit_test(bit)) {
        return false;
    }
    std::uint8_t &byte = seen.bytes[bit / bits_a_byte];
    byte = static_cast<std::uint8_t>(byte | mask_of(bit));
    return true;
}

void chk_bits_grow(std::size_t bytes) {
    const auto before = static_cast<std::size_t>(seen.bits / bits_a_byte);
    if (bytes <= before) {
        return;
    }
    auto *grown = static_cast<std::uint8_t *>(std::realloc(seen.bytes, bytes));
    if (grown == nullptr) {
        err_nomem(program_name, 1);
    }
    std::fill(grown + before, grown + bytes, std::uint8_t{0});
    seen.bytes = grown;
    seen.bits = static_cast<std::int64_t>(bytes) * bits_a_byte;
}

void chk_bits_close() {
    std::free(seen.bytes);
    seen = {};
}
