// SPDX-License-Identifier: MIT
#include "bench/store/SQLitePeer.h"

#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>

namespace {

void check(sqlite3 *connection, bool isFine) {
    if (isFine)
        return;
    std::fprintf(stderr, "%s\n", sqlite3_errmsg(connection));
    std::abort();
}

} // namespace

SQLitePeer::Record SQLitePeer::record(int index) {
    return {0,
            "Record number " + std::to_string(index),
            index,
            index * 0.25,
            1'700'000'000'000 + index,
            index % 3 == 0};
}

SQLitePeer::SQLitePeer(const QByteArray &path) {
    check(m_connection, sqlite3_open(path.constData(), &m_connection) == SQLITE_OK);
    run("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;"
        "CREATE TABLE IF NOT EXISTS record(number INTEGER PRIMARY KEY, title TEXT, rank INTEGER, price REAL, "
        "added INTEGER, "
        "done INTEGER); CREATE INDEX IF NOT EXISTS ranks ON record(rank)");
    m_insert = prepared("INSERT INTO record(title, rank, price, added, done) VALUES(?, ?, ?, ?, ?)");
    m_all = prepared("SELECT number, title, rank, price, added, done FROM record");
    m_ranked = prepared("SELECT number, title, rank, price, added, done FROM record WHERE rank = ?");
}

SQLitePeer::~SQLitePeer() {
    for (sqlite3_stmt *statement : {m_insert, m_all, m_ranked})
        sqlite3_finalize(statement);
    sqlite3_close(m_connection);
}

sqlite3_stmt *SQLitePeer::prepared(const char *sql) {
    sqlite3_stmt *statement = nullptr;
    check(m_connection, sqlite3_prepare_v2(m_connection, sql, -1, &statement, nullptr) == SQLITE_OK);
    return statement;
}

void SQLitePeer::run(const char *sql) {
    check(m_connection, sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK);
}

void SQLitePeer::insert(int count) {
    run("BEGIN IMMEDIATE");
    for (int i = 0; i < count; ++i) {
        const Record next = record(i);
        sqlite3_bind_text(m_insert, 1, next.title.data(), int(next.title.size()), SQLITE_STATIC);
        sqlite3_bind_int(m_insert, 2, next.rank);
        sqlite3_bind_double(m_insert, 3, next.price);
        sqlite3_bind_int64(m_insert, 4, next.added);
        sqlite3_bind_int(m_insert, 5, next.isDone);
        check(m_connection, sqlite3_step(m_insert) == SQLITE_DONE);
        sqlite3_reset(m_insert);
    }
    run("COMMIT");
}

SQLitePeer::Record SQLitePeer::read(sqlite3_stmt *statement) {
    return {sqlite3_column_int64(statement, 0),
            std::string(reinterpret_cast<const char *>(sqlite3_column_text(statement, 1)),
                        size_t(sqlite3_column_bytes(statement, 1))),
            sqlite3_column_int(statement, 2),
            sqlite3_column_double(statement, 3),
            sqlite3_column_int64(statement, 4),
            sqlite3_column_int(statement, 5) != 0};
}

std::vector<SQLitePeer::Record> SQLitePeer::all() {
    std::vector<Record> records;
    while (sqlite3_step(m_all) == SQLITE_ROW)
        records.push_back(read(m_all));
    sqlite3_reset(m_all);
    return records;
}

SQLitePeer::Record SQLitePeer::ranked(int rank) {
    sqlite3_bind_int(m_ranked, 1, rank);
    const Record record = sqlite3_step(m_ranked) == SQLITE_ROW ? read(m_ranked) : Record();
    sqlite3_reset(m_ranked);
    return record;
}
