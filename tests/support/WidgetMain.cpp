// SPDX-License-Identifier: MIT
#include "tests/support/OffscreenPlatform.h"

#include <QApplication>
#include <gtest/gtest.h>

/// The main function of tests that show widgets: one application for all of a program's tests, on the platform that the
/// environment names, otherwise the offscreen one.
int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const OffscreenPlatform platform;
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
