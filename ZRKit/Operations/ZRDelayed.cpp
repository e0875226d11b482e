// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZRDelayed.h"

#include "platform/base/NSObjectLock.h"
#include "platform/operations/NSDelayedPerforming.h"

#include <utility>

ZRDelayed::~ZRDelayed() {
    cancel();
}

void ZRDelayed::performAfter(double delay, Block block) {
    static const NSSelector executeBlock("executeBlock");
    auto self = shared_from_this();
    // Let go after the lock: its end may come back here.
    Block before = std::move(block);
    const NSObjectLock lock(this);
    withdraw();
    m_block.swap(before);
    NSDelayedPerforming::performSelector(std::move(self), executeBlock, {}, delay);
}

void ZRDelayed::executeBlock() {
    const auto self = weak_from_this().lock();
    Block running;
    Block left;
    const NSObjectLock lock(this);
    running.swap(m_block);
    if (running)
        running();
    left.swap(m_block);
}

void ZRDelayed::cancel() {
    Block before;
    const NSObjectLock lock(this);
    withdraw();
    before.swap(m_block);
}

void ZRDelayed::withdraw() {
    NSDelayedPerforming::cancelPreviousPerformRequestsWithTarget(this);
}

#include "moc_ZRDelayed.cpp"
