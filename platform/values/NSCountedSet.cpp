// SPDX-License-Identifier: MIT
#include "platform/values/NSCountedSet.h"

#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"

#include <QStringList>
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

QString NSCountedSet::description() const {
    QStringList lines;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it) {
        QString member = NSObjectRuntime::descriptionInside(it.key(), 1);
        lines.append(QStringLiteral("    %1 [%2]").arg(member, QString::number(it.value())));
    }
    lines.sort();
    return lines.isEmpty()
               ? QStringLiteral("{()}")
               : QStringLiteral("{(\n") + lines.join(QStringLiteral(",\n")) + QStringLiteral("\n)}");
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
