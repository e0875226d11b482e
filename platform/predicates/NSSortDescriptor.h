// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSObjectRuntime.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>
#include <functional>

/// One rule of a sort order: which key path's values are compared, how, and in which direction.
///
/// A value; any thread may use it, as far as its objects allow.
class NSSortDescriptor {
public:
    using Comparator = std::function<NSComparisonResult(const QVariant &a, const QVariant &b)>;

    /// Compares by "compare:" (NSObjectRuntime::compare()). A nil or empty key path compares the objects themselves.
    NSSortDescriptor(const QString &key, bool ascending);
    /// Compares by the named message. Strings know "caseInsensitiveCompare:", "localizedCompare:",
    /// "localizedCaseInsensitiveCompare:" and "localizedStandardCompare:" (as people sort file names: 2
    /// before 10), objects what they declare with one argument. nil means "compare:".
    NSSortDescriptor(const QString &key, bool ascending, const QString &selector);
    NSSortDescriptor(const QString &key, bool ascending, const Comparator &comparator);

    QString key() const { return m_key; }
    bool ascending() const { return m_ascending; }
    /// The message's name; nil if there is a comparator.
    QString selector() const { return m_selector; }
    Comparator comparator() const { return m_comparator; }

    /// The same in the other direction.
    NSSortDescriptor reversedSortDescriptor() const;

    /// The order of two objects under this rule. nil comes first when ascending, last otherwise, nil and nil
    /// are the same. Raises NSInvalidArgumentException for values that the message doesn't compare,
    /// NSUndefinedKeyException as key-value coding does.
    NSComparisonResult compareObject(const QVariant &a, const QVariant &b) const;

    /// An object's value for the key path.
    QVariant valueOf(const QVariant &object) const;
    /// compareObject() of two values that valueOf() has given.
    NSComparisonResult compareValues(const QVariant &a, const QVariant &b) const;

private:
    QString m_key;
    bool m_ascending;
    QString m_selector;
    Comparator m_comparator;
};

/// A sorted copy: by the first descriptor, what it finds the same by the second, and so on; what all of them find the
/// same stays in its order. Each key path is read once for each element.
QVariantList sortedArrayUsingDescriptors(const QVariantList &array,
                                         const QList<NSSortDescriptor> &descriptors);

Q_DECLARE_METATYPE(NSSortDescriptor)
