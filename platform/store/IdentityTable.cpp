// SPDX-License-Identifier: MIT
#include "platform/store/IdentityTable.h"

#include <algorithm>

namespace zr {

NSManagedObjectID IdentityTable::identifier(const StoredEntity &entity, qint64 key) {
    std::weak_ptr<ObjectIdentity> &place = slot(entity.table, key);
    if (auto known = place.lock(); known && known->entity == entity.entity)
        return ObjectIdentity::wrap(std::move(known));
    auto identity = std::make_shared<ObjectIdentity>();
    identity->entity = entity.entity;
    identity->model = m_schema.model();
    identity->store = m_store;
    identity->key.store(key, std::memory_order_release);
    place = identity;
    return ObjectIdentity::wrap(std::move(identity));
}

void IdentityTable::makePermanent(const NSManagedObjectID &id, qint64 key) {
    const std::shared_ptr<ObjectIdentity> &identity = ObjectIdentity::of(id);
    slot(m_schema.stored(id.entity()).table, key) = identity;
    identity->store = m_store;
    identity->key.store(key, std::memory_order_release);
}

qint64 IdentityTable::keyOf(const NSManagedObjectID &id) const {
    const std::shared_ptr<ObjectIdentity> &identity = ObjectIdentity::of(id);
    if (!identity || identity->model != m_schema.model())
        return 0;
    const qint64 key = identity->key.load(std::memory_order_acquire);
    return key != 0 && identity->store == m_store ? key : 0;
}

std::weak_ptr<ObjectIdentity> &IdentityTable::slot(const StoredTable *table, qint64 key) {
    if (m_groups.size() >= m_sweepAt) {
        std::erase_if(m_groups, [](const auto &group) {
            return std::all_of(group.second.begin(), group.second.end(),
                               [](const auto &identity) { return identity.expired(); });
        });
        m_sweepAt = std::max<size_t>(1024, 2 * m_groups.size());
    }
    return m_groups[{table, key / GroupSize}][size_t(key % GroupSize)];
}

} // namespace zr
