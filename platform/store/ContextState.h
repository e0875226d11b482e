// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/ContextQueue.h"
#include "platform/store/NSManagedObjectContext.h"
#include "platform/store/ObjectGraph.h"
#include "platform/store/ParentSource.h"

#include <QList>
#include <memory>

namespace zr {

/// What a context consists of.
struct ContextState {
    NSManagedObjectContextConcurrencyType type;
    std::unique_ptr<ContextQueue> queue;
    NSMergePolicy mergePolicy = NSMergePolicy::Error;
    bool retainsRegisteredObjects = false;
    std::shared_ptr<NSUndoManager> undoManager;
    QList<NSEditor *> editors;
    std::shared_ptr<NSPersistentStoreCoordinator> coordinator;
    std::shared_ptr<NSManagedObjectContext> parent;
    std::unique_ptr<ParentSource> parentSource;
    /// None until there is a coordinator or parent.
    std::unique_ptr<ObjectGraph> graph;
};

} // namespace zr
