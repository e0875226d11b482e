// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSet.h"

#include <QHash>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVariantList>

/// A set that counts how often each of its members was added. Members are equal as those of NSSet are. A
/// plain value, whose count decides whether it is true. One thread at a time.
class NSCountedSet {
    Q_GADGET
    Q_PROPERTY(qsizetype count READ count)
    Q_PROPERTY(QVariantList allObjects READ allObjects)
    Q_PROPERTY(QString description READ description)

public:
    NSCountedSet() = default;
    /// Each element as often as it is there.
    explicit NSCountedSet(const QVariantList &array);
    /// Each member once.
    explicit NSCountedSet(const NSSet &set);

    /// Adds the object once more. Raises NSInvalidArgumentException for nil.
    void addObject(const QVariant &object);
    /// Takes the object away once; nothing happens if it isn't there.
    void removeObject(const QVariant &object);
    void removeAllObjects() { m_counts.clear(); }

    /// How often the object is there.
    qsizetype countForObject(const QVariant &object) const { return m_counts.value(object); }
    bool containsObject(const QVariant &object) const { return m_counts.contains(object); }
    /// The number of distinct members.
    qsizetype count() const { return m_counts.size(); }
    /// The distinct members in no particular order.
    QVariantList allObjects() const { return m_counts.keys(); }
    NSSet set() const;
    /// As a set is described, each member followed by its count: `"a" [2]`.
    QString description() const;

    friend bool operator==(const NSCountedSet &, const NSCountedSet &) = default;

private:
    QHash<QVariant, qsizetype> m_counts;
};

Q_DECLARE_METATYPE(NSCountedSet)
