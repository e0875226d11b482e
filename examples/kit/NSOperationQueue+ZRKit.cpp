// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/NSOperationQueue+ZRKit.h"

#include "examples/kit/Example.h"

#include <future>
#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

/// An asynchronous operation of its own class.
class Download : public ZROperationConcurrent {
public:
    void concurrentMain() override {
        std::thread([this, self = shared_from_this()] {
            setUserInfo(u"content"_s);
            completeOperation();
        }).detach();
    }
};

} // namespace

EXAMPLE(NSOperationQueue_ZRKit) {
    // addBlock: the block gets its operation, which the caller has too
    ZROperationQueue queue;
    const auto sum = ZRKit::addBlock(
        queue, [](const std::shared_ptr<ZROperation> &operation) { operation->setUserInfo(1 + 2); });
    sum->waitUntilFinished();
    expect(sum->userInfo() == QVariant(3));

    // What a block throws is dropped.
    const auto failing = ZRKit::addBlock(queue, [](const auto &) { throw std::runtime_error("dropped"); });
    failing->waitUntilFinished();
    expect(failing->isFinished());

    // A cancelled operation finishes without its block.
    queue.setSuspended(true);
    const auto cancelled = ZRKit::addBlock(queue, [](const auto &operation) { operation->setUserInfo(1); });
    cancelled->cancel();
    queue.setSuspended(false);
    cancelled->waitUntilFinished();
    expect(!cancelled->userInfo().isValid());

    // addConcurrentBlock: runs on a thread of its own until somebody completes it
    std::promise<QString> promise;
    const auto work = ZRKit::addConcurrentBlock(
        queue,
        [](const std::shared_ptr<ZROperationConcurrent> &operation) {
            operation->setUserInfo(u"done"_s);
            operation->completeOperation();
        },
        [&](const auto &operation) { promise.set_value(operation->userInfo().toString()); });
    expect(promise.get_future().get() == u"done"_s);
    expect(work->isFinished());

    // concurrentMain: the work of a subclass
    const auto download = std::make_shared<Download>();
    queue.addOperation(download);
    download->waitUntilFinished();
    expect(download->userInfo() == QVariant(u"content"_s));
}
