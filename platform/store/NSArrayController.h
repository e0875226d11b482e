// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"
#include "platform/predicates/NSSortDescriptor.h"
#include "platform/store/NSManagedObjectContext.h"

#include <QAbstractListModel>
#include <QList>
#include <QVariantList>
#include <memory>

/// A list of objects for views: the objects of an entity that a fetch finds, or whatever is set as its content, filtered and
/// sorted. As an item model it has a row for each arranged object: Qt::UserRole gives the object, the roles after it, which
/// roleNames() names, its entity's properties; Qt::DisplayRole and Qt::EditRole of a view are the first attribute's.
///
/// It follows its context: rows of objects that change are told to views, objects that are deleted disappear. Used by the
/// thread of its context.
class NSArrayController : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString entityName READ entityName WRITE setEntityName)
    Q_PROPERTY(bool automaticallyPreparesContent READ automaticallyPreparesContent WRITE
                   setAutomaticallyPreparesContent)
    Q_PROPERTY(QVariantList content READ content WRITE setContent NOTIFY contentChanged)
    Q_PROPERTY(QVariantList arrangedObjects READ arrangedObjects NOTIFY contentChanged)

public:
    explicit NSArrayController(QObject *parent = nullptr);
    ~NSArrayController() override;

    std::shared_ptr<NSManagedObjectContext> managedObjectContext() const { return m_context; }
    void setManagedObjectContext(const std::shared_ptr<NSManagedObjectContext> &context);
    QString entityName() const { return m_entityName; }
    void setEntityName(const QString &name);
    /// How the arranged objects are sorted; as the content is for none.
    QList<NSSortDescriptor> sortDescriptors() const { return m_sortDescriptors; }
    void setSortDescriptors(const QList<NSSortDescriptor> &descriptors);
    /// Which objects of the content are arranged; all for nil.
    NSPredicate filterPredicate() const { return m_filterPredicate; }
    void setFilterPredicate(const NSPredicate &predicate);
    /// Which objects prepareContent() fetches; all for nil.
    NSPredicate fetchPredicate() const { return m_fetchPredicate; }
    void setFetchPredicate(const NSPredicate &predicate) { m_fetchPredicate = predicate; }
    /// Whether a context or an entity name that is set later makes the content be prepared, if both are there; false at
    /// first.
    bool automaticallyPreparesContent() const { return m_preparesContent; }
    void setAutomaticallyPreparesContent(bool flag) { m_preparesContent = flag; }

    /// Makes the content what a fetch with the fetch predicate and the sort descriptors finds; nothing, and an error, if it
    /// fails or if there is no context. Raises as executeFetchRequest() does.
    bool prepareContent(NSError *error = nullptr);

    /// All objects, and those that the filter predicate holds for, sorted.
    QVariantList content() const { return m_content; }
    void setContent(const QVariantList &content);
    QVariantList arrangedObjects() const { return m_arranged; }
    /// Applies filter and order anew, to objects that have changed.
    void rearrangeObjects();

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void contentChanged();

private:
    const NSEntityDescription *entity() const;
    const NSPropertyDescription *propertyForRole(int role) const;
    void prepareIfWanted();
    void contextDidChange(const NSNotification &notification);
    void watchContext();

    std::shared_ptr<NSManagedObjectContext> m_context;
    QString m_entityName;
    QList<NSSortDescriptor> m_sortDescriptors;
    NSPredicate m_filterPredicate, m_fetchPredicate;
    bool m_preparesContent = false;
    QVariantList m_content, m_arranged;
    QObject *m_registration = nullptr;
};
