// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FirstException.h"
#include "platform/observing/NSKeyValueObserving.h"
#include "platform/store/ObjectState.h"

#include <QSet>
#include <utility>
#include <vector>

namespace zr {

/// Tells the observers of objects that some of their properties are about to change, and that they have changed. Objects
/// that nobody observes cost nothing.
class ChangeAnnouncement {
public:
    void add(NSManagedObject &object, int property) {
        if (!ObjectState::of(object).isObserved.load(std::memory_order_relaxed) ||
            m_known.contains({&object, property}))
            return;
        m_known.insert({&object, property});
        m_changes.emplace_back(&object, property);
    }
    void will(FirstException &failure) const {
        for (const auto &[object, property] : m_changes)
            failure.guard([&, at = object, key = property] {
                NSKeyValueObserving::willChangeValueForKey(at, name(*at, key));
            });
    }
    /// The last first.
    void did(FirstException &failure) const {
        for (auto at = m_changes.rbegin(); at != m_changes.rend(); ++at)
            failure.guard([&] {
                QMetaObject::activate(at->first, at->first->metaObject(), at->second, nullptr);
                NSKeyValueObserving::didChangeValueForKey(at->first, name(*at->first, at->second));
            });
    }

private:
    static QString name(const NSManagedObject &object, int property) {
        return ObjectState::of(object).entityClass->property(property).description->name();
    }

    std::vector<std::pair<NSManagedObject *, int>> m_changes;
    QSet<std::pair<NSManagedObject *, int>> m_known;
};

} // namespace zr
