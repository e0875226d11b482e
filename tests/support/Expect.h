// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/NSException.h"

#include <gtest/gtest.h>

/// Runs the work, expects it to raise an exception of that name, and gives the exception's reason.
template <typename Work>
QString expectException(const QString &name, Work work) {
    try {
        work();
    } catch (const NSException &exception) {
        EXPECT_EQ(exception.name().toStdString(), name.toStdString()) << exception.what();
        return exception.reason();
    }
    ADD_FAILURE() << "nothing was raised; " << name.toStdString() << " was expected";
    return {};
}
