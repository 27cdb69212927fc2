// Phases 1 and 2 of the size check: the size kinds, and the sizes of the labels.
#include <algorithm>
#include <array>

#include "check/sizes/sizes.h"

namespace {

/// Prints a sequence number that is wrong, and tells of it. `count` sizes have it.
void tell_number(size_finding what, const SizeKindRecord &record, int number, int count) {
    const finding_kind &kind = size_findings()[what];
    const std::string times = str_format(detail_text(12, 16, "Komt %d keer voor"), count);
    sizes_print_number(record.kind, number, what == size_number_repeated ? times.c_str() : kind.text());
    if (chk_is_heard()) {
        chk_found(
            kind, "RVMAAT",
            {field_of("size_kind", record.kind), field_of("sequence", number), field_of("count", count)});
    }
}

int check_numbers(const SizeKindRecord &record) {
    std::array<int, size_highest + 1> counts{};
    int errors = 0;
    int highest = 0;
    for (unsigned i = 1; i <= size_highest; i++) {
        const SizeEntry &entry = record.entries[i];
        if (entry.code[0] == '\0') {
            continue;
        }
        if (entry.link < 1 || entry.link > size_highest) {
            tell_number(size_number_invalid, record, entry.link, 1);
            errors++;
            continue;
        }
        counts[entry.link]++;
        highest = std::max<int>(highest, entry.link);
    }
    for (int number = 1; number <= highest; number++) {
        const int count = counts[static_cast<std::size_t>(number)];
        if (count == 1) {
            continue;
        }
        errors++;
        tell_number(count == 0 ? size_number_missing : size_number_repeated, record, number, count);
    }
    return errors;
}

/// True when the size has a description according to its kind. A record of another kind, which only a damaged
/// index leads to, does not count against it.
bool is_described(const SizeNameRecord &name) {
    SizeKindRecord kind{};
    kind.system = name.system;
    kind.kind = name.kind;
    if (!IXREAD(chk_files.rvmaat, &kind)) {
        return false;
    }
    return kind.system != name.system || kind.kind != name.kind || kind.described.test(name.index);
}

/// Tells of a label whose size is missing.
void tell_label(const SeriesRecord &series, std::int32_t number, const eti_rec &label) {
    if (chk_is_heard()) {
        chk_found(size_findings()[size_of_label], "RVETI",
                  {field_of(series.key), field_of("label", number), field_of("size_kind", series.size_kind),
                   field_of("size", label.size)});
    }
}

}  // namespace

void sizes_view_kind(const SeriesRecord &series) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind);
}

std::int64_t size_check::check_kinds() {
    std::int64_t errors = 0;
    const key_switch key(chk_files.rvmaat, 1);
    SizeKindRecord record{};
    record.system = sys_settings.size_system;
    sizes_walk_by_key(chk_files.rvmaat, record, 1, [&] {
        errors += check_numbers(record);
        return true;
    });
    return errors;
}

void sizes_delete_stale_names() {
    const key_switch kinds(chk_files.rvmaat, 1);
    const key_switch names(chk_files.rvmtom, 1);
    SizeNameRecord record{};
    sizes_walk_by_key(chk_files.rvmtom, record, 0, [&] {
        SizeNameRecord name = record;
        if (!is_described(name)) {
            if (IXREADLOCK(chk_files.rvmtom, &name)) {
                IXDELETE(chk_files.rvmtom, &name);
            } else {
                IXFREE(chk_files.rvmtom, &name);
            }
        }
        return true;
    });
}

/// False when the table of the whole run is full.
bool size_check::check_label_sizes(const SeriesRecord &series) {
    const unsigned kind = series.size_kind;
    bool room = true;
    missing_in_series.clear();
    sizes_view_kind(series);
    sizes_walk_labels(series, [&](std::int32_t number, const eti_rec &label) {
        if (session_sizes->has(label.size)) {
            return true;
        }
        if (!missing_in_series.add(kind, label.size)) {
            return false;
        }
        room = missing_in_run.add(kind, label.size);
        if (room) {
            sizes_print_missing({kind, label.size, 1, &series.key, number});
            tell_label(series, number, label);
        }
        return room;
    });
    for (const auto &size : missing_in_series) {
        sizes_print_missing({size.kind, size.index, size.count, &series.key});
    }
    return room;
}

std::int64_t size_check::check_labels() {
    ICB *file = chk_files.rvser;
    missing_in_run.clear();
    bar_open();
    SeriesRecord series;
    for (bool more = chk_scan_first(file, &series); more; more = IXSEQ(file, &series)) {
        if (op_interrupted() || !check_label_sizes(series)) {
            file->recno = file->nrecs;  // a scan has to be run to its end
        }
        bar_step();
    }
    chk_progress(0, 0, chk_bar::close);
    if (op_interrupted()) {
        return 0;
    }
    std::int64_t labels = 0;
    for (const auto &size : missing_in_run) {
        sizes_print_missing({size.kind, size.index, size.count});
        labels += size.count;
    }
    return labels;
}
