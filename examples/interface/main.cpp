// SPDX-License-Identifier: MIT
#include "examples/kit/Example.h"

#include <QApplication>
#include <QTemporaryDir>

int main(int argc, char **argv) {
    // Without one, Qt makes a folder that stays.
    const QTemporaryDir runtime;
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", runtime.path().toUtf8());
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const auto example = examples().find(argc == 2 ? argv[1] : "");
    if (example == examples().end()) {
        std::fputs("usage: interface EXAMPLE, one of:\n", stderr);
        for (const auto &[name, run] : examples())
            std::fprintf(stderr, "  %s\n", name.c_str());
        return 64;
    }
    example->second();
    return 0;
}
