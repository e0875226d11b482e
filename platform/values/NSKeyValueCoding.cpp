// SPDX-License-Identifier: MIT
#include "platform/values/NSKeyValueCoding.h"

#include "platform/base/NSException.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSSet.h"
#include "platform/values/ObjectMembers.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <algorithm>

using namespace zr;

namespace {

using namespace NSObjectRuntime;
using NSKeyValueCoding::setValueForKey;
using NSKeyValueCoding::setValueForKeyPath;
using NSKeyValueCoding::valueForKey;
using NSKeyValueCoding::valueForKeyPath;

[[noreturn]] void raiseUndefined(const QVariant &receiver, const QString &key) {
    throw NSException(NSUndefinedKeyException,
                      QStringLiteral("%1 has no value for the key \"%2\".").arg(className(receiver), key),
                      {{QStringLiteral("NSUnknownUserInfoKey"), key}});
}

bool isOperator(const QString &key) {
    return key.startsWith(QLatin1Char('@'));
}

// ---- What every value has

QVariant numberForKey(const QVariant &value, const QString &key) {
    if (key == QStringLiteral("doubleValue"))
        return zr::doubleValue(value);
    if (key == QStringLiteral("floatValue"))
        return floatValue(value);
    if (key == QStringLiteral("stringValue"))
        return stringValue(value);
    if (key == QStringLiteral("boolValue"))
        return boolValue(value);
    if (key == QStringLiteral("longLongValue") || key == QStringLiteral("integerValue") ||
        key == QStringLiteral("intValue"))
        return longLongValue(value);
    return {};
}

QVariant commonValue(const QVariant &given, const QString &key) {
    QVariant made;
    const QVariant &value = plain(given, made);
    if (key == QStringLiteral("self"))
        return value;
    if (key == QStringLiteral("description"))
        return description(value);
    if (key == QStringLiteral("className"))
        return className(value);
    if (key == QStringLiteral("hash"))
        return QVariant(qulonglong(hash(value)));
    QVariant found;
    switch (kindOf(value)) {
    case ValueKind::String:
        if (key == QStringLiteral("length"))
            return held<QString>(value).size();
        if (key == QStringLiteral("uppercaseString"))
            return held<QString>(value).toUpper();
        if (key == QStringLiteral("lowercaseString"))
            return held<QString>(value).toLower();
        found = numberForKey(value, key);
        break;
    case ValueKind::Number:
    case ValueKind::Decimal:
        found = numberForKey(value, key);
        break;
    case ValueKind::Data:
        if (key == QStringLiteral("length"))
            return held<QByteArray>(value).size();
        break;
    case ValueKind::Date:
        if (key == QStringLiteral("timeIntervalSince1970"))
            return zr::doubleValue(value);
        break;
    case ValueKind::URL: {
        const auto &url = held<QUrl>(value);
        const auto text = [](const QString &part) { return part.isEmpty() ? QVariant() : QVariant(part); };
        if (key == QStringLiteral("absoluteString"))
            return QString::fromLatin1(url.toEncoded());
        if (key == QStringLiteral("scheme"))
            return text(url.scheme());
        if (key == QStringLiteral("host"))
            return text(url.host());
        if (key == QStringLiteral("path"))
            return url.path();
        if (key == QStringLiteral("query"))
            return text(url.query());
        break;
    }
    default:
        break;
    }
    if (!found.isValid())
        raiseUndefined(value, key);
    return found;
}

QVariant objectValue(const QVariant &receiver, const QString &key) {
    if (const Member reader = readerForKey(metaObjectOf(receiver), key)) {
        QVariant own = receiver;
        return callMember(own, reader, {});
    }
    if (const QObject *object = objectOf(receiver)) {
        const QByteArray name = key.toUtf8();
        if (object->dynamicPropertyNames().contains(name))
            return object->property(name.constData());
        const NSSelector undefined("valueForUndefinedKey:");
        if (respondsTo(receiver, undefined))
            return perform(receiver, undefined, {key});
    }
    return commonValue(receiver, key);
}

// ---- Operators

using Values = QVariantList;

NSDecimalNumber decimalOf(const QVariant &given) {
    QVariant made;
    const QVariant &value = plain(given, made);
    if (kindOf(value) == ValueKind::Decimal)
        return held<NSDecimalNumber>(value);
    return zr::decimalOf(kindOf(value) == ValueKind::Number
                             ? numberOf(value)
                             : Number{Number::Real, 0, 0, NSObjectRuntime::doubleValue(value)});
}

QVariant sumOf(const Values &values) {
    double real = 0;
    NSDecimalNumber decimal;
    bool allIntegers = true, anyDecimal = false;
    for (const QVariant &given : values) {
        QVariant made;
        const QVariant &value = plain(given, made);
        if (isAbsent(value))
            continue;
        const ValueKind kind = kindOf(value);
        allIntegers &= kind == ValueKind::Number && numberOf(value).sort != Number::Real;
        anyDecimal |= kind == ValueKind::Decimal;
        real += NSObjectRuntime::doubleValue(value);
    }
    if (!allIntegers && !anyDecimal)
        return real;
    for (const QVariant &value : values)
        decimal = isAbsent(value) ? decimal : decimal.decimalNumberByAdding(decimalOf(value));
    if (anyDecimal)
        return QVariant::fromValue(decimal);
    if (decimal == NSDecimalNumber(decimal.longLongValue()))
        return decimal.longLongValue();
    if (decimal == NSDecimalNumber(decimal.unsignedLongLongValue()))
        return decimal.unsignedLongLongValue();
    return real;
}

QVariant averageOf(const Values &values) {
    if (values.isEmpty())
        return 0;
    const QVariant sum = sumOf(values);
    if (kindOf(sum) == ValueKind::Decimal)
        return QVariant::fromValue(
            held<NSDecimalNumber>(sum).decimalNumberByDividingBy(NSDecimalNumber(values.size())));
    return zr::doubleValue(sum) / double(values.size());
}

NSSet setOf(const Values &values) {
    return NSSet(values.begin(), values.end());
}

Values distinct(const Values &values) {
    NSSet seen;
    Values once;
    for (const QVariant &value : values) {
        const qsizetype before = seen.size();
        seen.insert(value);
        if (seen.size() > before)
            once << value;
    }
    return once;
}

/// The rest's value of each element; nil where it is nil.
Values eachValue(const QVariant &collection, const QString &rest) {
    Values values;
    for (const QVariantList elements = arrayOf(collection); const QVariant &element : elements)
        values << valueForKeyPath(element, rest);
    return values;
}

Values withoutNil(const Values &values) {
    Values kept;
    for (const QVariant &value : values) {
        if (!NSIsNil(value))
            kept << value;
    }
    return kept;
}

Values valuesInside(const QVariant &collection, const QString &rest, ValueKind inner, const QString &name) {
    Values values;
    for (const QVariantList elements = arrayOf(collection); const QVariant &element : elements) {
        if (kindOf(element) != inner)
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("%1 needs a collection of collections of its kind, not of %2.")
                                  .arg(name, className(element)));
        values << withoutNil(eachValue(element, rest));
    }
    return values;
}

QVariant extreme(const Values &values, NSComparisonResult wanted) {
    QVariant best;
    for (const QVariant &value : values) {
        if (!isAbsent(value) && (!best.isValid() || compare(value, best) == wanted))
            best = value;
    }
    return best;
}

QVariant applyOperator(const QVariant &collection, const QString &name, const QString &rest) {
    if (name == QStringLiteral("@count"))
        return countOf(collection);
    if (rest.isEmpty())
        throw NSException(NSInvalidArgumentException, QStringLiteral("%1 needs a key path.").arg(name));
    const bool isSet = kindOf(collection) == ValueKind::Set;
    if (name == QStringLiteral("@sum"))
        return sumOf(eachValue(collection, rest));
    if (name == QStringLiteral("@avg"))
        return averageOf(eachValue(collection, rest));
    if (name == QStringLiteral("@min"))
        return extreme(eachValue(collection, rest), NSOrderedAscending);
    if (name == QStringLiteral("@max"))
        return extreme(eachValue(collection, rest), NSOrderedDescending);
    if (name == QStringLiteral("@unionOfObjects"))
        return withoutNil(eachValue(collection, rest));
    if (name == QStringLiteral("@distinctUnionOfObjects")) {
        const Values values = withoutNil(eachValue(collection, rest));
        return isSet ? QVariant::fromValue(setOf(values)) : QVariant(distinct(values));
    }
    if (name == QStringLiteral("@unionOfArrays"))
        return valuesInside(collection, rest, ValueKind::Array, name);
    if (name == QStringLiteral("@distinctUnionOfArrays"))
        return distinct(valuesInside(collection, rest, ValueKind::Array, name));
    if (name == QStringLiteral("@unionOfSets"))
        return valuesInside(collection, rest, ValueKind::Set, name);
    if (name == QStringLiteral("@distinctUnionOfSets"))
        return QVariant::fromValue(setOf(valuesInside(collection, rest, ValueKind::Set, name)));
    throw NSException(NSInvalidArgumentException, QStringLiteral("There is no operator %1.").arg(name));
}

// ---- Writing

/// Objects and gadgets are changed where they are.
void setObjectValue(QVariant &receiver, const QVariant &value, const QString &key) {
    const QMetaObject *metaObject = metaObjectOf(receiver);
    if (const Member writer = writerForKey(metaObject, key)) {
        if (kindOf(value) != ValueKind::Nil || !isArithmetic(parameterType(*metaObject, writer, 0))) {
            callMember(receiver, writer, {value});
            return;
        }
        const NSSelector hook("setNilValueForKey:");
        if (!respondsTo(receiver, hook))
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("%1 can't take nil as the value for the key \"%2\".")
                                  .arg(className(receiver), key));
        perform(receiver, hook, {key});
        return;
    }
    if (QObject *object = objectOf(receiver); object && !key.isEmpty()) {
        const QByteArray name = key.toUtf8();
        if (object->dynamicPropertyNames().contains(name)) {
            object->setProperty(name.constData(), value);
            return;
        }
        const NSSelector undefined("setValue:forUndefinedKey:");
        if (respondsTo(receiver, undefined)) {
            perform(receiver, undefined, {value, key});
            return;
        }
    }
    raiseUndefined(receiver, key);
}

/// Into a plain dictionary in place; of one of another class the entries go out, and back in.
void store(QVariant &receiver, const QVariant &value, const QString &key) {
    if (receiver.typeId() == QMetaType::QVariantMap) {
        auto &dictionary = *static_cast<QVariantMap *>(receiver.data());
        if (NSIsNil(value))
            dictionary.remove(key);
        else
            dictionary.insert(key, value);
        return;
    }
    DictionaryEntries entries = entriesOf(receiver);
    const auto at =
        std::find_if(entries.begin(), entries.end(), [&](const auto &entry) { return entry.first == key; });
    if (NSIsNil(value)) {
        if (at != entries.end())
            entries.erase(at);
    } else if (at != entries.end()) {
        at->second = value;
    } else {
        entries.append({key, value});
    }
    QVariant changed = QVariant::fromValue(entries);
    if (!changed.convert(receiver.metaType())) {
        QVariantMap map;
        for (const auto &[name, entry] : entries)
            map.insert(name, entry);
        changed = map;
        if (QVariant same = map; same.convert(receiver.metaType()))
            changed = same;
    }
    receiver = changed;
}

std::pair<QString, QString> splitPath(const QString &keyPath) {
    const qsizetype point = keyPath.indexOf(QLatin1Char('.'));
    return point < 0 ? std::pair(keyPath, QString()) : std::pair(keyPath.left(point), keyPath.mid(point + 1));
}

} // namespace

namespace NSKeyValueCoding {

QVariant valueForKey(const QVariant &receiver, const QString &key) {
    switch (kindOf(receiver)) {
    case ValueKind::Nil:
        return {};
    case ValueKind::Dictionary: {
        if (key == QStringLiteral("@count"))
            return countOf(receiver);
        QVariant made;
        const QVariant *value = entryOf(receiver, key, made);
        return value && !NSIsNil(*value) ? *value : QVariant();
    }
    case ValueKind::Array: {
        if (isOperator(key))
            return applyOperator(receiver, key, {});
        QVariantList values;
        for (const QVariantList elements = arrayOf(receiver); const QVariant &element : elements) {
            const QVariant value = valueForKey(element, key);
            values << (NSIsNil(value) ? NSNull() : value);
        }
        return values;
    }
    case ValueKind::Set: {
        if (isOperator(key))
            return applyOperator(receiver, key, {});
        QVariantList values;
        for (const QVariant &element : held<NSSet>(receiver))
            values << valueForKey(element, key);
        return QVariant::fromValue(setOf(withoutNil(values)));
    }
    case ValueKind::Object:
    case ValueKind::Gadget:
        return objectValue(receiver, key);
    default:
        return commonValue(receiver, key);
    }
}

QVariant valueForKeyPath(const QVariant &receiver, const QString &keyPath) {
    QVariant value = receiver;
    for (QString rest = keyPath;;) {
        const ValueKind kind = kindOf(value);
        const auto [key, next] = splitPath(rest);
        if (isOperator(key) && (kind == ValueKind::Array || kind == ValueKind::Set))
            return applyOperator(value, key, next);
        value = valueForKey(value, key);
        if (key.size() == rest.size())
            return value;
        if (NSIsNil(value))
            return {};
        rest = next;
    }
}

void setValueForKey(QVariant &receiver, const QVariant &value, const QString &key) {
    switch (kindOf(receiver)) {
    case ValueKind::Nil:
        return;
    case ValueKind::Dictionary:
        store(receiver, value, key);
        return;
    case ValueKind::Array: {
        QVariantList elements = arrayOf(receiver);
        receiver.clear();
        for (QVariant &element : elements)
            setValueForKey(element, value, key);
        receiver = elements;
        return;
    }
    case ValueKind::Set: {
        QVariantList elements = arrayOf(receiver);
        for (QVariant &element : elements)
            setValueForKey(element, value, key);
        receiver = QVariant::fromValue(setOf(elements));
        return;
    }
    case ValueKind::Object:
    case ValueKind::Gadget:
        setObjectValue(receiver, value, key);
        return;
    default:
        raiseUndefined(receiver, key);
    }
}

void setValueForKeyPath(QVariant &receiver, const QVariant &value, const QString &keyPath) {
    const auto [key, rest] = splitPath(keyPath);
    if (key.size() == keyPath.size()) {
        setValueForKey(receiver, value, key);
        return;
    }
    QVariant next = valueForKey(receiver, key);
    const ValueKind kind = kindOf(next);
    if (kind == ValueKind::Nil)
        return;
    setValueForKeyPath(next, value, rest);
    // Objects are changed where they are; values are copies, which go back to where they came from.
    if (kind != ValueKind::Object)
        setValueForKey(receiver, next, key);
}

} // namespace NSKeyValueCoding
