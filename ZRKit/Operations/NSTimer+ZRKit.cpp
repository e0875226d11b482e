// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/NSTimer+ZRKit.h"

#include "platform/values/ValueKind.h"

using namespace zr;

namespace ZRKit {

namespace {

using SimpleBlock = std::function<void()>;

QVariant userInfoOf(const SimpleBlock &block) {
    return block ? QVariant::fromValue(block) : QVariant();
}

} // namespace

std::shared_ptr<NSTimer> scheduledTimerWithTimeInterval(double interval, const std::function<void()> &block,
                                                        bool repeats) {
    return NSTimer::scheduledTimerWithTimeInterval(interval, executeSimpleBlock, userInfoOf(block), repeats);
}

std::shared_ptr<NSTimer> timerWithTimeInterval(double interval, const std::function<void()> &block,
                                               bool repeats) {
    return NSTimer::timerWithTimeInterval(interval, executeSimpleBlock, userInfoOf(block), repeats);
}

void executeSimpleBlock(NSTimer &timer) {
    const QVariant userInfo = timer.userInfo();
    if (userInfo.metaType() == QMetaType::fromType<SimpleBlock>())
        held<SimpleBlock>(userInfo)();
}

} // namespace ZRKit
