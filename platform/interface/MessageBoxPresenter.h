// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSErrorPresenter.h"

namespace zr {

/// Shows errors in message boxes, each until the user acknowledges it; on standard error if there is no QApplication, or no
/// longer. Main thread.
class MessageBoxPresenter : public NSErrorPresenter {
public:
    void presentError(const NSError &error) override;
    void runModalAlert(const NSError &error) override;
};

} // namespace zr
