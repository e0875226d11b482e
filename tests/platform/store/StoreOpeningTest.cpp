// SPDX-License-Identifier: MIT
#include "platform/store/StoreOpening.h"

#include "platform/store/StoreFailure.h"
#include "platform/store/StoreMetadata.h"
#include "tests/platform/store/StoreSupport.h"
#include "tests/support/FullDisk.h"
#include "tests/support/InChild.h"

#include <QFile>
#include <QFileInfo>
#include <random>
#include <sqlite3.h>
#include <sys/stat.h>
#include <thread>

using namespace StoreSupport;
using namespace zr;

namespace {

constexpr const char *Notes = R"({'name': 'Notes', 'version': 2, 'entities': [
  {'name': 'Note', 'attributes': {'text': {'type': 'string', 'indexed': true}, 'rank': {'type': 'integer32'}}}]})";

class StoreOpeningTest : public StoreTest {
protected:
    void makeStore(int notes = 1) {
        const auto coordinator = open(model);
        ASSERT_TRUE(coordinator);
        std::vector<ObjectChange> changes;
        for (int i = 0; i < notes; ++i)
            changes.push_back(insertion(note(), {{text("text"), text("note")}, {text("rank"), i}}));
        save(*coordinator, changes);
    }
    const NSEntityDescription *note() const { return model->entityNamed(text("Note")); }
    size_t count(NSPersistentStoreCoordinator &coordinator) {
        NSError error;
        return coordinator.source().count({}, note(), error).value_or(1'000'000);
    }
    QByteArray contents() {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const QString &name, const QByteArray &bytes) {
        QFile file(name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    /// The error of opening what is at the path, which has SQLite's as its cause unless it says otherwise.
    NSError refusal(const QVariantMap &options = {}, int cause = SQLITE_OK) {
        NSError error;
        EXPECT_FALSE(open(model, options, &error));
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        EXPECT_FALSE(error.localizedDescription().isEmpty());
        const NSError underlying = error.userInfo().value(NSUnderlyingErrorKey).value<NSError>();
        if (cause != SQLITE_OK) {
            EXPECT_EQ(underlying.domain(), NSSQLiteErrorDomain);
            EXPECT_EQ(underlying.code() & 0xff, cause) << underlying.description().toStdString();
        } else {
            EXPECT_TRUE(underlying.isNil()) << underlying.description().toStdString();
        }
        return error;
    }
    static void execute(const QString &file, const char *sql) {
        sqlite3 *connection = nullptr;
        ASSERT_EQ(sqlite3_open(file.toUtf8().constData(), &connection), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(connection);
        sqlite3_close(connection);
    }

    NSManagedObjectModel::Ptr model = modelOf(Notes);
};

const QVariantMap ReadOnly = {{NSReadOnlyPersistentStoreOption, true}};

TEST_F(StoreOpeningTest, ANewStoreLosesNoAcknowledgedSave) {
    makeStore();
    SQLiteDatabase database(path().toUtf8(), SQLiteDatabase::Access::ReadOnly);
    EXPECT_EQ(database.value("PRAGMA journal_mode").bytes, "wal");
    EXPECT_EQ(database.value("PRAGMA application_id").integer, StoreMetadata::ApplicationID);
    EXPECT_EQ(database.value("PRAGMA integrity_check").bytes, "ok");
    const OpenedStore opened = openStore(model, path(), {});
    EXPECT_EQ(opened.database->value("PRAGMA synchronous").integer, 2); // FULL
    EXPECT_EQ(opened.database->value("PRAGMA busy_timeout").integer, 5000);
}

TEST_F(StoreOpeningTest, AFileCantMakeTheConnectionDoAnything) {
    makeStore();
    execute(path(), "CREATE TRIGGER t AFTER INSERT ON e_Note BEGIN DELETE FROM e_Note; END");
    const auto coordinator = open(model);
    save(*coordinator, {insertion(note(), {})});
    EXPECT_EQ(count(*coordinator), 2u);
    const OpenedStore opened = openStore(model, path(), {});
    EXPECT_THROW(opened.database->execute("SELECT \"text\""), SQLiteFailure);
    EXPECT_THROW(opened.database->execute("CREATE INDEX x ON e_Note(\"nothing\")"), SQLiteFailure);
}

TEST_F(StoreOpeningTest, AnEmptyFileBecomesAStore) {
    write(path(), {});
    const auto coordinator = open(model);
    ASSERT_TRUE(coordinator);
    EXPECT_EQ(count(*coordinator), 0u);
}

TEST_F(StoreOpeningTest, AFileThatIsNoDatabaseIsRefusedAndStaysWhatItIs) {
    for (const QByteArray &bytes : {QByteArray("xy"), QByteArray(100, 'x'), QByteArray(10'000, 'x'),
                                    QByteArray("SQLite format 3\0", 16)}) {
        write(path(), bytes);
        EXPECT_EQ(refusal({}, SQLITE_NOTADB).code(), NSPersistentStoreOpenError);
        EXPECT_EQ(refusal(ReadOnly, SQLITE_NOTADB).code(), NSPersistentStoreOpenError);
        EXPECT_EQ(contents(), bytes);
    }
}

TEST_F(StoreOpeningTest, ATruncatedStoreIsRefused) {
    makeStore(1000);
    const QByteArray whole = contents();
    ASSERT_GT(whole.size(), 16'384);
    for (const qsizetype size : {qsizetype(512), qsizetype(4096), whole.size() / 2, whole.size() - 4096}) {
        write(path(), whole.first(size));
        NSError error;
        EXPECT_FALSE(open(model, {}, &error)) << size;
        EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
        const int cause = int(error.userInfo().value(NSUnderlyingErrorKey).value<NSError>().code() & 0xff);
        EXPECT_TRUE(cause == SQLITE_CORRUPT || cause == SQLITE_NOTADB) << cause;
    }
}

TEST_F(StoreOpeningTest, ADatabaseOfAnotherProgramIsRefusedAndStaysWhatItIs) {
    execute(path(), "CREATE TABLE theirs(a); INSERT INTO theirs VALUES(1)");
    const QByteArray before = contents();
    EXPECT_EQ(refusal().code(), NSPersistentStoreTypeMismatchError);
    EXPECT_EQ(refusal(ReadOnly).code(), NSPersistentStoreTypeMismatchError);
    EXPECT_EQ(contents(), before);
    QFile::remove(path());
    execute(path(), "PRAGMA application_id=7; VACUUM");
    EXPECT_EQ(refusal().code(), NSPersistentStoreTypeMismatchError);
}

TEST_F(StoreOpeningTest, AStoreOfANewerModelIsRefusedWhateverTheOptions) {
    makeStore();
    model = modelOf("{'name': 'Notes', 'version': 1, 'entities': [{'name': 'Note'}]}");
    const QVariantMap migrating = {{NSMigratePersistentStoresAutomaticallyOption, true},
                                   {NSInferMappingModelAutomaticallyOption, true}};
    const NSError error = refusal(migrating);
    EXPECT_EQ(error.code(), NSPersistentStoreIncompatibleVersionHashError);
    EXPECT_TRUE(error.localizedDescription().contains(text("newer")));
    model = modelOf(Notes);
    EXPECT_EQ(count(*open(model)), 1u);
}

TEST_F(StoreOpeningTest, AnotherModelIsRefusedUnlessTheOptionsAskForMigration) {
    makeStore();
    model = modelOf("{'name': 'Notes', 'version': 3, 'entities': [{'name': 'Note'}]}");
    EXPECT_EQ(refusal().code(), NSPersistentStoreIncompatibleVersionHashError);
    EXPECT_EQ(refusal({{NSMigratePersistentStoresAutomaticallyOption, true}}).code(),
              NSPersistentStoreIncompatibleVersionHashError);
    EXPECT_EQ(refusal({{NSInferMappingModelAutomaticallyOption, true}}).code(),
              NSPersistentStoreIncompatibleVersionHashError);
}

TEST_F(StoreOpeningTest, AnotherFormatIsRefused) {
    makeStore();
    execute(path(), "UPDATE metadata SET value = '2' WHERE key = 'format'");
    EXPECT_EQ(refusal().code(), NSPersistentStoreIncompatibleVersionHashError);
}

TEST_F(StoreOpeningTest, DamagedMetadataIsAnError) {
    for (const char *damage :
         {"DROP TABLE metadata", "UPDATE metadata SET value = '[' WHERE key = 'hashes'",
          "DELETE FROM metadata WHERE key = 'entities'", "UPDATE metadata SET value = x'ff'"}) {
        QFile::remove(path());
        makeStore();
        execute(path(), damage);
        NSError error;
        EXPECT_FALSE(open(model, {}, &error)) << damage;
        EXPECT_TRUE(error);
    }
}

TEST_F(StoreOpeningTest, DamagedValuesAreErrorsInsteadOfValues) {
    for (const char *damage :
         {"UPDATE e_Note SET rank = 'x'", "UPDATE e_Note SET rank = 5000000000",
          "UPDATE e_Note SET text = x'00'", "UPDATE e_Note SET text = CAST(x'ff' AS TEXT)",
          "UPDATE e_Note SET _entity = 99", "UPDATE e_Note SET _entity = 'x'", "UPDATE e_Note SET _pk = -1",
          "UPDATE e_Note SET _version = 1.5"}) {
        QFile::remove(path());
        makeStore();
        execute(path(), damage);
        const auto coordinator = open(model);
        ASSERT_TRUE(coordinator);
        NSFetchRequest request;
        EXPECT_EQ(fetch(coordinator->source(), note(), request).error.code(), NSSQLiteError) << damage;
    }
}

TEST_F(StoreOpeningTest, NoFolderAndStrangePathsAreErrors) {
    makeStore();
    for (const char *name : {"none/Data.db", "", ".", "..", "Data.db/", "Data.db/.", "Data.db/x"}) {
        NSPersistentStoreCoordinator coordinator(model);
        NSError error;
        const QUrl url = QUrl::fromLocalFile(folder.path() + u'/' + text(name));
        EXPECT_FALSE(coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, url, {}, &error)) << name;
        EXPECT_EQ(error.code(), NSPersistentStoreOpenError) << name;
    }
    for (const QString &name :
         {path() + text("/"), path() + text("/."), path() + text("/.."), text("Data.db"), QString()})
        EXPECT_THROW(openStore(model, name, {}), StoreFailure) << name.toStdString();
    NSPersistentStoreCoordinator coordinator(model);
    EXPECT_FALSE(coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl(), {}));
    EXPECT_FALSE(
        coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl(text("file:::memory:")), {}));
}

TEST_F(StoreOpeningTest, NamesOfAnyBytesWork) {
    for (const char *name : {"a?b#c%20.db", "file:x.db", ":memory:", "é ü.db"}) {
        NSPersistentStoreCoordinator coordinator(model);
        const QString file = folder.path() + u'/' + text(name);
        EXPECT_TRUE(
            coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, QUrl::fromLocalFile(file), {}))
            << name;
        EXPECT_TRUE(QFile::exists(file)) << name;
    }
}

TEST_F(StoreOpeningTest, AMissingOrEmptyFileIsNoStoreToRead) {
    NSError error;
    EXPECT_FALSE(open(model, ReadOnly, &error));
    EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
    EXPECT_FALSE(QFile::exists(path()));
    write(path(), {});
    EXPECT_FALSE(open(model, ReadOnly, &error));
}

TEST_F(StoreOpeningTest, AReadOnlyStoreIsReadButNotSaved) {
    makeStore();
    const auto coordinator = open(model, ReadOnly);
    ASSERT_TRUE(coordinator);
    EXPECT_TRUE(coordinator->persistentStores().constFirst()->isReadOnly());
    EXPECT_EQ(count(*coordinator), 1u);
    const SaveOutcome outcome = coordinator->source().save({insertion(note(), {})});
    EXPECT_EQ(outcome.error.code(), NSPersistentStoreSaveError);
    EXPECT_EQ(outcome.error.userInfo().value(NSUnderlyingErrorKey).value<NSError>().code() & 0xff,
              SQLITE_READONLY);
}

TEST_F(StoreOpeningTest, AFileAndFolderWithoutPermissionToWriteAreOnlyRead) {
    makeStore();
    ASSERT_EQ(::chmod(path().toUtf8().constData(), 0444), 0);
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0555), 0);
    checkInChild([&] {
        becomeOrdinaryUser();
        const NSError error = [&] {
            NSError own;
            EXPECT_FALSE(open(model, {}, &own));
            return own;
        }();
        EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
        EXPECT_TRUE(error.localizedDescription().contains(text("may not be written")));
        const auto coordinator = open(model, ReadOnly);
        ASSERT_TRUE(coordinator);
        EXPECT_EQ(count(*coordinator), 1u);
    });
    ASSERT_EQ(::chmod(path().toUtf8().constData(), 0666), 0);
    checkInChild([&] {
        // The file might be written, but there is no place for the log.
        becomeOrdinaryUser();
        NSError error;
        EXPECT_FALSE(open(model, {}, &error));
        EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
        EXPECT_FALSE(error.userInfo().value(NSUnderlyingErrorKey).value<NSError>().isNil());
        const auto coordinator = open(model, ReadOnly);
        ASSERT_TRUE(coordinator);
        EXPECT_EQ(count(*coordinator), 1u);
    });
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0755), 0);
}

TEST_F(StoreOpeningTest, AReadOnlyFolderHasNoNewStore) {
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0555), 0);
    checkInChild([&] {
        becomeOrdinaryUser();
        EXPECT_EQ(refusal({}, SQLITE_CANTOPEN).code(), NSPersistentStoreOpenError);
    });
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0755), 0);
}

TEST_F(StoreOpeningTest, CompanionsOfARemovedStoreAreNotThoseOfTheNext) {
    const auto abandoned = [&] {
        // A process that ends without closing its store leaves the log and its index.
        checkInChild([&] {
            makeStore(50);
            const auto coordinator = open(model);
            save(*coordinator, {insertion(note(), {})});
            std::fflush(nullptr);
            ::_exit(testing::Test::HasFailure() ? 1 : 0);
        });
    };
    abandoned();
    ASSERT_GT(QFileInfo(path() + text("-wal")).size(), 0);
    ASSERT_TRUE(QFile::exists(path() + text("-shm")));
    ASSERT_TRUE(QFile::remove(path()));
    write(path() + text("-journal"),
          QByteArray("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8) + QByteArray(2048, '\1'));
    const auto coordinator = open(model);
    ASSERT_TRUE(coordinator);
    EXPECT_EQ(count(*coordinator), 0u);
    save(*coordinator, {insertion(note(), {})});
    EXPECT_EQ(count(*coordinator), 1u);
    EXPECT_EQ(openStore(model, path(), {}).database->value("PRAGMA integrity_check").bytes, "ok");
}

TEST_F(StoreOpeningTest, WhatAnEndedProcessHasSavedIsThere) {
    checkInChild([&] {
        const auto coordinator = open(model);
        save(*coordinator, {insertion(note(), {}), insertion(note(), {})});
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(count(*open(model)), 2u);
}

TEST_F(StoreOpeningTest, AnotherProcessLockIsWaitedForAndThenAnError) {
    makeStore();
    int ready[2], done[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(done), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const OpenedStore held = openStore(model, path(), {});
        held.database->execute("BEGIN IMMEDIATE");
        char byte = 1;
        ::close(done[1]);
        const bool isTold = ::write(ready[1], &byte, 1) == 1 && ::read(done[0], &byte, 1) >= 0;
        ::_exit(isTold ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    const auto coordinator = open(model);
    ASSERT_TRUE(coordinator);
    EXPECT_EQ(count(*coordinator), 1u);
    const SaveOutcome refused = coordinator->source().save({insertion(note(), {})});
    EXPECT_EQ(refused.error.code(), NSPersistentStoreTimeoutError);
    EXPECT_EQ(refused.error.userInfo().value(NSUnderlyingErrorKey).value<NSError>().code() & 0xff,
              SQLITE_BUSY);
    EXPECT_EQ(count(*coordinator), 1u);
    ::close(done[1]);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    save(*coordinator, {insertion(note(), {})});
    EXPECT_EQ(count(*coordinator), 2u);
    for (const int descriptor : {ready[0], ready[1], done[0]})
        ::close(descriptor);
}

TEST_F(StoreOpeningTest, ManyMayOpenANewStoreAtOnce) {
    constexpr int Many = 8;
    std::vector<std::shared_ptr<NSPersistentStoreCoordinator>> coordinators(Many);
    std::vector<std::thread> threads;
    for (auto &coordinator : coordinators)
        threads.emplace_back([&] {
            coordinator = open(model);
            if (coordinator)
                save(*coordinator, {insertion(note(), {})});
        });
    for (std::thread &thread : threads)
        thread.join();
    for (const auto &coordinator : coordinators) {
        ASSERT_TRUE(coordinator);
        EXPECT_EQ(coordinator->persistentStores().constFirst()->identifier(),
                  coordinators[0]->persistentStores().constFirst()->identifier());
        EXPECT_EQ(count(*coordinator), size_t(Many));
    }
}

TEST_F(StoreOpeningTest, ThreadsShareACoordinator) {
    const auto coordinator = open(model);
    constexpr int Many = 4, Saves = 25;
    std::vector<std::thread> threads;
    for (int i = 0; i < Many; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < Saves; ++j) {
                save(*coordinator, {insertion(note(), {{text("rank"), j}})});
                EXPECT_FALSE(fetch(coordinator->source(), note(), "rank > 3").error);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(count(*coordinator), size_t(Many * Saves));
}

TEST_F(StoreOpeningTest, AFullDiskLosesNothingThatWasSaved) {
    checkInChild([&] {
        ASSERT_NE(limitSpace(folder.path().toUtf8()), std::errc());
        size_t saved = 0;
        {
            const auto coordinator = open(model);
            ASSERT_TRUE(coordinator);
            NSError error;
            while (!error && saved < 10'000) {
                std::vector<ObjectChange> changes(20, insertion(note(), {}));
                for (ObjectChange &change : changes)
                    change = insertion(note(), {{text("text"), QString(200, u'x')}});
                error = coordinator->source().save(changes).error;
                saved += error ? 0 : changes.size();
            }
            EXPECT_EQ(error.code(), NSPersistentStoreSaveError);
            const int cause =
                int(error.userInfo().value(NSUnderlyingErrorKey).value<NSError>().code() & 0xff);
            EXPECT_TRUE(cause == SQLITE_FULL || cause == SQLITE_IOERR) << cause;
            EXPECT_GT(saved, 0u);
            EXPECT_EQ(count(*coordinator), saved);
        }
        const auto coordinator = open(model);
        ASSERT_TRUE(coordinator);
        EXPECT_EQ(count(*coordinator), saved);
    });
}

TEST_F(StoreOpeningTest, ADamagedFileIsReadOrRefusedButHurtsNobody) {
    makeStore(200);
    const QByteArray whole = contents();
    std::mt19937 dice(5);
    int opened = 0, refused = 0;
    for (int round = 0; round < 300; ++round) {
        QByteArray damaged = whole;
        // The metadata's own page now and then, any page otherwise.
        const qsizetype range = round % 3 == 0 ? 8192 : damaged.size();
        for (unsigned i = 1 + dice() % 20; i > 0; --i)
            damaged[qsizetype(dice() % unsigned(range))] = char(dice());
        for (const char *companion : {"-wal", "-shm", "-journal"})
            QFile::remove(path() + QLatin1String(companion));
        write(path(), damaged);
        NSError error;
        const auto coordinator = open(model, {}, &error);
        refused += !coordinator;
        if (!coordinator) {
            EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
            continue;
        }
        ++opened;
        NSFetchRequest request;
        request.setPredicate(NSPredicate::predicateWithFormat(text("text CONTAINS[c] 'NOTE' AND rank >= 0")));
        request.setSortDescriptors({NSSortDescriptor(text("text"), true, text("caseInsensitiveCompare:"))});
        const Fetched fetched = fetch(coordinator->source(), note(), request);
        EXPECT_TRUE(!fetched.error || fetched.error.domain() == NSCocoaErrorDomain);
        coordinator->source().save({insertion(note(), {})});
    }
    EXPECT_GT(opened, 10);
    EXPECT_GT(refused, 10);
}

} // namespace
