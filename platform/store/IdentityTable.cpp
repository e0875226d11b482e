// SPDX-License-Identifier: MIT
#include "platform/store/IdentityTable.h"

namespace zr {

NSManagedObjectID IdentityTable::identifier(const StoredEntity &entity, qint64 key) {
    const Place place(entity.table, key);
    if (auto known = m_identities.value(place).lock(); known && known->entity == entity.entity)
        return ObjectIdentity::wrap(std::move(known));
    auto identity = std::make_shared<ObjectIdentity>();
    identity->entity = entity.entity;
    identity->model = m_schema.model();
    identity->store = m_store;
    identity->key.store(key, std::memory_order_release);
    insert(place, identity);
    return ObjectIdentity::wrap(std::move(identity));
}

void IdentityTable::makePermanent(const NSManagedObjectID &id, qint64 key) {
    const std::shared_ptr<ObjectIdentity> &identity = ObjectIdentity::of(id);
    insert({m_schema.stored(id.entity()).table, key}, identity);
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

void IdentityTable::insert(const Place &place, const std::shared_ptr<ObjectIdentity> &identity) {
    if (m_identities.size() >= m_sweepAt) {
        m_identities.removeIf([](const auto &entry) { return entry.value().expired(); });
        m_sweepAt = std::max<qsizetype>(1024, 2 * m_identities.size());
    }
    m_identities.insert(place, identity);
}

} // namespace zr
