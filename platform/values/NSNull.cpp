// SPDX-License-Identifier: MIT
#include "platform/values/NSNull.h"

#include "platform/values/NSError.h"
#include "platform/values/NSObjectRuntime.h"

#include <QDateTime>
#include <QObject>
#include <QUrl>

bool NSIsNull(const QVariant &value) {
    return value.metaType().id() == QMetaType::Nullptr;
}

bool NSIsNil(const QVariant &value) {
    switch (value.metaType().id()) {
    case QMetaType::UnknownType:
        return true;
    case QMetaType::QString:
        return value.value<QString>().isNull();
    case QMetaType::QByteArray:
        return value.value<QByteArray>().isNull();
    case QMetaType::QDateTime:
        return !value.value<QDateTime>().isValid();
    case QMetaType::QUrl:
        return value.value<QUrl>().isEmpty();
    default:
        if (value.metaType().flags() & QMetaType::PointerToQObject)
            return !*static_cast<QObject *const *>(value.constData());
        return value.metaType() == QMetaType::fromType<NSError>() && value.value<NSError>().isNil();
    }
}

QString NSDescription(const QVariant &value) {
    return NSObjectRuntime::description(value);
}
