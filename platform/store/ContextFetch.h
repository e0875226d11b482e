// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/ObjectGraph.h"

namespace zr {

/// One fetch of a context: what the source finds, with what has changed in the context, and what the source has left to
/// be done. Used where the context is.
class ContextFetch {
public:
    ContextFetch(ObjectGraph &graph, const NSFetchRequest &request, const NSEntityDescription *entity);

    /// What the request's result type says.
    NSError results(QVariantList &results);
    NSError objects(QList<NSManagedObject *> &objects, bool wantsValues);
    NSError count(quint64 &count);

private:
    QVariant ownConstant(const QVariant &value) const;
    bool concerns(const NSManagedObject &object) const;
    bool hasToMerge() const;
    bool looksBeyondEntity() const;
    NSFetchRequest requestForSource() const;
    NSError ask(bool wantsValues, std::vector<FetchedObject> &found);
    NSError adoptAndFilter(std::vector<FetchedObject> &&found, bool wantsValues,
                           QList<NSManagedObject *> &objects);
    void mergeChanged(QList<NSManagedObject *> &objects, bool &isSorted) const;
    void sort(QList<NSManagedObject *> &objects) const;
    template <typename List>
    void window(List &list) const;
    QVariantMap dictionaryOf(NSManagedObject &object) const;
    NSError prefetch(const QList<NSManagedObject *> &objects, const QString &keyPath);

    ObjectGraph &m_graph;
    const NSFetchRequest m_request;
    const NSEntityDescription *const m_entity;
    const EntityClass &m_class;
    /// With the context's own objects as constants.
    NSPredicate m_predicate;
    const bool m_merges, m_beyond;
    FetchRemainder m_remainder;
};

} // namespace zr
