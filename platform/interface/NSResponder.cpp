// SPDX-License-Identifier: MIT
#include "platform/interface/NSResponder.h"

#include "platform/values/NSAssociatedObjects.h"

#include <QPointer>
#include <QWidget>

namespace {

const char nextResponderKey = 0;

} // namespace

QObject *NSResponderNext(const QObject *responder) {
    if (const auto next = std::static_pointer_cast<QPointer<QObject>>(
            NSAssociatedObjects::get(responder, &nextResponderKey)))
        return *next;
    const auto *const widget = qobject_cast<const QWidget *>(responder);
    return widget ? widget->parentWidget() : nullptr;
}

void NSResponderSetNext(QObject *responder, QObject *next) {
    NSAssociatedObjects::set(responder, &nextResponderKey,
                             next ? std::make_shared<QPointer<QObject>>(next) : nullptr);
}
