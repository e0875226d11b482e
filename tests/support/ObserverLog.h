// SPDX-License-Identifier: MIT
#pragma once

#include "platform/observing/NSKeyValueObserving.h"

#include <QStringList>
#include <functional>
#include <mutex>

/// Writes down each notification as "key:will" or "key:did"; a hook may do more.
class ObserverLog : public NSKeyValueObserver {
public:
    using Hook = std::function<void(const QString &entry, const QVariantMap &change)>;

    explicit ObserverLog(Hook hook = nullptr) : m_hook(std::move(hook)) {}

    void observeValueForKeyPath(const QString &keyPath, QObject *, const QVariantMap &change,
                                void *) override {
        const bool prior = change.contains(NSKeyValueChangeNotificationIsPriorKey);
        const QString entry = keyPath + (prior ? QStringLiteral(":will") : QStringLiteral(":did"));
        {
            const std::lock_guard lock(m_mutex);
            m_entries.append(entry);
        }
        if (m_hook)
            m_hook(entry, change);
    }

    QStringList entries() const {
        const std::lock_guard lock(m_mutex);
        return m_entries;
    }

private:
    const Hook m_hook;
    mutable std::mutex m_mutex;
    QStringList m_entries;
};
