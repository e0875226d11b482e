// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCCall.h"

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/base/NSException.h"
#include "platform/values/NSNull.h"

using namespace zr;

namespace {

// A value travels as a dictionary of one entry, nil as an empty one, data by its segment's number.
const QString selectorKey = QStringLiteral("selector");
const QString valuesKey = QStringLiteral("values");
const QString errorKey = QStringLiteral("error");
const QString valueKey = QStringLiteral("value");
const QString segmentKey = QStringLiteral("segment");

[[noreturn]] void refuse(const char *why) {
    throw NSException(NSInvalidArgumentException, QString::fromLatin1(why));
}

} // namespace

XPCFrame XPCCall::frame(XPCFrame::Kind kind, quint64 exchange) const {
    XPCFrame frame;
    frame.kind = kind;
    frame.exchange = exchange;
    QVariantList packed;
    packed.reserve(values.size());
    for (const QVariant &value : values) {
        if (value.metaType().id() == QMetaType::QByteArray && !NSIsNil(value)) {
            packed.append(QVariantMap{{segmentKey, qlonglong(frame.segments.size())}});
            frame.segments.push_back(value.toByteArray());
        } else {
            packed.append(NSIsNil(value) ? QVariantMap() : QVariantMap{{valueKey, value}});
        }
    }
    QVariantMap call{{valuesKey, packed}};
    if (!selector.isNull())
        call.insert(selectorKey, selector);
    if (error)
        call.insert(errorKey, QVariant::fromValue(error));
    frame.archive = NSKeyedArchiver::archivedDataWithRootObject(call);
    return frame;
}

XPCCall XPCCall::fromFrame(const XPCFrame &frame) {
    const QVariant root = NSKeyedUnarchiver::unarchiveObjectWithData(frame.archive);
    if (root.metaType().id() != QMetaType::QVariantMap)
        refuse("a call is a dictionary");
    const QVariantMap map = root.toMap();
    const QVariant selector = map.value(selectorKey);
    const QVariant values = map.value(valuesKey);
    const QVariant error = map.value(errorKey);
    if (selector.isValid() != (frame.kind == XPCFrame::Kind::Message) ||
        (selector.isValid() && selector.metaType().id() != QMetaType::QString))
        refuse("a message, and nothing else, has a selector");
    if (values.metaType().id() != QMetaType::QVariantList)
        refuse("a call's values are an array");
    if (error.isValid() && error.metaType() != QMetaType::fromType<NSError>())
        refuse("a call's error is an error");

    XPCCall call;
    call.selector = selector.toString();
    call.error = error.value<NSError>();
    for (const QVariant &packed : values.toList()) {
        const QVariantMap entry = packed.toMap();
        if (packed.metaType().id() != QMetaType::QVariantMap || entry.size() > 1)
            refuse("a value is a dictionary of at most one entry");
        if (entry.contains(segmentKey)) {
            bool isNumber = false;
            const qulonglong number = entry.value(segmentKey).toULongLong(&isNumber);
            if (!isNumber || number >= frame.segments.size())
                refuse("a value names a segment that isn't there");
            call.values.append(frame.segments[std::size_t(number)]);
        } else {
            call.values.append(entry.value(valueKey));
        }
    }
    return call;
}
