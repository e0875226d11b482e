// SPDX-License-Identifier: MIT
#include "platform/store/SQLiteValue.h"

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/store/SQLiteDatabase.h"
#include "platform/text/UTF8.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QUrl>
#include <QUuid>
#include <cmath>
#include <limits>
#include <sqlite3.h>

namespace zr {

namespace {

/// UTF-8 in which a surrogate without a partner stands as the three bytes that a character of its number would have.
QByteArray withLoneSurrogates(QStringView text) {
    QByteArray bytes;
    bytes.reserve(3 * text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair = text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        if (text[i].isSurrogate() && !isPair) {
            const char16_t unit = text[i].unicode();
            bytes.append(char(0xe0 | unit >> 12))
                .append(char(0x80 | (unit >> 6 & 0x3f)))
                .append(char(0x80 | (unit & 0x3f)));
            continue;
        }
        bytes.append(text.mid(i, isPair ? 2 : 1).toUtf8());
        i += isPair;
    }
    return bytes;
}

/// Whether a surrogate stands at the index, as three bytes.
bool isSurrogateAt(QByteArrayView bytes, qsizetype at) {
    return at + 2 < bytes.size() && uchar(bytes[at]) == 0xed && uchar(bytes[at + 1]) >= 0xa0 &&
           uchar(bytes[at + 1]) < 0xc0 && uchar(bytes[at + 2]) >= 0x80 && uchar(bytes[at + 2]) < 0xc0;
}

QString stringWithLoneSurrogates(QByteArrayView bytes) {
    QString text;
    qsizetype plain = 0;
    const auto takePlain = [&](qsizetype end) {
        const QString part = NSStringFromUTF8(bytes.sliced(plain, end - plain));
        if (part.isNull())
            throw SQLiteFailure(SQLITE_CORRUPT, QStringLiteral("A text is not UTF-8."));
        text += part;
    };
    for (qsizetype at = 0; at < bytes.size(); ++at) {
        if (!isSurrogateAt(bytes, at))
            continue;
        takePlain(at);
        text += QChar(char16_t(0xd000 | (uchar(bytes[at + 1]) & 0x3f) << 6 | (uchar(bytes[at + 2]) & 0x3f)));
        at += 2;
        plain = at + 1;
    }
    takePlain(bytes.size());
    return text;
}

std::optional<SQLiteValue> storedInteger(const QVariant &value, qint64 least, qint64 most) {
    if (kindOf(value) != ValueKind::Number)
        return {};
    const Number number = numberOf(value);
    if (number.sort != Number::Signed || number.whole < least || number.whole > most)
        return {};
    return SQLiteValue::ofInteger(number.whole);
}

std::optional<SQLiteValue> storedReal(const QVariant &value, bool isFloat) {
    if (kindOf(value) != ValueKind::Number)
        return {};
    const double number = isFloat ? double(float(numberOf(value).asDouble())) : numberOf(value).asDouble();
    return std::isnan(number) ? std::nullopt : std::optional(SQLiteValue::ofReal(number));
}

template <typename Integer>
std::optional<SQLiteValue> storedInteger(const QVariant &value) {
    return storedInteger(value, std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max());
}

[[noreturn]] void raiseDamaged(const char *what) {
    throw SQLiteFailure(SQLITE_CORRUPT,
                        QStringLiteral("A value in the store is not %1.").arg(QLatin1String(what)));
}

void require(bool condition, const char *what) {
    if (!condition)
        raiseDamaged(what);
}

template <typename Integer>
Integer integerOf(const SQLiteValue &stored) {
    require(stored.type == SQLiteValue::Integer && stored.integer >= std::numeric_limits<Integer>::min() &&
                stored.integer <= std::numeric_limits<Integer>::max(),
            "an integer of its type");
    return Integer(stored.integer);
}

QVariant decimalOf(const SQLiteValue &stored) {
    require(stored.type == SQLiteValue::Text, "a decimal number");
    const QString text = QString::fromLatin1(stored.bytes);
    const NSDecimalNumber number(text);
    require(number.stringValue() == text, "a decimal number");
    return QVariant::fromValue(number);
}

QVariant dateOf(const SQLiteValue &stored) {
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(integerOf<qint64>(stored), Qt::UTC);
    require(date.isValid() && date.toMSecsSinceEpoch() == stored.integer, "a date");
    return date;
}

QByteArray bytesOf(const SQLiteValue &stored) {
    require(stored.type == SQLiteValue::Blob, "data");
    return stored.bytes.isEmpty() ? QByteArray("")
                                  : QByteArray(stored.bytes.constData(), stored.bytes.size());
}

QVariant unarchived(const SQLiteValue &stored) {
    try {
        return NSKeyedUnarchiver::unarchiveObjectWithData(bytesOf(stored));
    } catch (const NSException &) {
        raiseDamaged("an archive");
    }
}

} // namespace

SQLiteValue SQLiteValue::ofText(const QString &value) {
    const QByteArray bytes = NSDataUsingUTF8(value);
    return ofText(bytes.isNull() ? withLoneSurrogates(value) : bytes);
}

QString SQLiteValue::string() const {
    if (type != Text)
        raiseDamaged("a text");
    const QString text = NSStringFromUTF8(bytes);
    return text.isNull() ? stringWithLoneSurrogates(bytes) : text;
}

const char *columnType(NSAttributeType type) {
    switch (type) {
    case NSAttributeType::Integer16:
    case NSAttributeType::Integer32:
    case NSAttributeType::Integer64:
    case NSAttributeType::Boolean:
    case NSAttributeType::Date:
        return "INTEGER";
    case NSAttributeType::Double:
    case NSAttributeType::Float:
        return "REAL";
    case NSAttributeType::Decimal:
    case NSAttributeType::String:
    case NSAttributeType::URI:
        return "TEXT";
    case NSAttributeType::Data:
    case NSAttributeType::UUID:
    case NSAttributeType::Transformable:
        return "BLOB";
    }
    return "BLOB";
}

std::optional<SQLiteValue> storedValue(NSAttributeType type, const QVariant &value) {
    if (NSIsNil(value))
        return SQLiteValue();
    const ValueKind kind = kindOf(value);
    const auto given = [&](bool fits, auto make) {
        return fits ? std::optional<SQLiteValue>(make()) : std::nullopt;
    };
    switch (type) {
    case NSAttributeType::Integer16:
        return storedInteger<qint16>(value);
    case NSAttributeType::Integer32:
        return storedInteger<qint32>(value);
    case NSAttributeType::Integer64:
        return storedInteger<qint64>(value);
    case NSAttributeType::Boolean:
        return storedInteger(value, 0, 1);
    case NSAttributeType::Double:
    case NSAttributeType::Float:
        return storedReal(value, type == NSAttributeType::Float);
    case NSAttributeType::Decimal:
        return given(kind == ValueKind::Decimal,
                     [&] { return SQLiteValue::ofText(held<NSDecimalNumber>(value).stringValue()); });
    case NSAttributeType::String:
        return given(kind == ValueKind::String, [&] { return SQLiteValue::ofText(held<QString>(value)); });
    case NSAttributeType::Date:
        return given(kind == ValueKind::Date,
                     [&] { return SQLiteValue::ofInteger(held<QDateTime>(value).toMSecsSinceEpoch()); });
    case NSAttributeType::Data:
        return given(kind == ValueKind::Data, [&] { return SQLiteValue::ofBlob(held<QByteArray>(value)); });
    case NSAttributeType::URI:
        return given(kind == ValueKind::URL && held<QUrl>(value).isValid(),
                     [&] { return SQLiteValue::ofText(held<QUrl>(value).toEncoded()); });
    case NSAttributeType::UUID:
        return given(value.typeId() == QMetaType::QUuid,
                     [&] { return SQLiteValue::ofBlob(held<QUuid>(value).toRfc4122()); });
    case NSAttributeType::Transformable:
        try {
            return SQLiteValue::ofBlob(NSKeyedArchiver::archivedDataWithRootObject(value));
        } catch (const NSException &) {
            return {};
        }
    }
    return {};
}

QVariant attributeValue(NSAttributeType type, const SQLiteValue &stored) {
    if (stored.type == SQLiteValue::Null)
        return {};
    switch (type) {
    case NSAttributeType::Integer16:
        return int(integerOf<qint16>(stored));
    case NSAttributeType::Integer32:
        return integerOf<qint32>(stored);
    case NSAttributeType::Integer64:
        return integerOf<qint64>(stored);
    case NSAttributeType::Boolean:
        require(stored.type == SQLiteValue::Integer && (stored.integer == 0 || stored.integer == 1),
                "a boolean");
        return stored.integer == 1;
    case NSAttributeType::Double:
    case NSAttributeType::Float:
        require(stored.type == SQLiteValue::Real, "a floating-point number");
        return type == NSAttributeType::Float ? QVariant(float(stored.real)) : QVariant(stored.real);
    case NSAttributeType::Decimal:
        return decimalOf(stored);
    case NSAttributeType::String:
        return stored.string();
    case NSAttributeType::Date:
        return dateOf(stored);
    case NSAttributeType::Data:
        return bytesOf(stored);
    case NSAttributeType::URI: {
        require(stored.type == SQLiteValue::Text, "a URL");
        const QUrl url = QUrl::fromEncoded(bytesOf(SQLiteValue::ofBlob(stored.bytes)), QUrl::StrictMode);
        require(url.isValid(), "a URL");
        return url;
    }
    case NSAttributeType::UUID:
        require(stored.type == SQLiteValue::Blob && stored.bytes.size() == 16, "a UUID");
        return QUuid::fromRfc4122(stored.bytes);
    case NSAttributeType::Transformable:
        return unarchived(stored);
    }
    return {};
}

} // namespace zr
