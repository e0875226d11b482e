// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class NSWindow;

/// Owns a window, which it loads from an interface file when it is first asked for. Main thread only.
class NSWindowController : public QObject {
    Q_OBJECT

public:
    /// A controller without a window.
    NSWindowController();
    /// Takes over a window.
    explicit NSWindowController(NSWindow *window);
    /// A controller whose window is in an interface file (NSNib), of which it is the owner.
    explicit NSWindowController(const QString &windowNibName);
    /// The window goes too, unless it has a superview or parent window of its own.
    ~NSWindowController() override;

    /// nil if the window isn't in a file.
    QString windowNibName() const { return m_windowNibName; }
    bool isWindowLoaded() const { return m_window; }
    /// The window, which is loaded at the first call, or again if it was deleted meanwhile; nullptr if there is none. Raises
    /// NSInternalInconsistencyException if the file can't be loaded or holds no NSWindow.
    virtual NSWindow *window();
    /// Takes over a window in place of the one that there was, which is deleted. The controller is its next responder.
    void setWindow(NSWindow *window);

public Q_SLOTS:
    /// Shows the window in front, and gives it the keys.
    virtual void showWindow();
    /// Closes the window if it is loaded.
    virtual void close();

protected:
    /// Called before and after the window is loaded from a file.
    virtual void windowWillLoad() {}
    virtual void windowDidLoad() {}

private:
    const QString m_windowNibName;
    QPointer<NSWindow> m_window;
};
