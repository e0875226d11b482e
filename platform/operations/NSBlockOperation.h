// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperation.h"

/// An operation that runs one block. Any thread may use it.
class NSBlockOperation : public NSOperation {
    Q_OBJECT

public:
    /// \param block  the work; may be nil
    explicit NSBlockOperation(std::function<void()> block);
    void main() override;

private:
    const std::function<void()> m_block;
};
