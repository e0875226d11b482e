// SPDX-License-Identifier: MIT
#include "ZRKit/Store/ZRCoreData.h"

#include "ZRKit/Store/NSManagedObject+ZRKit.h"
#include "ZRKit/Values/NSObject+ZRKit.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/store/NSCoreDataErrors.h"
#include "platform/values/NSNull.h"
#include "tests/ZRKit/Store/StoreSupport.h"
#include "tests/support/Expect.h"
#include "tests/support/InChild.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTranslator>
#include <sys/stat.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QString Kit = u"com.velmora.error"_s;

class ZRCoreDataTest : public StoreSupport {
protected:
    static void write(const QString &path, const QByteArray &bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    static NSManagedObject *note(ZRCoreData &data, const QString &title) {
        NSManagedObject *made = data.object(u"Note"_s);
        made->setValueForKey(title, u"title"_s);
        return made;
    }
    static qsizetype count(ZRCoreData &data) {
        return data.fetchAll(u"Note"_s).value_or(QVariantList()).size();
    }
};

// ---- Where the store is

TEST_F(ZRCoreDataTest, InitMakesThePrivateFolderAndTheFirstContextTheFileDataDb) {
    ZRCoreData data;
    const QString file = path("Support/com.example.notes/Data.db");
    EXPECT_TRUE(QFileInfo(path("Support/com.example.notes")).isDir());
    EXPECT_EQ(data.storeURL(), QUrl::fromLocalFile(file));
    EXPECT_FALSE(QFileInfo::exists(file)) << "nothing is opened yet";
    ASSERT_TRUE(data.context());
    EXPECT_TRUE(QFileInfo(file).isFile());
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(ZRCoreDataTest, InitWithPathTakesAPathOrTheEquivalentFileURL) {
    const LogCapture log;
    const ZRCoreData fromPath(path("a.db")), fromURL(QUrl::fromLocalFile(path("a.db")));
    EXPECT_EQ(fromPath.storeURL(), QUrl::fromLocalFile(path("a.db")));
    EXPECT_EQ(fromPath.storeURL(), fromURL.storeURL());
    EXPECT_EQ(fromPath.property("storeURL").toUrl(), fromURL.storeURL());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(ZRCoreDataTest, InitWithPathOfAnythingElseLogsAnAssertionAndHasNoStore) {
    for (const ZRKit::AnyObject &value :
         {ZRKit::AnyObject(17), ZRKit::AnyObject(QUrl(u"http://example.org/a.db"_s)), ZRKit::AnyObject(),
          ZRKit::AnyObject(QString()), ZRKit::AnyObject(u""_s), ZRKit::AnyObject(NSNull())}) {
        const LogCapture log;
        const ZRCoreData data(value);
        EXPECT_TRUE(data.storeURL().isEmpty());
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines()[0].startsWith(
            u"Assertion <ZRCoreData:277> -[ZRCoreData initWithPath:]\n\n    (self.storeURL) failed assertion\n\n"_s))
            << log.lines()[0].toStdString();
    }
}

TEST_F(ZRCoreDataTest, WithoutAStoreURLTheMissingFolderIsPresented) {
    const LogCapture log;
    ZRCoreData data(17);
    EXPECT_EQ(data.context(), nullptr);
    EXPECT_EQ(shown().size(), 1);
    EXPECT_EQ(data.persistentStoreCoordinator(), nullptr);
    EXPECT_EQ(shown().size(), 1) << "it is tried, and presented, again";
}

TEST_F(ZRCoreDataTest, TheSharedInstanceIsMadeOnceForAllThreadsAndClasses) {
    struct Mine : ZRCoreData {};
    std::vector<std::thread> threads;
    std::vector<ZRCoreData *> found(4);
    for (size_t i = 0; i < found.size(); ++i)
        threads.emplace_back([&, i] { found[i] = &ZRCoreData::instance<Mine>(); });
    for (std::thread &thread : threads)
        thread.join();
    for (const ZRCoreData *each : found)
        EXPECT_EQ(each, &ZRCoreData::instance());
    EXPECT_TRUE(dynamic_cast<Mine *>(&ZRCoreData::instance())) << "it is of the class that was asked first";
}

// ---- The coordinator

TEST_F(ZRCoreDataTest, AllMissingFoldersAreMade) {
    ZRCoreData data(path("one/two/three/a.db"));
    ASSERT_TRUE(data.context());
    EXPECT_TRUE(QFileInfo(path("one/two/three/a.db")).isFile());
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(ZRCoreDataTest, AFileInThePlaceOfTheFolderIsError101AtEveryRequest) {
    write(path("file"), "x");
    ZRCoreData data(path("file/a.db"));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(data.context(), nullptr);
        EXPECT_EQ(shown(), QStringList{Kit + u" 101"_s});
        EXPECT_EQ(presenter->errors.last().localizedDescription(),
                  u"Expected a folder to store application data, found a file (%1)."_s.arg(path("file")));
    }
    QFile::remove(path("file"));
    EXPECT_TRUE(data.context()) << "once the reason is gone, the next request works";
}

TEST_F(ZRCoreDataTest, AFolderThatCanNotBeLookedAtIsPresentedWithThePlatformsError) {
    write(path("file"), "x");
    ZRCoreData data(path("file/below/a.db"));
    EXPECT_EQ(data.context(), nullptr);
    EXPECT_EQ(shown(), QStringList{NSCocoaErrorDomain + u" 256"_s});
}

TEST_F(ZRCoreDataTest, AFolderThatCanNotBeMadeIsPresentedWithThePlatformsError) {
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0755), 0);
    checkInChild([this] {
        becomeOrdinaryUser();
        ZRCoreData data(path("new/a.db"));
        EXPECT_EQ(data.context(), nullptr);
        EXPECT_EQ(shown(), QStringList{NSCocoaErrorDomain + u" 513"_s});
    });
}

TEST_F(ZRCoreDataTest, AStoreThatCanNotBeOpenedIsTwoErrorsAndThenACoordinatorWithoutAStore) {
    write(path("a.db"), QByteArray(8192, 'x'));
    ZRCoreData data(path("a.db"));
    EXPECT_EQ(data.context(), nullptr);
    const QStringList errors = shown();
    ASSERT_EQ(errors.size(), 2);
    EXPECT_TRUE(errors[0].startsWith(NSCocoaErrorDomain))
        << "the underlying one first: " << errors[0].toStdString();
    EXPECT_EQ(errors[1], Kit + u" 9999"_s);
    EXPECT_EQ(presenter->errors.last().localizedDescription(), u"Failed to initialize the store"_s);
    ASSERT_TRUE(data.context()) << "a second request gives a context on it";
    EXPECT_TRUE(shown().isEmpty());
    EXPECT_TRUE(data.persistentStoreCoordinator()->persistentStores().isEmpty());
    EXPECT_FALSE(data.fetchAll(u"Note"_s));
    EXPECT_EQ(shown().size(), 1);
    note(data, u"a"_s);
    EXPECT_FALSE(data.save());
    EXPECT_EQ(shown().size(), 1);
    QFile file(path("a.db"));
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray(8192, 'x')) << "the file is left as it is";
}

TEST_F(ZRCoreDataTest, TheNoticeIsLocalisedWithTheClassNameAsItsPrefix) {
    struct Translator : QTranslator {
        QString translate(const char *context, const char *text, const char *, int) const override {
            return qstrcmp(context, "ZRCoreData") == 0 && qstrcmp(text, "Failed to initialize the store") == 0
                       ? u"Der Speicher ging nicht auf"_s
                       : QString();
        }
        bool isEmpty() const override { return false; }
    } translator;
    QCoreApplication::installTranslator(&translator);
    write(path("a.db"), QByteArray(8192, 'x'));
    ZRCoreData data(path("a.db"));
    data.context();
    QCoreApplication::removeTranslator(&translator);
    EXPECT_EQ(presenter->errors.last().localizedDescription(), u"Der Speicher ging nicht auf"_s);
}

TEST_F(ZRCoreDataTest, TheStoreIsMigratedAutomatically) {
    {
        ZRCoreData data(path("a.db"));
        note(data, u"old"_s);
        EXPECT_TRUE(data.save());
        const auto options = data.persistentStoreCoordinator()->persistentStores().value(0)->options();
        EXPECT_EQ(options, (QVariantMap{{NSMigratePersistentStoresAutomaticallyOption, true},
                                        {NSInferMappingModelAutomaticallyOption, true}}));
    }
    QFile::remove(path("notes.model.json"));
    write(path("notes.model.json"), R"({"name": "Notes", "version": 2, "entities": [
      {"name": "Note", "attributes": {"title": {"type": "string"}, "colour": {"type": "string", "default": "red"}}}]})");
    ZRCoreData data(path("a.db"));
    const auto found = data.fetchAll(u"Note"_s);
    ASSERT_TRUE(found);
    EXPECT_EQ(NSManagedObject::from(found->value(0))->valueForKey(u"title"_s), QVariant(u"old"_s));
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(ZRCoreDataTest, AModelThatCanNotBeReadIsPresented) {
    write(path("broken.model.json"), "{");
    ZRCoreData data(path("a.db"));
    EXPECT_EQ(data.context(), nullptr);
    EXPECT_EQ(shown(), QStringList{NSCocoaErrorDomain + u" 259"_s});
}

// ---- Contexts

TEST_F(ZRCoreDataTest, TheMainContextIsKeptUnderItsThreeNames) {
    ZRCoreData data(path("a.db"));
    const auto context = data.context();
    ASSERT_TRUE(context);
    EXPECT_EQ(data.moc(), context);
    EXPECT_EQ(data.managedObjectContext(), context);
    EXPECT_EQ(context->concurrencyType(), NSMainQueueConcurrencyType);
    EXPECT_TRUE(context->retainsRegisteredObjects());
    EXPECT_EQ(context->mergePolicy(), NSMergeByPropertyObjectTrumpMergePolicy);
    EXPECT_EQ(context->persistentStoreCoordinator(), data.persistentStoreCoordinator());
    EXPECT_EQ(data.managedObjectModel(), data.managedObjectModel());
}

TEST_F(ZRCoreDataTest, EachSubmocIsANewPrivateChildOfTheMainContext) {
    ZRCoreData data(path("a.db"));
    ZRKit::setAssociatedValues(data.context().get(), QVariantMap{{u"a"_s, 1}});
    const auto one = data.submoc(), other = data.submoc();
    EXPECT_NE(one, other);
    EXPECT_EQ(one->parentContext(), data.context());
    EXPECT_EQ(other->parentContext(), data.context());
    EXPECT_EQ(one->concurrencyType(), NSPrivateQueueConcurrencyType);
    EXPECT_EQ(one->undoManager(), nullptr);
    EXPECT_FALSE(ZRKit::associatedValues(one.get()).isValid()) << "unlike those of a context's own submoc";
}

TEST_F(ZRCoreDataTest, ChangesInMemoryWinOverThoseInTheStore) {
    ZRCoreData data(path("a.db")), other(path("a.db"));
    NSManagedObject *mine = note(data, u"a"_s);
    EXPECT_TRUE(data.save());
    NSManagedObject *theirs = NSManagedObject::from(other.fetchAll(u"Note"_s)->value(0));
    theirs->setValueForKey(u"theirs"_s, u"title"_s);
    theirs->setValueForKey(5, u"rank"_s);
    EXPECT_TRUE(other.save());
    mine->setValueForKey(u"mine"_s, u"title"_s);
    EXPECT_TRUE(data.save());
    EXPECT_EQ(mine->valueForKey(u"title"_s), QVariant(u"mine"_s));
    EXPECT_EQ(mine->valueForKey(u"rank"_s), QVariant(5));
    EXPECT_TRUE(shown().isEmpty());
}

// ---- Shortcuts

TEST_F(ZRCoreDataTest, ShortcutsActOnTheMainContext) {
    ZRCoreData data(path("a.db"));
    EXPECT_EQ(data.entity(u"Note"_s), data.managedObjectModel()->entityNamed(u"Note"_s));
    NSManagedObject *a = note(data, u"a"_s), *b = note(data, u"b"_s), *c = note(data, u"c"_s);
    EXPECT_EQ(a->managedObjectContext(), data.context().get());
    EXPECT_EQ(count(data), 3);
    EXPECT_EQ(data.fetch(u"Note"_s, NSPredicate::predicateWithFormat(u"title = 'b'"_s)),
              QVariantList{QVariant::fromValue<QObject *>(b)});
    EXPECT_TRUE(data.save());
    data.deleteObject(a);
    EXPECT_EQ(count(data), 2);
    data.deleteObjects(QVariantList{QVariant::fromValue<QObject *>(b)});
    EXPECT_EQ(data.fetchAll(u"Note"_s), QVariantList{QVariant::fromValue<QObject *>(c)});
    data.deleteAll(u"Note"_s);
    EXPECT_EQ(count(data), 0);
    ZRCoreData other(path("a.db"));
    EXPECT_EQ(count(other), 3) << "nothing was saved";
    EXPECT_TRUE(data.save());
    EXPECT_EQ(count(other), 0);
}

TEST_F(ZRCoreDataTest, AnUnknownEntityRaises) {
    ZRCoreData data(path("a.db"));
    expectException(NSInvalidArgumentException, [&] { data.fetchAll(u"Weather"_s); });
    expectException(NSInvalidArgumentException, [&] { data.object(u"Weather"_s); });
    expectException(NSInvalidArgumentException, [&] { data.entity(u"Weather"_s); });
}

TEST_F(ZRCoreDataTest, ASaveWithoutChangesIsASuccess) {
    ZRCoreData data(path("a.db"));
    EXPECT_TRUE(data.save());
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(ZRCoreDataTest, ASaveThatFailsValidationPresentsOneErrorAndIsFalse) {
    ZRCoreData data(path("a.db"));
    note(data, u""_s);
    EXPECT_FALSE(data.save());
    EXPECT_EQ(shown(),
              QStringList{NSCocoaErrorDomain + u' ' + QString::number(NSValidationStringTooShortError)});
    note(data, u""_s);
    EXPECT_FALSE(data.save());
    EXPECT_EQ(shown(),
              QStringList{NSCocoaErrorDomain + u' ' + QString::number(NSValidationMultipleErrorsError)})
        << "of several only the whole";
}

TEST_F(ZRCoreDataTest, ASaveTakesWhatEditorsHold) {
    ZRCoreData data(path("a.db"));
    struct Editor : NSEditor {
        bool commitEditing() override {
            object->setValueForKey(u"edited"_s, u"title"_s);
            return true;
        }
        NSManagedObject *object = nullptr;
    } editor;
    editor.object = note(data, u"a"_s);
    data.context()->objectDidBeginEditing(&editor);
    EXPECT_TRUE(data.save());
    ZRCoreData other(path("a.db"));
    EXPECT_EQ(NSManagedObject::from(other.fetchAll(u"Note"_s)->value(0))->valueForKey(u"title"_s),
              QVariant(u"edited"_s));
}

TEST_F(ZRCoreDataTest, WithoutAContextFetchesGiveNothingAndASaveHasNoError) {
    write(path("file"), "x");
    ZRCoreData data(path("file/a.db"));
    EXPECT_FALSE(data.fetchAll(u"Note"_s));
    EXPECT_TRUE(data.save());
    data.deleteAll(u"Note"_s);
    EXPECT_TRUE(data.submoc());
    expectException(NSInvalidArgumentException, [&] { data.object(u"Note"_s); });
}

TEST_F(ZRCoreDataTest, HandlingNoErrorPresentsNothing) {
    ZRCoreData data(path("a.db"));
    data.zr_handleError({});
    EXPECT_TRUE(shown().isEmpty());
    data.zr_handleError(
        {u"Test"_s, 3, {{NSDetailedErrorsKey, QVariantList{QVariant::fromValue(NSError(u"Inner"_s, 1))}}}});
    EXPECT_EQ(shown(), QStringList{u"Test 3"_s}) << "details are not shown one by one";
}

// ---- Reset

TEST_F(ZRCoreDataTest, AfterAResetTheStoreIsNewAndEmpty) {
    ZRCoreData data(path("a.db"));
    note(data, u"a"_s);
    EXPECT_TRUE(data.save());
    const auto before = data.context();
    const auto coordinator = data.persistentStoreCoordinator();
    bool wasThere = false;
    presenter->onAlert = [&] { wasThere = QFileInfo::exists(path("a.db")); };
    data.reset();
    EXPECT_EQ(shown(), QStringList{u"alert "_s + Kit + u" 0"_s});
    EXPECT_EQ(presenter->errors.last().localizedDescription(), u"Resetting Database!"_s);
    EXPECT_TRUE(wasThere) << "the user is told first";
    EXPECT_FALSE(QFileInfo::exists(path("a.db")));
    EXPECT_TRUE(coordinator->persistentStores().isEmpty()) << "who still holds it writes nothing";
    EXPECT_EQ(count(data), 0);
    EXPECT_NE(data.context(), before);
    EXPECT_TRUE(QFileInfo::exists(path("a.db")));
    note(data, u"b"_s);
    EXPECT_TRUE(data.save());
    EXPECT_EQ(count(data), 1);
    EXPECT_TRUE(shown().isEmpty());
}

TEST_F(ZRCoreDataTest, AResetLeavesOtherFilesAloneAndTheNewStoreIsEmptyInSpiteOfThem) {
    // A process that is killed leaves its companion files.
    checkInChild([this] {
        ZRCoreData data(path("a.db"));
        note(data, u"a"_s);
        EXPECT_TRUE(data.save());
        std::fflush(nullptr);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    });
    ASSERT_TRUE(QFileInfo::exists(path("a.db-wal")));
    write(path("a.db.backup"), "kept");
    ZRCoreData data(path("a.db"));
    data.reset();
    EXPECT_TRUE(QFileInfo::exists(path("a.db-wal"))) << "only the one path is removed";
    EXPECT_TRUE(QFileInfo::exists(path("a.db.backup")));
    EXPECT_EQ(count(data), 0);
    note(data, u"b"_s);
    EXPECT_TRUE(data.save());
    ZRCoreData other(path("a.db"));
    EXPECT_EQ(count(other), 1);
}

TEST_F(ZRCoreDataTest, AResetWithoutAFileReportsNothing) {
    ZRCoreData data(path("missing/a.db"));
    data.reset();
    EXPECT_EQ(shown(), QStringList{u"alert "_s + Kit + u" 0"_s});
    data.setStoreURL(QUrl::fromLocalFile(path("b.db")));
    ASSERT_TRUE(data.context());
    EXPECT_TRUE(QFileInfo::exists(path("b.db"))) << "another URL counts for the next coordinator";
}

} // namespace
