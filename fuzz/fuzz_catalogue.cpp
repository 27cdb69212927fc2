// Catalogue texts: the catalogue gives the input for every text. Where the text is a format, the caller's
// arguments are those that its default asks for, and it may take no others.
#include <nl_types.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/catalog.h"
#include "fuzz/stop.h"

namespace {
std::string text;
}

extern "C" nl_catd catopen(const char *, int) {
    return reinterpret_cast<nl_catd>(&text);
}
extern "C" char *catgets(nl_catd, int, int, const char *) {
    return text.data();
}
extern "C" int catclose(nl_catd) {
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    catalog_open();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    text.assign(reinterpret_cast<const char *>(data), size);
    // A width of a billion blanks is valid, but takes a second.
    for (std::size_t at = 0, digits = 0; at < text.size(); ++at) {
        digits = text[at] >= '0' && text[at] <= '9' ? digits + 1 : 0;
        if (digits > 5) {
            return 0;
        }
    }
    // Buffers of exactly the size that the caller states show a read or a write too far.
    char *name = new char[4]{'a', 'b', 'c', '\0'};
    char out[300];
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(out, sizeof out, term_text(1, 1, "Voortgang %s"), name);
    std::snprintf(out, sizeof out, term_text(1, 2, "%-11.11s: %-19.19s --> %s"), name, name, name);
    std::snprintf(out, sizeof out, term_text(1, 3, "%s is %d van %d"), name, 1, -2);
    std::snprintf(out, sizeof out, detail_text(1, 4, "%ld: %6.2f%% %c"), 5L, 2.5, 'x');
    std::snprintf(out, sizeof out, detail_text(1, 5, "%-*.*s|%u"), 3, 3, name, 7U);
#pragma clang diagnostic pop
    delete[] name;
    const char *plain = detail_text(1, 6, "Geen opmaak");
    FUZZ_DEMAND(plain == text.data());
    return 0;
}
