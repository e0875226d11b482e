// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSelector.h"

#include <QVariant>
#include <memory>

class QObject;

/// Messages that are sent to an object after a delay, by the run loop of the thread that asked for them; they are lost
/// if that thread doesn't run its run loop or ends. Any thread.
namespace NSDelayedPerforming {

/// Sends the message once, not before the delay (in seconds; negative is none) has passed and the run loop
/// runs. The target is kept alive until then. What the message raises is logged.
/// \param object  the argument, if the selector takes one
void performSelector(std::shared_ptr<QObject> target, const NSSelector &selector, const QVariant &object,
                     double afterDelay);

/// Withdraws all messages to the target that the calling thread has asked for; those that other threads have
/// asked for stay.
void cancelPreviousPerformRequestsWithTarget(const QObject *target);
/// The same, for this message with an equal argument only.
void cancelPreviousPerformRequestsWithTarget(const QObject *target, const NSSelector &selector,
                                             const QVariant &object);

} // namespace NSDelayedPerforming
