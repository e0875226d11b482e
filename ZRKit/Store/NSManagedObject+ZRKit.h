// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Store/NSManagedObjectContext+ZRKit.h"
#include "platform/store/NSManagedObject.h"

#include <QString>
#include <QVariantList>
#include <concepts>
#include <optional>

/// Short operations on managed objects and their classes. A class (see NS_MANAGED_OBJECT) finds its entity under its own
/// name. Used where the context is.
namespace ZRKit {

/// The class's name, which is that of its entity.
template <std::derived_from<NSManagedObject> Class>
QString name() {
    return Class::name();
}

/// A new object of the class's entity. Raises NSInvalidArgumentException if the model has none of that name.
template <std::derived_from<NSManagedObject> Class>
Class *makeWithMOC(NSManagedObjectContext &context) {
    return dynamic_cast<Class *>(object(context, name<Class>()));
}

/// The objects of the class's entity for which the predicate holds, all for nil; none if the fetch fails, which is shown
/// to the user. Raises as fetch() does.
template <std::derived_from<NSManagedObject> Class>
std::optional<QVariantList> fetchWithMOC(NSManagedObjectContext &context, const NSPredicate &predicate) {
    return fetch(context, name<Class>(), predicate);
}

/// The object's identifier as text: its URI. That of an object which was never saved changes with its first save.
QString objectIDString(const NSManagedObject &receiver);

} // namespace ZRKit
