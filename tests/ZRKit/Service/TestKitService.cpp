// SPDX-License-Identifier: MIT
#include "tests/ZRKit/Service/TestKitWorker.h"

int main() {
    TestKitWorker::setupAsListener();
    return 1;
}
