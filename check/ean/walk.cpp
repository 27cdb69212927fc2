// The two walks of the EAN code check: the sizes, and the codes.
#include <cstring>

#include "check/ean/ean.h"
#include "check/frame/record_place.h"
#include "check/frame/walk_bound.h"
#include "data/data.h"
#include "data/masterfile.h"

namespace {

void tell_size(const ean_finding &finding) {
    chk_found(ean_kind_of(ean_kind::size_without_code), "RVSER",
              {field_of(finding.key), field_of("size_position", std::int64_t{finding.size})});
}

/// A code that points to nothing.
void tell_code(const EanRecord &code) {
    if (code.type == ean_of_series) {
        chk_found(ean_kind_of(ean_kind::code_of_series), ean_file_name,
                  {field_of({code.group, code.colour, code.number}),
                   field_of("size", std::int64_t{code.size}), field_of("code", ean_text(code))});
    } else {
        chk_found(ean_kind_of(ean_kind::code_of_article), ean_file_name,
                  {field_of("article", std::int64_t{code.group}), field_of("code", ean_text(code))});
    }
}

}  // namespace

void ean_check::add_finding(const SeriesKey &key, std::uint8_t size, std::uint8_t kind,
                            const EanRecord *code) {
    ean_finding finding{};
    finding.key = key;
    finding.size = size;
    finding.size_kind = kind;
    if (code != nullptr) {
        std::memcpy(finding.code, code->code, sizeof finding.code);
    }
    if (!IXFIND(findings.icb(), &finding)) {
        findings.add(finding);
        if (chk_is_heard() && code == nullptr) {
            tell_size(finding);
        }
    }
}

// ---- A: sizes without a code

void ean_check::check_series(const SeriesRecord &series, ean_ticker &shown) {
    size_view(session_sizes, sys_settings.size_system, series.size_kind, &series.sizes);
    size_cursor size{};
    for (int found = mtread(session_sizes, mt_action::first, size, mt_key::position); found != 0;
         found = mtread(session_sizes, mt_action::next, size, mt_key::position)) {
        EanRecord record;
        if (ean_read_series(codes, record, series.key, size.index)) {
            shown.show(record);
        } else {
            add_finding(series.key, size.position, series.size_kind, nullptr);
        }
    }
}

/// False when the operator cancelled. A shop that does not require codes has no findings here.
bool ean_check::check_sizes() {
    if (sys_country.ean_check_option == 0) {
        return true;
    }
    ean_ticker shown(op_field::ean_code, ean_text);
    const key_switch of_size(codes, ean_by_size);
    SeriesRecord series{};
    walk_bound bound(chk_files.rvser);
    for (bool found = IXFIRST(chk_files.rvser, &series); found && bound.step();
         found = IXNEXT(chk_files.rvser, &series)) {
        {
            const record_place here(chk_files.rvser);
            check_series(series, shown);
        }
        if (op_interrupted()) {
            return false;
        }
    }
    return true;
}

// ---- B: codes that point to nothing

bool ean_check::article_exists(std::uint32_t number) {
    SmallArticleRecord article{};
    article.number = static_cast<std::uint16_t>(number);
    return number == article.number && IXFINDP(articles, &article, 1);
}

bool ean_check::points_to_nothing(const EanRecord &code, SeriesRecord &series) {
    if (code.type == ean_of_article) {
        return !article_exists(code.group);
    }
    if (code.type != ean_of_series) {
        return false;
    }
    series.key.group = code.group;
    series.key.colour = code.colour;
    series.key.number = code.number;
    return !IXREAD(chk_files.rvser, &series) || !series.sizes.test(code.size);
}

void ean_check::list_code(const EanRecord &code, std::int32_t number) {
    list.print("%-13.13s%11ld\n", ean_text(code).c_str(), static_cast<long>(number));
}

/// False when the operator cancelled.
bool ean_check::check_codes() {
    ean_ticker shown(op_field::ean_code, ean_text);
    EanRecord code{};
    SeriesRecord series{};
    walk_bound bound(codes);
    for (bool found = IXFIRST(codes, &code); found && bound.step(); found = IXNEXT(codes, &code)) {
        shown.show(code);
        if (points_to_nothing(code, series)) {
            list_code(code, codes->recno);
            if (chk_is_heard()) {
                tell_code(code);
            }
            SeriesKey key{};
            key.group = code.group;
            key.colour = code.colour;
            key.number = code.number;
            add_finding(key, code.type == ean_of_series ? code.size : std::uint8_t{0}, code.size_kind, &code);
        }
        if (op_interrupted()) {
            return false;
        }
    }
    return true;
}
