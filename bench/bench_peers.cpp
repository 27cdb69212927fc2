#include <lmdb.h>
#include <sqlite3.h>

#include <algorithm>
#include <boost/endian/conversion.hpp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>

#include "bench/bench.h"

namespace {

void bind(sqlite3_stmt *statement, const bench_record &record) {
    sqlite3_bind_int(statement, 1, record.high);
    sqlite3_bind_int(statement, 2, record.low);
    sqlite3_bind_text(statement, 3, record.name, sizeof record.name, SQLITE_STATIC);
    sqlite3_bind_blob(statement, 4, record.rest, sizeof record.rest, SQLITE_STATIC);
}

bool fetch(sqlite3_stmt *statement, bench_record &out) {
    if (sqlite3_step(statement) != SQLITE_ROW) {
        return false;
    }
    out.high = sqlite3_column_int(statement, 0);
    out.low = sqlite3_column_int(statement, 1);
    std::memcpy(out.name, sqlite3_column_text(statement, 2), sizeof out.name);
    std::memcpy(out.rest, sqlite3_column_blob(statement, 3), sizeof out.rest);
    return true;
}

void demand(int result, const char *what) {
    if (result != MDB_SUCCESS) {
        bench_fail(what, mdb_strerror(result));
    }
}

/// Key 1 in an order that plain bytes have.
struct lmdb_key {
    boost::endian::big_int32_t high;
    boost::endian::big_int32_t low;
};

lmdb_key key1_of(const bench_record &record) {
    return {boost::endian::big_int32_t(record.high), boost::endian::big_int32_t(record.low)};
}

MDB_val value(const void *bytes, std::size_t size) {
    return {size, const_cast<void *>(bytes)};  // the library doesn't write through it
}

/// Key 1 leads to the record, key 2 to key 1.
void put(const lmdb_side &side, MDB_txn *writing, const bench_record &record) {
    const lmdb_key key = key1_of(record);
    MDB_val k1 = value(&key, sizeof key);
    MDB_val data = value(&record, sizeof record);
    demand(mdb_put(writing, side.key1, &k1, &data, 0), "mdb_put");
    MDB_val k2 = value(record.name, sizeof record.name);
    demand(mdb_put(writing, side.key2, &k2, &k1, 0), "mdb_put");
}

}  // namespace

void sqlite_side::run(const char *sql) {
    char *why = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &why) != SQLITE_OK) {
        bench_fail(sql, why);
    }
}

void sqlite_side::open(const std::string &path) {
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) {
        bench_fail(path.c_str(), sqlite3_errmsg(db));
    }
    run("PRAGMA cache_size=-65536; PRAGMA synchronous=OFF; PRAGMA journal_mode=MEMORY");
}

void sqlite_side::load(const std::vector<std::uint32_t> &ranks) {
    run("CREATE TABLE t(high INTEGER, low INTEGER, name TEXT, rest BLOB); BEGIN");
    sqlite3_prepare_v2(db, "INSERT INTO t VALUES(?,?,?,?)", -1, &insert, nullptr);
    for (const std::uint32_t rank : ranks) {
        add(bench_record_at(rank));
    }
    sqlite3_finalize(insert);
    insert = nullptr;
    run("COMMIT");
}

void sqlite_side::index() {
    run("BEGIN; CREATE UNIQUE INDEX k1 ON t(high,low); CREATE INDEX k2 ON t(name); COMMIT");
}

void sqlite_side::drop_indexes() {
    run("DROP INDEX IF EXISTS k1; DROP INDEX IF EXISTS k2");
}

void sqlite_side::prepare() {
    run("BEGIN");
    sqlite3_prepare_v2(db, "SELECT * FROM t WHERE high=? AND low=?", -1, &by_key1, nullptr);
    sqlite3_prepare_v2(db, "SELECT * FROM t WHERE name=?", -1, &by_key2, nullptr);
    sqlite3_prepare_v2(db, "INSERT INTO t VALUES(?,?,?,?)", -1, &insert, nullptr);
}

void sqlite_side::prepare_writes() {
    run("PRAGMA journal_mode=WAL");
    sqlite3_prepare_v2(db, "SELECT * FROM t WHERE high=? AND low=?", -1, &by_key1, nullptr);
    sqlite3_prepare_v2(db, "INSERT INTO t VALUES(?,?,?,?)", -1, &insert, nullptr);
    sqlite3_prepare_v2(db, "UPDATE t SET rest=? WHERE high=? AND low=?", -1, &update, nullptr);
}

bool sqlite_side::rewrite(const bench_record &key) {
    bench_record record;
    run("BEGIN IMMEDIATE");
    const bool found = find1(key, record);
    sqlite3_bind_blob(update, 1, record.rest, sizeof record.rest, SQLITE_STATIC);
    sqlite3_bind_int(update, 2, key.high);
    sqlite3_bind_int(update, 3, key.low);
    const bool done = found && sqlite3_step(update) == SQLITE_DONE;
    sqlite3_reset(update);
    run("COMMIT");
    return done;
}

void sqlite_side::close() {
    for (sqlite3_stmt **statement : {&by_key1, &by_key2, &insert, &walk, &update}) {
        sqlite3_finalize(*statement);
        *statement = nullptr;
    }
    if (sqlite3_get_autocommit(db) == 0) {
        run("COMMIT");
    }
    sqlite3_close(db);
    db = nullptr;
}

bool sqlite_side::find1(const bench_record &key, bench_record &out) {
    sqlite3_bind_int(by_key1, 1, key.high);
    sqlite3_bind_int(by_key1, 2, key.low);
    const bool found = fetch(by_key1, out);
    sqlite3_reset(by_key1);
    return found;
}

bool sqlite_side::find2(const bench_record &key, bench_record &out) {
    sqlite3_bind_text(by_key2, 1, key.name, sizeof key.name, SQLITE_STATIC);
    const bool found = fetch(by_key2, out);
    sqlite3_reset(by_key2);
    return found;
}

void sqlite_side::add(const bench_record &record) {
    bind(insert, record);
    if (sqlite3_step(insert) != SQLITE_DONE) {
        bench_fail("INSERT", sqlite3_errmsg(db));
    }
    sqlite3_reset(insert);
}

void sqlite_side::start_walk(const char *order) {
    sqlite3_finalize(walk);
    const std::string sql = std::string("SELECT * FROM t ") + order;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &walk, nullptr) != SQLITE_OK) {
        bench_fail(sql.c_str(), sqlite3_errmsg(db));
    }
}

bool sqlite_side::step(bench_record &out) {
    if (fetch(walk, out)) {
        return true;
    }
    sqlite3_reset(walk);
    return fetch(walk, out);
}

void lmdb_side::make(const std::string &path, const std::vector<std::uint32_t> &ranks) {
    MDB_env *of = nullptr;
    MDB_txn *writing = nullptr;
    demand(mdb_env_create(&of), "mdb_env_create");
    mdb_env_set_maxdbs(of, 2);
    mdb_env_set_mapsize(of, (ranks.size() + 10000) * 4000);
    demand(mdb_env_open(of, path.c_str(), MDB_NOSUBDIR | MDB_NOSYNC, 0600), path.c_str());
    demand(mdb_txn_begin(of, nullptr, 0, &writing), "mdb_txn_begin");
    demand(mdb_dbi_open(writing, "k1", MDB_CREATE, &key1), "k1");
    demand(mdb_dbi_open(writing, "k2", MDB_CREATE, &key2), "k2");
    for (const std::uint32_t rank : ranks) {
        put(*this, writing, bench_record_at(rank));
    }
    demand(mdb_txn_commit(writing), "mdb_txn_commit");
    MDB_txn *reading = nullptr;
    MDB_cursor *at = nullptr;
    demand(mdb_txn_begin(of, nullptr, MDB_RDONLY, &reading), "mdb_txn_begin");
    demand(mdb_cursor_open(reading, key1, &at), "mdb_cursor_open");
    env = of;
    txn = reading;
    cursor = at;
}

bool lmdb_side::find1(const bench_record &key, bench_record &out) {
    const lmdb_key k = key1_of(key);
    MDB_val k1 = value(&k, sizeof k);
    MDB_val data;
    if (mdb_get(static_cast<MDB_txn *>(txn), key1, &k1, &data) != MDB_SUCCESS) {
        return false;
    }
    std::memcpy(&out, data.mv_data, sizeof out);
    return true;
}

bool lmdb_side::find2(const bench_record &key, bench_record &out) {
    MDB_val k2 = value(key.name, sizeof key.name);
    MDB_val k1;
    MDB_val data;
    if (mdb_get(static_cast<MDB_txn *>(txn), key2, &k2, &k1) != MDB_SUCCESS ||
        mdb_get(static_cast<MDB_txn *>(txn), key1, &k1, &data) != MDB_SUCCESS) {
        return false;
    }
    std::memcpy(&out, data.mv_data, sizeof out);
    return true;
}

bool lmdb_side::step(bench_record &out) {
    MDB_val key;
    MDB_val data;
    auto *at = static_cast<MDB_cursor *>(cursor);
    if (mdb_cursor_get(at, &key, &data, MDB_NEXT) != MDB_SUCCESS &&
        mdb_cursor_get(at, &key, &data, MDB_FIRST) != MDB_SUCCESS) {
        return false;
    }
    std::memcpy(&out, data.mv_data, sizeof out);
    return true;
}

void lmdb_side::add(const bench_record &record) {
    MDB_txn *writing = nullptr;
    demand(mdb_txn_begin(static_cast<MDB_env *>(env), nullptr, 0, &writing), "mdb_txn_begin");
    put(*this, writing, record);
    demand(mdb_txn_commit(writing), "mdb_txn_commit");
}

bool lmdb_side::rewrite(const bench_record &wanted) {
    MDB_txn *writing = nullptr;
    demand(mdb_txn_begin(static_cast<MDB_env *>(env), nullptr, 0, &writing), "mdb_txn_begin");
    const lmdb_key key = key1_of(wanted);
    MDB_val k1 = value(&key, sizeof key);
    MDB_val data;
    bench_record record{};
    const bool found = mdb_get(writing, key1, &k1, &data) == MDB_SUCCESS;
    if (found) {
        std::memcpy(&record, data.mv_data, sizeof record);
        data = value(&record, sizeof record);
        demand(mdb_put(writing, key1, &k1, &data, 0), "mdb_put");
    }
    demand(mdb_txn_commit(writing), "mdb_txn_commit");
    return found;
}

void lmdb_side::end_reading() {
    if (txn != nullptr) {
        mdb_cursor_close(static_cast<MDB_cursor *>(cursor));
        mdb_txn_abort(static_cast<MDB_txn *>(txn));
        txn = nullptr;
    }
}

void lmdb_side::close() {
    end_reading();
    mdb_env_close(static_cast<MDB_env *>(env));
}

// ---- What both sides share

void bench_fail(const char *what, const char *why) {
    std::fprintf(stderr, "%s: %s\n", what, why == nullptr ? "?" : why);
    std::_Exit(1);
}

bench_record bench_record_at(std::uint32_t rank) {
    bench_record record;
    record.high = static_cast<std::int32_t>(rank / 1000);
    record.low = static_cast<std::int32_t>(rank % 1000);
    // Names of letters, spread evenly: a mixed number, which is another one for each rank.
    std::uint64_t mixed = (rank + 1) * 0x9E3779B97F4A7C15U;
    mixed ^= mixed >> 29;
    for (char &c : record.name) {
        c = static_cast<char>('A' + (mixed & 15));
        mixed >>= 4;
    }
    std::memset(record.rest, static_cast<int>('a' + rank % 26), sizeof record.rest);
    return record;
}

std::vector<std::uint32_t> bench_shuffled(std::uint32_t of) {
    std::vector<std::uint32_t> ranks(of);
    std::iota(ranks.begin(), ranks.end(), 0U);
    std::mt19937 random(1);
    std::shuffle(ranks.begin(), ranks.end(), random);
    return ranks;
}
