// SPDX-License-Identifier: MIT
#include "platform/values/NSObjectRuntime.h"

#include "platform/base/NSException.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NumberText.h"
#include "platform/values/ObjectMembers.h"
#include "platform/values/ValueKind.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QUrl>

using namespace zr;

namespace {

bool hasMembers(ValueKind kind) {
    return kind == ValueKind::Object || kind == ValueKind::Gadget;
}

Member memberFor(const QVariant &receiver, const NSSelector &selector) {
    return memberNamed(metaObjectOf(receiver), selector.methodName(), selector.argumentCount());
}

/// A number, decimal or text as a number of the type.
QVariant convertedNumber(const QVariant &value, QMetaType type) {
    switch (type.id()) {
    case QMetaType::Bool:
        return boolValue(value);
    case QMetaType::Float:
        return floatValue(value);
    case QMetaType::Double:
        return zr::doubleValue(value);
    default: {
        const bool isUnsigned = type.id() == QMetaType::ULong || type.id() == QMetaType::ULongLong;
        QVariant number =
            isUnsigned ? QVariant(unsignedLongLongValue(value)) : QVariant(longLongValue(value));
        // An enumerator's name.
        if (type.flags() & QMetaType::IsEnumeration && kindOf(value) == ValueKind::String)
            number = QMetaType::canConvert(value.metaType(), type) ? value : number;
        return number.convert(type) ? number : QVariant();
    }
    }
}

} // namespace

namespace NSObjectRuntime {

QString className(const QVariant &value) {
    const ValueKind kind = kindOf(value);
    if (kind == ValueKind::Nil)
        return {};
    if (kind == ValueKind::Null)
        return QStringLiteral("NSNull");
    const QMetaObject *metaObject = metaObjectOf(value);
    const QString name = QString::fromUtf8(metaObject ? metaObject->className() : value.metaType().name());
    const qsizetype arguments = name.indexOf(QLatin1Char('<'));
    const qsizetype scope = name.lastIndexOf(QStringLiteral("::"), arguments < 0 ? -1 : arguments);
    return scope < 0 ? name : name.mid(scope + 2);
}

bool hasStringValue(const QVariant &given) {
    QVariant made;
    const QVariant &value = plain(given, made);
    const ValueKind kind = kindOf(value);
    return kind == ValueKind::Number || kind == ValueKind::Decimal || kind == ValueKind::String ||
           (hasMembers(kind) && respondsTo(value, NSSelector("stringValue")));
}

QString stringValue(const QVariant &given) {
    QVariant made;
    const QVariant &value = plain(given, made);
    switch (kindOf(value)) {
    case ValueKind::Number: {
        if (value.typeId() == QMetaType::Float)
            return NumberText::text(held<float>(value));
        const Number number = numberOf(value);
        return number.sort == Number::Signed     ? QString::number(number.whole)
               : number.sort == Number::Unsigned ? QString::number(number.large)
                                                 : NumberText::text(number.real);
    }
    case ValueKind::Decimal:
        return held<NSDecimalNumber>(value).stringValue();
    case ValueKind::String:
        return held<QString>(value);
    default:
        return answer(value, "stringValue").value_or(QVariant()).toString();
    }
}

double doubleValue(const QVariant &value) {
    return hasMembers(kindOf(value)) ? answer(value, "doubleValue").value_or(0).toDouble()
                                     : zr::doubleValue(value);
}

bool respondsTo(const QVariant &receiver, const NSSelector &selector) {
    return bool(memberFor(receiver, selector));
}

std::optional<QVariant> answer(const QVariant &receiver, const char *name) {
    // The name needs no memory of its own.
    const Member member =
        memberNamed(metaObjectOf(receiver), QByteArray::fromRawData(name, qstrlen(name)), 0);
    if (!member)
        return std::nullopt;
    QVariant own = receiver;
    return callMember(own, member, {});
}

QVariant perform(const QVariant &receiver, const NSSelector &selector, const QVariantList &arguments) {
    if (kindOf(receiver) == ValueKind::Nil)
        return {};
    const Member member = memberFor(receiver, selector);
    if (!member)
        raiseUnrecognized(receiver, selector);
    if (arguments.size() != selector.argumentCount())
        throw NSException(NSInvalidArgumentException, QStringLiteral("%1 takes %2 arguments, not %3.")
                                                          .arg(selector.name())
                                                          .arg(selector.argumentCount())
                                                          .arg(arguments.size()));
    QVariant own = receiver; // what a gadget's method changes is this copy
    return callMember(own, member, arguments);
}

QVariant performWithObject(const QVariant &receiver, const NSSelector &selector, const QVariant &object) {
    QVariantList arguments(selector.argumentCount());
    if (!arguments.isEmpty())
        arguments[0] = object;
    return perform(receiver, selector, arguments);
}

QVariant converted(const QVariant &given, QMetaType type) {
    if (!type.isValid())
        return {};
    if (type.id() == QMetaType::QVariant || given.metaType() == type)
        return given;
    QVariant made;
    const QVariant &value = plain(given, made);
    const ValueKind kind = kindOf(value);
    if (kind == ValueKind::Nil || kind == ValueKind::Null)
        return QVariant(type);
    const bool isNumber = kind == ValueKind::Number || kind == ValueKind::Decimal;
    if (type == QMetaType::fromType<NSDecimalNumber>())
        return isNumber || kind == ValueKind::String
                   ? QVariant::fromValue(NSDecimalNumber(stringValue(value)))
                   : QVariant();
    if (isNumber && type.id() == QMetaType::QString)
        return stringValue(value);
    if ((isNumber || kind == ValueKind::String) && isArithmetic(type))
        return convertedNumber(value, type);
    if (kind == ValueKind::URL && type.id() == QMetaType::QString)
        return QString::fromLatin1(held<QUrl>(value).toEncoded());
    QVariant result = value;
    return !isArithmetic(type) && result.convert(type) ? result : QVariant();
}

QStringList methodNames(const QMetaObject &metaObject) {
    QStringList names;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        const QMetaMethod method = metaObject.method(i);
        if (isMessage(method))
            names << QString::fromUtf8(method.name()) + QString(method.parameterCount(), QLatin1Char(':'));
    }
    return names;
}

QStringList propertyNames(const QMetaObject &metaObject) {
    QStringList names;
    for (int i = metaObject.propertyOffset(); i < metaObject.propertyCount(); ++i)
        names << QString::fromUtf8(metaObject.property(i).name());
    return names;
}

void raiseUnrecognized(const QVariant &receiver, const NSSelector &selector) {
    throw NSException(
        NSInvalidArgumentException,
        QStringLiteral("%1 doesn't respond to the message %2.").arg(className(receiver), selector.name()));
}

} // namespace NSObjectRuntime
