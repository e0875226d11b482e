// SPDX-License-Identifier: MIT
#include "bench/store/RecordStore.h"

#include "bench/store/SQLitePeer.h"
#include "platform/store/ObjectSource.h"

#include <QDateTime>

namespace RecordStore {

namespace {

zr::ObjectChange insertion(const NSEntityDescription *entity, int index) {
    const SQLitePeer::Record record = SQLitePeer::record(index);
    zr::ObjectChange change{zr::ObjectChange::Insert, zr::ObjectIdentity::temporary(entity), {}, {}, {}};
    change.row.values.resize(entity->properties().size());
    const auto set = [&](const QString &name, const QVariant &value) {
        change.row.values.at(size_t(entity->indexOfProperty(name))) = value;
    };
    set(QStringLiteral("title"), QString::fromStdString(record.title));
    set(QStringLiteral("rank"), record.rank);
    set(QStringLiteral("price"), record.price);
    set(QStringLiteral("added"), QDateTime::fromMSecsSinceEpoch(record.added, Qt::UTC));
    set(QStringLiteral("done"), record.isDone);
    return change;
}

} // namespace

NSManagedObjectModel::Ptr model() {
    return NSManagedObjectModel::modelWithData(
        R"({"name": "Records", "entities": [{"name": "Record", "attributes": {
        "title": {"type": "string"}, "rank": {"type": "integer32", "indexed": true}, "price": {"type": "double"},
        "added": {"type": "date"}, "done": {"type": "boolean"}}}]})");
}

std::shared_ptr<NSPersistentStoreCoordinator> open(const QString &path) {
    auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(model());
    NSError error;
    if (!coordinator->addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(path), {},
                                                 &error))
        qFatal("%s", qPrintable(error.description()));
    return coordinator;
}

void fill(NSPersistentStoreCoordinator &coordinator, int count) {
    constexpr int SaveSize = 50'000;
    const NSEntityDescription *entity =
        coordinator.managedObjectModel()->entityNamed(QStringLiteral("Record"));
    for (int done = 0; done < count;) {
        std::vector<zr::ObjectChange> changes;
        for (int i = 0; i < SaveSize && done < count; ++i)
            changes.push_back(insertion(entity, done++));
        if (const NSError error = coordinator.source().save(changes).error)
            qFatal("%s", qPrintable(error.description()));
    }
}

} // namespace RecordStore
