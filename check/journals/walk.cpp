// The walk through an order journal.
//
//   1  A byte that is not a code ends the walk, and so does the end of the file within a record, or a read
//      that fails.
//   2  A record that may not follow the one before it is out of order, and is dropped. Only an order ends the
//      walk instead, unless it comes directly after another order.
//   3  Of several orders in a row one head is kept, the last with a number of its own.
//   4  An order with a number below 1000 gets a new one.
#include "check/journals/walk.h"

#include <cerrno>
#include <cstring>

#include "base/files.h"

namespace {

constexpr std::size_t buffer_size = 65536;
constexpr char no_code = ' ';

struct code_rule {
    char code;
    int payload;
    const char *after;
};
constexpr code_rule rules[] = {
    {'O', journal_order_bytes, " DSEBLF"},  {'M', journal_model_bytes, "ODTSEBLF"},
    {'D', journal_detail_bytes, "MTSEBLF"}, {'T', journal_text_bytes, "OMDT"},
    {'S', journal_size_bytes, "DTSEB"},     {'E', journal_ean_bytes, "S"},
    {'B', journal_supplier_bytes, "SE"},    {'L', journal_label_bytes, "SEBLF"},
    {'F', journal_branch_bytes, "LF"},
};

const code_rule *rule_of(char code) {
    for (const code_rule &rule : rules) {
        if (rule.code == code) {
            return &rule;
        }
    }
    return nullptr;
}

/// The next `size` bytes, which stay in place until the next call. Null when the journal ends before that or
/// can't be read; the walk has then ended.
std::uint8_t *take(journal_walk &walk, std::size_t size) {
    if (walk.buffer_filled - walk.buffer_used < size) {
        const std::int64_t at = walk.buffer_at + static_cast<std::int64_t>(walk.buffer_used);
        const ssize_t got = file_read_at(walk.fd, walk.buffer.get(), buffer_size, at);
        walk.buffer_filled = got < 0 ? 0 : static_cast<std::size_t>(got);
        walk.buffer_at = at;
        walk.buffer_used = 0;
        if (got < 0) {
            walk.error = errno;
            walk.end = journal_end::unreadable;
        }
        if (walk.buffer_filled < size) {
            return nullptr;
        }
    }
    std::uint8_t *bytes = walk.buffer.get() + walk.buffer_used;
    walk.buffer_used += size;
    return bytes;
}

std::int64_t place(const journal_walk &walk) {
    return walk.buffer_at + static_cast<std::int64_t>(walk.buffer_used);
}

std::uint32_t new_number(journal_walk &walk) {
    if (walk.used_numbers == walk.new_numbers.size()) {
        walk.new_numbers.push_back(static_cast<std::uint32_t>(walk.next_number()));
    }
    return walk.new_numbers[walk.used_numbers++];
}

template <class Payload>
Payload payload_of(const journal_walk &walk) {
    Payload payload;
    std::memcpy(&payload, walk.payload.data(), sizeof payload);
    return payload;
}

/// An order in its proper place.
void begin_order(journal_walk &walk, JournalOrder &order) {
    if (journal_number_low(order.number)) {
        walk.forgotten = order.number;
        order.number = new_number(walk);
        walk.order_number = order.number;
        walk.renumbered = true;
        std::memcpy(walk.payload.data(), &order, sizeof order);
    }
    walk.labels_follow = true;
}

/// An order directly after another one.
void repeat_order(journal_walk &walk, const JournalOrder &order, std::uint32_t number_before) {
    if (journal_number_low(order.number)) {
        walk.forgotten = order.number;
        walk.order_number = number_before;
        walk.labels_follow = true;
        walk.dropped_low = true;
    } else {
        walk.forgotten = number_before;
        walk.labels_follow = false;
        walk.replaces = true;
        walk.copied = true;
    }
}

void take_order(journal_walk &walk) {
    auto order = payload_of<JournalOrder>(walk);
    const std::uint32_t number_before = walk.order_number;
    walk.order_number = order.number;
    walk.order_date = order.date;
    if (!journal_order_numbered(order)) {
        return;
    }
    if (walk.copied) {
        begin_order(walk, order);
    } else if (walk.orders_in_row > 1) {
        repeat_order(walk, order, number_before);
    }
}

/// A failed read is not the end of the file, and a copy up to there is not complete.
bool finish(journal_walk &walk, journal_end end) {
    if (walk.end == journal_end::open) {
        walk.end = end;
    }
    return false;
}

bool finish_file(journal_walk &walk) {
    if (walk.previous == no_code) {
        return finish(walk, journal_end::empty);
    }
    return finish(walk, walk.copied ? journal_end::passed : journal_end::last_dropped);
}

}  // namespace

int journal_payload(char code) {
    const code_rule *rule = rule_of(code);
    return rule == nullptr ? -1 : rule->payload;
}

bool journal_may_follow(char code, char previous) {
    const code_rule *rule = rule_of(code);
    return rule != nullptr && previous != '\0' && std::strchr(rule->after, previous) != nullptr;
}

void journal_begin(journal_walk &walk, int fd, std::int32_t (*next_number)()) {
    std::unique_ptr<std::uint8_t[]> buffer = std::move(walk.buffer);
    walk = {};
    walk.buffer =
        buffer != nullptr ? std::move(buffer) : std::make_unique_for_overwrite<std::uint8_t[]>(buffer_size);
    walk.fd = fd;
    walk.next_number = next_number;
}

void journal_again(journal_walk &walk) {
    std::vector<std::uint32_t> numbers = std::move(walk.new_numbers);
    journal_begin(walk, walk.fd, walk.next_number);
    walk.new_numbers = std::move(numbers);
}

bool journal_next(journal_walk &walk) {
    if (walk.end != journal_end::open) {
        return false;
    }
    walk.previous = walk.code;
    const std::int64_t at = place(walk);
    const std::uint8_t *byte = take(walk, 1);
    if (byte == nullptr) {
        return finish_file(walk);
    }
    walk.at = at;
    walk.code = static_cast<char>(*byte);
    const int length = journal_payload(walk.code);
    if (length < 0) {
        return finish(walk, journal_end::unknown_code);
    }
    std::uint8_t *payload = take(walk, static_cast<std::size_t>(length));
    if (payload == nullptr) {
        return finish(walk, journal_end::cut_off);
    }
    walk.payload = {payload, static_cast<std::size_t>(length)};
    walk.copied = journal_may_follow(walk.code, walk.previous);
    walk.replaces = false;
    walk.renumbered = false;
    walk.forgotten.reset();
    walk.orders_in_row = walk.code == 'O' ? walk.orders_in_row + 1 : 0;
    if (walk.code == 'O') {
        if (!walk.copied && walk.orders_in_row == 1) {
            return finish(walk, journal_end::order_misplaced);
        }
        take_order(walk);
    } else if (walk.code == 'M' && walk.labels_follow) {
        walk.group = payload_of<JournalModel>(walk).group;
    }
    return true;
}
