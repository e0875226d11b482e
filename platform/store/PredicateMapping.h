// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"

#include <functional>

namespace zr {

class EntityClass;

/// The predicate with other values in the place of its constants; the elements of arrays and sets count one by one. Any
/// thread.
NSPredicate predicateWithConstants(const NSPredicate &predicate,
                                   const std::function<QVariant(const QVariant &value)> &replacement);

/// Whether the answer for an object may depend on other objects than itself, so that their changes count too. Any thread.
bool looksBeyondObject(const NSPredicate &predicate, const EntityClass &entityClass);
/// The same for a value at the end of a key path.
bool looksBeyondObject(const QString &keyPath, const EntityClass &entityClass);

} // namespace zr
