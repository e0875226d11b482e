// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"

#include "ZRKit/Values/NSDate+ZRKit.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NumberText.h"
#include "platform/values/ValueKind.h"

#include <QStringDecoder>
#include <QStringEncoder>
#include <QUrl>

using namespace zr;

namespace ZRKit {

namespace {

bool isTrueObject(const QVariant &value) {
    for (const char *name : {"count", "length"}) {
        if (const auto size = NSObjectRuntime::answer(value, name))
            return toBool(*size);
    }
    return true;
}

/// stringValue, else description, else the empty string.
QString textOf(const QVariant &value, ValueKind kind) {
    if (kind == ValueKind::Object || kind == ValueKind::Gadget) {
        for (const char *name : {"stringValue", "description"}) {
            if (const auto text = NSObjectRuntime::answer(value, name))
                return text->toString();
        }
        return QStringLiteral("");
    }
    return NSObjectRuntime::hasStringValue(value) ? NSObjectRuntime::stringValue(value)
                                                  : NSObjectRuntime::description(value);
}

/// A component's integer; -1, which no array has, if that is 0 and the component is not "0".
qint64 indexIn(QStringView component) {
    const qint64 index = NumberText::longLongValue(component);
    return index == 0 && component != u"0" ? -1 : index;
}

/// Follows the path from a value to one inside it; nullptr if it leads nowhere. `made` holds a value that
/// isn't stored as one.
const QVariant *walk(const QVariant *current, QStringView path, QVariant &made) {
    while (!path.isEmpty()) {
        const qsizetype slash = path.indexOf(u'/');
        const QStringView component = slash < 0 ? path : path.first(slash);
        path = slash < 0 ? QStringView() : path.sliced(slash + 1);
        if (component.isEmpty())
            continue;
        const ValueKind kind = kindOf(*current);
        QVariant next;
        if (kind == ValueKind::Dictionary) {
            // The key only lives for the search, so it needs no memory of its own.
            current = entryOf(*current, QString::fromRawData(component.data(), component.size()), next);
        } else if (kind != ValueKind::Array) {
            return nullptr;
        } else if (component == u"*" || component == u"?") {
            for (const QVariantList elements = arrayOf(*current); const QVariant &element : elements) {
                QVariant inner;
                if (const QVariant *found = walk(&element, path, inner); found && !NSIsNil(*found)) {
                    made = *found;
                    return &made;
                }
            }
            return nullptr;
        } else {
            current = elementOf(*current, indexIn(component), next);
        }
        if (!current)
            return nullptr;
        if (current == &next) {
            made = std::move(next);
            current = &made;
        }
    }
    return current;
}

void dumpValue(const QVariant &given, const QString &path, QStringList &lines) {
    QVariant made;
    const QVariant &value = plain(given, made);
    const QString head = path.isEmpty() ? QStringLiteral("/") : path;
    switch (kindOf(value)) {
    case ValueKind::Dictionary: {
        const DictionaryEntries entries = entriesOf(value);
        lines << QStringLiteral("%1 = {%2}").arg(head, QString::number(entries.size()));
        for (const auto &[key, entry] : entries)
            dumpValue(entry, path + QLatin1Char('/') + key, lines);
        return;
    }
    case ValueKind::Array: {
        const QVariantList elements = arrayOf(value);
        lines << QStringLiteral("%1 = [%2]").arg(head, QString::number(elements.size()));
        for (qsizetype i = 0; i < elements.size(); ++i)
            dumpValue(elements[i], path + QLatin1Char('/') + QString::number(i), lines);
        return;
    }
    case ValueKind::String: {
        QString text = held<QString>(value);
        text.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
        lines << head + QStringLiteral(" = \"") + text + QLatin1Char('"');
        return;
    }
    default:
        lines << head + QStringLiteral(" = ") + NSObjectRuntime::description(value);
    }
}

} // namespace

bool toBool(const QVariant &receiver) {
    return boolValue(receiver);
}

qint64 toInt(const QVariant &receiver) {
    return longLongValue(receiver);
}

qint64 toLong(const QVariant &receiver) {
    return longLongValue(receiver);
}

qint64 toLongLong(const QVariant &receiver) {
    return longLongValue(receiver);
}

quint64 toUnsignedLongLong(const QVariant &receiver) {
    return unsignedLongLongValue(receiver);
}

float toFloat(const QVariant &receiver) {
    return floatValue(receiver);
}

double toDouble(const QVariant &receiver) {
    return doubleValue(receiver);
}

QString toString(const QVariant &given) {
    QVariant made;
    const QVariant &receiver = plain(given, made);
    const ValueKind kind = kindOf(receiver);
    switch (kind) {
    case ValueKind::Nil:
        return {};
    case ValueKind::Null:
        return QStringLiteral("");
    case ValueKind::String:
        return held<QString>(receiver);
    case ValueKind::Data: {
        // A byte order mark is a character like any other.
        QStringDecoder decoder(QStringDecoder::Utf8,
                               QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
        const QString text = decoder(held<QByteArray>(receiver));
        return decoder.hasError() ? QString() : text.isNull() ? QStringLiteral("") : text;
    }
    case ValueKind::Date:
        return unixTimeStampString(held<QDateTime>(receiver));
    default:
        return textOf(receiver, kind);
    }
}

QString toStringNotEmpty(const QVariant &receiver) {
    const QString text = toString(receiver);
    return text.isEmpty() ? QString() : text;
}

QString stringDefault(const QVariant &given, const AnyText &defaultString) {
    QVariant made;
    const QVariant &receiver = plain(given, made);
    const ValueKind kind = kindOf(receiver);
    if (kind == ValueKind::Nil)
        return {};
    const QString text = textOf(receiver, kind);
    return text.isEmpty() ? defaultString : text;
}

QByteArray toData(const QVariant &given) {
    QVariant made;
    const QVariant &receiver = plain(given, made);
    const ValueKind kind = kindOf(receiver);
    if (kind == ValueKind::Data)
        return held<QByteArray>(receiver);
    const QString text = toString(receiver);
    if (text.isNull())
        return {};
    // Unlike toUtf8(), this makes U+FFFD of a surrogate without a partner.
    QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    const QByteArray data = encoder(text);
    return data.isNull() ? QByteArray("") : data;
}

QDateTime toDate(const QVariant &given) {
    QVariant made;
    const QVariant &receiver = plain(given, made);
    switch (kindOf(receiver)) {
    case ValueKind::Date:
        return held<QDateTime>(receiver);
    case ValueKind::String: {
        const auto &text = held<QString>(receiver);
        const bool isHuman = text.contains(QLatin1Char('-')) || text.contains(QLatin1Char(':'));
        return isHuman ? dateFromHumanString(text) : dateFromUNIXTimestampString(text);
    }
    case ValueKind::Number:
    case ValueKind::Decimal:
        return dateFromUNIXTimestampObject(receiver);
    default:
        return {};
    }
}

bool isTrue(const QVariant &given) {
    QVariant made;
    const QVariant &receiver = plain(given, made);
    switch (kindOf(receiver)) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return false;
    case ValueKind::Number:
        return boolValue(receiver);
    case ValueKind::Decimal:
        return boolValue(receiver) && !held<NSDecimalNumber>(receiver).isNaN();
    case ValueKind::URL:
        return held<QUrl>(receiver).isValid(); // an invalid one has no text
    case ValueKind::String:
        return !held<QString>(receiver).isEmpty();
    case ValueKind::Data:
        return !held<QByteArray>(receiver).isEmpty();
    case ValueKind::Array:
    case ValueKind::Dictionary:
    case ValueKind::Set:
        return countOf(receiver) != 0;
    case ValueKind::Object:
    case ValueKind::Gadget:
        return isTrueObject(receiver);
    case ValueKind::Date:
    case ValueKind::Other:
        return true;
    }
    return true;
}

bool isNotNull(const QVariant &receiver) {
    const ValueKind kind = kindOf(receiver);
    return kind != ValueKind::Null && kind != ValueKind::Nil;
}

QVariant nilOrObject(const QVariant &receiver) {
    return isNotNull(receiver) ? receiver : QVariant();
}

QVariant zrNil(const QVariant &receiver) {
    return nilOrObject(receiver);
}

bool isNotEmpty(const QVariant &given) {
    QVariant made;
    const QVariant &receiver = plain(given, made);
    switch (kindOf(receiver)) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return false;
    case ValueKind::String:
    case ValueKind::Array:
    case ValueKind::Dictionary:
        return isTrue(receiver);
    default:
        return toBool(NSObjectRuntime::perform(receiver, NSSelector("len")));
    }
}

QString hashHexWith32Digits(const QVariant &receiver) {
    if (NSIsNil(receiver))
        return {};
    return QString::number(qulonglong(NSObjectRuntime::hash(receiver)), 16)
        .rightJustified(32, QLatin1Char('0'));
}

QString className(const QVariant &receiver) {
    return NSObjectRuntime::className(receiver);
}

std::optional<QVariantList> zrKeys(const QVariant &receiver) {
    if (kindOf(receiver) != ValueKind::Dictionary)
        return std::nullopt;
    QVariantList keys;
    for (const auto &entry : entriesOf(receiver))
        keys << entry.first;
    return keys;
}

std::optional<QVariantList> zrValues(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Dictionary: {
        QVariantList values;
        for (const auto &entry : entriesOf(receiver))
            values << entry.second;
        return values;
    }
    case ValueKind::Array:
        return arrayOf(receiver);
    default:
        return std::nullopt;
    }
}

QVariant zrKey(const QVariant &receiver, const AnyText &key) {
    if (kindOf(receiver) == ValueKind::Dictionary)
        return {};
    return zrNil(NSObjectRuntime::perform(receiver, NSSelector("objectForKey:"), {QString(key)}));
}

QVariant zrKey(const QVariant &receiver, const AnyText &key, const AnyObject &defaultValue) {
    if (kindOf(receiver) != ValueKind::Dictionary)
        return {};
    QVariant made;
    const QVariant *value = entryOf(receiver, key, made);
    return value && isNotNull(*value) ? *value : defaultValue.value();
}

QVariant zrKeys(const QVariant &receiver, const QStringList &keys) {
    for (const QString &key : keys) {
        if (key.isNull())
            break;
        if (QVariant value = zrKey(receiver, key, nullptr); value.isValid())
            return value;
    }
    return {};
}

bool zrHas(const QVariant &receiver, const AnyText &key) {
    if (kindOf(receiver) != ValueKind::Dictionary)
        return false;
    QVariant made;
    const QVariant *value = entryOf(receiver, key, made);
    return value && !NSIsNil(*value);
}

QVariant zrAt(const QVariant &receiver, qint64 index) {
    if (kindOf(receiver) != ValueKind::Array)
        return {};
    QVariant made;
    const QVariant *element = elementOf(receiver, index, made);
    return element ? zrNil(*element) : QVariant();
}

QVariant valueAtPath(const QVariant &receiver, const AnyText &path) {
    QVariant made;
    const QVariant *found = walk(&receiver, path, made);
    return found && !NSIsNil(*found) ? *found : QVariant();
}

QVariant path(const QVariant &receiver, const AnyText &path) {
    return nilOrObject(valueAtPath(receiver, path));
}

QVariant path(const QVariant &receiver, const AnyText &path, const AnyObject &defaultValue) {
    if (NSIsNil(receiver))
        return {};
    const QVariant value = ZRKit::path(receiver, path);
    return value.isValid() ? value : defaultValue.value();
}

QVariant paths(const QVariant &receiver, const QStringList &paths) {
    for (const QString &each : paths) {
        if (each.isNull())
            break;
        if (QVariant value = path(receiver, each); value.isValid())
            return value;
    }
    return {};
}

QString stringAtPath(const QVariant &receiver, const AnyText &path) {
    return toStringNotEmpty(valueAtPath(receiver, path));
}

QStringList dump(const QVariant &receiver, const QVariant &value, const AnyText &path, QStringList *result) {
    if (NSIsNil(receiver))
        return {};
    QStringList lines;
    QStringList &all = result ? *result : lines;
    dumpValue(value, path, all);
    return all;
}

QString dump(const QVariant &receiver) {
    const QStringList lines = dump(receiver, receiver, QString(), nullptr);
    return NSIsNil(receiver) ? QString() : lines.join(QLatin1Char('\n'));
}

void dumpToLog(const QVariant &) {
}

} // namespace ZRKit
