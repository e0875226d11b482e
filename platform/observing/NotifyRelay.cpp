// SPDX-License-Identifier: MIT
#include "platform/observing/NotifyRelay.h"

using namespace zr;

NotifyRelay::NotifyRelay(Function function, void *context) : m_function(function) {
    moveToThread(nullptr); // it belongs to no thread, so that any may destroy it
    m_context.store(context, std::memory_order_release);
}

void NotifyRelay::connectTo(const QObject *object, const QMetaProperty &property) {
    static const int slot = staticMetaObject.indexOfSlot("changed()");
    QMetaObject::connect(object, property.notifySignalIndex(), this, slot, Qt::DirectConnection);
}

void NotifyRelay::disconnectFrom(const QObject *object) {
    QObject::disconnect(object, nullptr, this, nullptr);
}

void NotifyRelay::changed() {
    void *const context = m_context.load(std::memory_order_acquire);
    m_function(context);
}

#include "moc_NotifyRelay.cpp"
