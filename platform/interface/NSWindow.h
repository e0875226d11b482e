// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSView.h"

#include <QMainWindow>
#include <QPointer>
#include <QRectF>
#include <QVariant>
#include <functional>
#include <optional>

/// A window: a view that fills it, and around that what a QMainWindow has, such as a menu bar. Main thread only.
///
/// A delegate is asked and told if its meta-object declares the message; each takes the window:
///
/// | message                     | when                                                                    |
/// |-----------------------------|-------------------------------------------------------------------------|
/// | `bool windowShouldClose(w)` | the user wants to close the window; false keeps it open                 |
/// | `void windowWillClose(w)`   | the window closes, whoever closes it                                    |
///
/// What it raises is logged. It must not delete the window while it is being told: deleteLater() is for that.
class NSWindow : public QMainWindow {
    Q_OBJECT

public:
    /// A window that isn't visible yet.
    explicit NSWindow(QWidget *parent = nullptr);
    ~NSWindow() override;

    QString title() const { return windowTitle(); }
    void setTitle(const QString &title) { setWindowTitle(title); }

    /// In points from the bottom left corner of the main screen, with title bar and border once the window is visible.
    QRectF frame() const;
    /// Moves and resizes the window; edges are rounded to whole points. Where a window stands is the window manager's
    /// decision on some desktops.
    void setFrame(const QRectF &frame);

    /// The view that fills the window; nullptr if there is none.
    QWidget *contentView() const { return centralWidget(); }
    /// The window owns the view. The one that was there loses its superview and belongs to the caller.
    void setContentView(QWidget *view);

    /// Isn't kept alive.
    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate) { m_delegate = delegate; }

    /// The view that gets the keys while the window is the key window; the window itself if there is none.
    QWidget *firstResponder() const;
    /// Makes a view of the window its first responder: one that is visible in it, enabled and takes the focus, or whose own
    /// `bool becomeFirstResponder()` says so. nil and the window itself stand for none of the views, and nothing is in the
    /// way of that.
    /// \return whether it is
    bool makeFirstResponder(QObject *responder);
    /// Makes the first responder end its editing, if it is the object or inside it; for nil in any case. The window is the
    /// first responder then.
    void endEditingFor(QObject *object);
    /// See NSViewRecalculateKeyViewLoop().
    void recalculateKeyViewLoop() { NSViewRecalculateKeyViewLoop(this); }

    /// The window for which this one is a sheet at the moment; nullptr for none.
    NSWindow *sheetParent() const { return m_sheetParent; }
    /// The sheet that was shown for this window last, if it hasn't ended; nullptr for none.
    NSWindow *attachedSheet() const { return m_attachedSheet; }
    /// As NSApplication::beginSheet() and endSheet(). Raises NSInvalidArgumentException for nil, for the window itself, and
    /// for a window that is a sheet already.
    void beginSheet(NSWindow *sheet, std::function<void(qint64 returnCode)> completion = {});
    void endSheet(NSWindow *sheet, qint64 returnCode = 0);

public Q_SLOTS:
    /// Shows the window in front of all others of the program and gives it the keys.
    void makeKeyAndOrderFront();
    void orderFront();
    /// Makes the window invisible without closing it.
    void orderOut();
    /// Closes the window if the delegate agrees, as if the user had asked for it.
    void performClose();
    /// Closes the window without asking the delegate; one that isn't visible, too.
    /// \return false if something else is against it
    bool close();

protected:
    /// Called each time the window has been closed: by close(), by the user, or by the window manager. What it raises is logged.
    virtual void didClose();
    /// What the delegate answers to a message with the window as its argument; std::nullopt if it doesn't respond, or if it
    /// raised, which is logged.
    std::optional<QVariant> askDelegate(const char *message);
    bool event(QEvent *event) override;

private:
    bool delegateAgreesToClose();
    void endSheetSession(qint64 returnCode);

    QPointer<QObject> m_delegate;
    QPointer<NSWindow> m_sheetParent;
    QPointer<NSWindow> m_attachedSheet;
    std::function<void(qint64)> m_sheetCompletion;
    bool m_isClosing = false;
    bool m_closeWasSeen = false;
};
