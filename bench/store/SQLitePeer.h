// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <string>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// What a program writes by hand that keeps records in a SQLite file, with prepared statements and no other layer. It makes
/// the same promises as a store does: a log, and each transaction on the disk when it is over.
class SQLitePeer {
public:
    struct Record {
        qint64 number = 0;
        std::string title;
        int rank = 0;
        double price = 0;
        qint64 added = 0; ///< milliseconds since 1970
        bool isDone = false;
    };
    /// The record that both sides of a comparison make.
    static Record record(int index);

    /// Opens or makes a file; ends the program if anything goes wrong.
    explicit SQLitePeer(const QByteArray &path);
    ~SQLitePeer();
    SQLitePeer(const SQLitePeer &) = delete;
    SQLitePeer &operator=(const SQLitePeer &) = delete;

    /// In one transaction.
    void insert(int count);
    std::vector<Record> all();
    /// By the index; a record without number if there is none.
    Record ranked(int rank);

private:
    sqlite3_stmt *prepared(const char *sql);
    void run(const char *sql);
    static Record read(sqlite3_stmt *statement);

    sqlite3 *m_connection = nullptr;
    sqlite3_stmt *m_insert = nullptr, *m_all = nullptr, *m_ranked = nullptr;
};
