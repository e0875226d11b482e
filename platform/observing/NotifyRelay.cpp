// SPDX-License-Identifier: MIT
#include "platform/observing/NotifyRelay.h"

NotifyRelay::NotifyRelay(Function function, void *context) : m_function(function), m_context(context) {
    moveToThread(nullptr); // it belongs to no thread, so that any may destroy it
}

void NotifyRelay::connectTo(const QObject *object, const QMetaProperty &property) {
    static const int slot = staticMetaObject.indexOfSlot("changed()");
    QMetaObject::connect(object, property.notifySignalIndex(), this, slot, Qt::DirectConnection);
}

void NotifyRelay::disconnectFrom(const QObject *object) {
    QObject::disconnect(object, nullptr, this, nullptr);
}

void NotifyRelay::changed() {
    m_function(m_context);
}

#include "moc_NotifyRelay.cpp"
