// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/NSCoreDataErrors.h"
#include "platform/store/NSPersistentStoreCoordinator.h"
#include "platform/store/ObjectSource.h"
#include "tests/platform/store/Models.h"

#include <QMap>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

/// For tests of a store through what a context uses of it.
namespace StoreSupport {

using IDs = QList<NSManagedObjectID>;

inline QString text(const char *utf8) {
    return QString::fromUtf8(utf8);
}

inline QVariant reference(const NSManagedObjectID &id) {
    return QVariant::fromValue(id);
}

/// A change with these values; those of other properties are nil.
inline zr::ObjectChange change(zr::ObjectChange::Kind kind, const NSManagedObjectID &id, const zr::Row &base,
                               const QVariantMap &values,
                               const QMap<QString, std::pair<IDs, IDs>> &toMany = {}) {
    const NSEntityDescription *entity = id.entity();
    zr::ObjectChange change{kind, id, base, {}, {}};
    change.row.values.resize(entity->properties().size());
    for (auto at = values.begin(); at != values.end(); ++at) {
        const int index = entity->indexOfProperty(at.key());
        EXPECT_GE(index, 0) << at.key().toStdString();
        change.row.values.at(size_t(index)) = at.value();
        change.changed.push_back(index);
    }
    for (auto at = toMany.begin(); at != toMany.end(); ++at)
        change.toMany.push_back({entity->indexOfProperty(at.key()), at.value().first, at.value().second});
    return change;
}

inline zr::ObjectChange insertion(const NSEntityDescription *entity, const QVariantMap &values,
                                  const QMap<QString, std::pair<IDs, IDs>> &toMany = {}) {
    return change(zr::ObjectChange::Insert, zr::ObjectIdentity::temporary(entity), {}, values, toMany);
}

inline zr::ObjectChange update(const zr::FetchedObject &object, const QVariantMap &values,
                               const QMap<QString, std::pair<IDs, IDs>> &toMany = {}) {
    return change(zr::ObjectChange::Update, object.id, *object.row, values, toMany);
}

inline zr::ObjectChange deletion(const zr::FetchedObject &object) {
    return change(zr::ObjectChange::Delete, object.id, *object.row, {});
}

inline QVariant valueOf(const zr::FetchedObject &object, const char *property) {
    const int index = object.id.entity()->indexOfProperty(QString::fromLatin1(property));
    EXPECT_GE(index, 0) << property;
    return object.row ? object.row->values.at(size_t(index)) : QVariant();
}

struct Fetched {
    std::vector<zr::FetchedObject> objects;
    zr::FetchRemainder remainder;
    NSError error;
};

inline Fetched fetch(zr::ObjectSource &source, const NSEntityDescription *entity,
                     const NSFetchRequest &request, bool wantsRows = true) {
    Fetched fetched;
    fetched.error = source.fetch(
        request, entity, wantsRows,
        [&](const zr::FetchRemainder &remainder) { fetched.remainder = remainder; },
        [&](zr::FetchedObject &&object) { fetched.objects.push_back(std::move(object)); });
    return fetched;
}

inline Fetched fetch(zr::ObjectSource &source, const NSEntityDescription *entity,
                     const char *format = "TRUEPREDICATE") {
    NSFetchRequest request;
    request.setPredicate(NSPredicate::predicateWithFormat(text(format)));
    const Fetched fetched = fetch(source, entity, request);
    EXPECT_FALSE(fetched.error) << fetched.error.localizedDescription().toStdString();
    return fetched;
}

/// A store file in a folder of its own.
class StoreTest : public testing::Test {
protected:
    QString path() const { return folder.filePath(QStringLiteral("Data.db")); }

    std::shared_ptr<NSPersistentStoreCoordinator>
    open(const NSManagedObjectModel::Ptr &model, const QVariantMap &options = {}, NSError *error = nullptr) {
        auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(model);
        NSError own;
        const auto store = coordinator->addPersistentStoreWithType(
            NSSQLiteStoreType, {}, QUrl::fromLocalFile(path()), options, &own);
        if (error)
            *error = own;
        else
            EXPECT_TRUE(store) << own.localizedDescription().toStdString();
        return store ? coordinator : nullptr;
    }

    static void save(NSPersistentStoreCoordinator &coordinator,
                     const std::vector<zr::ObjectChange> &changes) {
        const zr::SaveOutcome outcome = coordinator.source().save(changes);
        ASSERT_FALSE(outcome.error) << outcome.error.localizedDescription().toStdString();
        ASSERT_EQ(outcome.versions.size(), changes.size());
    }

    QTemporaryDir folder;
};

} // namespace StoreSupport
