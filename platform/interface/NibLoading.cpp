// SPDX-License-Identifier: MIT
#include "platform/interface/NibLoading.h"

#include "platform/base/NSException.h"
#include "platform/interface/NSNib.h"

std::unique_ptr<QWidget> zr::loadedView(const QString &nibName, const NSBundle &bundle, QObject *owner) {
    NSError error;
    std::unique_ptr<QWidget> view = NSNib(nibName, bundle).instantiateWithOwner(owner, &error);
    if (!view)
        raiseNotLoaded(nibName, error.localizedDescription());
    return view;
}

void zr::raiseNotLoaded(const QString &nibName, const QString &reason) {
    throw NSException(NSInternalInconsistencyException,
                      QStringLiteral("The interface file %1 can't be loaded: %2").arg(nibName, reason));
}
