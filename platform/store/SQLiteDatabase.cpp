// SPDX-License-Identifier: MIT
#include "platform/store/SQLiteDatabase.h"

#include "platform/store/NSCoreDataErrors.h"
#include "platform/store/SQLiteFunctions.h"

#include <sqlite3.h>
#include <utility>

namespace zr {

NSError SQLiteFailure::error() const {
    return NSError(NSSQLiteErrorDomain, m_code, {{NSLocalizedDescriptionKey, m_message}});
}

// ---- Statements

SQLiteStatement::SQLiteStatement(SQLiteStatement &&other) noexcept
    : m_database(other.m_database), m_sql(std::move(other.m_sql)),
      m_statement(std::exchange(other.m_statement, nullptr)) {
}

SQLiteStatement::~SQLiteStatement() {
    if (m_statement)
        m_database->giveBack(m_sql, m_statement);
}

SQLiteStatement &SQLiteStatement::bind(int parameter, const SQLiteValue &value) {
    int result = SQLITE_OK;
    // A null pointer would bind NULL instead of nothing at all.
    const char *bytes = value.bytes.isEmpty() ? "" : value.bytes.constData();
    switch (value.type) {
    case SQLiteValue::Null:
        result = sqlite3_bind_null(m_statement, parameter);
        break;
    case SQLiteValue::Integer:
        result = sqlite3_bind_int64(m_statement, parameter, value.integer);
        break;
    case SQLiteValue::Real:
        result = sqlite3_bind_double(m_statement, parameter, value.real);
        break;
    case SQLiteValue::Text:
        result = sqlite3_bind_text64(m_statement, parameter, bytes, sqlite3_uint64(value.bytes.size()),
                                     SQLITE_TRANSIENT, SQLITE_UTF8);
        break;
    case SQLiteValue::Blob:
        result = sqlite3_bind_blob64(m_statement, parameter, bytes, sqlite3_uint64(value.bytes.size()),
                                     SQLITE_TRANSIENT);
        break;
    case SQLiteValue::Predicate:
        result = sqlite3_bind_pointer(m_statement, parameter, const_cast<RowPredicate *>(value.predicate),
                                      RowPredicate::PointerType, nullptr);
        break;
    }
    if (result != SQLITE_OK)
        m_database->raise(result);
    return *this;
}

SQLiteStatement &SQLiteStatement::bindAll(const std::vector<SQLiteValue> &values) {
    int parameter = 0;
    for (const SQLiteValue &value : values)
        bind(++parameter, value);
    return *this;
}

bool SQLiteStatement::step() {
    const int result = sqlite3_step(m_statement);
    if (result == SQLITE_ROW)
        return true;
    if (result != SQLITE_DONE)
        m_database->raise(result);
    return false;
}

void SQLiteStatement::run() {
    while (step())
        ;
    reset();
}

void SQLiteStatement::reset() {
    sqlite3_reset(m_statement);
}

SQLiteValue SQLiteStatement::value(int column) const {
    const auto bytes = [&](const void *data) {
        return QByteArray::fromRawData(static_cast<const char *>(data),
                                       sqlite3_column_bytes(m_statement, column));
    };
    switch (sqlite3_column_type(m_statement, column)) {
    case SQLITE_INTEGER:
        return SQLiteValue::ofInteger(sqlite3_column_int64(m_statement, column));
    case SQLITE_FLOAT:
        return SQLiteValue::ofReal(sqlite3_column_double(m_statement, column));
    case SQLITE_TEXT: {
        const unsigned char *text = sqlite3_column_text(m_statement, column);
        if (!text)
            throw SQLiteFailure(SQLITE_NOMEM, QStringLiteral("out of memory"));
        return SQLiteValue::ofText(bytes(text));
    }
    case SQLITE_BLOB: {
        const void *data = sqlite3_column_blob(m_statement, column);
        if (!data && sqlite3_column_bytes(m_statement, column) > 0)
            throw SQLiteFailure(SQLITE_NOMEM, QStringLiteral("out of memory"));
        return SQLiteValue::ofBlob(bytes(data));
    }
    default:
        return {};
    }
}

qint64 SQLiteStatement::integer(int column) const {
    if (sqlite3_column_type(m_statement, column) != SQLITE_INTEGER)
        throw SQLiteFailure(SQLITE_CORRUPT, QStringLiteral("A value in the store is not an integer."));
    return sqlite3_column_int64(m_statement, column);
}

bool SQLiteStatement::isNull(int column) const {
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

// ---- Databases

SQLiteDatabase::SQLiteDatabase(const QByteArray &path, Access access) {
    // One thread uses the connection at a time, so SQLite needs no lock of its own for each value.
    int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    flags |= access == Access::ReadWrite ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY;
    flags |= access == Access::Immutable ? SQLITE_OPEN_URI : 0;
    const int result = sqlite3_open_v2(path.constData(), &m_connection, flags, nullptr);
    try {
        if (result != SQLITE_OK)
            raise(result);
        configure();
    } catch (...) {
        sqlite3_close_v2(m_connection);
        throw;
    }
}

SQLiteDatabase::~SQLiteDatabase() {
    finalizeAll();
    sqlite3_finalize(m_rollBack);
    sqlite3_close_v2(m_connection);
}

void SQLiteDatabase::configure() {
    constexpr int PatienceInMilliseconds = 5000;
    sqlite3_busy_timeout(m_connection, PatienceInMilliseconds);
    const std::pair<int, int> settings[] = {
        {SQLITE_DBCONFIG_DQS_DDL, 0},        {SQLITE_DBCONFIG_DQS_DML, 0},
        {SQLITE_DBCONFIG_DEFENSIVE, 1},      {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
        {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}, {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
    };
    for (const auto &[setting, on] : settings) {
        const int result = sqlite3_db_config(m_connection, setting, on, nullptr);
        if (result != SQLITE_OK)
            raise(result);
    }
    registerFunctions(*this, m_connection);
    // Prepared now, it needs no memory when there is none.
    const int result =
        sqlite3_prepare_v3(m_connection, "ROLLBACK", -1, SQLITE_PREPARE_PERSISTENT, &m_rollBack, nullptr);
    if (result != SQLITE_OK)
        raise(result);
}

SQLiteStatement SQLiteDatabase::prepared(const QByteArray &sql) {
    if (sqlite3_stmt *idle = m_idle.take(sql))
        return {*this, sql, idle};
    sqlite3_stmt *statement = nullptr;
    const int result = sqlite3_prepare_v3(m_connection, sql.constData(), int(sql.size() + 1),
                                          SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    if (result != SQLITE_OK)
        raise(result);
    return {*this, sql, statement};
}

void SQLiteDatabase::giveBack(const QByteArray &sql, sqlite3_stmt *statement) noexcept {
    constexpr qsizetype MostIdle = 100;
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    if (m_idle.size() >= MostIdle)
        finalizeAll();
    if (m_idle.contains(sql))
        sqlite3_finalize(statement);
    else
        m_idle.insert(sql, statement);
}

void SQLiteDatabase::finalizeAll() noexcept {
    for (sqlite3_stmt *statement : std::as_const(m_idle))
        sqlite3_finalize(statement);
    m_idle.clear();
}

void SQLiteDatabase::execute(const QByteArray &sql) {
    const int result = sqlite3_exec(m_connection, sql.constData(), nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        raise(result);
}

SQLiteValue SQLiteDatabase::value(const QByteArray &sql) {
    SQLiteStatement statement = prepared(sql);
    SQLiteValue value;
    if (statement.step())
        value = statement.value(0);
    value.bytes = QByteArray(value.bytes.constData(), value.bytes.size());
    return value;
}

qint64 SQLiteDatabase::changes() const {
    return sqlite3_changes64(m_connection);
}

bool SQLiteDatabase::isInTransaction() const {
    return !sqlite3_get_autocommit(m_connection);
}

bool SQLiteDatabase::isReadOnly() const {
    return sqlite3_db_readonly(m_connection, "main") == 1;
}

int SQLiteDatabase::parameterLimit() const {
    return sqlite3_limit(m_connection, SQLITE_LIMIT_VARIABLE_NUMBER, -1);
}

bool SQLiteDatabase::rollBack() noexcept {
    // A full disk and the like have ended the transaction already.
    if (isInTransaction()) {
        sqlite3_step(m_rollBack);
        sqlite3_reset(m_rollBack);
    }
    return !isInTransaction();
}

void SQLiteDatabase::raise(int code) {
    if (m_raised)
        std::rethrow_exception(std::exchange(m_raised, nullptr));
    // There is no connection if there was no memory for it, and no message without memory either.
    const char *message = m_connection ? sqlite3_errmsg(m_connection) : sqlite3_errstr(code);
    const int extended = m_connection ? sqlite3_extended_errcode(m_connection) : code;
    throw SQLiteFailure((extended & 0xff) == (code & 0xff) ? extended : code, QString::fromUtf8(message));
}

// ---- Transactions

SQLiteTransaction::SQLiteTransaction(SQLiteDatabase &database) : m_database(database) {
    m_database.rollBack();
    m_database.prepared("BEGIN IMMEDIATE").run();
}

SQLiteTransaction::~SQLiteTransaction() {
    m_database.rollBack();
}

void SQLiteTransaction::commit() {
    m_database.prepared("COMMIT").run();
}

} // namespace zr
