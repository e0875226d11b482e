// SPDX-License-Identifier: MIT
// Archives, object by object: well-formed property lists whose objects refer to one another in any way, so
// that the fuzzer spends its time behind the format's outer checks.
#include "platform/archive/NSPropertyList.h"
#include "tests/fuzz/ArchiveRoundTrip.h"

#include <QDateTime>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

constexpr const char *Classes[] = {
    "NSArray",         "NSMutableArray", "NSData",   "NSMutableData",       "NSDate",
    "NSDecimalNumber", "NSDictionary",   "NSError",  "NSMutableDictionary", "NSNull",
    "NSNumber",        "NSSet",          "NSString", "NSMutableString",     "NSURL",
    "NSUUID",          "NSOther"};
constexpr const char *Fields[] = {
    "NS.objects",  "NS.keys",     "NS.string",   "NS.bytes",       "NS.data",     "NS.time",    "NS.base",
    "NS.number",   "NS.relative", "NS.intval",   "NSCode",         "NSDomain",    "NSUserInfo", "NS.length",
    "NS.exponent", "NS.negative", "NS.mantissa", "NS.mantissa.bo", "NS.uuidbytes"};

QVariant reference(FuzzedDataProvider &bytes) {
    return QVariant::fromValue(NSPropertyListUID{bytes.ConsumeIntegralInRange<quint64>(0, 40)});
}

QVariant plain(FuzzedDataProvider &bytes) {
    switch (bytes.ConsumeIntegralInRange(0, 8)) {
    case 0:
        return QString::fromLatin1(bytes.ConsumeRandomLengthString(20));
    case 1: {
        const std::string text = bytes.ConsumeRandomLengthString(20);
        return QString::fromUtf16(reinterpret_cast<const char16_t *>(text.data()),
                                  qsizetype(text.size() / 2));
    }
    case 2:
        return QByteArray::fromStdString(bytes.ConsumeRandomLengthString(20));
    case 3:
        return QByteArray::fromStdString(bytes.ConsumeBytesAsString(16));
    case 4:
        return bytes.ConsumeBool();
    case 5:
        return bytes.ConsumeIntegral<quint64>();
    case 6:
        return bytes.ConsumeIntegralInRange<qint64>(-130, 130);
    case 7:
        return bytes.ConsumeFloatingPoint<double>();
    default:
        return QDateTime::fromMSecsSinceEpoch(bytes.ConsumeIntegral<qint32>(), Qt::UTC);
    }
}

QVariant references(FuzzedDataProvider &bytes) {
    QVariantList list;
    for (int count = bytes.ConsumeIntegralInRange(0, 6); count > 0; --count)
        list.append(reference(bytes));
    return list;
}

QVariant object(FuzzedDataProvider &bytes) {
    // Classes come first in the table, so that most references to a class find one.
    constexpr int ClassCount = int(std::size(Classes));
    QVariantMap object = {
        {QStringLiteral("$class"),
         QVariant::fromValue(NSPropertyListUID{quint64(bytes.ConsumeIntegralInRange(1, ClassCount))})}};
    for (int count = bytes.ConsumeIntegralInRange(1, 7); count > 0; --count) {
        const QString field = QString::fromLatin1(bytes.PickValueInArray(Fields));
        const int kind = bytes.ConsumeIntegralInRange(0, 3);
        object.insert(field, kind == 0 ? plain(bytes) : kind == 1 ? reference(bytes) : references(bytes));
    }
    return object;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    QVariantList objects = {QStringLiteral("$null")};
    for (const char *name : Classes)
        objects.append(QVariantMap{{QStringLiteral("$classname"), QString::fromLatin1(name)},
                                   {QStringLiteral("$classes"), QVariantList{QString::fromLatin1(name)}}});
    for (int count = bytes.ConsumeIntegralInRange(1, 24); count > 0; --count)
        objects.append(bytes.ConsumeBool() ? object(bytes) : plain(bytes));
    const QVariantMap archive = {
        {QStringLiteral("$version"), 100000},
        {QStringLiteral("$archiver"), QStringLiteral("NSKeyedArchiver")},
        {QStringLiteral("$top"), QVariantMap{{QStringLiteral("root"), reference(bytes)}}},
        {QStringLiteral("$objects"), objects},
    };
    readArchiveTwice(NSPropertyList::dataFromPropertyList(archive));
    return 0;
}
