// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"

/// An operation that runs one block.
class NSBlockOperation : public NSOperation {
    Q_OBJECT

public:
    explicit NSBlockOperation(std::function<void()> block);
    void main() override;

private:
    const std::function<void()> m_block;
};
