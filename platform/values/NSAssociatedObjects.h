// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

class QObject;

/// Things attached to objects under keys, which are addresses. They are released when the object dies. Each
/// call is atomic; any thread, as long as the object lives.
namespace NSAssociatedObjects {

/// What is attached under the key; nullptr if nothing is, and for a nil object.
std::shared_ptr<void> get(const QObject *object, const void *key);
/// Attaches a thing in place of what was there; nullptr attaches nothing. Nothing happens for a nil object.
void set(QObject *object, const void *key, std::shared_ptr<void> thing);

} // namespace NSAssociatedObjects
