// SPDX-License-Identifier: MIT
#include "platform/store/StoreOpening.h"
#include "tests/platform/store/BatchStore.h"
#include "tests/platform/store/FaultyFiles.h"

#include <QDir>
#include <QFile>
#include <functional>
#include <sqlite3.h>

using namespace StoreSupport;
using namespace zr;
using FaultyFiles::Fault;

namespace {

const QVariantMap Migrating = {{NSMigratePersistentStoresAutomaticallyOption, true},
                               {NSInferMappingModelAutomaticallyOption, true}};

class StoreFaultTest : public testing::Test {
protected:
    static constexpr int Before = 3;

    void SetUp() override {
        {
            BatchStore store(model, path);
            for (int batch = 1; batch <= Before; ++batch)
                ASSERT_TRUE(store.save(batch)) << store.error().description().toStdString();
        }
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        whole = file.readAll();
    }

    void putBack() {
        for (const char *companion : {"-wal", "-shm", "-journal"})
            QFile::remove(path + QLatin1String(companion));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(whole), whole.size());
    }

    void expectWhole(const NSManagedObjectModel::Ptr &with, int last) {
        BatchStore store(with, path);
        ASSERT_FALSE(store.error()) << store.error().description().toStdString();
        EXPECT_EQ(store.last(), last);
        EXPECT_EQ(openStore(with, path, {}).database->value("PRAGMA integrity_check").bytes, "ok");
    }

    /// Does something again and again from the same state, while one operation after the other fails, once and lastingly.
    /// With a stride only every so manieth does.
    using Arming = std::function<void()>;
    void forEachFault(Fault fault,
                      const std::function<void(const Arming &arm, const Arming &disarm)> &attempt,
                      int stride = 1) {
        for (const bool isLasting : {false, true}) {
            int nth = 1 - stride;
            for (bool hasHit = true; hasHit && !HasFailure();) {
                nth += stride;
                SCOPED_TRACE(testing::Message()
                             << "operation " << nth << (isLasting ? " and all that follow" : ""));
                putBack();
                hasHit = false;
                attempt([&] { FaultyFiles::arm(fault, nth, isLasting); },
                        [&] { hasHit |= FaultyFiles::disarm(); });
            }
            std::cout << nth - 1 << " operations failed"
                      << (isLasting ? ", with all that followed\n" : " once\n");
            EXPECT_GT(nth, 5) << "nothing failed";
        }
    }

    void saveUnder(Fault fault) {
        forEachFault(fault, [&](const Arming &arm, const Arming &disarm) {
            {
                BatchStore store(model, path);
                arm();
                const bool isSaved = store.save(Before + 1);
                disarm();
                EXPECT_TRUE(isSaved || store.error().domain() == NSCocoaErrorDomain);
                EXPECT_EQ(store.last(), isSaved ? Before + 1 : Before);
                // The store goes on as if nothing had been.
                EXPECT_TRUE(isSaved || store.save(Before + 1)) << store.error().description().toStdString();
                EXPECT_EQ(store.last(), Before + 1);
            }
            expectWhole(model, Before + 1);
        });
    }

    void openUnder(Fault fault) {
        forEachFault(
            fault,
            [&](const Arming &arm, const Arming &disarm) {
                arm();
                {
                    BatchStore store(model, path);
                    const int last = store.error() ? -1 : store.last();
                    disarm();
                    EXPECT_TRUE(last == Before || store.error().domain() == NSCocoaErrorDomain);
                }
                expectWhole(model, Before);
            },
            fault == Fault::Memory ? 3 : 1);
    }

    void createUnder(Fault fault) {
        forEachFault(
            fault,
            [&](const Arming &arm, const Arming &disarm) {
                QFile::remove(path);
                arm();
                {
                    const BatchStore store(model, path);
                    disarm();
                }
                expectWhole(model, 0);
            },
            fault == Fault::Memory ? 7 : 1);
    }

    void migrateUnder(Fault fault) {
        const auto next =
            modelOf(QByteArray(BatchStore::Model)
                        .replace("'name': 'Batches'", "'name': 'Batches', 'version': 2")
                        .replace("'text': {'type': 'string'}",
                                 "'text': {'type': 'string', 'indexed': true}, 'rank': {'type': 'double'}")
                        .constData());
        forEachFault(
            fault,
            [&](const Arming &arm, const Arming &disarm) {
                bool isMigrated = false;
                arm();
                {
                    const BatchStore store(next, path, Migrating);
                    isMigrated = store.error().isNil();
                    disarm();
                }
                // If all that failed was the log's way to the disk, the log itself may be whole, and counts then.
                const bool isLogWhole = !isMigrated && BatchStore(model, path).error().code() ==
                                                           NSPersistentStoreIncompatibleVersionHashError;
                EXPECT_TRUE(!isLogWhole || fault == Fault::IO);
                expectWhole(isMigrated || isLogWhole ? next : model, Before);
                EXPECT_FALSE(BatchStore(next, path, Migrating).error());
                expectWhole(next, Before);
            },
            fault == Fault::Memory ? 17 : 1);
    }

    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Data.db"));
    const NSManagedObjectModel::Ptr model = modelOf(BatchStore::Model);
    QByteArray whole;
};

TEST_F(StoreFaultTest, EachAllocationOfASaveFails) {
    saveUnder(Fault::Memory);
}

TEST_F(StoreFaultTest, EachFileOperationOfASaveFails) {
    saveUnder(Fault::IO);
}

TEST_F(StoreFaultTest, TheDiskIsFullAtEachWriteOfASave) {
    saveUnder(Fault::Full);
}

TEST_F(StoreFaultTest, EachAllocationOfOpeningAndReadingFails) {
    openUnder(Fault::Memory);
}

TEST_F(StoreFaultTest, EachFileOperationOfOpeningAndReadingFails) {
    openUnder(Fault::IO);
}

TEST_F(StoreFaultTest, EachAllocationOfMakingAStoreFails) {
    createUnder(Fault::Memory);
}

TEST_F(StoreFaultTest, EachFileOperationOfMakingAStoreFails) {
    createUnder(Fault::IO);
}

TEST_F(StoreFaultTest, TheDiskIsFullAtEachWriteOfMakingAStore) {
    createUnder(Fault::Full);
}

TEST_F(StoreFaultTest, EachAllocationOfAMigrationFails) {
    migrateUnder(Fault::Memory);
}

TEST_F(StoreFaultTest, EachFileOperationOfAMigrationFails) {
    migrateUnder(Fault::IO);
}

TEST_F(StoreFaultTest, TheDiskIsFullAtEachWriteOfAMigration) {
    migrateUnder(Fault::Full);
}

TEST_F(StoreFaultTest, ASaveThatWasToldDoneSurvivesAPowerCut) {
    std::mt19937 dice(3);
    int cuts = 0, lastSaved = 0;
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
        const QTemporaryDir living;
        FaultyFiles::record(living.path());
        auto store = std::make_unique<BatchStore>(model, living.filePath(QStringLiteral("Data.db")));
        // The twelfth batch is large enough for the log to be written back.
        for (int batch = 1; batch <= 13 && !HasFailure(); ++batch) {
            const QTemporaryDir left;
            FaultyFiles::cutAfter(1 + int(dice() % (batch == 12 ? 1500 : 25)), left.path(), dice);
            ASSERT_TRUE(store->save(batch)) << store->error().description().toStdString();
            if (!FaultyFiles::wasCut())
                continue;
            ++cuts;
            SCOPED_TRACE(testing::Message() << "cut during batch " << batch);
            const QString leftPath = left.filePath(QStringLiteral("Data.db"));
            {
                BatchStore after(model, leftPath);
                ASSERT_FALSE(after.error()) << after.error().description().toStdString();
                lastSaved = after.last();
                EXPECT_TRUE(lastSaved == batch - 1 || lastSaved == batch) << lastSaved;
            }
            EXPECT_EQ(openStore(model, leftPath, {}).database->value("PRAGMA integrity_check").bytes, "ok");
        }
        store.reset();
        FaultyFiles::record({});
    }
    std::cout << cuts << " power cuts\n";
    EXPECT_GT(cuts, 100);
}

} // namespace
