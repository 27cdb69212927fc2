#include "isam/catalog.h"

#include <nl_types.h>

#include <clocale>
#include <cstdint>

namespace {

const nl_catd catalog_closed = reinterpret_cast<nl_catd>(std::intptr_t{-1});
nl_catd term_catalog = catalog_closed;
nl_catd detail_catalog = catalog_closed;

const char *lookup(nl_catd catalog, int set, int number, const char *fallback) {
    return catalog == catalog_closed ? fallback : catgets(catalog, set, number, fallback);
}

void close_one(nl_catd &catalog) {
    if (catalog != catalog_closed) {
        catclose(catalog);
        catalog = catalog_closed;
    }
}

}  // namespace

void catalog_open() {
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
