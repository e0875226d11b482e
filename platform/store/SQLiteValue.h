// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSPropertyDescription.h"

#include <QByteArray>
#include <QVariant>
#include <optional>

namespace zr {

class RowPredicate;

/// A value as SQLite keeps it, or a parameter of a statement.
struct SQLiteValue {
    enum Type { Null, Integer, Real, Text, Blob, Predicate } type = Null;
    qint64 integer = 0;
    double real = 0;
    /// Of a text or blob. What was read from a row is valid as long as the row.
    QByteArray bytes = {};
    const RowPredicate *predicate = nullptr;

    static SQLiteValue ofInteger(qint64 value) { return {.type = Integer, .integer = value}; }
    static SQLiteValue ofReal(double value) { return {.type = Real, .real = value}; }
    static SQLiteValue ofText(const QByteArray &value) { return {.type = Text, .bytes = value}; }
    static SQLiteValue ofText(const QString &value);
    static SQLiteValue ofBlob(const QByteArray &value) { return {.type = Blob, .bytes = value}; }
    static SQLiteValue ofPredicate(const RowPredicate *value) {
        return {.type = Predicate, .predicate = value};
    }

    /// The string of a text. Every string comes back as it was: a surrogate without a partner is kept as three bytes.
    QString string() const;
};

/// The column type of an attribute's values.
const char *columnType(NSAttributeType type);

/// An attribute's value as the store keeps it: nil as NULL, integers, booleans and dates (milliseconds since 1970 UTC) as
/// INTEGER, floating-point numbers as REAL, decimals, strings and URLs as TEXT, data, UUIDs (16 bytes) and archives of
/// transformable values as BLOB. Nothing for a value that the attribute can't have, not-a-number among them.
std::optional<SQLiteValue> storedValue(NSAttributeType type, const QVariant &value);

/// The other way round. Raises SQLiteFailure for what storedValue() would never have written.
QVariant attributeValue(NSAttributeType type, const SQLiteValue &stored);

} // namespace zr
