// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/NSTimer+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/operations/NSRunLoop.h"

namespace {

/// Runs the run loop until the condition holds, a minute at most.
template <typename Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 60'000 && !condition(); ++i)
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
    return condition();
}

} // namespace

EXAMPLE(NSTimer_ZRKit) {
    int ticks = 0;

    // scheduledTimerWithTimeInterval: runs at once, here until it is invalidated
    auto timer = ZRKit::scheduledTimerWithTimeInterval(
        0.001, [&] { ++ticks; }, true);
    expect(eventually([&] { return ticks >= 3; }));
    timer->invalidate();
    expect(!timer->isValid());

    // A timer that doesn't repeat is invalid once it has fired; a nil block does nothing.
    auto once = ZRKit::scheduledTimerWithTimeInterval(0.001, nullptr, false);
    expect(eventually([&] { return !once->isValid(); }));

    // timerWithTimeInterval: waits for a run loop
    ticks = 0;
    auto waiting = ZRKit::timerWithTimeInterval(
        0.001, [&] { ++ticks; }, false);
    NSRunLoop::currentRunLoop().runUntilDate(0.01);
    expect(ticks == 0);
    NSRunLoop::currentRunLoop().addTimer(waiting);
    expect(eventually([&] { return ticks == 1; }));

    // executeSimpleBlock: the block is the timer's user info
    auto manual = ZRKit::timerWithTimeInterval(
        3600, [&] { ++ticks; }, true);
    ZRKit::executeSimpleBlock(*manual);
    expect(ticks == 2);
}
