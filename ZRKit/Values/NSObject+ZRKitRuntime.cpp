// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/base/NSException.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNotificationCenter.h"
#include "platform/values/ObjectMembers.h"
#include "platform/values/ValueKind.h"

#include <QMetaClassInfo>
#include <QMetaProperty>
#include <algorithm>

using namespace zr;

namespace ZRKit {

namespace {

/// A class's own variables are, to the meta-object, the writable properties that the class itself declares.
bool declaresVariable(const QMetaObject &metaObject, const QStringList &names) {
    for (int i = metaObject.propertyOffset(); i < metaObject.propertyCount(); ++i) {
        const QMetaProperty property = metaObject.property(i);
        if (property.isWritable() && names.contains(QString::fromUtf8(property.name())))
            return true;
    }
    return false;
}

bool accessInstanceVariablesDirectly(const QMetaObject &metaObject) {
    const int index = metaObject.indexOfClassInfo("accessInstanceVariablesDirectly");
    return index < 0 || qstrcmp(metaObject.classInfo(index).value(), "NO") != 0;
}

} // namespace

QObject *AnyObject::object() const {
    return objectOf(m_value);
}

bool AnyObject::isNil() const {
    return kindOf(m_value) == ValueKind::Nil;
}

QStringList methodsArray(const AnyObject &receiver) {
    const QMetaObject *metaObject = metaObjectOf(receiver.value());
    return metaObject ? methodsArray(*metaObject) : QStringList();
}

QStringList methodsArray(const QMetaObject &metaObject) {
    return NSObjectRuntime::methodNames(metaObject);
}

NSSelector selectorByCName(const AnyObject &receiver, const char *name) {
    if (!name || receiver.isNil())
        return {};
    QByteArray letters("");
    for (const char *at = name; *at; ++at) {
        if (*at < '-' || *at > '/')
            letters += *at;
    }
    return NSSelector(letters.constData());
}

QVariant performByCName(const AnyObject &receiver, const char *name, const AnyObject &object) {
    const NSSelector selector = selectorByCName(receiver, name);
    return NSObjectRuntime::respondsTo(receiver.value(), selector)
               ? NSObjectRuntime::performWithObject(receiver.value(), selector, object.value())
               : QVariant();
}

std::optional<NSInvocation> invocationByCName(const AnyObject &receiver, const char *name) {
    const NSSelector selector = selectorByCName(receiver, name);
    if (!NSObjectRuntime::respondsTo(receiver.value(), selector))
        return std::nullopt;
    return NSInvocation(receiver.value(), selector);
}

bool canSetValueForKey(const AnyObject &receiver, const AnyText &key) {
    if (receiver.isNil())
        return false;
    if (key.isEmpty())
        throw NSException(NSRangeException, QStringLiteral("A key has at least one character."));
    const QString upper = key.left(1).toUpper() + key.mid(1);
    const NSSelector setter(QStringLiteral("set%1:").arg(upper));
    // A key with colons would name a message with more arguments.
    if (setter.argumentCount() == 1 && NSObjectRuntime::respondsTo(receiver.value(), setter))
        return true;
    const QMetaObject *metaObject = metaObjectOf(receiver.value());
    return metaObject && accessInstanceVariablesDirectly(*metaObject) &&
           declaresVariable(*metaObject, {QLatin1Char('_') + key, QStringLiteral("_is") + upper, key,
                                          QStringLiteral("is") + upper});
}

bool canSetValueForKeyPath(const AnyObject &receiver, const AnyText &keyPath) {
    const qsizetype point = keyPath.indexOf(QLatin1Char('.'));
    if (point < 0)
        return canSetValueForKey(receiver, keyPath);
    const QString head = keyPath.left(point);
    return canSetValueForKey(receiver, head) &&
           canSetValueForKeyPath(NSKeyValueCoding::valueForKey(receiver.value(), head),
                                 keyPath.mid(point + 1));
}

void handleIBKey(const AnyObject &receiver, const AnyText &key, const IBKeyTable &table) {
    if (receiver.isNil())
        return;
    QString normal = key;
    if (normal.startsWith(QStringLiteral("IB")))
        normal.remove(0, 2);
    if (normal.startsWith(QLatin1Char('$')))
        normal.remove(0, 1);
    normal = normal.toLower();
    const auto matches = [&](const auto &entry) {
        const ValueKind kind = kindOf(entry.first);
        if (kind == ValueKind::Array) {
            const QVariantList texts = arrayOf(entry.first);
            return std::any_of(texts.begin(), texts.end(), [&](const QVariant &text) {
                return kindOf(text) == ValueKind::String && held<QString>(text) == normal;
            });
        }
        return kind == ValueKind::String && held<QString>(entry.first) == normal;
    };
    const auto entry = std::find_if(table.begin(), table.end(), matches);
    if (entry == table.end() || !entry->second)
        return;
    const std::function<void()> block = entry->second; // it may change the table
    block();
}

void addObserverName(QObject *receiver, const AnyText &name, const NSSelector &selector) {
    if (receiver)
        NSNotificationCenter::defaultCenter().addObserver(receiver, selector, name);
}

void postNotificationName(const AnyObject &receiver, const AnyText &name) {
    if (!receiver.isNil())
        NSNotificationCenter::defaultCenter().postNotificationName(name, receiver.value());
}

void removeAllObservers(QObject *receiver) {
    NSNotificationCenter::defaultCenter().removeObserver(receiver);
}

} // namespace ZRKit
