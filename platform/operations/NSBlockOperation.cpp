// SPDX-License-Identifier: MIT
#include "platform/operations/NSBlockOperation.h"

NSBlockOperation::NSBlockOperation(std::function<void()> block) : m_block(std::move(block)) {
}

void NSBlockOperation::main() {
    if (m_block && !isCancelled())
        m_block();
}
