// SPDX-License-Identifier: MIT
#pragma once

#include "platform/interface/NSDocumentController.h"

/// An application's library: a document, of whatever class the application has for it.
using ZRQuilletLibrary = QObject;

namespace zr {

/// The library that windows, controllers and views belong to: the first open document; nullptr if none is open. Main thread.
inline ZRQuilletLibrary *openLibrary() {
    return NSDocumentController::sharedDocumentController()->documents().value(0);
}

} // namespace zr
