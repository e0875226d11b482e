// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSError.h"

#include <memory>

/// The user-info key of a sentence about what the user may do.
inline const QString NSLocalizedRecoverySuggestionErrorKey = QStringLiteral("NSLocalizedRecoverySuggestion");

/// Shows errors to the user. A host that has a better way than a line on standard error installs its own presenter.
class NSErrorPresenter {
public:
    virtual ~NSErrorPresenter() = default;

    /// Shows an error: here one line on standard error.
    virtual void presentError(const NSError &error);
    /// Shows a message that the user can only acknowledge: here as presentError() does.
    virtual void runModalAlert(const NSError &error) { presentError(error); }

    /// Makes all errors go to this presenter from now on; nullptr stands for the one that writes lines. Any thread.
    static void setSharedPresenter(std::shared_ptr<NSErrorPresenter> presenter);
    /// The presenter that is installed; nullptr for the one that writes lines. Any thread.
    static std::shared_ptr<NSErrorPresenter> sharedPresenter();
};

/// Shows an error through the presenter that is installed, and waits until it has been shown; nothing for nil. Any thread. An
/// installed presenter is called on the main thread if there is an application: from another thread the error is handed over
/// to it, and the call returns at once. Lines are written on the caller's thread. What a presenter raises is logged.
void NSPresentError(const NSError &error);
/// The same for a message.
void NSRunModalAlert(const NSError &error);
