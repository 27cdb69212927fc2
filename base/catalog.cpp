#include "base/catalog.h"

#include <nl_types.h>

#include <clocale>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

const nl_catd catalog_closed = reinterpret_cast<nl_catd>(std::intptr_t{-1});
nl_catd term_catalog = catalog_closed;
nl_catd detail_catalog = catalog_closed;

/// The conversions of a format, one after the other: "%-19.19s: %d%%" gives "%-19.19s%d".
std::string conversions(const char *format) {
    std::string found;
    while ((format = std::strchr(format, '%')) != nullptr) {
        if (format[1] == '%') {
            format += 2;
            continue;
        }
        const std::size_t modifiers = std::strspn(format + 1, "-+ #0123456789.*'hlqjztL");
        const std::size_t length = 1 + modifiers + (format[1 + modifiers] == '\0' ? 0 : 1);
        found.append(format, length);
        format += length;
    }
    return found;
}

/// What a format expects to be passed: each conversion's length and letter, and a `*` for a width or
/// precision that is passed. A translation may change flags, and widths written out in the text.
std::string argument_types(const char *format) {
    std::string types;
    for (const char c : conversions(format)) {
        if (std::strchr("-+ #0123456789.'", c) == nullptr) {
            types += c;
        }
    }
    return types;
}

const char *lookup(nl_catd catalog, int set, int number, const char *fallback) {
    if (catalog == catalog_closed) {
        return fallback;
    }
    const char *text = catgets(catalog, set, number, fallback);
    // A text that is not used as a format may hold any percent sign.
    const bool is_format = !argument_types(fallback).empty();
    return is_format && argument_types(text) != argument_types(fallback) ? fallback : text;
}

void close_one(nl_catd &catalog) {
    if (catalog != catalog_closed) {
        catclose(catalog);
        catalog = catalog_closed;
    }
}

}  // namespace

void catalog_open() {
    // Numbers, sorting and case follow no locale. The character set belongs to the terminal: it stays as the
    // screen session set it.
    for (const int category : {LC_NUMERIC, LC_TIME, LC_MONETARY, LC_COLLATE, LC_MESSAGES}) {
        std::setlocale(category, "C");
    }
    term_catalog = catopen("TERM351", 0);
    detail_catalog = catopen("DETAIL", 0);
}

void catalog_close() {
    close_one(term_catalog);
    close_one(detail_catalog);
}

const char *term_text(int set, int number, const char *fallback) {
    return lookup(term_catalog, set, number, fallback);
}

const char *detail_text(int set, int number, const char *fallback) {
    return lookup(detail_catalog, set, number, fallback);
}
