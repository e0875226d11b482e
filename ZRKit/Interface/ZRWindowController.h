// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRQuilletLibrary.h"
#include "platform/interface/NSWindowController.h"

#include <QVariant>
#include <concepts>
#include <memory>

/// A window controller with a represented object and a hook for its configuration. Main thread only.
class ZRWindowController : public NSWindowController {
    Q_OBJECT
    Q_PROPERTY(QVariant representedObject READ representedObject WRITE setRepresentedObject)
    Q_PROPERTY(QObject *library READ library WRITE setLibrary)

public:
    using NSWindowController::NSWindowController;
    ~ZRWindowController() override;

    /// Makes a controller and configures it. One that is made by its constructor alone is configured when its window is first
    /// asked for: while a C++ object is being constructed, the hooks of its class can't be called yet.
    template <std::derived_from<ZRWindowController> Controller, typename... Arguments>
    [[nodiscard]] static std::unique_ptr<Controller> make(Arguments &&...arguments) {
        auto controller = std::make_unique<Controller>(std::forward<Arguments>(arguments)...);
        static_cast<ZRWindowController &>(*controller).configureOnce();
        return controller;
    }

    /// Any value, kept as a QVariant keeps it; nil at first.
    QVariant representedObject() const { return m_representedObject; }
    void setRepresentedObject(const QVariant &object) { m_representedObject = object; }

    /// The first open document, nullptr if none is open; whatever was set.
    ZRQuilletLibrary *library() const { return zr::openLibrary(); }
    /// Keeps a library that library() never gives.
    void setLibrary(ZRQuilletLibrary *library) { m_library = library; }

    NSWindow *window() override;

protected:
    /// Called once, when the controller has been made; does nothing.
    virtual void configure() {}

private:
    void configureOnce();

    QVariant m_representedObject;
    QPointer<ZRQuilletLibrary> m_library;
    bool m_isConfigured = false;
};
