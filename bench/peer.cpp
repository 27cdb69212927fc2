#include "bench/peer.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "data/labelparts.h"

namespace {

constexpr char tables[] = R"(
    PRAGMA journal_mode = OFF;
    CREATE TABLE series (gr INT, co INT, nr INT, first INT, PRIMARY KEY (gr, co, nr)) WITHOUT ROWID;
    CREATE TABLE series_size (gr INT, co INT, nr INT, size INT, PRIMARY KEY (gr, co, nr, size)) WITHOUT ROWID;
    CREATE TABLE block (n INTEGER PRIMARY KEY, gr INT, co INT, nr INT, next INT);
    CREATE TABLE label (n INTEGER PRIMARY KEY, gr INT, co INT, nr INT, supplier INT, size INT, day INT, price INT);
    CREATE TABLE price_set (gr INT, co INT, nr INT, supplier INT, last INT, begins INT, chain INT,
                            PRIMARY KEY (gr, co, nr, supplier, last)) WITHOUT ROWID;
    CREATE TABLE set_size (gr INT, co INT, nr INT, supplier INT, last INT, size INT,
                           PRIMARY KEY (gr, co, nr, supplier, last, size)) WITHOUT ROWID;
    CREATE TABLE price_block (n INTEGER PRIMARY KEY, gr INT, co INT, nr INT, supplier INT, last INT, next INT);
    CREATE TABLE ean (code TEXT PRIMARY KEY, type TEXT, gr INT, co INT, nr INT, size INT) WITHOUT ROWID;
)";
constexpr char indexes[] = R"(
    CREATE INDEX block_next ON block (next);
    CREATE INDEX series_first ON series (first);
    CREATE INDEX price_block_next ON price_block (next);
    CREATE INDEX price_set_chain ON price_set (chain);
    CREATE INDEX ean_size ON ean (gr, co, nr, size);
    ANALYZE;
)";

struct question {
    const char *check;
    std::vector<const char *> parts;  ///< each counts what is wrong
    const char *before = nullptr;     ///< done before it, not measured
};

const std::vector<question> questions = {
    {"labels",
     {"SELECT count(*) FROM block b WHERE gr <> 0 AND NOT EXISTS"
      " (SELECT 1 FROM series s WHERE s.gr = b.gr AND s.co = b.co AND s.nr = b.nr)",
      "SELECT count(*) FROM block b LEFT JOIN block c ON c.n = b.next WHERE b.gr <> 0 AND b.next >= 0"
      " AND (c.n IS NULL OR c.gr <> b.gr OR c.co <> b.co OR c.nr <> b.nr)",
      "SELECT count(*) FROM series s LEFT JOIN block c ON c.n = s.first WHERE s.first >= 0"
      " AND (c.n IS NULL OR c.gr <> s.gr OR c.co <> s.co OR c.nr <> s.nr)",
      "SELECT count(*) FROM block b WHERE gr <> 0 AND"
      " (SELECT count(*) FROM block p WHERE p.next = b.n AND p.gr <> 0) +"
      " (SELECT count(*) FROM series s WHERE s.first = b.n) <> 1"}},
    {"prices",
     {"SELECT count(*) FROM price_block b WHERE gr <> 0 AND NOT EXISTS (SELECT 1 FROM price_set s"
      " WHERE s.gr = b.gr AND s.co = b.co AND s.nr = b.nr AND s.supplier = b.supplier AND s.last = b.last)",
      "SELECT count(*) FROM price_set s WHERE NOT EXISTS"
      " (SELECT 1 FROM series r WHERE r.gr = s.gr AND r.co = s.co AND r.nr = s.nr)",
      "SELECT count(*) FROM price_block b LEFT JOIN price_block c ON c.n = b.next WHERE b.gr <> 0"
      " AND b.next >= 0 AND (c.n IS NULL OR c.gr <> b.gr OR c.co <> b.co OR c.nr <> b.nr)",
      "SELECT count(*) FROM price_block b WHERE gr <> 0 AND"
      " (SELECT count(*) FROM price_block p WHERE p.next = b.n AND p.gr <> 0) +"
      " (SELECT count(*) FROM price_set s WHERE s.chain = b.n) <> 1",
      "SELECT count(*) FROM price_set a JOIN price_set b ON a.gr = b.gr AND a.co = b.co AND a.nr = b.nr"
      " AND a.supplier = b.supplier AND b.last > a.last AND b.begins <= a.last"}},
    {"label_prices",
     {"SELECT count(*) FROM label l WHERE price < 1 OR NOT EXISTS (SELECT 1 FROM price_set s"
      " JOIN set_size z USING (gr, co, nr, supplier, last) WHERE s.gr = l.gr AND s.co = l.co AND s.nr = l.nr"
      " AND s.supplier = l.supplier AND s.begins <= l.day AND s.last >= l.day AND z.size = l.size)"}},
    {"ean",
     {"SELECT count(*) FROM series_size z WHERE NOT EXISTS (SELECT 1 FROM ean e WHERE e.gr = z.gr"
      " AND e.co = z.co AND e.nr = z.nr AND e.size = z.size AND e.type = 'M')",
      "SELECT count(*) FROM ean e WHERE type = 'M' AND NOT EXISTS (SELECT 1 FROM series_size z"
      " WHERE e.gr = z.gr AND e.co = z.co AND e.nr = z.nr AND e.size = z.size)",
      "SELECT count(*) FROM (SELECT 1 FROM ean WHERE type = 'M' GROUP BY gr, co, nr, size"
      " HAVING count(*) > 1)",
      "CREATE INDEX ean_again ON ean (gr, co, nr, size)"},
     "DROP INDEX IF EXISTS ean_again"},
};

class database {
public:
    database() {
        demand(sqlite3_open(":memory:", &base));
    }
    ~database() {
        sqlite3_close(base);
    }
    database(const database &) = delete;
    database &operator=(const database &) = delete;

    void run(const char *sql) {
        demand(sqlite3_exec(base, sql, nullptr, nullptr, nullptr));
    }
    /// The number that a question gives; 0 for one that gives none.
    long ask(const char *sql) {
        sqlite3_stmt *statement = prepare(sql);
        const long number = sqlite3_step(statement) == SQLITE_ROW ? sqlite3_column_int64(statement, 0) : 0;
        demand(sqlite3_finalize(statement));
        return number;
    }
    sqlite3_stmt *prepare(const char *sql) {
        sqlite3_stmt *statement = nullptr;
        demand(sqlite3_prepare_v2(base, sql, -1, &statement, nullptr));
        return statement;
    }
    void demand(int code) {
        if (code != SQLITE_OK && code != SQLITE_DONE) {
            std::fprintf(stderr, "check_bench: %s\n", sqlite3_errmsg(base));
            std::exit(1);
        }
    }

private:
    sqlite3 *base = nullptr;
};

/// Rows of numbers into one table.
class table_rows {
public:
    table_rows(database &into, const char *table, int columns) : base(into) {
        std::string marks = "?";
        for (int n = 1; n < columns; n++) {
            marks += ",?";
        }
        statement =
            base.prepare(("INSERT OR IGNORE INTO " + std::string(table) + " VALUES (" + marks + ")").c_str());
    }
    ~table_rows() {
        sqlite3_finalize(statement);
    }
    table_rows(const table_rows &) = delete;
    table_rows &operator=(const table_rows &) = delete;

    void add(std::initializer_list<std::int64_t> numbers) {
        int place = 0;
        for (const std::int64_t number : numbers) {
            sqlite3_bind_int64(statement, ++place, number);
        }
        write();
    }
    void add_code(const EanRecord &code) {
        sqlite3_bind_text(statement, 1, code.code, sizeof code.code, SQLITE_TRANSIENT);
        sqlite3_bind_text(statement, 2, &code.type, 1, SQLITE_TRANSIENT);
        int place = 2;
        for (const std::int64_t number : {std::int64_t{code.group}, std::int64_t{code.colour},
                                          std::int64_t{code.number}, std::int64_t{code.size}}) {
            sqlite3_bind_int64(statement, ++place, number);
        }
        write();
    }

private:
    void write() {
        base.demand(sqlite3_step(statement));
        sqlite3_reset(statement);
    }
    database &base;
    sqlite3_stmt *statement = nullptr;
};

void load_series(database &base, const Shop &shop) {
    table_rows series(base, "series", 4);
    table_rows sizes(base, "series_size", 4);
    for (const SeriesRecord &record : shop.series) {
        const SeriesKey &key = record.key;
        series.add({key.group, key.colour, key.number, record.first_block});
        for (unsigned size = 1; size <= size_highest; size++) {
            if (record.sizes.test(size)) {
                sizes.add({key.group, key.colour, key.number, size});
            }
        }
    }
}

void load_labels(database &base, const Shop &shop) {
    table_rows blocks(base, "block", 5);
    table_rows labels(base, "label", 8);
    std::int64_t block = 0;
    for (const LabelBlock &content : shop.label_blocks) {
        const SeriesKey &key = content.key;
        blocks.add({block, key.group, key.colour, key.number, content.next});
        for (int slot = 0; slot < labels_per_block; slot++) {
            if (!label_is_empty(content.slots[slot])) {
                const LabelParts parts = label_split(content.slots[slot]);
                labels.add({block * labels_per_block + slot + 1, key.group, key.colour, key.number,
                            parts.supplier, parts.size, parts.date_in, parts.price});
            }
        }
        block++;
    }
}

void load_prices(database &base, const Shop &shop) {
    table_rows sets(base, "price_set", 7);
    table_rows sizes(base, "set_size", 6);
    for (const PriceSetRecord &set : shop.price_sets) {
        const SeriesKey &key = set.key;
        sets.add({key.group, key.colour, key.number, set.supplier, set.end_date, set.begin_date, set.chain});
        for (unsigned size = 1; size <= size_highest; size++) {
            if (set.sizes.test(size)) {
                sizes.add({key.group, key.colour, key.number, set.supplier, set.end_date, size});
            }
        }
    }
    table_rows blocks(base, "price_block", 7);
    std::int64_t number = 0;
    for (const PriceBlock &block : shop.price_blocks) {
        const SeriesKey &key = block.key;
        blocks.add({number++, key.group, key.colour, key.number, block.supplier, block.end_date, block.next});
    }
}

void load(database &base, const Shop &shop) {
    base.run(tables);
    base.run("BEGIN");
    load_series(base, shop);
    load_labels(base, shop);
    load_prices(base, shop);
    table_rows codes(base, "ean", 6);
    for (const EanRecord &code : shop.ean_codes) {
        codes.add_code(code);
    }
    base.run("COMMIT");
    base.run(indexes);
}

}  // namespace

std::vector<peer_answer> peer_answers(const Shop &shop, int rounds,
                                      const std::function<double(const std::function<void()> &)> &time) {
    database base;
    load(base, shop);
    std::vector<peer_answer> answers;
    for (const question &each : questions) {
        peer_answer answer{each.check, 0, 0};
        for (int round = 0; round < rounds; round++) {
            if (each.before != nullptr) {
                base.run(each.before);
            }
            answer.findings = 0;
            const double took = time([&] {
                for (const char *part : each.parts) {
                    answer.findings += base.ask(part);
                }
            });
            answer.milliseconds = round == 0 ? took : std::min(answer.milliseconds, took);
        }
        answers.push_back(answer);
    }
    return answers;
}
