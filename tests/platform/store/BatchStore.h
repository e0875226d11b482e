// SPDX-License-Identifier: MIT
#pragma once

#include "tests/platform/store/StoreSupport.h"

/// A store whose whole content follows from one number: the last batch that was saved. So whatever happens to it, a test
/// can tell whether it is whole.
class BatchStore {
public:
    static constexpr const char *Model = R"({'name': 'Batches', 'entities': [
      {'name': 'Counter', 'attributes': {'value': {'type': 'integer32'}}},
      {'name': 'Entry', 'attributes': {'batch': {'type': 'integer32', 'indexed': true}, 'text': {'type': 'string'}},
       'relationships': {'next': {'destination': 'Entry', 'toMany': true}}}]})";

    /// How many entries a batch adds; now and then more than SQLite keeps in memory.
    static int sizeOf(int batch) { return batch % 12 == 0 ? 3000 : 15; }
    /// How many batches it keeps.
    static constexpr int Kept = 3;

    BatchStore(const NSManagedObjectModel::Ptr &model, const QString &path, const QVariantMap &options = {})
        : m_model(model), m_coordinator(model) {
        m_coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(path), options,
                                                 &m_error);
    }

    /// Why it couldn't be opened, or what the last save has met.
    NSError error() const { return m_error; }

    /// The last batch; checks that all of it is there, and nothing else. -1 if the store can't be read.
    int last() {
        const auto counters = read("Counter");
        const auto entries = counters ? read("Entry") : std::nullopt;
        if (!entries)
            return -1;
        EXPECT_LE(counters->size(), 1u);
        const int last = counters->empty() ? 0 : StoreSupport::valueOf(counters->front(), "value").toInt();
        size_t expected = 0;
        for (int batch = std::max(1, last - Kept + 1); batch <= last; ++batch)
            expected += size_t(sizeOf(batch));
        for (const zr::FetchedObject &entry : *entries) {
            const int batch = StoreSupport::valueOf(entry, "batch").toInt();
            EXPECT_TRUE(batch > last - Kept && batch <= last) << batch << " of " << last;
            EXPECT_EQ(StoreSupport::valueOf(entry, "text"), QVariant(textOf(batch)));
        }
        EXPECT_EQ(entries->size(), expected) << "after batch " << last;
        return last;
    }

    /// Replaces the oldest batch by a new one, and changes the counter.
    bool save(int batch) {
        const auto counters = read("Counter");
        const auto old =
            counters
                ? read("Entry", NSPredicate::predicateWithFormat(QStringLiteral("batch <= %@"), batch - Kept))
                : std::nullopt;
        if (!old)
            return false;
        const QVariantMap value = {{QStringLiteral("value"), batch}};
        std::vector<zr::ObjectChange> changes;
        changes.push_back(counters->empty() ? StoreSupport::insertion(entity("Counter"), value)
                                            : StoreSupport::update(counters->front(), value));
        StoreSupport::IDs next;
        for (int i = 0; i < sizeOf(batch); ++i) {
            changes.push_back(StoreSupport::insertion(
                entity("Entry"), {{QStringLiteral("batch"), batch}, {QStringLiteral("text"), textOf(batch)}},
                {{QStringLiteral("next"), {{}, next}}}));
            next = {changes.back().id};
        }
        for (const zr::FetchedObject &entry : *old)
            changes.push_back(StoreSupport::deletion(entry));
        m_error = m_coordinator.source().save(changes).error;
        return m_error.isNil();
    }

private:
    static QString textOf(int batch) { return QString(20, QChar(u'a' + batch % 26)); }
    const NSEntityDescription *entity(const char *name) {
        return m_model->entityNamed(QString::fromLatin1(name));
    }

    std::optional<std::vector<zr::FetchedObject>> read(const char *name, const NSPredicate &predicate = {}) {
        NSFetchRequest request;
        request.setPredicate(predicate);
        StoreSupport::Fetched fetched = StoreSupport::fetch(m_coordinator.source(), entity(name), request);
        m_error = fetched.error;
        return m_error ? std::nullopt : std::optional(std::move(fetched.objects));
    }

    NSManagedObjectModel::Ptr m_model;
    NSPersistentStoreCoordinator m_coordinator;
    NSError m_error;
};
