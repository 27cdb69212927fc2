#include "check/frame/findings.h"

#include "base/base.h"

void (*chk_finding_listener)(const finding &found) = nullptr;

finding_field field_of(const char *name, std::int64_t value) {
    return {name, std::to_string(value), true};
}

finding_field field_of(const char *name, std::string value) {
    return {name, std::move(value), false};
}

finding_field field_of(const SeriesKey &series) {
    return {"series",
            str_format("%lu.%u.%u", static_cast<unsigned long>(series.group), unsigned{series.colour},
                       unsigned{series.number}),
            false};
}

void chk_found(const finding_kind &kind, const std::string &file, std::vector<finding_field> fields) {
    if (chk_finding_listener != nullptr) {
        chk_finding_listener({kind, file, std::move(fields)});
    }
}

void add_unless_none(std::vector<finding_field> &fields, const char *name, std::int64_t value,
                     std::int64_t none) {
    if (value != none) {
        fields.push_back(field_of(name, value));
    }
}
