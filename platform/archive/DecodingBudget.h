// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSet.h"

#include <QHash>
#include <QVariantMap>

namespace zr {

/// Bounds on what one untrusted document may grow into and cost while it is decoded.
///
/// A container that several others share is decoded once, so memory follows the document's size. But code that goes
/// through the result meets it in each place. So values are counted for each place, and a document that multiplies
/// itself by sharing is refused.
class DecodingBudget {
public:
    /// Containers within containers.
    static constexpr int MaxDepth = 512;
    /// Values in the whole tree, each counted once per place it appears at.
    static constexpr quint32 MaxValues = 4'000'000;

    explicit DecodingBudget(qsizetype documentSize);

    /// Raises once more than MaxValues were added.
    void addValues(quint64 count);
    /// Bytes that are compared, hashed or converted after the first reading; raises if they are out of proportion to
    /// the document.
    void addWork(quint64 bytes);
    /// Raises past MaxDepth.
    static void checkDepth(int depth);

private:
    quint64 m_values = MaxValues;
    quint64 m_work;
};

/// How large and how deep a decoded value is, shared parts counted in each place.
struct DecodedSize {
    quint64 bytes = 0;
    quint32 values = 1;
    quint32 height = 0;

    /// Counts an element of a container. Raises past DecodingBudget::MaxValues or MaxDepth: a part that was
    /// decoded elsewhere before brings its own height along.
    void addElement(const DecodedSize &element);
    /// Counts what a value is made from and is no level of its own.
    void addContent(const DecodedSize &content);
};

/// A value as it is decoded: what is referred to from several places is decoded once.
struct DecodedValue {
    enum class State : quint8 { Unread, Open, Read };

    QVariant value;
    DecodedSize size;
    State state = State::Unread;
};

/// Fills a set from untrusted values: refuses floods of elements that hash alike but differ.
class SetBuilder {
public:
    explicit SetBuilder(DecodingBudget &budget) : m_budget(budget) {}

    void insert(const QVariant &value, const DecodedSize &size);
    QVariant set() const { return QVariant::fromValue(m_set); }

private:
    DecodingBudget &m_budget;
    NSSet m_set;
    QHash<size_t, int> m_alike;
};

/// Fills a dictionary from untrusted keys and values: each key once.
class DictionaryBuilder {
public:
    explicit DictionaryBuilder(DecodingBudget &budget) : m_budget(budget) {}

    void insert(const QString &key, const QVariant &value);
    QVariant dictionary() const { return m_map; }

private:
    DecodingBudget &m_budget;
    QVariantMap m_map;
};

} // namespace zr
