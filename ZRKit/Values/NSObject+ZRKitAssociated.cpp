// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/ZRMacros.h"
#include "platform/base/NSException.h"
#include "platform/base/NSObjectLock.h"
#include "platform/values/NSAssociatedObjects.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <mutex>

using namespace zr;

namespace ZRKit {

namespace {

constexpr char AssociationKey = 0;

/// What is attached: a dictionary, unless somebody attached something else in spite of the assertion.
struct Attached {
    std::mutex mutex;
    QVariant values;
};

std::shared_ptr<Attached> attachedTo(const QObject *receiver) {
    return std::static_pointer_cast<Attached>(NSAssociatedObjects::get(receiver, &AssociationKey));
}

void attach(QObject *receiver, const std::shared_ptr<Attached> &attached) {
    NSAssociatedObjects::set(receiver, &AssociationKey, attached);
}

QVariant mutableCopy(const QVariant &value) {
    switch (kindOf(value)) {
    case ValueKind::Dictionary:
    case ValueKind::String:
    case ValueKind::Data:
    case ValueKind::Array:
    case ValueKind::Set:
        return value;
    default:
        NSObjectRuntime::raiseUnrecognized(value, NSSelector("mutableCopyWithZone:"));
    }
}

} // namespace

QVariant associatedValues(const QObject *receiver) {
    const auto attached = attachedTo(receiver);
    if (!attached)
        return {};
    const std::lock_guard lock(attached->mutex);
    return attached->values;
}

void setAssociatedValues(QObject *receiver, const QVariant &associatedValues) {
    if (!receiver)
        return;
    if (kindOf(associatedValues) != ValueKind::Dictionary)
        zxAssertFailed("-[NSObject(ZRKit) setAssociatedValues:]",
                       "([associatedValues isKindOfClass:[NSDictionary class]])", "NSObject+ZRKit", 761);
    if (NSIsNil(associatedValues)) {
        attach(receiver, nullptr);
        return;
    }
    const auto attached = std::make_shared<Attached>();
    attached->values = mutableCopy(associatedValues);
    attach(receiver, attached);
}

QVariant associatedObjectForKey(const QObject *receiver, const AnyText &key) {
    const QVariant values = associatedValues(receiver);
    if (NSIsNil(values))
        return {};
    if (kindOf(values) != ValueKind::Dictionary)
        NSObjectRuntime::raiseUnrecognized(values, NSSelector("objectForKey:"));
    QVariant made;
    const QVariant *object = entryOf(values, key, made);
    return object ? *object : QVariant();
}

void setAssociatedObject(QObject *receiver, const AnyObject &object, const AnyText &key) {
    if (!receiver)
        return;
    std::shared_ptr<Attached> attached;
    {
        const NSObjectLock lock(receiver);
        attached = attachedTo(receiver);
        if (!attached) {
            attached = std::make_shared<Attached>();
            attached->values = QVariantMap();
            attach(receiver, attached);
        }
    }
    const std::lock_guard lock(attached->mutex);
    if (kindOf(attached->values) != ValueKind::Dictionary)
        NSObjectRuntime::raiseUnrecognized(attached->values, NSSelector("setObject:forKey:"));
    if (object.isNil())
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("nil can't be attached under the key \"%1\".").arg(key));
    if (key.isNull())
        throw NSException(NSInvalidArgumentException, QStringLiteral("Nothing can be attached under nil."));
    NSKeyValueCoding::setValueForKey(attached->values, object.value(), key);
}

} // namespace ZRKit
