// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRQuilletLibrary.h"
#include "platform/interface/NSViewController.h"

#include <concepts>
#include <memory>

/// A controller whose view is in the interface file named as its class, and is translated with that name as prefix, once.
/// Main thread only.
///
/// A class that declares `configureViewController` (Q_INVOKABLE) gets that message once, when the controller has been made: by
/// make(), or, if it was made by its constructor alone, when its view is first asked for. While a C++ object is being constructed,
/// messages to its class can't arrive yet.
class ZRViewController : public NSViewController {
    Q_OBJECT
    Q_PROPERTY(QString name READ name)
    Q_PROPERTY(QObject *library READ library)

public:
    ZRViewController();

    /// Makes a controller and configures it.
    template <std::derived_from<ZRViewController> Controller, typename... Arguments>
    [[nodiscard]] static std::unique_ptr<Controller> make(Arguments &&...arguments) {
        static_assert(QtPrivate::HasQ_OBJECT_Macro<Controller>::Value,
                      "a class without Q_OBJECT has its base's name");
        auto controller = std::make_unique<Controller>(std::forward<Arguments>(arguments)...);
        static_cast<ZRViewController &>(*controller).configureOnce();
        return controller;
    }

    /// The name of the object's class without modules: what stands after the last "." or "::".
    QString name() const;
    /// The name.
    QString nibName() const override { return name(); }

    /// The view. The first call loads it and sends it localizeWithPrefix() with the name; no other call ever does that again.
    QWidget *view() override;

    /// The first open document; nullptr if none is open.
    ZRQuilletLibrary *library() const { return zr::openLibrary(); }

    /// Makes the represented object nil.
    Q_INVOKABLE void clearRepresentedObject() { setRepresentedObject({}); }

    /// Called when the view comes into a ZRView or leaves it. A ZRView doesn't call viewDidDisappear() but sends
    /// `viewWDidDisappear` to who declares that.
    Q_INVOKABLE virtual void viewWillAppear() {}
    Q_INVOKABLE virtual void viewDidAppear() {}
    Q_INVOKABLE virtual void viewWillDisappear() {}
    Q_INVOKABLE virtual void viewDidDisappear() {}

private:
    void configureOnce();

    bool m_isConfigured = false;
    bool m_isLocalized = false;
};

namespace zr {

/// A class's name without modules.
QString nameWithoutModules(const QString &className);

} // namespace zr
