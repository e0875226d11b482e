// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

/// The main function of tests that show widgets: one application for all of a program's tests, on the platform that the
/// environment names, otherwise the offscreen one.
int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Without one, Qt makes a folder that stays.
    const QTemporaryDir runtime;
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
