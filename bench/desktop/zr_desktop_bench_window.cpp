// SPDX-License-Identifier: MIT
// What zrpdf-desktop does until its window is there or, with an argument, until all that it holds is there too.
#include "bench/desktop/UntilPainted.h"
#include "tools/zrpdf-desktop/window/MainWindowController.h"
#include "tools/zrpdf-desktop/window/Program.h"

int main(int argc, char **argv) {
    UntilPainted application(argc, argv);
    Program::prepare();
    MainWindowController window;
    if (argc > 1)
        application.isEnough = [&window] {
            const PreviewView *const preview = window.previewController().preview();
            return preview && preview->isVisible();
        };
    window.show();
    return UntilPainted::exec();
}
