// SPDX-License-Identifier: MIT
// Objects in a store, beside a hand-written program on SQLite's own interface (bench/store/SQLitePeer.h).
#include "bench/store/RecordStore.h"
#include "bench/store/SQLitePeer.h"
#include "platform/store/ObjectSource.h"

#include <QDir>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

constexpr int Many = 100'000;
constexpr int Million = 1'000'000;

/// The files of this run.
struct Files {
    QTemporaryDir folder;

    QString path(const QString &name) const { return folder.filePath(name); }
    /// A store of so many objects, made once.
    QString store(int count) {
        const QString file = path(QStringLiteral("store%1").arg(count));
        if (!QFile::exists(file))
            RecordStore::fill(*RecordStore::open(file), count);
        return file;
    }
    QByteArray peer(int count) {
        const QByteArray file = path(QStringLiteral("peer%1").arg(count)).toUtf8();
        if (!QFile::exists(QString::fromUtf8(file)))
            SQLitePeer(file).insert(count);
        return file;
    }
};

Files &files() {
    static Files files;
    return files;
}

void removeStore(const QString &path) {
    for (const char *end : {"", "-wal", "-shm"})
        QFile::remove(path + QLatin1String(end));
}

/// What a fetch costs without objects: the store's share of all that contexts do.
void fetchRows(benchmark::State &state) {
    const auto coordinator = RecordStore::open(files().store(Many));
    const NSEntityDescription *entity =
        coordinator->managedObjectModel()->entityNamed(QStringLiteral("Record"));
    for (auto _ : state) {
        std::vector<zr::FetchedObject> rows;
        coordinator->source().fetch(
            {}, entity, true, [](const zr::FetchRemainder &) {},
            [&](zr::FetchedObject &&row) { rows.push_back(std::move(row)); });
        if (rows.size() != Many)
            state.SkipWithError("not all were read");
    }
}
BENCHMARK(fetchRows)->Unit(benchmark::kMillisecond);

void fetchRowsPeer(benchmark::State &state) {
    SQLitePeer peer(files().peer(Many));
    for (auto _ : state) {
        if (peer.all().size() != Many)
            state.SkipWithError("not all were read");
    }
}
BENCHMARK(fetchRowsPeer)->Unit(benchmark::kMillisecond);

void saveRows(benchmark::State &state) {
    const QString path = files().path(QStringLiteral("saved"));
    for (auto _ : state) {
        RecordStore::fill(*RecordStore::open(path), Many);
        state.PauseTiming();
        removeStore(path);
        state.ResumeTiming();
    }
}
BENCHMARK(saveRows)->Unit(benchmark::kMillisecond);

void saveRowsPeer(benchmark::State &state) {
    const QString path = files().path(QStringLiteral("saved-peer"));
    for (auto _ : state) {
        SQLitePeer(path.toUtf8()).insert(Many);
        state.PauseTiming();
        removeStore(path);
        state.ResumeTiming();
    }
}
BENCHMARK(saveRowsPeer)->Unit(benchmark::kMillisecond);

void oneOfAMillion(benchmark::State &state) {
    const auto coordinator = RecordStore::open(files().store(Million));
    const NSEntityDescription *entity =
        coordinator->managedObjectModel()->entityNamed(QStringLiteral("Record"));
    int rank = 0;
    for (auto _ : state) {
        NSFetchRequest request;
        rank = (rank + 7919) % Million;
        request.setPredicate(NSPredicate::predicateWithFormat(QStringLiteral("rank == %@"), rank));
        int found = 0;
        coordinator->source().fetch(
            request, entity, true, [](const zr::FetchRemainder &) {}, [&](zr::FetchedObject &&) { ++found; });
        if (found != 1)
            state.SkipWithError("it was not found");
    }
}
BENCHMARK(oneOfAMillion)->Unit(benchmark::kMicrosecond);

void oneOfAMillionPeer(benchmark::State &state) {
    SQLitePeer peer(files().peer(Million));
    int rank = 0;
    for (auto _ : state) {
        rank = (rank + 7919) % Million;
        if (peer.ranked(rank).rank != rank)
            state.SkipWithError("it was not found");
    }
}
BENCHMARK(oneOfAMillionPeer)->Unit(benchmark::kMicrosecond);

/// Takes as long for a million as for a hundred.
void openStoreOf(benchmark::State &state) {
    const QString path = files().store(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(RecordStore::open(path));
}
BENCHMARK(openStoreOf)->Arg(100)->Arg(Million)->Unit(benchmark::kMillisecond);

} // namespace
