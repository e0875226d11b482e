// SPDX-License-Identifier: MIT
#include "platform/web/WebView.h"
#include "service/ZRXPCWorker.h"

int main() {
    // The browser takes longest to come up, so it is the first thing that is started.
    WebView::prepare();
    ZRXPCWorker::setupAsListener();
    return 0;
}
