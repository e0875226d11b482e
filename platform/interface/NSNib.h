// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <QByteArray>
#include <QWidget>
#include <concepts>
#include <memory>

class NSBundle;

/// An interface file: views as Qt Designer writes them into a .ui file. Main thread only.
///
/// Objects are made and get their properties in the file's order, each before the views inside it. Properties that a class
/// doesn't declare arrive as attributes: setValue(value, forUndefinedKey). When all are there, each object that responds to
/// awakeFromNib gets that message, those inside a view before the view itself. Texts stay as they are in the file:
/// translating them is the views' own affair.
///
/// A widget's class is Qt's own, or one that was registered, or else the one that the file says it extends. An enumerator
/// that is the value of an attribute arrives as its name, "Qt::AlignLeft".
class NSNib {
public:
    /// The file of that name, with or without ".ui", in the bundle's folder of resources.
    explicit NSNib(const QString &name);
    NSNib(const QString &name, const NSBundle &bundle);
    /// The contents of a file.
    explicit NSNib(const QByteArray &contents);

    /// Makes the file's objects, other ones at each call. Those whose names are those of the owner's writable properties, if
    /// these are pointers to objects, become their values: outlets. The owner isn't kept; it may be nil.
    /// \return the outermost view, without a superview; nullptr if the file can't be read (NSFileReadNoSuchFileError) or isn't
    ///         sound (NSFileReadCorruptFileError): no XML, a class, action or end of a connection that there isn't, an
    ///         outlet of another class. No object is left then.
    std::unique_ptr<QWidget> instantiateWithOwner(QObject *owner, NSError *error = nullptr) const;

    /// Makes a class known to interface files, under its C++ name or under another one.
    template <std::derived_from<QWidget> Class>
    requires std::constructible_from<Class, QWidget *>
    static void registerClass(const QString &name = QString::fromUtf8(Class::staticMetaObject.className())) {
        static_assert(QtPrivate::HasQ_OBJECT_Macro<Class>::Value,
                      "a class without Q_OBJECT has its base's name");
        registerClass(name, Class::staticMetaObject,
                      [](QWidget *parent) -> QWidget * { return new Class(parent); });
    }

private:
    using Maker = QWidget *(*)(QWidget *parent);

    static void registerClass(const QString &name, const QMetaObject &metaObject, Maker maker);

    QString m_path;
    QByteArray m_contents;
};
