// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSSelector.h"

#include <QPointer>
#include <QVariant>
#include <optional>

namespace zr {

/// Calls a step out of one of Qt's events, through which nothing must be raised: what the step raises is logged.
template <typename Step>
void withoutRaising(Step step);

/// What the object answers to the message; std::nullopt if it is gone or doesn't respond.
std::optional<QVariant> ask(const QPointer<QObject> &object, const NSSelector &message,
                            const QVariantList &arguments);

/// Sends an action to the target with the sender as its argument, if it takes any. Without a target, the first that
/// responds gets it among the widget with the keyboard focus and the responders after it, then the sender, or what it
/// belongs to if it is no widget, and those after that. What is raised is logged.
/// \return whether anybody responded
bool sendAction(const NSSelector &action, QObject *target, QObject *sender);

/// Logs the exception that is being handled.
void logRaised();

} // namespace zr

template <typename Step>
void zr::withoutRaising(Step step) {
    try {
        step();
    } catch (...) {
        logRaised();
    }
}
