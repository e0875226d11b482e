// SPDX-License-Identifier: MIT
#include "platform/values/NSNull.h"

#include "platform/base/NSError.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QJsonValue>
#include <QObject>
#include <QUrl>

using namespace zr;

bool NSIsNull(const QVariant &value) {
    return value.typeId() == QMetaType::Nullptr ||
           (value.typeId() == QMetaType::QJsonValue && held<QJsonValue>(value).isNull());
}

bool NSIsNil(const QVariant &value) {
    switch (value.metaType().id()) {
    case QMetaType::UnknownType:
        return true;
    case QMetaType::QString:
        return held<QString>(value).isNull();
    case QMetaType::QByteArray:
        return held<QByteArray>(value).isNull();
    case QMetaType::QDateTime:
        return !held<QDateTime>(value).isValid();
    case QMetaType::QUrl:
        return held<QUrl>(value).isEmpty();
    case QMetaType::QJsonValue:
        return held<QJsonValue>(value).isUndefined();
    default:
        if (value.metaType().flags() & QMetaType::PointerToQObject)
            return !held<QObject *>(value);
        return value.metaType() == QMetaType::fromType<NSError>() && value.value<NSError>().isNil();
    }
}

QString NSDescription(const QVariant &value) {
    return NSObjectRuntime::description(value);
}
