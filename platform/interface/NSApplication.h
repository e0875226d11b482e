// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"
#include "platform/interface/NSEvent.h"

#include <functional>

class NSWindow;

/// The return codes of sheets that the platform gives itself; a program may have any others.
enum NSModalResponse : qint64 {
    NSModalResponseAbort = -1001, ///< the sheet was closed without an answer
    NSModalResponseCancel = 0,
    NSModalResponseOK = 1,
};

/// What a program with windows has once. Linking the library and making a QApplication is all it takes: from then on the
/// user's events are known, and errors that are presented appear in a message box. Main thread only.
class NSApplication {
public:
    static NSApplication &sharedApplication();
    NSApplication(const NSApplication &) = delete;
    NSApplication &operator=(const NSApplication &) = delete;

    /// The latest event of keyboard or mouse that the program got; nil before the first.
    NSEvent currentEvent() const;

    /// The window that gets the keys; nullptr if the program has none, or if it isn't an NSWindow.
    NSWindow *keyWindow() const;

    /// Shows the error to the user, and waits until it is acknowledged (NSPresentError()). Nothing for nil.
    void presentError(const NSError &error) const;

    /// Shows a sheet: a window that the user has to finish before going on in the other one.
    /// Raises NSInvalidArgumentException for nil, for a window as its own sheet, and for one that is a sheet already.
    /// \param completion  is called once, with the return code, when the sheet is ended or closed, or never if one of the
    ///                    windows is deleted first
    void beginSheet(NSWindow *sheet, NSWindow *modalForWindow,
                    std::function<void(qint64 returnCode)> completion = {}) const;
    /// Ends a sheet: it is ordered out, and the other window can be used again. Nothing happens for nil, and for a window that
    /// isn't a sheet at the moment.
    void endSheet(NSWindow *sheet, qint64 returnCode = NSModalResponseCancel) const;

private:
    NSApplication() = default;
};
