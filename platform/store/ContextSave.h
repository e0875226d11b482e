// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSMergePolicy.h"
#include "platform/store/ObjectGraph.h"

namespace zr {

/// One save of a context's objects. Used where the context is.
class ContextSave {
public:
    ContextSave(ObjectGraph &graph, NSMergePolicy policy) : m_graph(graph), m_policy(policy) {}

    /// Asks the objects what they want to change before.
    void prepare();
    /// Saves everything or nothing.
    NSError run();

    /// The objects that were saved.
    const QVariantList &inserted() const { return m_inserted; }
    const QVariantList &updated() const { return m_updated; }
    const QVariantList &deleted() const { return m_deleted; }

private:
    NSError validate() const;
    NSError attempt(bool &hasConflicts);
    void finish(const QList<NSManagedObject *> &objects, const std::vector<ObjectChange> &changes,
                const std::vector<qint64> &versions);
    NSError mergeError(const std::vector<SaveConflict> &conflicts) const;
    void resolve(const SaveConflict &conflict);
    void resolveChange(NSManagedObject &object, const Row &stored);
    void resolveDeletion(NSManagedObject &object, const Row &stored);

    ObjectGraph &m_graph;
    const NSMergePolicy m_policy;
    QVariantList m_inserted, m_updated, m_deleted;
};

} // namespace zr
