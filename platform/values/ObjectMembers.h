// SPDX-License-Identifier: MIT
#pragma once

#include <QMetaMethod>
#include <QString>
#include <QVariant>

namespace zr {

/// What a class has under a name: one of its methods, or a property to be read or written.
struct Member {
    enum Sort { None, Method, Getter, Setter } sort = None;
    int index = -1;

    explicit operator bool() const { return sort != None; }
};

/// Whether the method is one that messages may name: an invokable method or a slot.
inline bool isMessage(const QMetaMethod &method) {
    return method.methodType() == QMetaMethod::Method || method.methodType() == QMetaMethod::Slot;
}

/// The class of an object or gadget; nullptr for any other value.
const QMetaObject *metaObjectOf(const QVariant &value);

/// What answers a message of this name with so many arguments. Each thread remembers what it found.
Member memberNamed(const QMetaObject *metaObject, const QByteArray &name, int arguments);
/// What gives the value for a key: get<Key>, <key>, is<Key> or _<key>.
Member readerForKey(const QMetaObject *metaObject, const QString &key);
/// What takes the value for a key: set<Key>, or the property _<key>, is<Key> or _is<Key>.
Member writerForKey(const QMetaObject *metaObject, const QString &key);

/// The type of a parameter; an invalid type if there is none.
QMetaType parameterType(const QMetaObject &metaObject, Member member, int index);

/// Calls the member of an object, or of a gadget, where it is. Raises NSInvalidArgumentException for a wrong
/// number of arguments and for one that doesn't convert.
QVariant callMember(QVariant &receiver, Member member, const QVariantList &arguments);

} // namespace zr
