// SPDX-License-Identifier: MIT
#include "platform/interface/InterfaceAttributes.h"

#include "platform/values/NSObjectRuntime.h"

#include <QDynamicPropertyChangeEvent>
#include <QVariant>

bool zr::attributeArrived(QObject *object, const QEvent *event) {
    if (event->type() != QEvent::DynamicPropertyChange)
        return false;
    const QByteArray name = static_cast<const QDynamicPropertyChangeEvent *>(event)->propertyName();
    const QVariant value = object->property(name);
    const NSSelector attribute("setValue:forUndefinedKey:");
    if (!value.isValid() || name.startsWith("_q_") ||
        !NSObjectRuntime::respondsTo(QVariant::fromValue(object), attribute))
        return false;
    NSObjectRuntime::perform(QVariant::fromValue(object), attribute, {value, QString::fromUtf8(name)});
    return true;
}
