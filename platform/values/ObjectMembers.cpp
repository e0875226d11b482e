// SPDX-License-Identifier: MIT
#include "platform/values/ObjectMembers.h"

#include "platform/base/NSException.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <QHash>
#include <QMetaProperty>
#include <array>
#include <utility>

namespace zr {

namespace {

int propertyForSetter(const QMetaObject &metaObject, const QByteArray &name) {
    if (!name.startsWith("set") || name.size() < 4)
        return -1;
    QByteArray property = name.mid(3);
    int index = metaObject.indexOfProperty(property.constData());
    if (index < 0) {
        property[0] = char(std::tolower(uchar(property[0])));
        index = metaObject.indexOfProperty(property.constData());
    }
    return index >= 0 && metaObject.property(index).isWritable() ? index : -1;
}

Member search(const QMetaObject &metaObject, const QByteArray &name, int arguments) {
    for (int i = metaObject.methodCount() - 1; i >= 0; --i) {
        const QMetaMethod method = metaObject.method(i);
        if (isMessage(method) && method.parameterCount() == arguments && method.name() == name)
            return {Member::Method, i};
    }
    if (arguments == 0) {
        const int index = metaObject.indexOfProperty(name.constData());
        if (index >= 0 && metaObject.property(index).isReadable())
            return {Member::Getter, index};
    } else if (arguments == 1) {
        if (const int index = propertyForSetter(metaObject, name); index >= 0)
            return {Member::Setter, index};
    }
    return {};
}

/// What `find` gives for a name in a class, from memory from the second time on. `use` tells apart what is
/// asked of the same name.
template <typename Name, typename Find>
Member remembered(const QMetaObject *metaObject, const Name &name, int use, Find find) {
    constexpr qsizetype Most = 1000;
    struct Class {
        // A class made at run time may lie where another one was.
        const char *name = nullptr;
        int methods = 0, properties = 0;
        QHash<std::pair<int, Name>, Member> members;

        bool isStill(const QMetaObject &other) const {
            return name == other.className() && methods == other.methodCount() &&
                   properties == other.propertyCount();
        }
    };
    thread_local QHash<const QMetaObject *, Class> classes;

    if (!metaObject || name.isEmpty())
        return {};
    auto at = classes.find(metaObject);
    if (at == classes.end() || !at->isStill(*metaObject)) {
        if (classes.size() >= Most)
            classes.clear();
        at = classes.insert(
            metaObject,
            {metaObject->className(), metaObject->methodCount(), metaObject->propertyCount(), {}});
    }
    if (const auto known = at->members.constFind({use, name}); known != at->members.constEnd())
        return *known;
    const Member found = find();
    if (at->members.size() >= Most)
        at->members.clear();
    at->members.insert({use, Name(name.constData(), name.size())}, found);
    return found;
}

[[noreturn]] void raiseNotConvertible(const QVariant &value, const char *type) {
    throw NSException(NSInvalidArgumentException,
                      QStringLiteral("A value of class %1 can't be passed where %2 is expected.")
                          .arg(NSObjectRuntime::className(value), QLatin1String(type)));
}

QVariant argument(const QVariant &value, QMetaType type, const char *typeName) {
    QVariant argument = NSObjectRuntime::converted(value, type);
    if (!argument.isValid() && type.id() != QMetaType::QVariant)
        raiseNotConvertible(value, typeName);
    return argument;
}

QVariant callMethod(QObject *object, void *gadget, const QMetaMethod &method, const QVariantList &arguments) {
    constexpr size_t Most = 10; // what Qt's own invocation takes
    const auto count = size_t(arguments.size());
    if (count > Most || int(count) != method.parameterCount())
        throw NSException(NSInvalidArgumentException, QStringLiteral("%1 takes %2 arguments, not %3.")
                                                          .arg(QString::fromLatin1(method.name()))
                                                          .arg(method.parameterCount())
                                                          .arg(count));
    std::array<QVariant, Most> values;
    std::array<QByteArray, Most> names;
    std::array<QGenericArgument, Most> passed;
    for (size_t i = 0; i < count; ++i) {
        const QMetaType type = method.parameterMetaType(int(i));
        names[i] = method.parameterTypeName(int(i));
        values[i] = argument(arguments[int(i)], type, names[i].constData());
        passed[i] = QGenericArgument(names[i].constData(), type.id() == QMetaType::QVariant
                                                               ? static_cast<const void *>(&values[i])
                                                               : values[i].constData());
    }
    const QMetaType resultType = method.returnMetaType();
    QVariant result;
    QGenericReturnArgument returned;
    if (resultType.id() == QMetaType::QVariant) {
        returned = QGenericReturnArgument(method.typeName(), &result);
    } else if (resultType.isValid() && resultType.id() != QMetaType::Void) {
        result = QVariant(resultType);
        returned = QGenericReturnArgument(method.typeName(), result.data());
    }
    const bool isCalled = [&]<size_t... I>(std::index_sequence<I...>) {
        return object ? method.invoke(object, Qt::DirectConnection, returned, passed[I]...)
                      : method.invokeOnGadget(gadget, returned, passed[I]...);
    }
    (std::make_index_sequence<Most>());
    if (!isCalled)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("%1 can't be called by its name.").arg(QString::fromLatin1(method.name())));
    return result;
}

QByteArray capitalized(const QString &key) {
    return (key.left(1).toUpper() + key.mid(1)).toUtf8();
}

Member firstOf(const QMetaObject &metaObject, const std::array<QByteArray, 4> &names, int arguments) {
    for (const QByteArray &name : names) {
        if (const Member member = search(metaObject, name, arguments))
            return member;
    }
    return {};
}

} // namespace

const QMetaObject *metaObjectOf(const QVariant &value) {
    if (const QObject *object = objectOf(value))
        return object->metaObject();
    const QMetaType type = value.metaType();
    return type.flags() & QMetaType::IsGadget ? type.metaObject() : nullptr;
}

Member memberNamed(const QMetaObject *metaObject, const QByteArray &name, int arguments) {
    return remembered(metaObject, name, arguments, [&] { return search(*metaObject, name, arguments); });
}

Member readerForKey(const QMetaObject *metaObject, const QString &key) {
    return remembered(metaObject, key, 0, [&] {
        const QByteArray name = key.toUtf8(), upper = capitalized(key);
        return firstOf(*metaObject, {name, "get" + upper, "is" + upper, '_' + name}, 0);
    });
}

Member writerForKey(const QMetaObject *metaObject, const QString &key) {
    return remembered(metaObject, key, 1, [&] {
        const QByteArray name = key.toUtf8(), upper = capitalized(key);
        return firstOf(*metaObject, {"set" + upper, "set_" + name, "setIs" + upper, "set_is" + upper}, 1);
    });
}

QMetaType parameterType(const QMetaObject &metaObject, Member member, int index) {
    if (member.sort == Member::Setter && index == 0)
        return metaObject.property(member.index).metaType();
    if (member.sort != Member::Method)
        return {};
    const QMetaMethod method = metaObject.method(member.index);
    return index >= 0 && index < method.parameterCount() ? method.parameterMetaType(index) : QMetaType();
}

QVariant callMember(QVariant &receiver, Member member, const QVariantList &arguments) {
    const QMetaObject *metaObject = metaObjectOf(receiver);
    QObject *const object = objectOf(receiver);
    if (member.sort == Member::Method)
        return callMethod(object, object ? nullptr : receiver.data(), metaObject->method(member.index),
                          arguments);
    const QMetaProperty property = metaObject->property(member.index);
    if (member.sort == Member::Getter)
        return object ? property.read(object) : property.readOnGadget(receiver.constData());
    const QVariant value = argument(arguments.front(), property.metaType(), property.typeName());
    if (object)
        property.write(object, value);
    else
        property.writeOnGadget(receiver.data(), value);
    return {};
}

} // namespace zr
