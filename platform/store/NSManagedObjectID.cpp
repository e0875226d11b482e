// SPDX-License-Identifier: MIT
#include "platform/store/NSManagedObjectID.h"

#include "platform/store/NSManagedObjectModel.h"
#include "platform/store/ObjectSource.h"

#include <QUuid>

#include <atomic>

using namespace zr;

namespace {

/// Tells this process' temporary identifiers from those of others.
const QString &processName() {
    static const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return name;
}

} // namespace

bool NSManagedObjectID::isTemporaryID() const {
    return m_identity && m_identity->key.load(std::memory_order_acquire) == 0;
}

const NSEntityDescription *NSManagedObjectID::entity() const {
    return m_identity ? m_identity->entity : nullptr;
}

QUrl NSManagedObjectID::URIRepresentation() const {
    if (!m_identity)
        return {};
    const qint64 key = m_identity->key.load(std::memory_order_acquire);
    const QString entity = m_identity->entity->name();
    return key == 0 ? QUrl(QStringLiteral("x-zrstore:///%1/t%2-%3")
                               .arg(entity, processName())
                               .arg(m_identity->temporaryNumber))
                    : QUrl(QStringLiteral("x-zrstore://%1/%2/p%3").arg(m_identity->store, entity).arg(key));
}

NSManagedObjectID ObjectIdentity::temporary(const NSEntityDescription *entity) {
    static std::atomic<qint64> last = 0;
    auto identity = std::make_shared<ObjectIdentity>();
    identity->entity = entity;
    identity->model = entity->managedObjectModel()->shared_from_this();
    identity->temporaryNumber = ++last;
    return wrap(std::move(identity));
}

#include "moc_NSManagedObjectID.cpp"
