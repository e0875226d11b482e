// SPDX-License-Identifier: MIT
#include "platform/store/NSArrayController.h"

#include "platform/store/NSEntityDescription.h"
#include "platform/values/NSNotificationCenter.h"
#include "platform/values/ValueKind.h"

#include <QSet>
#include <algorithm>

using namespace zr;

NSArrayController::NSArrayController(QObject *parent) : QAbstractListModel(parent) {
}

NSArrayController::~NSArrayController() {
    if (m_registration)
        NSNotificationCenter::defaultCenter().removeObserver(m_registration);
}

void NSArrayController::setManagedObjectContext(const std::shared_ptr<NSManagedObjectContext> &context) {
    if (m_context == context)
        return;
    setContent({});
    m_context = context;
    watchContext();
    prepareIfWanted();
}

void NSArrayController::watchContext() {
    NSNotificationCenter &center = NSNotificationCenter::defaultCenter();
    if (m_registration)
        center.removeObserver(std::exchange(m_registration, nullptr));
    if (m_context)
        m_registration = center.addObserverForName(
            NSManagedObjectContextObjectsDidChangeNotification,
            QVariant::fromValue<QObject *>(m_context.get()),
            [this](const NSNotification &notification) { contextDidChange(notification); });
}

void NSArrayController::setEntityName(const QString &name) {
    if (m_entityName == name)
        return;
    m_entityName = name;
    prepareIfWanted();
}

void NSArrayController::prepareIfWanted() {
    if (m_preparesContent && m_context && !m_entityName.isNull())
        prepareContent();
}

void NSArrayController::setSortDescriptors(const QList<NSSortDescriptor> &descriptors) {
    m_sortDescriptors = descriptors;
    rearrangeObjects();
}

void NSArrayController::setFilterPredicate(const NSPredicate &predicate) {
    m_filterPredicate = predicate;
    rearrangeObjects();
}

bool NSArrayController::prepareContent(NSError *error) {
    if (!m_context) {
        setContent({});
        if (error)
            *error = NSError(NSCocoaErrorDomain, 0,
                             {{NSLocalizedDescriptionKey, QStringLiteral("The controller has no context.")}});
        return false;
    }
    NSFetchRequest request(m_entityName);
    request.setPredicate(m_fetchPredicate);
    request.setSortDescriptors(m_sortDescriptors);
    const auto found = m_context->executeFetchRequest(request, error);
    setContent(found.value_or(QVariantList()));
    return found.has_value();
}

void NSArrayController::setContent(const QVariantList &content) {
    m_content = content;
    rearrangeObjects();
}

void NSArrayController::rearrangeObjects() {
    QVariantList arranged =
        m_filterPredicate.isNil() ? m_content : filteredArrayUsingPredicate(m_content, m_filterPredicate);
    if (!m_sortDescriptors.isEmpty())
        arranged = sortedArrayUsingDescriptors(arranged, m_sortDescriptors);
    beginResetModel();
    m_arranged = arranged;
    endResetModel();
    Q_EMIT contentChanged();
}

void NSArrayController::contextDidChange(const NSNotification &notification) {
    const QVariantMap info = notification.userInfo();
    const auto objectsOf = [&info](const QString &key) {
        QSet<QObject *> objects;
        for (const QVariantList values = info.value(key).toList(); const QVariant &value : values)
            objects.insert(objectOf(value));
        return objects;
    };
    const QSet<QObject *> deleted = objectsOf(NSDeletedObjectsKey), updated = objectsOf(NSUpdatedObjectsKey);
    QVariantList kept = m_content;
    kept.removeIf([&](const QVariant &value) { return deleted.contains(objectOf(value)); });
    if (kept.size() != m_content.size()) {
        setContent(kept);
        return;
    }
    for (qsizetype row = 0; !updated.isEmpty() && row < m_arranged.size(); ++row) {
        if (updated.contains(objectOf(m_arranged[row])))
            Q_EMIT dataChanged(index(int(row)), index(int(row)));
    }
}

// ---- The item model

const NSEntityDescription *NSArrayController::entity() const {
    const NSManagedObjectModel::Ptr model = m_context ? m_context->managedObjectModel() : nullptr;
    return model ? model->entityNamed(m_entityName) : nullptr;
}

const NSPropertyDescription *NSArrayController::propertyForRole(int role) const {
    const NSEntityDescription *described = entity();
    if (!described || described->properties().empty())
        return nullptr;
    const auto &properties = described->properties();
    if (role == Qt::DisplayRole || role == Qt::EditRole) {
        const auto first =
            std::find_if(properties.begin(), properties.end(), [](const NSPropertyDescription *property) {
                return dynamic_cast<const NSAttributeDescription *>(property);
            });
        return first == properties.end() ? nullptr : *first;
    }
    const int index = role - Qt::UserRole - 1;
    return index >= 0 && index < int(properties.size()) ? properties[size_t(index)] : nullptr;
}

int NSArrayController::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : int(m_arranged.size());
}

QVariant NSArrayController::data(const QModelIndex &index, int role) const {
    if (!index.isValid() || index.row() >= m_arranged.size())
        return {};
    const QVariant &object = m_arranged[index.row()];
    if (role == Qt::UserRole)
        return object;
    const NSPropertyDescription *property = propertyForRole(role);
    const NSManagedObject *managed = NSManagedObject::from(object);
    return property && managed ? managed->valueForKey(property->name()) : QVariant();
}

bool NSArrayController::setData(const QModelIndex &index, const QVariant &value, int role) {
    const NSPropertyDescription *property = propertyForRole(role);
    if (!property || !index.isValid() || index.row() >= m_arranged.size())
        return false;
    NSManagedObject *managed = NSManagedObject::from(m_arranged[index.row()]);
    if (!managed)
        return false;
    managed->setValueForKey(value, property->name());
    Q_EMIT dataChanged(index, index);
    return true;
}

Qt::ItemFlags NSArrayController::flags(const QModelIndex &index) const {
    return QAbstractListModel::flags(index) | (index.isValid() ? Qt::ItemIsEditable : Qt::NoItemFlags);
}

QHash<int, QByteArray> NSArrayController::roleNames() const {
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(Qt::UserRole, "object");
    if (const NSEntityDescription *described = entity()) {
        int role = Qt::UserRole;
        for (const NSPropertyDescription *property : described->properties())
            names.insert(++role, property->name().toUtf8());
    }
    return names;
}

#include "moc_NSArrayController.cpp"
