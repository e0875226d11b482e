// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"

#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

/// Sends keys and mouse clicks as hardware would, and speaks with the window manager, in xdotool's words.
inline void user(const QStringList &words) {
    const QTemporaryDir folder;
    ServerProcess process;
    process.start(QStringLiteral("xdotool"), words, folder.filePath(QStringLiteral("said")));
    const int code = process.waitUntilItEnds();
    EXPECT_EQ(code, 0) << words.join(u' ').toStdString() << '\n' << process.said().toStdString();
}
