// SPDX-License-Identifier: MIT
#include "platform/store/StoreOpening.h"
#include "tests/platform/store/StoreSupport.h"

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace StoreSupport;
using namespace zr;

namespace {

constexpr const char *Batches = R"({'name': 'Batches', 'entities': [
  {'name': 'Counter', 'attributes': {'value': {'type': 'integer32'}}},
  {'name': 'Entry', 'attributes': {'batch': {'type': 'integer32', 'indexed': true}, 'text': {'type': 'string'}},
   'relationships': {'next': {'destination': 'Entry', 'toMany': true}}}]})";

/// How many entries a batch adds; now and then more than SQLite keeps in memory.
int sizeOf(int batch) {
    return batch % 12 == 0 ? 3000 : 15;
}

/// How many batches the store keeps.
constexpr int Kept = 3;

/// A store whose whole content follows from one number: the last batch that was saved.
class BatchStore {
public:
    BatchStore(const NSManagedObjectModel::Ptr &model, const QString &path)
        : m_model(model), m_coordinator(model) {
        NSError error;
        if (!m_coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(path), {},
                                                      &error))
            ADD_FAILURE() << error.description().toStdString();
    }

    /// The last batch; checks that all of it is there, and nothing else.
    int last() {
        const auto counters = fetch(source(), entity("Counter")).objects;
        const int last = counters.empty() ? 0 : valueOf(counters.front(), "value").toInt();
        EXPECT_LE(counters.size(), 1u);
        size_t expected = 0;
        for (int batch = std::max(1, last - Kept + 1); batch <= last; ++batch)
            expected += size_t(sizeOf(batch));
        size_t found = 0;
        for (const FetchedObject &entry : fetch(source(), entity("Entry")).objects) {
            const int batch = valueOf(entry, "batch").toInt();
            EXPECT_TRUE(batch > last - Kept && batch <= last) << batch << " of " << last;
            EXPECT_EQ(valueOf(entry, "text"), QVariant(QString(20, QChar(u'a' + batch % 26))));
            ++found;
        }
        EXPECT_EQ(found, expected) << "after batch " << last;
        return last;
    }

    bool save(int batch) {
        std::vector<ObjectChange> changes;
        const auto counters = fetch(source(), entity("Counter")).objects;
        changes.push_back(counters.empty() ? insertion(entity("Counter"), {{text("value"), batch}})
                                           : update(counters.front(), {{text("value"), batch}}));
        NSManagedObjectID before;
        for (int i = 0; i < sizeOf(batch); ++i) {
            const IDs next = before ? IDs{before} : IDs();
            changes.push_back(
                insertion(entity("Entry"),
                          {{text("batch"), batch}, {text("text"), QString(20, QChar(u'a' + batch % 26))}},
                          {{text("next"), {{}, next}}}));
            before = changes.back().id;
        }
        NSFetchRequest old;
        old.setPredicate(NSPredicate::predicateWithFormat(text("batch <= %@"), batch - Kept));
        for (const FetchedObject &entry : fetch(source(), entity("Entry"), old).objects)
            changes.push_back(deletion(entry));
        return source().save(changes).error.isNil();
    }

private:
    ObjectSource &source() { return m_coordinator.source(); }
    const NSEntityDescription *entity(const char *name) {
        return m_model->entityNamed(QString::fromLatin1(name));
    }

    NSManagedObjectModel::Ptr m_model;
    NSPersistentStoreCoordinator m_coordinator;
};

/// Saves one batch after another, and says so after each.
[[noreturn]] void saveForEver(const NSManagedObjectModel::Ptr &model, const QString &path, int from,
                              int acknowledgements) {
    BatchStore store(model, path);
    for (int batch = from;; ++batch) {
        if (!store.save(batch) || ::write(acknowledgements, &batch, sizeof batch) != sizeof batch)
            ::_exit(1);
    }
}

TEST(StoreKill, TheStoreHoldsWhatCompletedSavesSaidWheneverTheProcessIsKilled) {
    constexpr int Kills = 220;
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Data.db"));
    const auto model = modelOf(Batches);
    std::mt19937 dice(7);
    int saved = 0, unacknowledged = 0;
    for (int kill = 0; kill < Kills && !testing::Test::HasFailure(); ++kill) {
        int pipe[2];
        ASSERT_EQ(::pipe(pipe), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::close(pipe[0]);
            saveForEver(model, path, saved + 1, pipe[1]);
        }
        ::close(pipe[1]);
        // A save takes some milliseconds. The moment within it is the test's chance, not its condition.
        const int least = saved + int(dice() % 4);
        int acknowledged = saved;
        while (acknowledged < least &&
               ::read(pipe[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged)
            ;
        const timespec moment{0, long(dice() % 12'000'000)};
        ::nanosleep(&moment, nullptr);
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << "the child failed by itself";
        for (int more = 0; ::read(pipe[0], &more, sizeof more) == sizeof more;)
            acknowledged = more;
        ::close(pipe[0]);

        saved = BatchStore(model, path).last();
        EXPECT_GE(saved, acknowledged) << "an acknowledged save is lost";
        EXPECT_LE(saved, acknowledged + 1);
        unacknowledged += saved > acknowledged;
        if (kill % 10 == 0)
            EXPECT_EQ(openStore(model, path, {}).database->value("PRAGMA integrity_check").bytes, "ok");
    }
    EXPECT_EQ(openStore(model, path, {}).database->value("PRAGMA integrity_check").bytes, "ok");
    std::cout << Kills << " kills, " << saved << " saves, " << unacknowledged
              << " killed before they could say so\n";
}

} // namespace
