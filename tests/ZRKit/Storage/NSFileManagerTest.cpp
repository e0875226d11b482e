// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileManager+ZRKit.h"

#include "ZRKit/Values/ZRMacros.h"
#include "platform/files/NSBundle.h"
#include "platform/files/NSPathUtilities.h"
#include "platform/values/NSNull.h"
#include "tests/support/InChild.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUrl>
#include <barrier>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace ZRKit;

/// An object whose hash is known.
class ObjectWithAHash : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE qulonglong hash() const { return 0x1234; }
};

class ObjectWithASmallHash : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE qulonglong hash() const { return 0xAB07; }
};

namespace {

/// Runs each test with folders of its own for all that an application keeps.
class Files : public testing::Test {
protected:
    Files() {
        point("HOME", u"home"_s);
        point("XDG_CACHE_HOME", u"home/Caches"_s);
        point("XDG_DATA_HOME", u"home/Support"_s);
        point("XDG_CONFIG_HOME", u"home/Library"_s);
        point("TMPDIR", u"temporary"_s);
        EXPECT_TRUE(QDir().mkpath(path(u"home"_s)));
        identify(u"com.example.app"_s, u"Example"_s);
        zrUseAppName(false);
    }
    ~Files() override {
        zrUseAppName(false);
        NSBundle::mainBundle().setInfoDictionary({});
        for (const auto &[name, value] : environment)
            value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }

    void point(const char *variable, const QString &name) {
        environment.append({variable, qgetenv(variable)});
        qputenv(variable, path(name).toUtf8());
    }
    static void identify(const QVariant &identifier, const QVariant &name) {
        NSBundle::mainBundle().setInfoDictionary(
            {{u"CFBundleIdentifier"_s, identifier}, {u"CFBundleName"_s, name}});
    }
    QString path(const QString &name) const { return folder.path() + u'/' + name; }
    QString put(const QString &name, const QByteArray &content = "x") const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return path(name);
    }
    QString makeFolder(const QString &name) const {
        EXPECT_TRUE(QDir().mkpath(path(name)));
        return path(name);
    }
    QByteArray read(const QString &name) const {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir folder;
    QList<std::pair<const char *, QByteArray>> environment; // as it was
    const NSFileManager &manager = NSFileManager::defaultManager();
};

const QList<QVariant> noPaths{QVariant(),
                              QVariant(QString()),
                              QVariant(1),
                              NSNull(),
                              QVariant(QUrl(u"http://localhost/etc/passwd"_s)),
                              QVariant(QVariantList{u"/tmp"_s})};

} // namespace

// The application's names

TEST_F(Files, TheApplicationsNamesAreItsBundles) {
    const LogCapture log;
    EXPECT_EQ(zxAppName(), u"Example"_s);
    EXPECT_EQ(zxAppID(), u"com.example.app"_s);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(Files, AMissingOrEmptyNameIsLoggedAndGivenAllTheSame) {
    identify(QVariant(), u""_s);
    const LogCapture log;
    EXPECT_TRUE(zxAppID().isNull());
    const QString name = zxAppName();
    EXPECT_TRUE(name.isEmpty() && !name.isNull());
    ASSERT_EQ(log.lines().size(), 2);
    const auto line = [](int number, const QString &function, const QString &key) {
        return u"Assertion <ZRMacros:%1> NSString *%2()\n\n    ([[[[NSBundle mainBundle] infoDictionary] "
               "objectForKey:@\"%3\"] length]) failed assertion\n\n"_s.arg(QString::number(number), function,
                                                                           key);
    };
    const QString ofIdentifier = line(429, u"zxAppID"_s, u"CFBundleIdentifier"_s);
    EXPECT_TRUE(log.lines().at(0).startsWith(ofIdentifier));
    EXPECT_TRUE(log.lines().at(1).startsWith(line(424, u"zxAppName"_s, u"CFBundleName"_s)));
    EXPECT_GT(log.lines().at(0).size(), ofIdentifier.size()); // the call stack
}

TEST_F(Files, WithoutANameTheApplicationsFoldersAreThoseOfTheUser) {
    identify(QVariant(), QVariant());
    const LogCapture log;
    EXPECT_EQ(zrPrivateFolder(manager), path(u"home/Support"_s));
    EXPECT_EQ(log.count(u"Assertion <ZRMacros:429> "_s), 1);
    zrUseAppName(true);
    EXPECT_EQ(zrPrivateLibraryFolder(manager), path(u"home/Library"_s));
    EXPECT_EQ(log.count(u"Assertion <ZRMacros:424> "_s), 1);
    EXPECT_EQ(log.lines().size(), 2);
}

// Folders

TEST_F(Files, TheUsersFoldersAreNotMade) {
    EXPECT_EQ(zrHomeFolder(manager), path(u"home"_s));
    EXPECT_EQ(zrCachesFolder(manager), path(u"home/Caches"_s));
    EXPECT_EQ(zrLibraryFolder(manager), path(u"home/Library"_s));
    EXPECT_EQ(zrApplicationSupportFolder(manager), path(u"home/Support"_s));
    EXPECT_EQ(zrDocumentFolder(manager), path(u"home/Documents"_s));
    EXPECT_TRUE(QDir(path(u"home"_s)).isEmpty());
}

TEST_F(Files, TheApplicationsFoldersAreNamedByItsIdentifierAndMade) {
    struct Case {
        QString path, expected;
    };
    for (const Case &c :
         {Case{zrPrivateFolder(manager), u"home/Support/com.example.app"_s},
          Case{zrPrivateApplicationSupportFolder(manager), u"home/Support/com.example.app"_s},
          Case{zrPrivateLibraryFolder(manager), u"home/Library/com.example.app"_s},
          Case{zrTempFolder(manager), u"temporary/com.example.app"_s},
          Case{zrPrivateCacheFolder(manager), u"home/Caches/com.example.app/com.example.app"_s}}) {
        EXPECT_EQ(c.path, path(c.expected));
        EXPECT_TRUE(QFileInfo(c.path).isDir());
    }
}

TEST_F(Files, ByItsNameWhereThatIsAskedFor) {
    zrUseAppName(true);
    EXPECT_EQ(zrPrivateFolder(manager), path(u"home/Support/Example"_s));
    EXPECT_EQ(zrPrivateApplicationSupportFolder(manager), path(u"home/Support/Example"_s));
    EXPECT_EQ(zrPrivateLibraryFolder(manager), path(u"home/Library/Example"_s));
    EXPECT_EQ(zrTempFolder(manager), path(u"temporary/Example"_s));
    EXPECT_TRUE(QFileInfo(path(u"home/Support/Example"_s)).isDir());
    // The flag is read at each request, and never for the cache.
    EXPECT_EQ(zrPrivateCacheFolder(manager), path(u"home/Caches/com.example.app/com.example.app"_s));
    zrUseAppName(false);
    EXPECT_EQ(zrPrivateFolder(manager), path(u"home/Support/com.example.app"_s));
}

TEST_F(Files, FoldersThatCannotBeMadeAreNil) {
    put(u"home/Support"_s);
    put(u"home/Library"_s);
    put(u"home/Caches"_s);
    put(u"temporary"_s);
    EXPECT_TRUE(zrPrivateFolder(manager).isNull());
    EXPECT_TRUE(zrPrivateApplicationSupportFolder(manager).isNull());
    EXPECT_TRUE(zrPrivateLibraryFolder(manager).isNull());
    EXPECT_TRUE(zrPrivateCacheFolder(manager).isNull());
    EXPECT_TRUE(zrTempFolder(manager).isNull());
    EXPECT_TRUE(zrPathForPrivateFolder(manager, u"x"_s).isNull());
    EXPECT_TRUE(zrPathForPrivateFile(manager, u"x"_s).isNull());
}

TEST_F(Files, AnObjectsCacheFolderIsNamedByTheLowByteOfItsHashAndNotMade) {
    ObjectWithAHash object;
    EXPECT_EQ(zrPrivateCacheFolderPathOnlyForObject(manager, QVariant::fromValue<QObject *>(&object)),
              path(u"home/Caches/com.example.app/com.example.app/34"_s));
    ObjectWithASmallHash small;
    EXPECT_EQ(zrPrivateCacheFolderPathOnlyForObject(manager, QVariant::fromValue<QObject *>(&small)),
              path(u"home/Caches/com.example.app/com.example.app/07"_s));
    EXPECT_EQ(zrPrivateCacheFolderPathOnlyForObject(manager, QVariant()),
              path(u"home/Caches/com.example.app/com.example.app/00"_s));
    EXPECT_TRUE(QDir(path(u"home"_s)).isEmpty());
}

TEST_F(Files, PrivateFilesAreNamedAndPrivateFoldersMade) {
    EXPECT_EQ(zrPathForPrivateFile(manager, u"Data.db"_s), path(u"home/Support/com.example.app/Data.db"_s));
    EXPECT_FALSE(QFileInfo::exists(path(u"home/Support/com.example.app/Data.db"_s)));
    EXPECT_TRUE(QFileInfo(path(u"home/Support/com.example.app"_s)).isDir());
    EXPECT_EQ(zrPathForPrivateFolder(manager, u"a/b"_s), path(u"home/Support/com.example.app/a/b"_s));
    EXPECT_TRUE(QFileInfo(path(u"home/Support/com.example.app/a/b"_s)).isDir());
    EXPECT_EQ(zrPathForDocumentFile(manager, u"x"_s), path(u"home/Documents/x"_s));
    EXPECT_FALSE(QFileInfo::exists(path(u"home/Documents"_s)));
}

TEST_F(Files, ThePrivateTemporaryFolderIsMadeOnceAndNeverAgainOnceDestroyed) {
    checkInChild([&] {
        zrDestroyPrivateTempFolder(manager);
        EXPECT_FALSE(QFileInfo::exists(path(u"temporary"_s)));
        const QString made = zrCreatePrivateTempFolder(manager);
        EXPECT_TRUE(made.contains(QRegularExpression(u"/temporary/com\\.example\\.app/[0-9a-f]{32}$"_s)));
        EXPECT_TRUE(QFileInfo(made).isDir());
        EXPECT_EQ(zrCreatePrivateTempFolder(manager), made);

        const QString one = zrPrivateTempFolderFileNameWithSuffix(manager, QString());
        const QString two = zrPrivateTempFolderFileNameWithSuffix(manager, QString());
        EXPECT_TRUE(one.contains(
            QRegularExpression(u"^"_s + QRegularExpression::escape(made) + u"/[0-9a-f]{32}\\.tmp$"_s)));
        EXPECT_NE(one, two);
        EXPECT_EQ(QFileInfo(one).path(), QFileInfo(two).path());
        EXPECT_TRUE(zrPrivateTempFolderFileNameWithSuffix(manager, u"pdf"_s).endsWith(u".pdf"_s));
        EXPECT_TRUE(zrPrivateTempFolderFileNameWithSuffix(manager, u""_s).endsWith(u'.'));
        EXPECT_FALSE(QFileInfo::exists(one));

        EXPECT_TRUE(QFile(one).open(QIODevice::WriteOnly));
        zrDestroyPrivateTempFolder(manager);
        EXPECT_FALSE(QFileInfo::exists(made));
        EXPECT_TRUE(QFileInfo(path(u"temporary/com.example.app"_s)).isDir());
        EXPECT_EQ(zrCreatePrivateTempFolder(manager), made);
        EXPECT_FALSE(QFileInfo::exists(made));
        zrDestroyPrivateTempFolder(manager);
    });
}

TEST_F(Files, APrivateTemporaryFolderThatCannotBeMadeIsNilForGood) {
    checkInChild([&] {
        const QString file = put(u"temporary"_s);
        EXPECT_TRUE(zrCreatePrivateTempFolder(manager).isNull());
        EXPECT_TRUE(zrPrivateTempFolderFileNameWithSuffix(manager, u"pdf"_s).isNull());
        ASSERT_TRUE(QFile::remove(file));
        EXPECT_TRUE(zrCreatePrivateTempFolder(manager).isNull());
        zrDestroyPrivateTempFolder(manager);
        EXPECT_FALSE(QFileInfo::exists(file));
    });
}

TEST_F(Files, ThreadsThatAskAtOnceGetTheSameFolders) {
    checkInChild([&] {
        constexpr int Threads = 8;
        std::barrier start(Threads);
        QStringList folders(Threads), privates(Threads);
        std::vector<std::thread> threads;
        for (int i = 0; i < Threads; ++i)
            threads.emplace_back([&, one = &folders[i], other = &privates[i]] {
                start.arrive_and_wait();
                *one = zrCreatePrivateTempFolder(manager);
                *other = zrPathForPrivateFolder(manager, u"a/b/c"_s);
            });
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(folders, QStringList(Threads, folders.first()));
        EXPECT_EQ(privates, QStringList(Threads, path(u"home/Support/com.example.app/a/b/c"_s)));
        EXPECT_EQ(
            QDir(path(u"temporary/com.example.app"_s)).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(),
            1);
    });
}

TEST_F(Files, TheHomeFoldersVolumeHasAttributes) {
    const auto attributes = zrHomeAttributes(manager);
    ASSERT_TRUE(attributes.has_value());
    EXPECT_GT(attributes->value(NSFileSystemSize).toULongLong(), 0U);
    EXPECT_TRUE(attributes->contains(NSFileSystemFreeSize));
    qputenv("HOME", path(u"missing"_s).toUtf8());
    EXPECT_FALSE(zrHomeAttributes(manager).has_value());
}

// Single files

TEST_F(Files, FileURLsAreTakenAsTheirPaths) {
    const QString file = put(u"a b"_s, "abc");
    const QUrl url = QUrl::fromLocalFile(file);
    EXPECT_TRUE(zrIsFile(manager, url));
    EXPECT_EQ(zrFileSize(manager, url), 3U);
    EXPECT_EQ(zrMakeDirs(manager, QUrl::fromLocalFile(path(u"new"_s))), path(u"new"_s));
    EXPECT_TRUE(zrCopy(manager, url, QUrl::fromLocalFile(path(u"c"_s))));
    EXPECT_EQ(zrUnusedFileName(manager, url), path(u"a b 2"_s));
    EXPECT_EQ(zrFileMD5String(manager, url), u"900150983cd24fb0d6963f7d28e17f72"_s);
}

TEST_F(Files, AnythingElseIsNoPath) {
    const QString file = put(u"a"_s);
    for (const QVariant &none : noPaths) {
        EXPECT_FALSE(zrIsFile(manager, none));
        EXPECT_FALSE(zrIsDir(manager, none));
        EXPECT_TRUE(zrMakeDirs(manager, none).isNull());
        EXPECT_FALSE(zrCopy(manager, none, path(u"b"_s)));
        EXPECT_FALSE(zrCopy(manager, file, none));
        EXPECT_FALSE(zrMove(manager, none, path(u"b"_s)));
        EXPECT_FALSE(zrMove(manager, file, none));
        EXPECT_FALSE(zrRemove(manager, none));
        EXPECT_FALSE(zrRemoveFile(manager, none));
        EXPECT_FALSE(zrListDir(manager, none).has_value());
        EXPECT_FALSE(zrTouch(manager, none));
        EXPECT_FALSE(zrAttributes(manager, none).has_value());
        EXPECT_EQ(zrFileSize(manager, none), 0U);
        EXPECT_FALSE(zrFileModificationDate(manager, none).isValid());
        EXPECT_FALSE(zrFileCompare(manager, none, file));
        EXPECT_TRUE(zrFileUTI(manager, none).isNull());
        EXPECT_EQ(zrFileMD5String(manager, none), u"d41d8cd98f00b204e9800998ecf8427e"_s);
        EXPECT_TRUE(zrUnusedFileName(manager, none).isNull());
    }
    EXPECT_TRUE(QFileInfo::exists(file));
}

TEST_F(Files, FoldersAreMadeWhereNothingIs) {
    EXPECT_EQ(zrMakeDirs(manager, path(u"a/b/c"_s)), path(u"a/b/c"_s));
    EXPECT_TRUE(QFileInfo(path(u"a/b/c"_s)).isDir());
    EXPECT_EQ(zrMakeDirs(manager, path(u"a/b/c"_s)), path(u"a/b/c"_s));
    const QString file = put(u"file"_s);
    EXPECT_EQ(zrMakeDirs(manager, file), file);
    EXPECT_TRUE(QFileInfo(file).isFile());
    EXPECT_TRUE(zrMakeDirs(manager, file + u"/below"_s).isNull());
}

TEST_F(Files, CopiesAndMovesDoNotReplace) {
    const QString file = put(u"a"_s, "a");
    EXPECT_TRUE(zrCopy(manager, file, path(u"b"_s)));
    EXPECT_FALSE(zrCopy(manager, file, path(u"b"_s)));
    EXPECT_TRUE(zrMove(manager, path(u"b"_s), path(u"c"_s)));
    EXPECT_FALSE(QFileInfo::exists(path(u"b"_s)));
    EXPECT_FALSE(zrMove(manager, file, path(u"c"_s)));
    EXPECT_EQ(read(u"a"_s), "a");
    EXPECT_EQ(read(u"c"_s), "a");
    EXPECT_FALSE(zrCopy(manager, path(u"missing"_s), path(u"d"_s)));
    EXPECT_FALSE(zrMove(manager, path(u"missing"_s), path(u"d"_s)));
    EXPECT_FALSE(zrCopy(manager, file, path(u"missing/d"_s)));
}

TEST_F(Files, RemovingTakesFoldersWholeAndRemovingFilesLeavesThem) {
    makeFolder(u"a/b"_s);
    put(u"a/b/f"_s);
    EXPECT_FALSE(zrRemoveFile(manager, path(u"a"_s)));
    EXPECT_TRUE(QFileInfo::exists(path(u"a/b/f"_s)));
    EXPECT_TRUE(zrRemoveFile(manager, path(u"a/b/f"_s)));
    EXPECT_FALSE(zrRemoveFile(manager, path(u"a/b/f"_s)));
    EXPECT_TRUE(zrRemove(manager, path(u"a"_s)));
    EXPECT_FALSE(zrRemove(manager, path(u"a"_s)));
    EXPECT_FALSE(QFileInfo::exists(path(u"a"_s)));
}

TEST_F(Files, FilesAndFoldersAreToldApart) {
    const QString file = put(u"a"_s);
    EXPECT_TRUE(zrIsFile(manager, file));
    EXPECT_FALSE(zrIsDir(manager, file));
    EXPECT_FALSE(zrIsFile(manager, folder.path()));
    EXPECT_TRUE(zrIsDir(manager, folder.path()));
    EXPECT_FALSE(zrIsFile(manager, path(u"missing"_s)));
    EXPECT_FALSE(zrIsDir(manager, path(u"missing"_s)));
    ASSERT_TRUE(QFile::link(file, path(u"l"_s)));
    EXPECT_TRUE(zrIsFile(manager, path(u"l"_s)));
    EXPECT_TRUE(zrIsFile(manager, u"/dev/null"_s));
}

TEST_F(Files, ALinkIsWhatItPointsTo) {
    ASSERT_TRUE(QFile::link(makeFolder(u"folder"_s), path(u"toFolder"_s)));
    ASSERT_TRUE(QFile::link(path(u"missing"_s), path(u"toNowhere"_s)));
    ASSERT_TRUE(QFile::link(put(u"file"_s), path(u"toFile"_s)));
    EXPECT_TRUE(zrIsDir(manager, path(u"toFolder"_s)));
    EXPECT_FALSE(zrIsFile(manager, path(u"toFolder"_s)));
    EXPECT_FALSE(zrIsDir(manager, path(u"toNowhere"_s)));
    EXPECT_FALSE(zrIsFile(manager, path(u"toNowhere"_s)));
    EXPECT_FALSE(zrRemoveFile(manager, path(u"toFolder"_s)));
    EXPECT_FALSE(zrRemoveFile(manager, path(u"toNowhere"_s)));
    EXPECT_TRUE(QFileInfo(path(u"toFolder"_s)).isSymLink());
    EXPECT_TRUE(QFileInfo(path(u"toNowhere"_s)).isSymLink());
    EXPECT_TRUE(zrRemoveFile(manager, path(u"toFile"_s)));
    EXPECT_TRUE(QFileInfo::exists(path(u"file"_s)));
    // At a link to nowhere nothing can be made.
    EXPECT_TRUE(zrMakeDirs(manager, path(u"toNowhere"_s)).isNull());
    EXPECT_EQ(zrMakeDirs(manager, path(u"toFolder"_s)), path(u"toFolder"_s));
}

TEST_F(Files, AListHasNamesHiddenOnesToo) {
    makeFolder(u"list/inner"_s);
    put(u"list/.hidden"_s);
    put(u"list/b"_s);
    auto names = zrListDir(manager, path(u"list"_s));
    ASSERT_TRUE(names.has_value());
    std::sort(names->begin(), names->end(),
              [](const QVariant &one, const QVariant &other) { return one.toString() < other.toString(); });
    EXPECT_EQ(*names, (QVariantList{u".hidden"_s, u"b"_s, u"inner"_s}));
    const auto none = zrListDir(manager, makeFolder(u"empty"_s));
    ASSERT_TRUE(none.has_value());
    EXPECT_TRUE(none->isEmpty());
    EXPECT_FALSE(zrListDir(manager, path(u"list/b"_s)).has_value());
    EXPECT_FALSE(zrListDir(manager, path(u"missing"_s)).has_value());
}

TEST_F(Files, TouchingSetsTheDateAndMakesNothing) {
    const QString file = put(u"a"_s);
    ASSERT_FALSE(manager.setModificationDate(QDateTime::fromSecsSinceEpoch(0), file));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    EXPECT_TRUE(zrTouch(manager, file));
    EXPECT_GE(zrFileModificationDate(manager, file), before);
    EXPECT_LE(zrFileModificationDate(manager, file), QDateTime::currentDateTimeUtc());
    EXPECT_FALSE(zrTouch(manager, path(u"missing"_s)));
    EXPECT_FALSE(QFileInfo::exists(path(u"missing"_s)));
}

TEST_F(Files, SizesDatesAndAttributesOfWhatIsThere) {
    const QString file = put(u"a"_s, "12345");
    EXPECT_EQ(zrFileSize(manager, file), 5U);
    EXPECT_EQ(zrAttributes(manager, file)->value(NSFileSize), QVariant(5ULL));
    EXPECT_TRUE(zrFileModificationDate(manager, file).isValid());
    EXPECT_EQ(zrFileSize(manager, path(u"missing"_s)), 0U);
    EXPECT_FALSE(zrAttributes(manager, path(u"missing"_s)).has_value());
    EXPECT_FALSE(zrFileModificationDate(manager, path(u"missing"_s)).isValid());
    ASSERT_EQ(::truncate(file.toUtf8().constData(), 5'000'000'000), 0);
    EXPECT_EQ(zrFileSize(manager, file), 5'000'000'000U);
}

TEST_F(Files, EqualFilesAndFoldersCompareEqual) {
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s}) {
        makeFolder(name);
        put(name + u"/f"_s, name == u"c"_s ? "y" : "x");
    }
    EXPECT_TRUE(zrFileCompare(manager, path(u"a/f"_s), path(u"b/f"_s)));
    EXPECT_FALSE(zrFileCompare(manager, path(u"a/f"_s), path(u"c/f"_s)));
    EXPECT_TRUE(zrFileCompare(manager, path(u"a"_s), path(u"b"_s)));
    EXPECT_FALSE(zrFileCompare(manager, path(u"a"_s), path(u"c"_s)));
    EXPECT_FALSE(zrFileCompare(manager, path(u"a"_s), path(u"missing"_s)));
}

// Digests and types

TEST_F(Files, DigestsAreThePublishedOnes) {
    const QString file = put(u"abc"_s, "abc");
    EXPECT_EQ(zrFileMD5String(manager, file), u"900150983cd24fb0d6963f7d28e17f72"_s);
    EXPECT_EQ(zrFileSHA256String(manager, file),
              u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
    EXPECT_EQ(zrFileMD5Data(manager, file), QByteArray::fromHex("900150983cd24fb0d6963f7d28e17f72"));
    EXPECT_EQ(zrFileSHA256Data(manager, file).size(), 32);
    EXPECT_EQ(zrFileSHA256Data(manager, file).toHex(), zrFileSHA256String(manager, file).toLatin1());
}

TEST_F(Files, DigestsOfMissingFilesAreThoseOfNoBytes) {
    EXPECT_EQ(zrFileMD5String(manager, path(u"missing"_s)), u"d41d8cd98f00b204e9800998ecf8427e"_s);
    EXPECT_EQ(zrFileSHA256String(manager, path(u"missing"_s)),
              u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s);
    EXPECT_EQ(zrFileMD5Data(manager, folder.path()).toHex(), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST_F(Files, AFilesTypeIsThatOfItsName) {
    EXPECT_EQ(zrFileUTI(manager, put(u"x.png"_s)), u"public.png"_s);
    EXPECT_EQ(zrFileUTI(manager, QUrl::fromLocalFile(put(u"a b#.pdf"_s))), u"com.adobe.pdf"_s);
    EXPECT_EQ(zrFileUTI(manager, folder.path()), u"public.folder"_s);
    EXPECT_TRUE(zrFileUTI(manager, path(u"missing.png"_s)).isNull());
}

TEST_F(Files, AFileIsOfOneOfTheListedTypes) {
    const QString file = put(u"x.png"_s);
    const LogCapture log;
    EXPECT_TRUE(zrIsFile(manager, file, QVariantList{u"public.text"_s, u"public.image"_s}));
    EXPECT_TRUE(zrIsFile(manager, QUrl::fromLocalFile(file), QVariantList{u"public.data"_s}));
    EXPECT_FALSE(zrIsFile(manager, file, QVariantList{u"public.text"_s, u"public.jpeg"_s}));
    EXPECT_FALSE(zrIsFile(manager, file, QVariantList()));
    EXPECT_FALSE(zrIsFile(manager, file, QVariantList{1, NSNull()}));
    EXPECT_FALSE(zrIsFile(manager, path(u"missing.png"_s), QVariantList{u"public.image"_s}));
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(Files, AMissingListOrFileIsLoggedAndIsOfNoType) {
    const QString file = put(u"x.png"_s);
    const QString function = u"-[NSFileManager(ZRKit) zrIsFile:ofUTITypes:]\n\n    "_s;
    const auto line = [&](int number, const QString &condition) {
        return u"Assertion <NSFileManager+ZRKit:%1> %2%3 failed assertion\n\n"_s.arg(number).arg(function,
                                                                                                 condition);
    };
    {
        const LogCapture log;
        EXPECT_FALSE(zrIsFile(manager, file, std::nullopt));
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines().first().startsWith(line(310, u"(utiTypes)"_s)));
    }
    {
        const LogCapture log;
        EXPECT_FALSE(zrIsFile(manager, QVariant(), QVariantList{u"public.image"_s}));
        ASSERT_EQ(log.lines().size(), 2);
        EXPECT_TRUE(log.lines().at(0).startsWith(line(311, u"(file)"_s)));
        EXPECT_TRUE(log.lines().at(1).startsWith(line(313, u"(url)"_s)));
    }
    for (const QVariant &none : {QVariant(1), NSNull(), QVariant(QUrl(u"http://localhost/x.png"_s))}) {
        const LogCapture log;
        EXPECT_FALSE(zrIsFile(manager, none, QVariantList{u"public.image"_s}));
        ASSERT_EQ(log.lines().size(), 1);
        EXPECT_TRUE(log.lines().at(0).startsWith(line(313, u"(url)"_s)));
    }
    {
        const LogCapture log;
        EXPECT_FALSE(zrIsFile(manager, QVariant(), std::nullopt));
        ASSERT_EQ(log.lines().size(), 3);
        EXPECT_TRUE(log.lines().at(0).startsWith(line(310, u"(utiTypes)"_s)));
        EXPECT_TRUE(log.lines().at(1).startsWith(line(311, u"(file)"_s)));
        EXPECT_TRUE(log.lines().at(2).startsWith(line(313, u"(url)"_s)));
    }
}

// Names that are free

TEST_F(Files, ATakenNameGetsTheNextNumber) {
    EXPECT_EQ(zrUnusedFileName(manager, path(u"a.txt"_s)), path(u"a.txt"_s));
    put(u"a.txt"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"a.txt"_s)), path(u"a 2.txt"_s));
    put(u"a 2.txt"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"a.txt"_s)), path(u"a 3.txt"_s));
    for (int n = 3; n <= 12; ++n)
        put(u"a %1.txt"_s.arg(n));
    EXPECT_EQ(zrUnusedFileName(manager, path(u"a.txt"_s)), path(u"a 13.txt"_s));
}

TEST_F(Files, AFolderDoesNotTakeAName) {
    makeFolder(u"a.txt"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"a.txt"_s)), path(u"a.txt"_s));
    put(u"b"_s);
    makeFolder(u"b 2"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"b"_s)), path(u"b 2"_s));
}

TEST_F(Files, NamesWithoutExtensionGetNoDot) {
    put(u"Report"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"Report"_s)), path(u"Report 2"_s));
    put(u".profile"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u".profile"_s)), path(u".profile 2"_s));
    put(u"a.tar.gz"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"a.tar.gz"_s)), path(u"a.tar 2.gz"_s));
    makeFolder(u"x.y"_s);
    put(u"x.y/a"_s);
    EXPECT_EQ(zrUnusedFileName(manager, path(u"x.y/a"_s)), path(u"x.y/a 2"_s));
}

#include "NSFileManagerTest.moc"
