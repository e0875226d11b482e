// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"

#include "ZRKit/Values/NSDate+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"
#include "platform/values/NumberText.h"

#include <QStringDecoder>
#include <QStringEncoder>
#include <QUrl>
#include <algorithm>
#include <cmath>
#include <limits>

using namespace zr;

namespace ZRKit {

namespace {

QString notNil(const QString &text) {
    return text.isNull() ? QStringLiteral("") : text;
}

qint64 integerOf(double number) {
    if (std::isnan(number))
        return 0;
    if (number >= 0x1p63)
        return std::numeric_limits<qint64>::max();
    return number < -0x1p63 ? std::numeric_limits<qint64>::min() : qint64(number);
}

quint64 unsignedOf(double number) {
    if (number >= 0x1p64)
        return std::numeric_limits<quint64>::max();
    return number >= 0x1p63 ? quint64(number) : quint64(integerOf(number));
}

bool isReal(const QVariant &number) {
    const int type = number.typeId();
    return type == QMetaType::Double || type == QMetaType::Float;
}

qint64 integerOf(const QVariant &number) {
    switch (number.typeId()) {
    case QMetaType::Int:
        return held<int>(number);
    case QMetaType::LongLong:
        return held<qlonglong>(number);
    case QMetaType::Bool:
        return held<bool>(number);
    case QMetaType::Double:
        return integerOf(held<double>(number));
    case QMetaType::Float:
        return integerOf(double(held<float>(number)));
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return qint64(number.toULongLong());
    default:
        return number.toLongLong();
    }
}

double realOf(const QVariant &number) {
    switch (number.typeId()) {
    case QMetaType::Double:
        return held<double>(number);
    case QMetaType::Int:
        return held<int>(number);
    default:
        return number.toDouble();
    }
}

bool numberIsTrue(const QVariant &number) {
    if (isReal(number))
        return realOf(number) != 0;
    return integerOf(number) != 0;
}

double secondsOf(const QVariant &date) {
    return double(held<QDateTime>(date).toMSecsSinceEpoch()) / 1000;
}

bool isTrueObject(const QVariant &value) {
    for (const char *name : {"count", "length"}) {
        if (const auto size = NSObjectRuntime::answer(value, name))
            return toBool(*size);
    }
    return true;
}

/// An invalid URL has no text.
bool hasText(const QUrl &url) {
    return url.isValid() || !url.toEncoded().isEmpty();
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

/// A component's integer; -1, which no array has, where that is 0 and the component is not "0".
qint64 indexIn(QStringView component) {
    constexpr qsizetype Short = 18; // so many digits can't overflow
    qint64 index = 0;
    for (const QChar c : component) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9') || component.size() > Short) {
            index = NumberText::longLongValue(component);
            break;
        }
        index = index * 10 + (c.unicode() - u'0');
    }
    const bool isZero = component.size() == 1 && component.front() == QLatin1Char('0');
    return index == 0 && !isZero ? -1 : index;
}

bool isWildcard(QStringView component) {
    return component.size() == 1 &&
           (component.front() == QLatin1Char('*') || component.front() == QLatin1Char('?'));
}

/// Takes the part before the first slash, and the slash. Components are short: a loop finds it sooner than a
/// search made for long texts.
QStringView takeComponent(QStringView &path) {
    qsizetype length = 0;
    while (length < path.size() && path[length] != QLatin1Char('/'))
        ++length;
    const QStringView component = path.first(length);
    path = path.sliced(std::min(length + 1, path.size()));
    return component;
}

/// A step on a path that is neither a dictionary's nor an array's, or whose element is missing, ends it:
/// nullptr. `scratch` holds values that had to be made.
const QVariant *walk(const QVariant *current, QStringView rest, QVariant &scratch) {
    QVariant made;
    while (!rest.isEmpty()) {
        const QStringView component = takeComponent(rest);
        if (component.isEmpty())
            continue;
        const int type = current->typeId();
        if (type == QMetaType::QVariantMap ||
            (type != QMetaType::QVariantList && kindOf(*current) == ValueKind::Dictionary)) {
            // The key only lives for the search, so it needs no memory of its own.
            current = entryOf(*current, QString::fromRawData(component.data(), component.size()), made);
        } else if (type != QMetaType::QVariantList && kindOf(*current) != ValueKind::Array) {
            return nullptr;
        } else if (!isWildcard(component)) {
            current = elementOf(*current, indexIn(component), made);
        } else {
            for (const QVariantList elements = arrayOf(*current); const QVariant &element : elements) {
                QVariant inner;
                if (const QVariant *found = walk(&element, rest, inner); found && !NSIsNil(*found)) {
                    scratch = *found;
                    return &scratch;
                }
            }
            return nullptr;
        }
        if (!current)
            return nullptr;
        if (current == &made) {
            scratch = std::move(made);
            current = &scratch;
        }
    }
    return current;
}

void dumpValue(const QVariant &value, const QString &path, QStringList &lines) {
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
    switch (kindOf(receiver)) {
    case ValueKind::Number:
        return numberIsTrue(receiver);
    case ValueKind::Decimal: {
        const auto &decimal = held<NSDecimalNumber>(receiver);
        return !decimal.isZero();
    }
    case ValueKind::String:
        return NumberText::boolValue(held<QString>(receiver));
    default:
        return false;
    }
}

qint64 toInt(const QVariant &receiver) {
    return toLongLong(receiver);
}

qint64 toLong(const QVariant &receiver) {
    return toLongLong(receiver);
}

qint64 toLongLong(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Number:
        return integerOf(receiver);
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(receiver).longLongValue();
    case ValueKind::String:
        return NumberText::longLongValue(held<QString>(receiver));
    default:
        return 0;
    }
}

quint64 toUnsignedLongLong(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Number:
        return isReal(receiver) ? unsignedOf(receiver.toDouble()) : quint64(integerOf(receiver));
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(receiver).unsignedLongLongValue();
    case ValueKind::String:
        return NumberText::unsignedLongLongValue(held<QString>(receiver));
    default:
        return 0;
    }
}

float toFloat(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Number:
        return receiver.toFloat();
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(receiver).floatValue();
    case ValueKind::String:
        return NumberText::floatValue(held<QString>(receiver));
    case ValueKind::Date:
        return float(secondsOf(receiver));
    default:
        return 0;
    }
}

double toDouble(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Number:
        return realOf(receiver);
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(receiver).doubleValue();
    case ValueKind::String:
        return NumberText::doubleValue(held<QString>(receiver));
    case ValueKind::Date:
        return secondsOf(receiver);
    default:
        return 0;
    }
}

QString toString(const QVariant &receiver) {
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
        return decoder.hasError() ? QString() : notNil(text);
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

QString stringDefault(const QVariant &receiver, const QString &defaultString) {
    const ValueKind kind = kindOf(receiver);
    if (kind == ValueKind::Nil)
        return {};
    const QString text = textOf(receiver, kind);
    return text.isEmpty() ? defaultString : text;
}

QByteArray toData(const QVariant &receiver) {
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

QDateTime toDate(const QVariant &receiver) {
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

bool isTrue(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return false;
    case ValueKind::Number:
        return numberIsTrue(receiver);
    case ValueKind::Decimal: {
        const auto &decimal = held<NSDecimalNumber>(receiver);
        return !decimal.isZero() && !decimal.isNaN();
    }
    case ValueKind::URL:
        return hasText(held<QUrl>(receiver));
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

bool isNotEmpty(const QVariant &receiver) {
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

QVariant zrKey(const QVariant &receiver, const QString &key) {
    if (kindOf(receiver) == ValueKind::Dictionary)
        return {};
    return zrNil(NSObjectRuntime::perform(receiver, NSSelector("objectForKey:"), {key}));
}

QVariant zrKey(const QVariant &receiver, const QString &key, const QVariant &defaultValue) {
    if (kindOf(receiver) != ValueKind::Dictionary)
        return {};
    QVariant made;
    const QVariant *value = entryOf(receiver, key, made);
    return value && isNotNull(*value) ? *value : defaultValue;
}

QVariant zrKeys(const QVariant &receiver, const QStringList &keys) {
    for (const QString &key : keys) {
        if (key.isNull())
            break;
        if (QVariant value = zrKey(receiver, key, QVariant()); value.isValid())
            return value;
    }
    return {};
}

bool zrHas(const QVariant &receiver, const QString &key) {
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

QVariant path(const QVariant &receiver, const QString &path, bool) {
    QVariant scratch;
    const QVariant *found = walk(&receiver, path, scratch);
    return found && !NSIsNil(*found) ? *found : QVariant();
}

QVariant path(const QVariant &receiver, const QString &path) {
    QVariant scratch;
    const QVariant *found = walk(&receiver, path, scratch);
    return found && isNotNull(*found) ? *found : QVariant();
}

QVariant path(const QVariant &receiver, const QString &path, const QVariant &defaultValue) {
    if (NSIsNil(receiver))
        return {};
    const QVariant value = ZRKit::path(receiver, path);
    return value.isValid() ? value : defaultValue;
}

QVariant path(const QVariant &receiver, const QString &path, const QString &defaultValue) {
    return ZRKit::path(receiver, path, QVariant(defaultValue));
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

QString stringAtPath(const QVariant &receiver, const QString &path) {
    return toStringNotEmpty(ZRKit::path(receiver, path, false));
}

QStringList dump(const QVariant &receiver, const QVariant &value, const QString &path, QStringList *result) {
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
