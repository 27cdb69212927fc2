#include "support/store/model.h"

#include <algorithm>

void store_model::define(const ix_header &header) {
    reclen = header.reclen;
    keys.assign(header.keydef, header.keydef + header.nkeys);
    slots.clear();
    free.clear();
    trees.assign(keys.size(), {});
}

bytes store_model::key_of(int k, const bytes &record, std::int32_t number) const {
    return reference_key(keys[static_cast<std::size_t>(k)], record.data(), number);
}

int store_model::compare(int k, int parts, const bytes &a, const bytes &b) const {
    ix_keydef def = keys[static_cast<std::size_t>(k)];
    if (parts > 0) {
        def.kdups = 'N';
        std::fill(def.stype + std::min(parts, ix_max_segments), def.stype + ix_max_segments, '\0');
    }
    return reference_compare(def, a.data(), b.data());
}

std::size_t store_model::place(int k, int parts, const bytes &key, bool above) const {
    const auto &tree = trees[static_cast<std::size_t>(k)];
    const auto at = std::partition_point(tree.begin(), tree.end(), [&](const model_entry &entry) {
        const int order = compare(k, parts, entry.key, key);
        return order < 0 || (above && order == 0);
    });
    return static_cast<std::size_t>(at - tree.begin());
}

std::size_t store_model::lower(int k, int parts, const bytes &key) const {
    return place(k, parts, key, false);
}

std::size_t store_model::upper(int k, int parts, const bytes &key) const {
    return place(k, parts, key, true);
}

std::int32_t store_model::find(int k, const bytes &key, int parts) const {
    const auto &tree = trees[static_cast<std::size_t>(k)];
    const std::size_t at = lower(k, parts, key);
    return at < tree.size() && compare(k, parts, tree[at].key, key) == 0 ? tree[at].record : -1;
}

void store_model::add(int k, const bytes &key, std::int32_t number) {
    auto &tree = trees[static_cast<std::size_t>(k)];
    tree.insert(tree.begin() + static_cast<std::ptrdiff_t>(lower(k, 0, key)), {key, number});
}

void store_model::drop(int k, const bytes &key, std::int32_t number) {
    auto &tree = trees[static_cast<std::size_t>(k)];
    for (std::size_t at = lower(k, 0, key);; ++at) {
        if (tree[at].record == number) {
            tree.erase(tree.begin() + static_cast<std::ptrdiff_t>(at));
            return;
        }
    }
}

std::int32_t store_model::write(const bytes &record) {
    std::int32_t number = find(0, key_of(0, record, 0));
    const bool known = number >= 0;
    if (!known) {
        if (free.empty()) {
            number = static_cast<std::int32_t>(slots.size());
            slots.emplace_back();
        } else {
            number = free.back();
            free.pop_back();
        }
    }
    bytes &slot = slots[static_cast<std::size_t>(number)];
    for (int k = 0; k < static_cast<int>(keys.size()); ++k) {
        const bytes key = key_of(k, record, number);
        if (known) {
            const bytes old = key_of(k, slot, number);
            if (compare(k, 0, key, old) == 0) {
                continue;  // the tree keeps the image it has
            }
            drop(k, old, number);
        }
        add(k, key, number);
    }
    slot = record;
    return number;
}

void store_model::rewrite(std::int32_t number, const bytes &record) {
    slots[static_cast<std::size_t>(number)] = record;
}

void store_model::erase(std::int32_t number) {
    bytes &slot = slots[static_cast<std::size_t>(number)];
    for (int k = 0; k < static_cast<int>(keys.size()); ++k) {
        drop(k, key_of(k, slot, number), number);
    }
    slot.clear();
    free.push_back(number);
}

void store_model::rebuild() {
    free.clear();
    trees.assign(keys.size(), {});
    for (std::size_t n = 0; n < slots.size(); ++n) {
        if (slots[n].empty()) {
            free.push_back(static_cast<std::int32_t>(n));
            continue;
        }
        for (int k = 0; k < static_cast<int>(keys.size()); ++k) {
            const auto number = static_cast<std::int32_t>(n);
            add(k, key_of(k, slots[n], number), number);
        }
    }
}
