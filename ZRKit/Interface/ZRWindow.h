// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRQuilletLibrary.h"
#include "platform/interface/NSWindow.h"

#include <QVariant>

/// A window that stands for an object until it is closed. Main thread only.
///
/// When it has been closed, be it by close(), by the user or by the window manager, the delegate is told `windowDidClose(window)`
/// if it declares that; then the represented object is nil.
class ZRWindow : public NSWindow {
    Q_OBJECT
    Q_PROPERTY(QVariant representedObject READ representedObject WRITE setRepresentedObject)
    Q_PROPERTY(QObject *library READ library)

public:
    using NSWindow::NSWindow;
    ~ZRWindow() override;

    /// Any value, kept as a QVariant keeps it; nil at first.
    QVariant representedObject() const { return m_representedObject; }
    void setRepresentedObject(const QVariant &object) { m_representedObject = object; }

    /// The first open document; nullptr if none is open.
    ZRQuilletLibrary *library() const { return zr::openLibrary(); }

    /// Translates the title, without a context.
    Q_INVOKABLE void awakeFromNib();

public Q_SLOTS:
    /// Confirms what is typed into a sheet and ends it: editing ends, the sender becomes first responder if it can, the sheet
    /// ends with the return code 0 and is ordered out.
    /// \param sender  the button that was clicked; for nil, the sender of the signal that this slot was called for
    void doConfirmSheet(QObject *sender = nullptr);

protected:
    void didClose() override;

private:
    QVariant m_representedObject;
};
