// SPDX-License-Identifier: MIT
#include "tests/support/OffscreenPlatform.h"
#include "tests/support/XDisplay.h"

#include <QApplication>
#include <gtest/gtest.h>

/// The main function of tests that need a real window system: an X server and a window manager of their own.
int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    const RuntimeFolder runtime;
    const XDisplay display;
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
