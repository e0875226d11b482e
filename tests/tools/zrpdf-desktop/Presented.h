// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSErrorPresenter.h"

#include <QList>

/// Keeps the errors that would be shown.
class Presented : public NSErrorPresenter {
public:
    void presentError(const NSError &error) override { errors << error; }
    QList<NSError> errors;
};
