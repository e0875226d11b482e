// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaProperty>
#include <QObject>
#include <atomic>

namespace zr {

/// Passes a property's NOTIFY signal on to a function, on the thread that emits it.
class NotifyRelay : public QObject {
    Q_OBJECT

public:
    using Function = void (*)(void *context);

    /// The function must not raise; it may destroy the relay.
    NotifyRelay(Function function, void *context);

    void connectTo(const QObject *object, const QMetaProperty &property);
    void disconnectFrom(const QObject *object);

    Q_SLOT void changed();

private:
    const Function m_function;
    /// Also makes what was written before connecting visible to threads that emit the signal: they meet it
    /// through the signal's connections only.
    std::atomic<void *> m_context = nullptr;
};

} // namespace zr
