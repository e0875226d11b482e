// SPDX-License-Identifier: MIT
#pragma once

#include "platform/files/NSBundle.h"

#include <QWidget>
#include <memory>

namespace zr {

/// The outermost view of a controller's interface file. Raises NSInternalInconsistencyException with the reason if it can't be
/// loaded. Main thread.
std::unique_ptr<QWidget> loadedView(const QString &nibName, const NSBundle &bundle, QObject *owner);

/// Raises NSInternalInconsistencyException: the interface file can't be used.
[[noreturn]] void raiseNotLoaded(const QString &nibName, const QString &reason);

} // namespace zr
