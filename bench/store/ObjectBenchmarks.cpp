// SPDX-License-Identifier: MIT
// The same through contexts, as a program uses a store: each of these stands beside the peer of the same name in
// store_bench.cpp.
#include "bench/store/RecordStore.h"
#include "bench/store/SQLitePeer.h"
#include "platform/store/NSManagedObjectContext.h"

#include <QDateTime>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <map>

namespace {

constexpr int Many = 100'000;
constexpr int Million = 1'000'000;

std::shared_ptr<NSManagedObjectContext> contextOn(const QString &path) {
    auto context = std::make_shared<NSManagedObjectContext>(NSMainQueueConcurrencyType);
    context->setPersistentStoreCoordinator(RecordStore::open(path));
    return context;
}

/// A store of so many objects, made once.
QString store(int count) {
    static const QTemporaryDir folder;
    static std::map<int, QString> made;
    QString &path = made[count];
    if (path.isEmpty()) {
        path = folder.filePath(QString::number(count));
        RecordStore::fill(*RecordStore::open(path), count);
    }
    return path;
}

void insert(NSManagedObjectContext &context, int count) {
    const QString entity = QStringLiteral("Record"), title = QStringLiteral("title"),
                  rank = QStringLiteral("rank"), price = QStringLiteral("price"),
                  added = QStringLiteral("added"), done = QStringLiteral("done");
    for (int i = 0; i < count; ++i) {
        const SQLitePeer::Record record = SQLitePeer::record(i);
        NSManagedObject *object = NSEntityDescription::insertNewObjectForEntityForName(entity, context);
        object->setValueForKey(QString::fromStdString(record.title), title);
        object->setValueForKey(record.rank, rank);
        object->setValueForKey(record.price, price);
        object->setValueForKey(QDateTime::fromMSecsSinceEpoch(record.added, Qt::UTC), added);
        object->setValueForKey(record.isDone, done);
    }
}

/// Inserts and saves; beside saveRowsPeer.
void saveObjects(benchmark::State &state) {
    for (auto _ : state) {
        state.PauseTiming();
        const QTemporaryDir folder;
        state.ResumeTiming();
        auto context = contextOn(folder.filePath(QStringLiteral("saved")));
        insert(*context, Many);
        if (!context->save())
            state.SkipWithError("not saved");
        state.PauseTiming();
        context.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(saveObjects)->Unit(benchmark::kMillisecond);

/// Fetches all with their values, and says how much memory each of them takes; beside fetchRowsPeer.
void fetchObjects(benchmark::State &state) {
    double bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto context = contextOn(store(Many));
        const size_t before = mallinfo2().uordblks;
        state.ResumeTiming();
        auto found = context->executeFetchRequest(NSFetchRequest(QStringLiteral("Record")));
        if (found.value_or(QVariantList()).size() != Many)
            state.SkipWithError("not all were read");
        state.PauseTiming();
        found.reset();
        bytes = double(mallinfo2().uordblks - before) / Many;
        context.reset();
        state.ResumeTiming();
    }
    state.counters["bytes/object"] = bytes;
}
BENCHMARK(fetchObjects)->Unit(benchmark::kMillisecond);

/// Beside oneOfAMillionPeer.
void oneObjectOfAMillion(benchmark::State &state) {
    const auto context = contextOn(store(Million));
    int rank = 0;
    for (auto _ : state) {
        rank = (rank + 7919) % Million;
        NSFetchRequest request(QStringLiteral("Record"));
        request.setPredicate(NSPredicate::predicateWithFormat(QStringLiteral("rank == %@"), rank));
        if (context->executeFetchRequest(request).value_or(QVariantList()).size() != 1)
            state.SkipWithError("it was not found");
    }
}
BENCHMARK(oneObjectOfAMillion)->Unit(benchmark::kMicrosecond);

} // namespace
