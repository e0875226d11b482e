// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Operations/ZROperationQueue.h"

namespace ZRKit {

/// Makes an operation of the block, adds it to the queue and returns it, so that the caller can cancel it or wait for
/// it. Any thread.
std::shared_ptr<ZROperation> addBlock(NSOperationQueue &queue, ZROperation::Block block);

/// The same with an asynchronous operation: somebody must call its completeOperation() in the end.
std::shared_ptr<ZROperationConcurrent>
addConcurrentBlock(NSOperationQueue &queue, ZROperationConcurrent::ConcurrentBlock block,
                   ZROperationConcurrent::ConcurrentBlock onCompletion = nullptr);

} // namespace ZRKit
