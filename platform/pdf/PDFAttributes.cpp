// SPDX-License-Identifier: MIT
#include "platform/pdf/PDFAttributes.h"

#include "platform/pdf/PDFText.h"
#include "platform/values/NSNull.h"

#include <QDateTime>

void PDFReadAttribute(QVariantMap &attributes, const PDFAttribute &attribute, const QByteArray &bytes) {
    if (!attribute.isDate) {
        attributes.insert(attribute.name(), PDFTextFromBytes(bytes));
        return;
    }
    const QDateTime date = PDFDateFromBytes(bytes);
    if (date.isValid())
        attributes.insert(attribute.name(), date);
}

QByteArray PDFAttributeBytes(const QVariantMap &attributes, const PDFAttribute &attribute) {
    const auto found = attributes.constFind(attribute.name());
    if (found == attributes.constEnd())
        return {};
    return attribute.isDate ? PDFDateBytes(found->toDateTime()) : PDFTextBytes(found->toString());
}

QVariantMap PDFCleanAttributes(const QVariantMap &attributes) {
    QVariantMap clean;
    for (const PDFAttribute &attribute : PDFAttributes) {
        const QVariant value = attributes.value(attribute.name());
        if (NSIsNil(value) || NSIsNull(value))
            continue;
        if (!attribute.isDate) {
            if (value.canConvert<QString>())
                clean.insert(attribute.name(), PDFCleanText(value.toString()));
            continue;
        }
        const QDateTime date = value.toDateTime().toUTC();
        if (date.isValid() && date.date().year() >= 0 && date.date().year() <= 9999)
            clean.insert(attribute.name(), QDateTime::fromSecsSinceEpoch(date.toSecsSinceEpoch(), Qt::UTC));
    }
    return clean;
}
