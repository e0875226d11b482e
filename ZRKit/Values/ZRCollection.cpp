// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRCollection.h"

#include "ZRKit/Values/PropertyListCopy.h"
#include "platform/base/NSException.h"
#include "platform/values/NSEnumeration.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

namespace {

void requireIndex(qsizetype index, qsizetype limit) {
    if (index < 0 || index >= limit)
        throw NSException(NSRangeException,
                          QStringLiteral("The position %1 is out of bounds; positions are below %2.")
                              .arg(index)
                              .arg(limit));
}

void requireEntry(const QVariant &object, const QString &key) {
    if (key.isNull())
        throw NSException(NSInvalidArgumentException, QStringLiteral("The key of an object can't be nil."));
    if (NSIsNil(object))
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("The object for the key \"%1\" can't be nil.").arg(key));
}

// Whoever knows only of dictionaries sees one.
[[maybe_unused]] const bool isRegistered = registerDictionaryType<ZRCollection>();

} // namespace

ZRCollection::ZRCollection(qsizetype capacity) {
    const qsizetype room = std::max<qsizetype>(capacity, 0);
    m_dictionary.reserve(room);
    m_array.reserve(room);
}

ZRCollection::ZRCollection(std::initializer_list<std::pair<QString, QVariant>> entries) {
    for (const auto &[key, object] : entries)
        setObject(object, key);
}

ZRCollection &ZRCollection::operator=(const ZRCollection &other) {
    if (this != &other) {
        m_dictionary = other.m_dictionary;
        m_array = other.m_array;
        ++m_mutations;
    }
    return *this;
}

void ZRCollection::setObject(const QVariant &object, const QString &key) {
    requireEntry(object, key);
    if (!m_dictionary.contains(key))
        m_array.append(key);
    m_dictionary.insert(key, object);
    ++m_mutations;
}

void ZRCollection::removeObjectForKey(const QString &key) {
    if (!contains(key))
        return;
    // The caller's key may be the very one in the order.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const QString removed = key;
    m_dictionary.remove(removed);
    m_array.removeOne(removed);
    ++m_mutations;
}

void ZRCollection::insertObject(const QVariant &object, const QString &key, qsizetype index) {
    requireEntry(object, key);
    // Both may be this collection's own.
    // NOLINTBEGIN(performance-unnecessary-copy-initialization)
    const QString inserted = key;
    const QVariant value = object;
    // NOLINTEND(performance-unnecessary-copy-initialization)
    requireIndex(index, count() + (contains(inserted) ? 0 : 1));
    removeObjectForKey(inserted);
    m_array.insert(index, inserted);
    m_dictionary.insert(inserted, value);
    ++m_mutations;
}

const QVariant *ZRCollection::find(const QString &key) const {
    // Hashing takes nil for the empty string.
    if (key.isNull())
        return nullptr;
    const auto at = m_dictionary.constFind(key);
    return at == m_dictionary.constEnd() ? nullptr : &at.value();
}

qsizetype ZRCollection::indexOfKey(const QString &key) const {
    return contains(key) ? m_array.indexOf(key) : NSNotFound;
}

QString ZRCollection::keyAtIndex(qsizetype index) const {
    requireIndex(index, count());
    return m_array.at(index);
}

QVariant ZRCollection::objectAtIndex(qsizetype index) const {
    return m_dictionary.value(keyAtIndex(index));
}

ZRCollection::KeyEnumerator::KeyEnumerator(const ZRCollection &collection, bool isReverse)
    : m_collection(&collection), m_mutations(collection.m_mutations),
      m_next(isReverse ? collection.count() - 1 : 0), m_step(isReverse ? -1 : 1) {
}

QString ZRCollection::KeyEnumerator::nextObject() {
    if (m_collection->m_mutations != m_mutations)
        NSEnumerationMutation();
    if (m_next < 0 || m_next >= m_collection->count())
        return {};
    QString key = m_collection->m_array.at(m_next);
    m_next += m_step;
    return key;
}

QStringList ZRCollection::KeyEnumerator::allObjects() {
    QStringList keys;
    for (QString key = nextObject(); !key.isNull(); key = nextObject())
        keys.append(key);
    return keys;
}

QVariantList ZRCollection::allValues() const {
    QVariantList values;
    values.reserve(count());
    for (const QString &key : m_array)
        values.append(m_dictionary.value(key));
    return values;
}

void ZRCollection::removeAllObjects() {
    m_dictionary.clear();
    m_array.clear();
    ++m_mutations;
}

void ZRCollection::removeObjectsForKeys(const QStringList &keys) {
    qsizetype removed = 0;
    for (const QString &key : QStringList(keys)) // which may be this collection's own
        removed += key.isNull() ? 0 : m_dictionary.remove(key);
    if (removed == 0)
        return;
    m_array.removeIf([this](const QString &key) { return !m_dictionary.contains(key); });
    ++m_mutations;
}

void ZRCollection::addEntriesFromDictionary(const QVariantMap &other) {
    for (auto it = other.cbegin(); it != other.cend(); ++it)
        setObject(it.value(), it.key());
}

void ZRCollection::addEntriesFromDictionary(const ZRCollection &other) {
    // The other may be this one.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const ZRCollection entries = other;
    for (const auto &[key, object] : entries)
        setObject(object, key);
}

QVariantMap ZRCollection::toVariantMap() const {
    QVariantMap map;
    for (auto it = m_dictionary.cbegin(); it != m_dictionary.cend(); ++it)
        map.insert(it.key(), it.value());
    return map;
}

QString ZRCollection::descriptionWithLocale(const QLocale &locale, int level) const {
    const QString prefix(qsizetype(level) * 4, u' ');
    QString text = prefix + QStringLiteral("{\n");
    for (const QString &key : m_array) {
        text += prefix + QStringLiteral("    ") + ZRKit::DescriptionForObject(key, locale, level) +
                QStringLiteral(" = ") + ZRKit::DescriptionForObject(m_dictionary.value(key), locale, level) +
                QStringLiteral(";\n");
    }
    return text + prefix + QStringLiteral("}\n");
}

QString ZRCollection::description() const {
    return descriptionWithLocale(QLocale::c());
}

void ZRCollection::const_iterator::verify() const {
    if (m_collection->m_mutations != m_mutations)
        NSEnumerationMutation();
}

QString ZRCollection::const_iterator::key() const {
    verify();
    return m_collection->m_array.at(m_index);
}

QVariant ZRCollection::const_iterator::value() const {
    verify();
    return m_collection->m_dictionary.value(m_collection->m_array.at(m_index));
}

ZRCollection::const_iterator &ZRCollection::const_iterator::operator++() {
    verify();
    ++m_index;
    return *this;
}

namespace ZRKit {

namespace {

/// A number with the locale's decimal separator; digits are not grouped.
QString numberText(const QVariant &number, const QLocale &locale) {
    QString text = NSObjectRuntime::stringValue(number);
    if (const QString point = locale.decimalPoint(); point != QStringLiteral("."))
        text.replace(QLatin1Char('.'), point);
    return text;
}

} // namespace

QString DescriptionForObject(const QVariant &object, const QLocale &locale, int level) {
    if (object.metaType().id() == QMetaType::QString)
        return object.toString();
    if (object.metaType() == QMetaType::fromType<ZRCollection>())
        return object.value<ZRCollection>().descriptionWithLocale(locale, level);
    const NSSelector indented("descriptionWithLocale:indent:"), localized("descriptionWithLocale:");
    if (NSObjectRuntime::respondsTo(object, indented))
        return NSObjectRuntime::perform(object, indented, {locale, level}).toString();
    if (NSObjectRuntime::respondsTo(object, localized))
        return NSObjectRuntime::perform(object, localized, {locale}).toString();
    switch (kindOf(object)) {
    case ValueKind::Number:
    case ValueKind::Decimal:
        return numberText(object, locale);
    default:
        return NSObjectRuntime::description(object, level);
    }
}

std::optional<QVariantMap> deepMutableCopy(const ZRCollection &collection) {
    const std::optional<QVariant> copy = propertyListCopy(collection.toVariantMap());
    return copy ? std::optional(copy->toMap()) : std::nullopt;
}

} // namespace ZRKit
