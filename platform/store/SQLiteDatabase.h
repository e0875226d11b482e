// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/store/SQLiteValue.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <exception>
#include <memory>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace zr {

class SQLiteDatabase;

/// What SQLite reports, or would report if it knew what the store's values have to be.
class SQLiteFailure : public std::exception {
public:
    SQLiteFailure(int code, const QString &message)
        : m_code(code), m_message(message), m_what(message.toUtf8()) {}

    /// SQLite's extended result code.
    int code() const { return m_code; }
    /// The code without what extends it.
    int primaryCode() const { return m_code & 0xff; }
    /// The failure as the cause of another error.
    NSError error() const;
    const char *what() const noexcept override { return m_what.constData(); }

private:
    int m_code;
    QString m_message;
    QByteArray m_what;
};

/// A prepared statement on loan from its database, to which it goes back reset. Parameters and columns count from 1 and
/// from 0, as SQLite has it. Everything raises SQLiteFailure.
class SQLiteStatement {
public:
    SQLiteStatement(SQLiteStatement &&other) noexcept;
    SQLiteStatement &operator=(SQLiteStatement &&) = delete;
    ~SQLiteStatement();

    SQLiteStatement &bind(int parameter, const SQLiteValue &value);
    SQLiteStatement &bind(int parameter, qint64 value) {
        return bind(parameter, SQLiteValue::ofInteger(value));
    }
    SQLiteStatement &bindAll(const std::vector<SQLiteValue> &values);
    /// Goes on to the next row; false if there is none.
    bool step();
    /// Runs to its end, and is then ready to run again.
    void run();
    /// Makes it ready to run again; parameters stay.
    void reset();

    SQLiteValue value(int column) const;
    qint64 integer(int column) const;
    bool isNull(int column) const;

private:
    friend class SQLiteDatabase;
    SQLiteStatement(SQLiteDatabase &database, const QByteArray &sql, sqlite3_stmt *statement)
        : m_database(&database), m_sql(sql), m_statement(statement) {}

    SQLiteDatabase *m_database;
    QByteArray m_sql;
    sqlite3_stmt *m_statement;
};

/// A connection to a database file, with the statements that were prepared on it. One thread at a time.
///
/// It is set up so that nothing in a file can make it do what its statements don't say: no strings in double quotes, no
/// functions in the schema that change anything, no triggers, no views. Values get into statements as parameters only.
class SQLiteDatabase {
public:
    enum class Access {
        ReadOnly,
        Immutable, ///< read-only, of a file that nobody changes; the path is a URI
        ReadWrite, ///< the file is made if there is none
    };
    /// Opens a file. Raises SQLiteFailure.
    SQLiteDatabase(const QByteArray &path, Access access);
    ~SQLiteDatabase();
    SQLiteDatabase(const SQLiteDatabase &) = delete;
    SQLiteDatabase &operator=(const SQLiteDatabase &) = delete;

    SQLiteStatement prepared(const QByteArray &sql);
    /// Runs statements that have no parameters and give no rows.
    void execute(const QByteArray &sql);
    /// The only value of the only row.
    SQLiteValue value(const QByteArray &sql);
    /// How many rows the last statement has changed.
    qint64 changes() const;
    bool isInTransaction() const;
    bool isReadOnly() const;
    /// How many parameters a statement may have.
    int parameterLimit() const;

    /// Ends a transaction without its changes, whatever memory and disk are left; false if it goes on.
    bool rollBack() noexcept;
    /// What a function of ours raised inside a statement; the statement raises it again.
    void setRaised(std::exception_ptr raised) { m_raised = std::move(raised); }

private:
    friend class SQLiteStatement;
    void configure();
    void giveBack(const QByteArray &sql, sqlite3_stmt *statement) noexcept;
    void finalizeAll() noexcept;
    [[noreturn]] void raise(int code);

    sqlite3 *m_connection = nullptr;
    sqlite3_stmt *m_rollBack = nullptr;
    QHash<QByteArray, sqlite3_stmt *> m_idle;
    std::exception_ptr m_raised;
};

/// A write transaction: no other connection writes meanwhile. What isn't committed is undone at its end.
class SQLiteTransaction {
public:
    explicit SQLiteTransaction(SQLiteDatabase &database);
    ~SQLiteTransaction();
    SQLiteTransaction(const SQLiteTransaction &) = delete;
    SQLiteTransaction &operator=(const SQLiteTransaction &) = delete;

    void commit();

private:
    SQLiteDatabase &m_database;
};

} // namespace zr
