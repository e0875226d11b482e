// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaProperty>
#include <QObject>
#include <functional>

/// Passes a property's NOTIFY signal on to a function, on the thread that emits it.
class NotifyRelay : public QObject {
    Q_OBJECT

public:
    /// The function must not throw; it may destroy the relay.
    explicit NotifyRelay(std::function<void()> changed);

    void connectTo(const QObject *object, const QMetaProperty &property);
    void disconnectFrom(const QObject *object);

    Q_SLOT void changed();

private:
    const std::function<void()> m_changed;
};
