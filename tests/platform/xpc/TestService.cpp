// SPDX-License-Identifier: MIT
#include "tests/platform/xpc/TestWorker.h"

int main() {
    NSXPCListener *listener = NSXPCListener::serviceListener();
    const auto delegate = std::make_shared<TestDelegate>();
    listener->setDelegate(delegate);
    listener->resume();
    return 1;
}
