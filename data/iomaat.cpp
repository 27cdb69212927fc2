#include "data/iomaat.h"

#include <algorithm>
#include <cstring>

#include "base/base.h"
#include "data/errors.h"
#include "data/iotab.h"
#include "data/sessionfiles.h"

mt_view *session_sizes = nullptr;

namespace {

constexpr char module[] = "iomaat";
constexpr int no_view = 4;
constexpr int file_not_open = 5;
constexpr int no_key = 7;

constexpr int highest = static_cast<int>(size_highest);

mt_view views[mt_max_views];

void warn(const char *operation) {
    op_tell(op_notice::size_fault, {str_format("%s-%s", operation, detail_text(12, 1, "fout")),
                                    term_text(1, 95, "Neem contact op met de Support-groep")});
}

bool in_table(int number) {
    return number >= 1 && number <= highest;
}

// ---- Building the tables

/// In the shop's own size system entries are stored by index.
void build_own(mt_view &view, const SizeKindRecord &record) {
    for (int i = 1; i <= highest; i++) {
        view.by_index[i] = record.entries[i];
        const int sequence = record.entries[i].link;
        if (in_table(sequence)) {
            view.by_sequence[sequence] = record.entries[i];
            view.by_sequence[sequence].link = static_cast<std::uint8_t>(i);
        } else {
            view.by_index[i].link = 0;
        }
    }
}

/// In other size systems they are stored by sequence number.
void build_other(mt_view &view, const SizeKindRecord &record) {
    for (int s = 1; s <= highest && record.entries[s].link != 0; s++) {
        const int index = record.entries[s].link;
        if (in_table(index)) {
            view.by_sequence[s] = record.entries[s];
            view.by_index[index].link = static_cast<std::uint8_t>(s);
        }
    }
}

mt_view *free_view() {
    mt_view *const view = std::find_if(views, views + mt_max_views, [](const mt_view &v) { return !v.open; });
    if (view == views + mt_max_views) {
        warn("mtopen");
        return nullptr;
    }
    *view = {};
    view->open = true;
    return view;
}

// ---- Looking up. Each gives a sequence number or an index, 0 for none.

/// The first number whose entry is in use, going from `from` in steps of `step`.
int walk(const SizeEntry (&table)[96], int from, int step) {
    for (int n = from; in_table(n); n += step) {
        if (table[n].link != 0) {
            return n;
        }
    }
    return 0;
}

int find_number(const SizeEntry (&table)[96], mt_action action, int number) {
    switch (action) {
        case mt_action::first:
            return walk(table, std::max(number, 1), 1);
        case mt_action::next:
            return walk(table, number + 1, 1);
        case mt_action::previous:
            return walk(table, std::min(number - 1, highest), -1);
        case mt_action::read:
            return in_table(number) && table[number].link != 0 ? number : 0;
    }
    return 0;
}

/// The sequence number of the code that the action asks for.
int find_code(const mt_view &view, mt_action action, const char *code) {
    const auto compare = [&](int sequence, const char *other) {
        return std::memcmp(view.by_sequence[sequence].code, other, sizeof view.by_sequence[0].code);
    };
    int best = 0;
    for (int s = 1; s <= highest && view.by_sequence[s].link != 0; s++) {
        const int order = compare(s, code);
        if (order == 0 && (action == mt_action::first || action == mt_action::read)) {
            return s;
        }
        const bool above = order > 0 && (action == mt_action::first || action == mt_action::next);
        const bool below = order < 0 && action == mt_action::previous;
        const auto &best_code = view.by_sequence[best].code;
        if ((above && (best == 0 || compare(s, best_code) < 0)) ||
            (below && (best == 0 || compare(s, best_code) > 0))) {
            best = s;
        }
    }
    return best;
}

/// The sequence number of the position that the action asks for.
int find_position(const mt_view &view, mt_action action, int position) {
    switch (action) {
        case mt_action::first:
            position = std::max(position, 1);
            break;
        case mt_action::next:
            position++;
            break;
        case mt_action::previous:
            position = std::min<int>(position - 1, view.positions);
            break;
        case mt_action::read:
            break;
    }
    return position >= 1 && position <= view.positions ? view.at_position[position] : 0;
}

}  // namespace

mt_view *mtopen(int system, int kind) {
    if (chk_files.rvmaat == nullptr) {
        err_internal(module, file_not_open);
    }
    if (system == 0 || kind == 0) {
        err_internal(module, no_key);
    }
    mt_view *const view = free_view();
    if (view == nullptr) {
        return nullptr;
    }
    SizeKindRecord record{};
    view->system = record.system = static_cast<std::uint8_t>(system);
    view->kind = record.kind = static_cast<std::uint8_t>(kind);
    const key_switch key(chk_files.rvmaat, 1);
    if (IXREAD(chk_files.rvmaat, &record)) {
        view->own = system == sys_settings.size_system;
        if (view->own) {
            build_own(*view, record);
        } else {
            build_other(*view, record);
        }
    }
    return view;
}

void mtclose(mt_view *view) {
    if (view == nullptr) {
        err_internal(module, no_view);
    }
    if (!view->open) {
        warn("mtclose");
        return;
    }
    view->open = false;
}

int mtread(const mt_view *view, mt_action action, size_cursor &cursor, mt_key key) {
    if (view == nullptr) {
        err_internal(module, no_view);
    }
    if (std::strchr("FNPR", static_cast<char>(action)) == nullptr || action == mt_action{}) {
        isam_fatal("mtread(%c,%d) %s", static_cast<char>(action), static_cast<int>(key),
                   detail_text(12, 2, "aktie ongedefinieerd"));
    }
    int index = 0;
    int sequence = 0;
    switch (key) {
        case mt_key::index:
            index = find_number(view->by_index, action, cursor.index);
            break;
        case mt_key::sequence:
            sequence = find_number(view->by_sequence, action, cursor.sequence);
            break;
        case mt_key::code:
            sequence = find_code(*view, action, cursor.code);
            break;
        case mt_key::position:
            sequence = find_position(*view, action, cursor.position);
            break;
        default:
            isam_fatal("mtread(%c,%d) %s", static_cast<char>(action), static_cast<int>(key),
                       detail_text(12, 3, "keynr ongedefinieerd"));
    }
    if (index == 0 && sequence == 0) {
        return 0;
    }
    if (sequence == 0) {
        sequence = view->by_index[index].link;
    } else {
        index = view->by_sequence[sequence].link;
    }
    // Two sizes may wrongly have the same sequence number, so the code is looked up by index.
    const SizeEntry &entry = view->own ? view->by_index[index] : view->by_sequence[sequence];
    cursor = {};
    cursor.system = view->system;
    cursor.kind = view->kind;
    cursor.index = static_cast<std::uint8_t>(index);
    cursor.sequence = static_cast<std::uint8_t>(sequence);
    cursor.position = view->position[index];
    std::memcpy(cursor.code, entry.code, sizeof cursor.code);
    return 1;
}

void mtrange(mt_view *view, const SizeBitmap &sizes) {
    if (view == nullptr) {
        err_internal(module, no_view);
    }
    view->positions = 0;
    std::memset(view->position, 0, sizeof view->position);
    for (int s = 1; s <= highest; s++) {
        const int index = view->by_sequence[s].link;
        if (index != 0 && sizes.test(static_cast<unsigned>(index))) {
            view->position[index] = ++view->positions;
            view->at_position[view->positions] = static_cast<std::uint8_t>(s);
        }
    }
}

void size_view(mt_view *&view, int system, int kind, const SizeBitmap *sizes) {
    if (view != nullptr && (view->system != system || view->kind != kind)) {
        mtclose(view);
        view = nullptr;
    }
    if (view == nullptr) {
        view = system == 0 || kind == 0 ? free_view() : mtopen(system, kind);
        if (view == nullptr) {
            return;
        }
        view->system = static_cast<std::uint8_t>(system);
        view->kind = static_cast<std::uint8_t>(kind);
    }
    if (sizes != nullptr) {
        mtrange(view, *sizes);
    }
}

void size_view_forget() {
    if (session_sizes != nullptr) {
        mtclose(session_sizes);
        session_sizes = nullptr;
    }
}
