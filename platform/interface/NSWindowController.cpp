// SPDX-License-Identifier: MIT
#include "platform/interface/NSWindowController.h"

#include "platform/interface/NSResponder.h"
#include "platform/interface/NSWindow.h"
#include "platform/interface/NibLoading.h"

NSWindowController::NSWindowController() = default;

NSWindowController::NSWindowController(NSWindow *window) {
    setWindow(window);
}

NSWindowController::NSWindowController(const QString &windowNibName) : m_windowNibName(windowNibName) {
}

NSWindowController::~NSWindowController() {
    if (m_window && !m_window->parent())
        delete m_window;
}

NSWindow *NSWindowController::window() {
    if (!m_window && !m_windowNibName.isNull()) {
        windowWillLoad();
        std::unique_ptr<QWidget> loaded = zr::loadedView(m_windowNibName, NSBundle::mainBundle(), this);
        if (!qobject_cast<NSWindow *>(loaded.get()))
            zr::raiseNotLoaded(m_windowNibName, QStringLiteral("it holds no window"));
        setWindow(static_cast<NSWindow *>(loaded.release()));
        windowDidLoad();
    }
    return m_window;
}

void NSWindowController::setWindow(NSWindow *window) {
    if (window == m_window)
        return;
    if (m_window)
        m_window->deleteLater();
    m_window = window;
    NSResponderSetNext(window, this);
}

void NSWindowController::showWindow() {
    if (NSWindow *const shown = window())
        shown->makeKeyAndOrderFront();
}

void NSWindowController::close() {
    if (m_window)
        m_window->close();
}

#include "moc_NSWindowController.cpp"
