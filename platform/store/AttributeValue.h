// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSPropertyDescription.h"

#include <QVariant>

namespace zr {

/// The value as the attribute keeps it, see NSAttributeType; nil of nil. Numbers are converted as the kit's toInt() and
/// toDouble() do it. Raises NSInvalidArgumentException for a value of another kind and for an integer that the
/// attribute's width doesn't hold. Any thread.
QVariant attributeValue(const NSAttributeDescription &attribute, const QVariant &value);

/// Whether two such values are the same to the store: transformable ones are if their archives are.
/// Any thread.
bool isSameAttributeValue(NSAttributeType type, const QVariant &a, const QVariant &b);

} // namespace zr
