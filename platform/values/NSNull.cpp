// SPDX-License-Identifier: MIT
#include "platform/values/NSNull.h"

#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSError.h"

#include <QDateTime>
#include <QDebug>
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
        return value.metaType() == QMetaType::fromType<NSError>() && value.value<NSError>().isNil();
    }
}

QString NSDescription(const QVariant &value) {
    if (NSIsNil(value))
        return QStringLiteral("(null)");
    if (NSIsNull(value))
        return QStringLiteral("<null>");
    if (value.metaType() == QMetaType::fromType<NSError>())
        return value.value<NSError>().description();
    if (value.metaType() == QMetaType::fromType<NSDecimalNumber>())
        return value.value<NSDecimalNumber>().stringValue();
    if (value.canConvert<QString>())
        return value.toString();
    QString text;
    QDebug(&text).noquote().nospace() << value;
    return text;
}
