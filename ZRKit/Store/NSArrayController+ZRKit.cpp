// SPDX-License-Identifier: MIT
#include "ZRKit/Store/NSArrayController+ZRKit.h"

namespace ZRKit {

std::unique_ptr<NSArrayController>
arrayControllerWithMOC(const std::shared_ptr<NSManagedObjectContext> &context, const QString &entityName,
                       const NSPredicate &, const QList<NSSortDescriptor> &sortDescriptors) {
    auto controller = std::make_unique<NSArrayController>();
    controller->setManagedObjectContext(context);
    controller->setSortDescriptors(sortDescriptors);
    controller->setEntityName(entityName);
    controller->setAutomaticallyPreparesContent(true);
    forceLoad(*controller);
    controller->prepareContent();
    return controller;
}

void forceLoad(NSArrayController &controller) {
    const auto context = controller.managedObjectContext();
    std::optional<QVariantList> found;
    if (context) {
        NSFetchRequest request(controller.entityName());
        request.setSortDescriptors(controller.sortDescriptors());
        found = context->executeFetchRequest(request);
    }
    controller.setContent(found.value_or(QVariantList()));
}

} // namespace ZRKit
