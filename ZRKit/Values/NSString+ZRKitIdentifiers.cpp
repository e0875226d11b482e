// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/text/Base64.h"

#include <QUuid>

namespace ZRKit {

QString uuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QString uuidShort() {
    return QString::fromLatin1(QUuid::createUuid().toRfc4122().toHex());
}

QString uuidBase64() {
    QString text = zr::Base64::encoded(QUuid::createUuid().toRfc4122());
    while (text.endsWith(u'='))
        text.chop(1);
    return text.replace(u'/', u'_').replace(u'+', u'-');
}

} // namespace ZRKit
