// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/NSOperationQueue+ZRKit.h"

namespace ZRKit {

std::shared_ptr<ZROperation> addBlock(NSOperationQueue &queue, ZROperation::Block block) {
    auto operation = std::make_shared<ZROperation>(std::move(block));
    queue.addOperation(operation);
    return operation;
}

std::shared_ptr<ZROperationConcurrent>
addConcurrentBlock(NSOperationQueue &queue, ZROperationConcurrent::ConcurrentBlock block,
                   ZROperationConcurrent::ConcurrentBlock onCompletion) {
    auto operation = std::make_shared<ZROperationConcurrent>(std::move(block), std::move(onCompletion));
    queue.addOperation(operation);
    return operation;
}

} // namespace ZRKit
