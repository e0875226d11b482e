// SPDX-License-Identifier: MIT
#include "platform/interface/ActionSending.h"

#include "platform/base/NSException.h"
#include "platform/interface/NSResponder.h"
#include "platform/values/NSLog.h"
#include "platform/values/NSObjectRuntime.h"

#include <QApplication>
#include <QWidget>

using namespace zr;

namespace {

bool responds(QObject *object, const NSSelector &message) {
    return object && NSObjectRuntime::respondsTo(QVariant::fromValue(object), message);
}

QObject *firstResponding(QObject *from, const NSSelector &message) {
    // Responders may be set to follow one another in a circle.
    QObjectList seen;
    while (from && !seen.contains(from) && !responds(from, message)) {
        seen.append(from);
        from = NSResponderNext(from);
    }
    return seen.contains(from) ? nullptr : from;
}

} // namespace

void zr::logRaised() {
    NSLog("Exception in an event: %@", NSException::currentDescription());
}

std::optional<QVariant> zr::ask(const QPointer<QObject> &object, const NSSelector &message,
                                const QVariantList &arguments) {
    if (!responds(object, message))
        return std::nullopt;
    return NSObjectRuntime::perform(QVariant::fromValue(object.data()), message, arguments);
}

bool zr::sendAction(const NSSelector &action, QObject *target, QObject *sender) {
    if (action.isNil())
        return false;
    if (!target)
        target = firstResponding(QApplication::focusWidget(), action);
    if (!target && sender)
        target = firstResponding(sender->isWidgetType() ? sender : sender->parent(), action);
    if (!responds(target, action))
        return false;
    withoutRaising([&] {
        NSObjectRuntime::performWithObject(QVariant::fromValue(target), action, QVariant::fromValue(sender));
    });
    return true;
}
