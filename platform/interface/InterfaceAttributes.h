// SPDX-License-Identifier: MIT
#pragma once

class QEvent;
class QObject;

namespace zr {

/// Hands a property that an interface file sets, and that the object's class does not declare, to the object's own
/// setValue(value, forUndefinedKey); to be called for every event that the object gets. A property that is taken away is no
/// attribute, nor is one whose name begins with "_q_", as Qt's own do. Main thread.
/// \return whether the event brought an attribute to an object that takes attributes
bool attributeArrived(QObject *object, const QEvent *event);

} // namespace zr
