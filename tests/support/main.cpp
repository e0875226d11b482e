// SPDX-License-Identifier: MIT
#include <QCoreApplication>
#include <gtest/gtest.h>

#if defined(__SANITIZE_THREAD__)
/// What the thread sanitizer can't see, because Qt and the C library are not built with it.
extern "C" const char *__tsan_default_suppressions() {
    // A thread's record in Qt goes with the last object made there, which an atomic counter inside Qt
    // decides; shared values that Qt's own code frees likewise. The C library has a lock of its own around
    // its time zone. Qt draws on threads of its own, whose records GLib keeps.
    return "race:QWaitCondition::~QWaitCondition\nrace:tzset_internal\ncalled_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Gui.so.6\ncalled_from_lib:libglib-2.0.so.0\n";
}
#endif

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
