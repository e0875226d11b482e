// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSArrayController.h"

#include <memory>

namespace ZRKit {

/// A new controller that is bound to the context and entity, and filled: it prepares its content by itself from then on. The
/// filter predicate is deliberately not applied; set it on the controller if it is wanted. Raises NSInvalidArgumentException
/// for an unknown entity name. Where the context is used.
std::unique_ptr<NSArrayController>
arrayControllerWithMOC(const std::shared_ptr<NSManagedObjectContext> &context, const QString &entityName,
                       const NSPredicate &filterPredicate, const QList<NSSortDescriptor> &sortDescriptors);

/// Fills the controller at once with all objects of its entity, sorted by its descriptors, whatever its predicates say. If
/// that fails, the content is empty and nothing is shown.
void forceLoad(NSArrayController &controller);

} // namespace ZRKit
