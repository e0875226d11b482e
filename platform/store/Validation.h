// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/ObjectGraph.h"

#include <QList>

namespace zr {

/// What a model asks of its objects. Used where the objects are.
namespace Validation {

/// What is wrong with a property's value; nothing if it is valid. Of a to-many relationship the value is the set or
/// array of its objects.
QList<NSError> errorsOfValue(const NSManagedObject &object, int property, const QVariant &value);
/// What is wrong with the object's values.
QList<NSError> errorsOfValues(NSManagedObject &object);
/// The relationships that deny the object's deletion, because there are objects at their other end.
QList<NSError> errorsOfDeletion(NSManagedObject &object);
/// One error for all: nil for none, itself if there is one, otherwise NSValidationMultipleErrorsError.
NSError combined(const QList<NSError> &errors);
/// What such an error stands for.
QList<NSError> separate(const NSError &error);

} // namespace Validation

} // namespace zr
