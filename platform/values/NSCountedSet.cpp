// SPDX-License-Identifier: MIT
#include "platform/values/NSCountedSet.h"

#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"

#include <QStringList>

NSCountedSet::NSCountedSet(const QVariantList &array) {
    for (const QVariant &object : array)
        addObject(object);
}

NSCountedSet::NSCountedSet(const NSSet &set) {
    for (const QVariant &object : set)
        addObject(object);
}

void NSCountedSet::addObject(const QVariant &object) {
    if (NSIsNil(object))
        throw NSException(NSInvalidArgumentException, QStringLiteral("A member of a set can't be nil."));
    ++m_counts[object];
}

void NSCountedSet::removeObject(const QVariant &object) {
    const auto at = m_counts.find(object);
    if (at != m_counts.end() && --*at == 0)
        m_counts.erase(at);
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
