// SPDX-License-Identifier: MIT
#pragma once

#include "platform/observing/NSKeyValueObserving.h"

#include <QMetaType>
#include <QVariantMap>
#include <cstdint>
#include <cstring>

/// The bytes of a plain number: a bool, an int, a double and the like.
using NumberBytes = std::uint64_t;

/// A change dictionary with places for values, to be filled again and again: most observers only look at it.
class KeyValueChange {
public:
    /// \param numbers  the type of both values if they are plain numbers, for setNumbers()
    KeyValueChange(bool hasNew, bool hasOld, QMetaType numbers = {})
        : m_dictionary{{NSKeyValueChangeKindKey, NSKeyValueChangeSetting}} {
        const auto place = [&](const QString &key) {
            QVariant &value = m_dictionary[key];
            if (numbers.isValid())
                value = QVariant(numbers);
            return &value;
        };
        if (hasNew)
            m_new = place(NSKeyValueChangeNewKey);
        if (hasOld)
            m_old = place(NSKeyValueChangeOldKey);
        if (!numbers.isValid())
            return;
        m_newNumber = m_new ? m_new->data() : nullptr;
        m_oldNumber = m_old ? m_old->data() : nullptr;
        m_size = std::size_t(numbers.sizeOf());
    }

    const QVariantMap &dictionary() const { return m_dictionary; }

    bool has(bool newValue, bool oldValue) const {
        return newValue == bool(m_new) && oldValue == bool(m_old);
    }
    /// nullptr without a place for it.
    QVariant *newValue() { return m_new; }
    QVariant *oldValue() { return m_old; }
    void setNumbers(NumberBytes newNumber, NumberBytes oldNumber) {
        if (m_newNumber)
            std::memcpy(m_newNumber, &newNumber, m_size);
        if (m_oldNumber)
            std::memcpy(m_oldNumber, &oldNumber, m_size);
    }
    void markAsPrior() { m_dictionary.insert(NSKeyValueChangeNotificationIsPriorKey, true); }

    /// False when somebody has kept the dictionary: it must not be filled again.
    bool isReusable() const { return m_dictionary.isDetached(); }
    void clear() {
        for (QVariant *value : {m_new, m_old})
            if (value)
                value->clear();
    }

private:
    QVariantMap m_dictionary;
    QVariant *m_new = nullptr;
    QVariant *m_old = nullptr;
    void *m_newNumber = nullptr; ///< where the number is kept in the value
    void *m_oldNumber = nullptr;
    std::size_t m_size = 0;
};
