// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "platform/text/Base64.h"
#include "platform/text/HexText.h"

#include <QUuid>

namespace ZRKit {

QString uuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QString uuidShort() {
    return NSHexText(QUuid::createUuid().toRfc4122());
}

QString uuidBase64() {
    QString text = Base64::encoded(QUuid::createUuid().toRfc4122());
    while (text.endsWith(u'='))
        text.chop(1);
    return text.replace(u'/', u'_').replace(u'+', u'-');
}

} // namespace ZRKit
