// SPDX-License-Identifier: MIT
// What zrpdf-desktop does until its window is there.
#include "bench/desktop/UntilPainted.h"
#include "tools/zrpdf-desktop/window/MainWindowController.h"
#include "tools/zrpdf-desktop/window/Program.h"

int main(int argc, char **argv) {
    UntilPainted application(argc, argv);
    Program::prepare();
    MainWindowController window;
    window.show();
    return UntilPainted::exec();
}
