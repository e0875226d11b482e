// SPDX-License-Identifier: MIT
#include "platform/values/NSCountedSet.h"

#include "platform/values/NSException.h"
#include "platform/values/NSNull.h"

#include <algorithm>

NSCountedSet::NSCountedSet(const QVariantList &array) {
    for (const QVariant &object : array)
        addObject(object);
}

NSCountedSet::NSCountedSet(const NSSet &set) {
    for (const QVariant &object : set)
        addObject(object);
}

void NSCountedSet::add(const QVariant &object, qsizetype times) {
    const qsizetype count = countForObject(object) + times;
    if (count > 0)
        m_counts.insert(object, count);
    else
        m_counts.remove(object);
}

void NSCountedSet::addObject(const QVariant &object) {
    if (NSIsNil(object))
        throw NSException(NSInvalidArgumentException, QStringLiteral("A member of a set can't be nil."));
    add(object, 1);
}

void NSCountedSet::removeObject(const QVariant &object) {
    add(object, -1);
}

NSSet NSCountedSet::set() const {
    return NSSet(m_counts.keyBegin(), m_counts.keyEnd());
}

void NSCountedSet::unionSet(const NSCountedSet &other) {
    const auto counts = other.m_counts;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        add(it.key(), it.value());
}

void NSCountedSet::minusSet(const NSCountedSet &other) {
    const auto counts = other.m_counts;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        add(it.key(), -it.value());
}

void NSCountedSet::intersectSet(const NSCountedSet &other) {
    const auto counts = m_counts;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        add(it.key(), std::min(it.value(), other.countForObject(it.key())) - it.value());
}
