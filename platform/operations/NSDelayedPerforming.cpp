// SPDX-License-Identifier: MIT
#include "platform/operations/NSDelayedPerforming.h"

#include "platform/operations/NSRunLoop.h"
#include "platform/operations/RunLoopTimers.h"

using namespace zr;

/// The way to the timers of a run loop.
class zr::DelayedPerforming {
public:
    static void add(std::shared_ptr<QObject> target, const NSSelector &selector, const QVariant &object,
                    double afterDelay) {
        NSRunLoop::currentRunLoop().m_timers->addPerform(
            std::move(target), selector, object, NSRunLoop::Clock::now() + NSRunLoop::duration(afterDelay));
    }
    /// nullptr as long as the thread has no run loop, and when it ends.
    static RunLoopTimers *existing() {
        NSRunLoop *const runLoop = NSRunLoop::existing();
        return runLoop ? runLoop->m_timers.get() : nullptr;
    }
};

namespace NSDelayedPerforming {

void performSelector(std::shared_ptr<QObject> target, const NSSelector &selector, const QVariant &object,
                     double afterDelay) {
    if (target)
        DelayedPerforming::add(std::move(target), selector, object, afterDelay);
}

void cancelPreviousPerformRequestsWithTarget(const QObject *target) {
    if (RunLoopTimers *timers = DelayedPerforming::existing())
        timers->removePerforms(target);
}

void cancelPreviousPerformRequestsWithTarget(const QObject *target, const NSSelector &selector,
                                             const QVariant &object) {
    if (RunLoopTimers *timers = DelayedPerforming::existing())
        timers->removePerforms(target, selector, object);
}

} // namespace NSDelayedPerforming
