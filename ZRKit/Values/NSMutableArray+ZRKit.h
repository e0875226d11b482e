// SPDX-License-Identifier: MIT
#pragma once

#include "platform/values/NSLog.h"
#include "platform/values/NSNull.h"

#include <QVariantList>

/// Arrays that are changed. One thread at a time.
namespace ZRKit {

/// Removes the element at the index and gives it; a negative index counts from the end, -1 is the last. Out
/// of range it gives nil and removes nothing.
QVariant pop(QVariantList &array, qint64 index);
/// pop() of the first element.
QVariant popFirst(QVariantList &array);
/// pop() of the last element.
QVariant popLast(QVariantList &array);

/// Appends the object unless it is nil; the null marker and empty values are objects.
void addObjectIfNotNil(QVariantList &array, const QVariant &object);

/// Appends the filled format, see NSFormat().
template <typename... Arguments>
void addFormat(QVariantList &array, const char *format, const Arguments &...arguments) {
    array.append(NSFormat(format, {NSFormatArgument(arguments)...}));
}

} // namespace ZRKit
