// SPDX-License-Identifier: MIT
#include "platform/store/ContextSave.h"

#include "platform/base/NSException.h"
#include "platform/store/AttributeValue.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/store/Validation.h"

#include <QSet>

using namespace zr;

namespace {

/// Others may change the same objects again and again; somebody has to give in.
constexpr int MostAttempts = 100;

NSError errorOf(const NSException &exception) {
    const QVariant underlying = exception.userInfo().value(NSUnderlyingErrorKey);
    if (underlying.canConvert<NSError>())
        return underlying.value<NSError>();
    return {NSCocoaErrorDomain,
            NSManagedObjectReferentialIntegrityError,
            {{NSLocalizedDescriptionKey, exception.description()}}};
}

} // namespace

void ContextSave::prepare() {
    QSet<NSManagedObject *> told;
    for (bool isDone = false; !isDone;) {
        isDone = true;
        for (const auto changed = m_graph.changed(); NSManagedObject * object : changed) {
            if (told.contains(object))
                continue;
            told.insert(object);
            object->willSave();
            isDone = false;
        }
    }
}

NSError ContextSave::run() {
    for (int i = 0; i < MostAttempts; ++i) {
        bool hasConflicts = false;
        if (NSError error = validate())
            return error;
        if (NSError error = attempt(hasConflicts))
            return error;
        if (!hasConflicts)
            return {};
    }
    return mergeError({});
}

NSError ContextSave::validate() const {
    QList<NSError> errors;
    for (const auto changed = m_graph.changed(); const NSManagedObject *object : changed) {
        NSError error;
        const bool isValid = object->isDeleted()    ? object->validateForDelete(&error)
                             : object->isInserted() ? object->validateForInsert(&error)
                                                    : object->validateForUpdate(&error);
        if (!isValid)
            errors << Validation::separate(error);
    }
    return Validation::combined(errors);
}

NSError ContextSave::attempt(bool &hasConflicts) {
    const QList<NSManagedObject *> objects = m_graph.changed();
    std::vector<ObjectChange> changes;
    changes.reserve(size_t(objects.size()));
    try {
        for (NSManagedObject *object : objects) {
            if (auto change = m_graph.changeOf(*object))
                changes.push_back(std::move(*change));
        }
    } catch (const NSException &exception) {
        if (exception.name() != NSObjectInaccessibleException)
            throw;
        return errorOf(exception);
    }
    SaveOutcome outcome;
    if (!changes.empty())
        outcome = m_graph.source.save(changes);
    hasConflicts = !outcome.conflicts.empty();
    if (outcome.error && !hasConflicts)
        return outcome.error;
    if (hasConflicts && m_policy == NSMergePolicy::Error)
        return mergeError(outcome.conflicts);
    for (const SaveConflict &conflict : outcome.conflicts)
        resolve(conflict);
    if (!hasConflicts)
        finish(objects, changes, outcome.versions);
    return {};
}

void ContextSave::finish(const QList<NSManagedObject *> &objects, const std::vector<ObjectChange> &changes,
                         const std::vector<qint64> &versions) {
    size_t next = 0;
    for (NSManagedObject *object : objects) {
        const ObjectState &state = ObjectState::of(*object);
        auto &list = object->isInserted() ? m_inserted : object->isDeleted() ? m_deleted : m_updated;
        list << QVariant::fromValue<QObject *>(object);
        qint64 version = state.version;
        if (next < changes.size() && changes[next].id == state.id) {
            version = versions[next];
            ++next;
        }
        m_graph.didSave(*object, version);
    }
    m_graph.forgetUnchanged();
}

// ---- Conflicts

NSError ContextSave::mergeError(const std::vector<SaveConflict> &conflicts) const {
    QVariantList list;
    for (const SaveConflict &conflict : conflicts) {
        NSManagedObject *object = m_graph.registered(conflict.id);
        QVariantMap entry{{QStringLiteral("object"), QVariant::fromValue<QObject *>(object)},
                          {QStringLiteral("oldVersion"), object ? ObjectState::of(*object).version : 0}};
        if (conflict.stored)
            entry.insert(QStringLiteral("newVersion"), conflict.stored->version);
        list << entry;
    }
    return {NSCocoaErrorDomain,
            NSManagedObjectMergeError,
            {{NSLocalizedDescriptionKey,
              QStringLiteral("Others have changed the same objects since they were read.")},
             {NSPersistentStoreSaveConflictsErrorKey, list}}};
}

void ContextSave::resolve(const SaveConflict &conflict) {
    NSManagedObject *object = m_graph.registered(conflict.id);
    if (!object)
        return;
    if (!conflict.stored)
        m_graph.drop(*object);
    else if (object->isDeleted())
        resolveDeletion(*object, *conflict.stored);
    else
        resolveChange(*object, *conflict.stored);
}

void ContextSave::resolveChange(NSManagedObject &object, const Row &stored) {
    const ObjectState &state = ObjectState::of(object);
    m_graph.fire(object);
    switch (m_policy) {
    case NSMergePolicy::MergeByPropertyStoreTrump: {
        const auto before = state.committed ? *state.committed : state.values;
        m_graph.rebase(object, stored, [&](int property) {
            const auto at = size_t(property);
            const NSAttributeDescription *attribute = state.entityClass->property(property).attribute;
            return attribute ? isSameAttributeValue(attribute->attributeType(), before[at], stored.values[at])
                             : before[at] == stored.values[at];
        });
        break;
    }
    case NSMergePolicy::MergeByPropertyObjectTrump:
        m_graph.rebase(object, stored, [](int) { return true; });
        break;
    case NSMergePolicy::Overwrite:
        m_graph.overwrite(object, stored);
        break;
    case NSMergePolicy::Rollback:
        m_graph.rollback(object);
        m_graph.rebase(object, stored, [](int) { return false; });
        break;
    case NSMergePolicy::Error:
        break;
    }
}

void ContextSave::resolveDeletion(NSManagedObject &object, const Row &stored) {
    if (m_policy == NSMergePolicy::MergeByPropertyObjectTrump || m_policy == NSMergePolicy::Overwrite) {
        ObjectState::of(object).version = stored.version;
        return;
    }
    m_graph.rollback(object);
    if (!object.isFault())
        m_graph.rebase(object, stored, [](int) { return false; });
}
