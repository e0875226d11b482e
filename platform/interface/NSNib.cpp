// SPDX-License-Identifier: MIT
#include "platform/interface/NSNib.h"

#include "platform/base/NSException.h"
#include "platform/base/NSFileReadError.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/files/NSBundle.h"
#include "platform/interface/InterfaceFile.h"
#include "platform/interface/NSMenu.h"
#include "platform/interface/NSSplitView.h"
#include "platform/interface/NSTextField.h"
#include "platform/interface/NSView.h"
#include "platform/interface/NSWindow.h"
#include "platform/values/NSObjectRuntime.h"

#include <QAction>
#include <QActionGroup>
#include <QBuffer>
#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QMetaProperty>
#include <QPointer>
#include <QSet>
#include <QUiLoader>

using namespace zr;

namespace {

struct RegisteredClass {
    const QMetaObject *metaObject;
    QWidget *(*maker)(QWidget *);
};

QHash<QString, RegisteredClass> &registeredClasses() {
    static NeverDestroyed<QHash<QString, RegisteredClass>> classes;
    return *classes;
}

/// Qt's loader, which makes registered classes too, and remembers what it has made.
class InterfaceLoader : public QUiLoader {
public:
    QStringList widgets() const { return availableWidgets() << QStringLiteral("Line"); }

    QWidget *createWidget(const QString &className, QWidget *parent, const QString &name) override {
        const QString known = file ? file->knownClass(className) : className;
        const auto registered = registeredClasses().constFind(known);
        QWidget *const widget = registered != registeredClasses().cend()
                                    ? registered->maker(parent)
                                    : QUiLoader::createWidget(known, parent, name);
        return noted(widget);
    }
    QAction *createAction(QObject *parent, const QString &name) override {
        return noted(QUiLoader::createAction(parent, name));
    }
    QActionGroup *createActionGroup(QObject *parent, const QString &name) override {
        return noted(QUiLoader::createActionGroup(parent, name));
    }

    const InterfaceFile *file = nullptr;
    QSet<const QObject *> made;

private:
    template <typename Object>
    Object *noted(Object *object) {
        made.insert(object);
        return object;
    }
};

std::unique_ptr<InterfaceLoader> makeLoader() {
    // Qt's loader loads every plugin for Designer that it finds as soon as it is made. Classes come from the program alone.
    const QStringList paths = QCoreApplication::libraryPaths();
    QCoreApplication::setLibraryPaths({});
    auto loader = std::make_unique<InterfaceLoader>();
    QCoreApplication::setLibraryPaths(paths);
    return loader;
}

const QMetaObject *widgetClass(const QString &name, InterfaceLoader &loader) {
    if (const auto registered = registeredClasses().constFind(name); registered != registeredClasses().cend())
        return registered->metaObject;
    static NeverDestroyed<QHash<QString, const QMetaObject *>> qtClasses;
    auto known = qtClasses->constFind(name);
    if (known == qtClasses->cend()) {
        // Qt's loader has names only; the class is that of a widget.
        const std::unique_ptr<QWidget> widget(
            loader.widgets().contains(name) ? loader.QUiLoader::createWidget(name, nullptr, {}) : nullptr);
        known = qtClasses->insert(name, widget ? widget->metaObject() : nullptr);
    }
    return *known;
}

/// The objects that were made, the ones inside a view before the view itself.
void collect(QObject *object, const QSet<const QObject *> &made, QList<QPointer<QObject>> &into) {
    for (QObject *const child : object->children())
        collect(child, made, into);
    if (made.contains(object))
        into.append(object);
}

void setOutlets(QObject &owner, const QList<QPointer<QObject>> &objects) {
    const QMetaObject *const metaObject = owner.metaObject();
    for (QObject *const object : objects) {
        const int index = metaObject->indexOfProperty(object->objectName().toUtf8());
        const QMetaProperty outlet = metaObject->property(index);
        if (index < 0 || !outlet.isWritable() || !(outlet.metaType().flags() & QMetaType::PointerToQObject))
            continue;
        const QMetaObject *const wanted = outlet.metaType().metaObject();
        if ((wanted && !object->metaObject()->inherits(wanted)) ||
            !outlet.write(&owner, QVariant::fromValue(object)))
            throw NSException(NSGenericException,
                              QStringLiteral("the outlet %1 of %2 is no %3")
                                  .arg(object->objectName(), QString::fromUtf8(metaObject->className()),
                                       QString::fromUtf8(object->metaObject()->className())));
    }
}

void awake(const QList<QPointer<QObject>> &objects) {
    const NSSelector awakeFromNib("awakeFromNib");
    for (const QPointer<QObject> &object : objects)
        if (object && NSObjectRuntime::respondsTo(QVariant::fromValue(object.data()), awakeFromNib))
            NSObjectRuntime::perform(QVariant::fromValue(object.data()), awakeFromNib);
}

const bool platformClassesAreKnown = [] {
    NSNib::registerClass<NSMenu>();
    NSNib::registerClass<NSSplitView>();
    NSNib::registerClass<NSTextField>();
    NSNib::registerClass<NSView>();
    NSNib::registerClass<NSWindow>();
    return true;
}();

} // namespace

NSNib::NSNib(const QString &name) : NSNib(name, NSBundle::mainBundle()) {
}

NSNib::NSNib(const QString &name, const NSBundle &bundle)
    : m_path(bundle.resourcePath() + name +
             (name.endsWith(QStringLiteral(".ui")) ? QString() : QStringLiteral(".ui"))) {
}

NSNib::NSNib(const QByteArray &contents) : m_contents(contents) {
}

std::unique_ptr<QWidget> NSNib::instantiateWithOwner(QObject *owner, NSError *error) const {
    const auto failed = [&](NSFileReadError code, const QString &reason) -> std::unique_ptr<QWidget> {
        const QString where = m_path.isNull() ? QString() : m_path + QStringLiteral(": ");
        if (error)
            *error = NSError(NSCocoaErrorDomain, code, {{NSLocalizedDescriptionKey, where + reason}});
        return nullptr;
    };
    QByteArray contents = m_contents;
    if (!m_path.isNull()) {
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly))
            return failed(NSFileReadNoSuchFileError, file.errorString());
        contents = file.readAll();
    }
    const std::unique_ptr<InterfaceLoader> loader = makeLoader();
    std::unique_ptr<QWidget> root;
    QList<QPointer<QObject>> objects;
    try {
        const InterfaceFile file(contents, {[&](const QString &name) { return widgetClass(name, *loader); },
                                            loader->availableLayouts()});
        QByteArray prepared = file.prepared();
        QBuffer buffer(&prepared);
        buffer.open(QIODevice::ReadOnly);
        loader->file = &file;
        root.reset(loader->load(&buffer));
        if (!root || loader->made.contains(nullptr))
            return failed(NSFileReadCorruptFileError, loader->errorString());
        collect(root.get(), loader->made, objects);
        if (owner)
            setOutlets(*owner, objects);
    } catch (const NSException &exception) {
        return failed(NSFileReadCorruptFileError, exception.reason());
    }
    awake(objects);
    return root;
}

void NSNib::registerClass(const QString &name, const QMetaObject &metaObject, Maker maker) {
    registeredClasses().insert(name, {&metaObject, maker});
}
