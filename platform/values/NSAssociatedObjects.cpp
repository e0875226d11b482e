// SPDX-License-Identifier: MIT
#include "platform/values/NSAssociatedObjects.h"

#include "platform/base/NeverDestroyed.h"

#include <QObject>
#include <mutex>
#include <unordered_map>

namespace {

using Things = std::unordered_map<const void *, std::shared_ptr<void>>;

struct Table {
    std::mutex mutex;
    std::unordered_map<const QObject *, Things> objects;
};

Table &table() {
    // Objects that die while the process ends still look for their things.
    static zr::NeverDestroyed<Table> all;
    return *all;
}

void forget(const QObject *object) {
    Things things; // released after the lock: their destructors may come back here
    const std::lock_guard lock(table().mutex);
    if (const auto at = table().objects.find(object); at != table().objects.end()) {
        things = std::move(at->second);
        table().objects.erase(at);
    }
}

} // namespace

namespace NSAssociatedObjects {

std::shared_ptr<void> get(const QObject *object, const void *key) {
    const std::lock_guard lock(table().mutex);
    const auto at = table().objects.find(object);
    if (at == table().objects.end())
        return nullptr;
    const auto thing = at->second.find(key);
    return thing == at->second.end() ? nullptr : thing->second;
}

void set(QObject *object, const void *key, std::shared_ptr<void> thing) {
    if (!object)
        return;
    std::shared_ptr<void> before;
    const std::lock_guard lock(table().mutex);
    const auto [at, isNew] = table().objects.try_emplace(object);
    if (isNew)
        QObject::connect(object, &QObject::destroyed, [object] { forget(object); });
    before = std::exchange(at->second[key], std::move(thing));
}

} // namespace NSAssociatedObjects
