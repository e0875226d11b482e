// SPDX-License-Identifier: MIT
#include "platform/web/WebView.h"
#include "service/ZRXPCWorker.h"

#include <malloc.h>

int main() {
    // Left to itself, the C library keeps twice the largest block that was ever freed: in a service that stays, tens of
    // megabytes for one large document.
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
    ::mallopt(M_TRIM_THRESHOLD, 4 << 20);
    // The browser takes longest to come up, so it is the first thing that is started.
    WebView::prepare();
    ZRXPCWorker::setupAsListener();
    return 0;
}
