// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSTimer.h"

#include <functional>
#include <memory>

namespace ZRKit {

/// A timer that runs a block on the calling thread's run loop after the interval (in seconds), or every time
/// it has passed until the timer is invalidated. A nil block does nothing. The run loop keeps the timer, and
/// the timer the block, as long as it is valid. Any thread with a run loop.
std::shared_ptr<NSTimer> scheduledTimerWithTimeInterval(double interval, const std::function<void()> &block,
                                                        bool repeats);

/// The same, not scheduled yet: give it to NSRunLoop::addTimer(). Any thread.
std::shared_ptr<NSTimer> timerWithTimeInterval(double interval, const std::function<void()> &block,
                                               bool repeats);

/// The action of these timers: calls the timer's user info if that is a block without arguments.
void executeSimpleBlock(NSTimer &timer);

} // namespace ZRKit
