// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/operations/DispatchQueue.h"
#include "platform/operations/NSOperationQueue.h"

#include <chrono>
#include <cmath>

namespace ZRKit {

namespace {

std::chrono::nanoseconds wholeNanoseconds(double seconds) {
    const double nanoseconds = seconds * 1'000'000'000;
    if (std::isnan(nanoseconds))
        return std::chrono::nanoseconds::zero();
    if (nanoseconds >= 0x1p63)
        return std::chrono::nanoseconds::max();
    return std::chrono::nanoseconds(nanoseconds <= 0 ? 0 : qint64(nanoseconds));
}

} // namespace

void performAfterDelay(const AnyObject &receiver, double seconds, std::function<void()> block) {
    if (!receiver.isNil())
        zr::DispatchQueue::mainQueue().asyncAfter(wholeNanoseconds(seconds), std::move(block));
}

void performBlock(const AnyObject &receiver, std::function<void()> block, double afterDelay) {
    performAfterDelay(receiver, afterDelay, std::move(block));
}

void performBlockAfterUIRefresh(const AnyObject &receiver, std::function<void()> block) {
    performAfterDelay(receiver, 0.01, std::move(block));
}

void performBlockOnMainThread(const AnyObject &receiver, std::function<void()> block) {
    if (!receiver.isNil())
        NSOperationQueue::mainQueue().addOperationWithBlock(std::move(block));
}

} // namespace ZRKit
