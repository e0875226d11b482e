// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRJSON.h"

#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "ZRKit/Values/NSDate+ZRKit.h"
#include "platform/text/JSONKeys.h"
#include "platform/text/NSJSONSerialization.h"
#include "platform/text/UTF8.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

using namespace zr;

namespace {

QByteArray written(const QVariant &value, NSJSONWritingOptions options) {
    return NSIsNil(value) ? QByteArray() : NSJSONSerialization::dataWithJSONObject(value, options);
}

} // namespace

QVariant ZRKit::fromJSON(const AnyText &string) {
    return fromJSONData(NSDataUsingUTF8(QString(string)));
}

QVariant ZRKit::fromJSONData(const QByteArray &data) {
    return NSJSONSerialization::JSONObjectWithData(data);
}

QVariant ZRKit::jsonObject(const QVariant &receiver) {
    switch (kindOf(receiver)) {
    case ValueKind::Dictionary: {
        requireTextKeys(receiver);
        QVariantMap converted = dictionaryOf(receiver);
        for (QVariant &value : converted)
            value = jsonObject(value);
        return converted;
    }
    case ValueKind::Array: {
        QVariantList converted = arrayOf(receiver);
        for (QVariant &element : converted)
            element = jsonObject(element);
        return converted;
    }
    case ValueKind::Date:
        return unixTimeStampString(receiver.toDateTime());
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(receiver).stringValue();
    default:
        return receiver;
    }
}

QByteArray ZRKit::toJSONData(const QVariant &receiver) {
    return written(receiver, 0);
}

QString ZRKit::toJSON(const QVariant &receiver) {
    return string(written(receiver, 0));
}

QString ZRKit::toJSONPretty(const QVariant &receiver) {
    return string(written(receiver, NSJSONWritingPrettyPrinted));
}
