// SPDX-License-Identifier: MIT
#include "examples/kit/ZRXPCBaseWorker.h"

int main() {
    Upper::setupAsListener();
}
