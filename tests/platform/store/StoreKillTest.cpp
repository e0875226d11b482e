// SPDX-License-Identifier: MIT
#include "platform/store/StoreOpening.h"
#include "tests/platform/store/BatchStore.h"

#include <csignal>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace zr;

namespace {

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
    const auto model = modelOf(BatchStore::Model);
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
        EXPECT_EQ(openStore(model, path, {}).database->value("PRAGMA integrity_check").bytes, "ok");
    }
    std::cout << Kills << " kills, " << saved << " saves, " << unacknowledged
              << " killed before they could say so\n";
}

} // namespace
