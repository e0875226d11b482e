// SPDX-License-Identifier: MIT
#include "ZRKit/Network/ZRJSON.h"

#include "ZRKit/Values/NSData+ZRKitBase64.h"
#include "ZRKit/Values/NSDate+ZRKit.h"
#include "ZRKit/Values/ZRCollection.h"
#include "platform/text/JSONWriter.h"
#include "platform/text/UTF8.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

using namespace zr;

namespace {

class KitJSONWriter : public JSONWriter {
public:
    using JSONWriter::JSONWriter;

protected:
    bool writeDictionary(const QVariant &value) override {
        if (value.metaType() != QMetaType::fromType<ZRCollection>())
            return false;
        bool first = true;
        beginObject();
        for (const auto &[key, object] : held<ZRCollection>(value))
            writeMember(key, object, std::exchange(first, false));
        endObject(first);
        return true;
    }
};

QByteArray written(const QVariant &value, NSJSONWritingOptions options) {
    return NSIsNil(value) ? QByteArray() : KitJSONWriter(options).write(value);
}

} // namespace

QVariant ZRKit::fromJSON(const QString &string) {
    return fromJSONData(NSDataUsingUTF8(string));
}

QVariant ZRKit::fromJSONData(const QByteArray &data) {
    return NSJSONSerialization::JSONObjectWithData(data);
}

QVariant ZRKit::jsonObject(const QVariant &receiver) {
    const auto dictionary = [](const auto &entries) {
        QVariantMap converted;
        for (auto it = entries.begin(); it != entries.end(); ++it)
            converted.insert(it.key(), jsonObject(it.value()));
        return converted;
    };
    switch (kindOf(receiver)) {
    case ValueKind::Dictionary:
        return dictionary(dictionaryOf(receiver));
    case ValueKind::Array: {
        QVariantList converted = arrayOf(receiver);
        for (QVariant &element : converted)
            element = jsonObject(element);
        return converted;
    }
    case ValueKind::Date:
        return unixTimeStampString(held<QDateTime>(receiver));
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(receiver).stringValue();
    default:
        if (receiver.metaType() == QMetaType::fromType<ZRCollection>())
            return dictionary(held<ZRCollection>(receiver));
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
