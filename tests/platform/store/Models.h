// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSManagedObjectModel.h"

#include <gtest/gtest.h>

/// The model of a text that stands in a test, in which apostrophes are quotation marks.
inline NSManagedObjectModel::Ptr modelOf(const char *text, NSError *error = nullptr) {
    NSError own;
    const auto model = NSManagedObjectModel::modelWithData(QByteArray(text).replace('\'', '"'), &own);
    if (error)
        *error = own;
    else
        EXPECT_TRUE(model) << own.localizedDescription().toStdString();
    return model;
}
