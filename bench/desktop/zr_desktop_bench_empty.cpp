// SPDX-License-Identifier: MIT
// The peer: an empty window of Qt's, of the same size.
#include "bench/desktop/UntilPainted.h"

int main(int argc, char **argv) {
    UntilPainted application(argc, argv);
    QWidget window;
    window.resize(1040, 720);
    window.show();
    return UntilPainted::exec();
}
