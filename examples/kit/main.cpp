// SPDX-License-Identifier: MIT
#include "examples/kit/Example.h"

#include <QCoreApplication>

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const auto example = examples().find(argc == 2 ? argv[1] : "");
    if (example == examples().end()) {
        std::fputs("usage: kit EXAMPLE, one of:\n", stderr);
        for (const auto &[name, run] : examples())
            std::fprintf(stderr, "  %s\n", name.c_str());
        return 64;
    }
    example->second();
    return 0;
}
