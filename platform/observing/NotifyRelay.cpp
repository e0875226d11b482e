// SPDX-License-Identifier: MIT
#include "platform/observing/NotifyRelay.h"

#include <utility>

NotifyRelay::NotifyRelay(std::function<void()> changed) : m_changed(std::move(changed)) {
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
    // The copy lives on if the relay doesn't.
    const auto call = m_changed;
    call();
}

#include "moc_NotifyRelay.cpp"
