// SPDX-License-Identifier: MIT
#include "platform/files/NSFileManager.h"

#include "platform/files/AtomicFile.h"
#include "platform/files/NSPathUtilities.h"
#include "tests/support/FullDisk.h"
#include "tests/support/InChild.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace zr;

namespace {

using namespace Qt::StringLiterals;

class NSFileManagerTest : public testing::Test {
protected:
    QString path(const QString &name) const { return folder.path() + u'/' + name; }
    QByteArray bytes(const QString &name) const { return NSFileSystemRepresentation(path(name)); }
    QString put(const QString &name, const QByteArray &content) const {
        const int file = ::open(bytes(name).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        EXPECT_EQ(::write(file, content.constData(), size_t(content.size())), content.size());
        EXPECT_EQ(::close(file), 0);
        return path(name);
    }
    QByteArray read(const QString &name) const {
        QFile file;
        const int descriptor = ::open(bytes(name).constData(), O_RDONLY | O_CLOEXEC);
        return descriptor >= 0 && file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)
                   ? file.readAll()
                   : QByteArray();
    }
    QString makeFolder(const QString &name) const {
        EXPECT_TRUE(QDir().mkpath(path(name)));
        return path(name);
    }
    QString makeLink(const QByteArray &target, const QString &name) const {
        EXPECT_EQ(::symlink(target.constData(), bytes(name).constData()), 0);
        return path(name);
    }
    QStringList names(const QString &name = {}) const {
        QStringList list = manager.contentsOfDirectoryAtPath(path(name)).value_or(QStringList());
        list.sort();
        return list;
    }
    struct stat status(const QString &name) const {
        struct stat result {};
        EXPECT_EQ(::lstat(bytes(name).constData(), &result), 0);
        return result;
    }

    QTemporaryDir folder;
    const NSFileManager &manager = NSFileManager::defaultManager();
};

} // namespace

TEST_F(NSFileManagerTest, FilesFoldersAndLinksExist) {
    bool isFolder = true;
    EXPECT_TRUE(manager.fileExistsAtPath(put(u"a"_s, "x"), &isFolder));
    EXPECT_FALSE(isFolder);
    EXPECT_TRUE(manager.fileExistsAtPath(folder.path(), &isFolder));
    EXPECT_TRUE(isFolder);
    EXPECT_TRUE(manager.fileExistsAtPath(makeLink(".", u"l"_s), &isFolder));
    EXPECT_TRUE(isFolder);
    EXPECT_FALSE(manager.fileExistsAtPath(makeLink("missing", u"m"_s), &isFolder));
    EXPECT_FALSE(isFolder);
}

TEST_F(NSFileManagerTest, PathsThatNameNothingFailAsMissingFilesDo) {
    const QString file = put(u"a"_s, "x");
    for (const QString &nothing : {QString(), u""_s, file + QChar(0), path(u"missing"_s)}) {
        EXPECT_FALSE(manager.fileExistsAtPath(nothing));
        EXPECT_EQ(manager.copyItemAtPath(nothing, path(u"b"_s)), std::errc::no_such_file_or_directory);
        EXPECT_EQ(manager.moveItemAtPath(nothing, path(u"b"_s)), std::errc::no_such_file_or_directory);
        EXPECT_EQ(manager.removeItemAtPath(nothing), std::errc::no_such_file_or_directory);
        EXPECT_EQ(manager.setModificationDate(QDateTime::currentDateTime(), nothing),
                  std::errc::no_such_file_or_directory);
        EXPECT_FALSE(manager.contentsOfDirectoryAtPath(nothing).has_value());
        EXPECT_FALSE(manager.attributesOfItemAtPath(nothing).has_value());
        EXPECT_FALSE(manager.attributesOfFileSystemForPath(nothing).has_value());
        EXPECT_FALSE(manager.contentsEqualAtPath(nothing, file));
        EXPECT_FALSE(manager.contentsEqualAtPath(nothing, nothing));
        EXPECT_TRUE(manager.extendedAttribute(u"n"_s, nothing).isNull());
    }
    EXPECT_EQ(names(), QStringList{u"a"_s});
}

TEST_F(NSFileManagerTest, FoldersAreMadeWithThoseAboveThem) {
    EXPECT_FALSE(manager.createDirectoryAtPath(path(u"a/b//c/"_s)));
    EXPECT_FALSE(manager.createDirectoryAtPath(path(u"a/b/c"_s)));
    EXPECT_EQ(manager.createDirectoryAtPath(path(u"a/b/c"_s), false), std::errc::file_exists);
    EXPECT_EQ(manager.createDirectoryAtPath(path(u"x/y"_s), false), std::errc::no_such_file_or_directory);
    put(u"file"_s, "x");
    EXPECT_EQ(manager.createDirectoryAtPath(path(u"file"_s)), std::errc::not_a_directory);
    EXPECT_TRUE(bool(manager.createDirectoryAtPath(path(u"file/b"_s))));
}

TEST_F(NSFileManagerTest, ACopyHasContentPermissionsDatesAndAttributes) {
    const QString source = put(u"a"_s, QByteArray(1'000'000, 'x'));
    ASSERT_EQ(::chmod(bytes(u"a"_s).constData(), 0640), 0);
    ASSERT_FALSE(manager.setExtendedAttribute(u"zrkit.test"_s, "value", source));
    ASSERT_FALSE(manager.setModificationDate(QDateTime::fromSecsSinceEpoch(1'000'000'000), source));
    ASSERT_FALSE(manager.copyItemAtPath(source, path(u"b"_s)));
    EXPECT_EQ(read(u"b"_s), QByteArray(1'000'000, 'x'));
    EXPECT_EQ(status(u"b"_s).st_mode & 07777, 0640U);
    EXPECT_EQ(status(u"b"_s).st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(manager.extendedAttribute(u"zrkit.test"_s, path(u"b"_s)), "value");
    EXPECT_NE(status(u"b"_s).st_ino, status(u"a"_s).st_ino);
}

TEST_F(NSFileManagerTest, AnEmptyFileAndOneWithoutASizeAreCopied) {
    put(u"a"_s, "");
    EXPECT_FALSE(manager.copyItemAtPath(path(u"a"_s), path(u"b"_s)));
    EXPECT_EQ(status(u"b"_s).st_size, 0);
    EXPECT_FALSE(manager.copyItemAtPath(u"/proc/self/status"_s, path(u"c"_s)));
    EXPECT_TRUE(read(u"c"_s).startsWith("Name:"));
}

TEST_F(NSFileManagerTest, AFolderIsCopiedWithAllThatItHolds) {
    makeFolder(u"a/inner"_s);
    put(u"a/.hidden"_s, "h");
    put(u"a/inner/file"_s, "f");
    makeLink("inner/file", u"a/link"_s);
    makeLink("nowhere", u"a/broken"_s);
    ASSERT_EQ(::mkfifo(bytes(u"a/pipe"_s).constData(), 0600), 0);
    ASSERT_EQ(::chmod(bytes(u"a/inner"_s).constData(), 0555), 0);
    EXPECT_FALSE(manager.copyItemAtPath(path(u"a"_s), path(u"b"_s)));
    EXPECT_EQ(names(u"b"_s), (QStringList{u".hidden"_s, u"broken"_s, u"inner"_s, u"link"_s, u"pipe"_s}));
    EXPECT_EQ(read(u"b/link"_s), "f");
    EXPECT_EQ(QFile::symLinkTarget(path(u"b/link"_s)), path(u"b/inner/file"_s));
    EXPECT_TRUE(S_ISFIFO(status(u"b/pipe"_s).st_mode));
    EXPECT_EQ(status(u"b/inner"_s).st_mode & 07777, 0555U);
    for (const auto &name : {u"a/inner"_s, u"b/inner"_s})
        ASSERT_EQ(::chmod(bytes(name).constData(), 0755), 0);
}

TEST_F(NSFileManagerTest, ALinkIsCopiedMovedAndRemovedItself) {
    put(u"a"_s, "x");
    makeLink("a", u"l"_s);
    EXPECT_FALSE(manager.copyItemAtPath(path(u"l"_s), path(u"l2"_s)));
    EXPECT_TRUE(S_ISLNK(status(u"l2"_s).st_mode));
    EXPECT_FALSE(manager.moveItemAtPath(path(u"l2"_s), path(u"l3"_s)));
    EXPECT_TRUE(S_ISLNK(status(u"l3"_s).st_mode));
    EXPECT_FALSE(manager.removeItemAtPath(path(u"l3"_s)));
    EXPECT_EQ(read(u"a"_s), "x");
    const QString inner = makeFolder(u"folder"_s);
    put(u"folder/file"_s, "f");
    makeLink("folder", u"lf"_s);
    EXPECT_FALSE(manager.removeItemAtPath(path(u"lf"_s)));
    EXPECT_EQ(read(u"folder/file"_s), "f");
}

TEST_F(NSFileManagerTest, WhatExistsAtTheDestinationStays) {
    const QString source = put(u"a"_s, "new");
    put(u"b"_s, "old");
    makeFolder(u"c"_s);
    makeLink("missing", u"d"_s);
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s}) {
        EXPECT_EQ(manager.copyItemAtPath(source, path(name)), std::errc::file_exists);
        EXPECT_EQ(manager.moveItemAtPath(source, path(name)), std::errc::file_exists);
    }
    EXPECT_EQ(read(u"a"_s), "new");
    EXPECT_EQ(read(u"b"_s), "old");
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    EXPECT_TRUE(names(u"c"_s).isEmpty());
}

TEST_F(NSFileManagerTest, AFolderIsNotCopiedOrMovedIntoItself) {
    makeFolder(u"a/b"_s);
    makeLink("a/b", u"l"_s);
    EXPECT_EQ(manager.copyItemAtPath(path(u"a"_s), path(u"a/c"_s)), std::errc::invalid_argument);
    EXPECT_EQ(manager.copyItemAtPath(path(u"a"_s), path(u"l/c"_s)), std::errc::invalid_argument);
    EXPECT_TRUE(bool(manager.moveItemAtPath(path(u"a"_s), path(u"a/b/c"_s))));
    EXPECT_EQ(names(u"a"_s), QStringList{u"b"_s});
    // A name that only begins alike is another folder.
    EXPECT_FALSE(manager.copyItemAtPath(path(u"a"_s), path(u"ab"_s)));
}

TEST_F(NSFileManagerTest, AMoveAcrossFileSystemsCopiesAndRemoves) {
    checkInChild([&] {
        const QString other = makeFolder(u"other"_s);
        const std::errc kind = limitSpace(other.toUtf8());
        makeFolder(u"a"_s);
        put(u"a/f"_s, "x");
        ASSERT_FALSE(manager.moveItemAtPath(path(u"a"_s), other + u"/b"_s)) << int(kind);
        EXPECT_EQ(read(u"other/b/f"_s), "x");
        EXPECT_FALSE(manager.fileExistsAtPath(path(u"a"_s)));
    });
}

TEST_F(NSFileManagerTest, AFullDiskFailsACopyAndLeavesNothingOfIt) {
    checkInChild([&] {
        put(u"large"_s, QByteArray(1 << 20, 'x'));
        makeFolder(u"tree"_s);
        put(u"tree/small"_s, "s");
        put(u"tree/large"_s, QByteArray(1 << 20, 'x'));
        const QString disk = makeFolder(u"disk"_s);
        const std::errc full = limitSpace(disk.toUtf8());
        put(u"disk/old"_s, "old");
        EXPECT_EQ(manager.copyItemAtPath(path(u"large"_s), disk + u"/copy"_s), full);
        EXPECT_EQ(manager.copyItemAtPath(path(u"tree"_s), disk + u"/copy"_s), full);
        AtomicFile file(disk.toUtf8() + "/old", AtomicFile::Existing::Replaced);
        ASSERT_FALSE(file.open());
        EXPECT_EQ(file.commit(QByteArray(1 << 20, 'x')), full);
        EXPECT_EQ(names(u"disk"_s), QStringList{u"old"_s});
        EXPECT_EQ(read(u"disk/old"_s), "old");
        // What fits is copied.
        EXPECT_FALSE(manager.copyItemAtPath(path(u"tree/small"_s), disk + u"/copy"_s));
        EXPECT_EQ(read(u"disk/copy"_s), "s");
    });
}

TEST_F(NSFileManagerTest, NothingIsLeftOfACopyOfReadOnlyFoldersThatFails) {
    makeFolder(u"tree/inner"_s);
    put(u"tree/inner/f"_s, "x");
    makeFolder(u"to"_s);
    ASSERT_EQ(::chmod(bytes({}).constData(), 0755), 0);
    ASSERT_EQ(::chmod(bytes(u"to"_s).constData(), 0777), 0);
    ASSERT_EQ(::chmod(bytes(u"tree/inner"_s).constData(), 0555), 0);
    ASSERT_EQ(::chmod(bytes(u"tree"_s).constData(), 0555), 0);
    checkInChild([&] {
        becomeOrdinaryUser();
        // Found out only when all is copied.
        EXPECT_EQ(manager.copyItemAtPath(path(u"tree"_s), path(u"to/"_s) + QString(256, u'n')),
                  std::errc::filename_too_long);
        EXPECT_TRUE(names(u"to"_s).isEmpty());
    });
    EXPECT_TRUE(names(u"to"_s).isEmpty());
    for (const auto &name : {u"tree"_s, u"tree/inner"_s})
        ASSERT_EQ(::chmod(bytes(name).constData(), 0755), 0);
}

TEST_F(NSFileManagerTest, AMoveToAFullDiskKeepsTheSource) {
    checkInChild([&] {
        const QString disk = makeFolder(u"disk"_s);
        put(u"large"_s, QByteArray(1 << 20, 'x'));
        if (limitSpace(disk.toUtf8()) == std::errc::no_space_on_device) {
            EXPECT_EQ(manager.moveItemAtPath(path(u"large"_s), disk + u"/m"_s),
                      std::errc::no_space_on_device);
            EXPECT_TRUE(names(u"disk"_s).isEmpty());
        } else {
            // The same file system: nothing is written.
            EXPECT_FALSE(manager.moveItemAtPath(path(u"large"_s), disk + u"/m"_s));
            EXPECT_FALSE(manager.moveItemAtPath(disk + u"/m"_s, path(u"large"_s)));
        }
        EXPECT_EQ(status(u"large"_s).st_size, 1 << 20);
    });
}

TEST_F(NSFileManagerTest, UnreadableFoldersFailEverythingInThem) {
    makeFolder(u"locked"_s);
    put(u"locked/f"_s, "x");
    put(u"secret"_s, "x");
    put(u"open"_s, "x");
    ASSERT_EQ(::chmod(bytes({}).constData(), 0777), 0);
    ASSERT_EQ(::chmod(bytes(u"secret"_s).constData(), 0), 0);
    ASSERT_EQ(::chmod(bytes(u"locked"_s).constData(), 0), 0);
    checkInChild([&] {
        becomeOrdinaryUser();
        const QString locked = path(u"locked"_s), inner = path(u"locked/f"_s);
        EXPECT_TRUE(manager.fileExistsAtPath(locked));
        EXPECT_FALSE(manager.fileExistsAtPath(inner));
        EXPECT_FALSE(manager.contentsOfDirectoryAtPath(locked).has_value());
        EXPECT_FALSE(manager.attributesOfItemAtPath(inner).has_value());
        EXPECT_TRUE(manager.attributesOfItemAtPath(locked).has_value());
        EXPECT_EQ(manager.copyItemAtPath(locked, path(u"copy"_s)), std::errc::permission_denied);
        EXPECT_EQ(manager.copyItemAtPath(path(u"secret"_s), path(u"copy"_s)), std::errc::permission_denied);
        EXPECT_EQ(manager.removeItemAtPath(inner), std::errc::permission_denied);
        EXPECT_EQ(manager.createDirectoryAtPath(path(u"locked/new"_s)), std::errc::permission_denied);
        EXPECT_FALSE(manager.contentsEqualAtPath(locked, locked));
        EXPECT_FALSE(manager.contentsEqualAtPath(path(u"secret"_s), path(u"open"_s)));
        EXPECT_EQ(names(), (QStringList{u"locked"_s, u"open"_s, u"secret"_s}));
    });
    ASSERT_EQ(::chmod(bytes(u"locked"_s).constData(), 0755), 0);
    EXPECT_EQ(read(u"locked/f"_s), "x");
}

TEST_F(NSFileManagerTest, NamesThatAreNotUTF8CanBeListedAndUsed) {
    for (const QByteArray &name : {QByteArray("caf\xE9"), QByteArray("\xFF\xFEx"), QByteArray("\xED\xA0\x80"),
                                   QByteArray("\xC3\xA9"), QByteArray("new\nline")}) {
        const QString string = NSStringWithFileSystemRepresentation(name);
        makeFolder(u"f"_s);
        put(u"f/"_s + string, "x");
        ASSERT_EQ(names(u"f"_s), QStringList{string});
        EXPECT_EQ(::access((bytes(u"f/"_s) + name).constData(), F_OK), 0);
        EXPECT_TRUE(manager.fileExistsAtPath(path(u"f/"_s + string)));
        EXPECT_FALSE(manager.copyItemAtPath(path(u"f"_s), path(u"g"_s)));
        EXPECT_TRUE(manager.contentsEqualAtPath(path(u"f"_s), path(u"g"_s)));
        EXPECT_FALSE(manager.moveItemAtPath(path(u"g/"_s + string), path(u"g/plain"_s)));
        EXPECT_FALSE(manager.removeItemAtPath(path(u"f/"_s + string)));
        EXPECT_TRUE(names(u"f"_s).isEmpty());
        EXPECT_FALSE(manager.removeItemAtPath(path(u"g"_s)));
    }
}

TEST_F(NSFileManagerTest, AFolderIsRemovedWithEverythingInIt) {
    makeFolder(u"a/b/c"_s);
    put(u"a/b/c/f"_s, "x");
    EXPECT_FALSE(manager.removeItemAtPath(path(u"a"_s)));
    EXPECT_TRUE(names().isEmpty());
}

TEST_F(NSFileManagerTest, AttributesTellTheKindOfEachItem) {
    put(u"file"_s, "12345");
    makeFolder(u"folder"_s);
    makeLink("file", u"link"_s);
    ASSERT_EQ(::mkfifo(bytes(u"pipe"_s).constData(), 0600), 0);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy_n(bytes(u"s"_s).constData(), bytes(u"s"_s).size() + 1, address.sun_path);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ::close(listener);
    const auto type = [&](const QString &item) {
        return manager.attributesOfItemAtPath(item).value_or(QVariantMap()).value(NSFileType).toString();
    };
    EXPECT_EQ(type(path(u"file"_s)), NSFileTypeRegular);
    EXPECT_EQ(type(path(u"folder"_s)), NSFileTypeDirectory);
    EXPECT_EQ(type(path(u"link"_s)), NSFileTypeSymbolicLink);
    EXPECT_EQ(type(path(u"s"_s)), NSFileTypeSocket);
    EXPECT_EQ(type(u"/dev/null"_s), NSFileTypeCharacterSpecial);
    EXPECT_EQ(type(path(u"pipe"_s)), NSFileTypeUnknown);
}

TEST_F(NSFileManagerTest, AttributesTellSizeOwnerPermissionsAndDates) {
    const QString file = put(u"file"_s, "12345");
    ASSERT_EQ(::chmod(bytes(u"file"_s).constData(), 0604), 0);
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(1'234'567'890'123, Qt::UTC);
    ASSERT_FALSE(manager.setModificationDate(date, file));
    const auto attributes = manager.attributesOfItemAtPath(file);
    ASSERT_TRUE(attributes.has_value());
    EXPECT_EQ(attributes->value(NSFileSize), QVariant(5ULL));
    EXPECT_EQ(attributes->value(NSFileModificationDate), QVariant(date));
    EXPECT_EQ(attributes->value(NSFilePosixPermissions), QVariant(0604U));
    EXPECT_EQ(attributes->value(NSFileOwnerAccountID), QVariant(uint(::geteuid())));
    EXPECT_EQ(attributes->value(NSFileReferenceCount), QVariant(1U));
    EXPECT_EQ(attributes->value(NSFileSystemFileNumber), QVariant(qulonglong(status(u"file"_s).st_ino)));
    EXPECT_EQ(attributes->value(NSFileSystemNumber), QVariant(qulonglong(status(u"file"_s).st_dev)));
    EXPECT_FALSE(attributes->contains(NSFileExtendedAttributes));
}

TEST_F(NSFileManagerTest, DatesBefore1970AreSet) {
    const QString file = put(u"file"_s, "");
    const QDateTime date = QDateTime::fromMSecsSinceEpoch(-1500, Qt::UTC);
    ASSERT_FALSE(manager.setModificationDate(date, file));
    EXPECT_EQ(manager.attributesOfItemAtPath(file)->value(NSFileModificationDate), QVariant(date));
}

TEST_F(NSFileManagerTest, FileSystemAttributesAreThoseOfTheItemsVolume) {
    const auto attributes = manager.attributesOfFileSystemForPath(folder.path());
    ASSERT_TRUE(attributes.has_value());
    EXPECT_GT(attributes->value(NSFileSystemSize).toULongLong(), 0U);
    EXPECT_LE(attributes->value(NSFileSystemFreeSize).toULongLong(),
              attributes->value(NSFileSystemSize).toULongLong());
    EXPECT_EQ(attributes->value(NSFileSystemNumber), QVariant(qulonglong(status({}).st_dev)));
}

TEST_F(NSFileManagerTest, EqualContentsAreEqual) {
    put(u"a"_s, QByteArray(300'000, 'x'));
    put(u"b"_s, QByteArray(300'000, 'x'));
    put(u"c"_s, QByteArray(299'999, 'x') + 'y');
    put(u"d"_s, QByteArray(300'001, 'x'));
    const auto equal = [&](const QString &one, const QString &other) {
        return manager.contentsEqualAtPath(path(one), path(other));
    };
    EXPECT_TRUE(equal(u"a"_s, u"a"_s));
    EXPECT_TRUE(equal(u"a"_s, u"b"_s));
    EXPECT_FALSE(equal(u"a"_s, u"c"_s));
    EXPECT_FALSE(equal(u"a"_s, u"d"_s));
}

TEST_F(NSFileManagerTest, FoldersAreComparedWithAllThatTheyHold) {
    for (const QString &name : {u"one"_s, u"two"_s, u"three"_s, u"four"_s}) {
        makeFolder(name + u"/in"_s);
        put(name + u"/in/f"_s, name == u"three"_s ? "y" : "x");
        makeLink("in/f", name + u"/l"_s);
    }
    put(u"four/more"_s, "");
    EXPECT_TRUE(manager.contentsEqualAtPath(path(u"one"_s), path(u"two"_s)));
    EXPECT_FALSE(manager.contentsEqualAtPath(path(u"one"_s), path(u"three"_s)));
    EXPECT_FALSE(manager.contentsEqualAtPath(path(u"one"_s), path(u"four"_s)));
    EXPECT_FALSE(manager.contentsEqualAtPath(path(u"one"_s), path(u"one/in/f"_s)));
}

TEST_F(NSFileManagerTest, LinksAreEqualWhereTheyPointAlike) {
    put(u"a"_s, "x");
    put(u"b"_s, "x");
    makeLink("a", u"l1"_s);
    makeLink("a", u"l2"_s);
    makeLink("b", u"l3"_s);
    EXPECT_TRUE(manager.contentsEqualAtPath(path(u"l1"_s), path(u"l2"_s)));
    EXPECT_FALSE(manager.contentsEqualAtPath(path(u"l1"_s), path(u"l3"_s)));
    EXPECT_FALSE(manager.contentsEqualAtPath(path(u"l1"_s), path(u"a"_s)));
}

TEST_F(NSFileManagerTest, PipesAreNotWaitedForWhereContentsAreCompared) {
    for (const QString &name : {u"p"_s, u"q"_s})
        ASSERT_EQ(::mkfifo(bytes(name).constData(), 0600), 0);
    EXPECT_FALSE(manager.contentsEqualAtPath(path(u"p"_s), path(u"q"_s)));
    EXPECT_TRUE(manager.contentsEqualAtPath(path(u"p"_s), path(u"p"_s)));
    EXPECT_TRUE(manager.contentsEqualAtPath(u"/dev/null"_s, u"/dev/null"_s));
    EXPECT_FALSE(manager.contentsEqualAtPath(u"/dev/null"_s, u"/dev/zero"_s));
}

TEST_F(NSFileManagerTest, ExtendedAttributesAreSetReadListedAndRemoved) {
    const QString file = put(u"file"_s, "x");
    const QByteArray binary("\0\xFF\n", 3);
    EXPECT_TRUE(manager.extendedAttribute(u"zrkit.a"_s, file).isNull());
    ASSERT_FALSE(manager.setExtendedAttribute(u"zrkit.a"_s, binary, file));
    ASSERT_FALSE(manager.setExtendedAttribute(u"zrkit.\u00e9"_s, QByteArray(""), file));
    EXPECT_EQ(manager.extendedAttribute(u"zrkit.a"_s, file), binary);
    EXPECT_FALSE(manager.extendedAttribute(u"zrkit.\u00e9"_s, file).isNull());
    EXPECT_EQ(manager.attributesOfItemAtPath(file)->value(NSFileExtendedAttributes),
              QVariant(QVariantMap{{u"zrkit.a"_s, binary}, {u"zrkit.\u00e9"_s, QByteArray("")}}));
    EXPECT_FALSE(manager.setExtendedAttribute(u"zrkit.a"_s, QByteArray(), file));
    EXPECT_TRUE(manager.extendedAttribute(u"zrkit.a"_s, file).isNull());
    EXPECT_TRUE(bool(manager.setExtendedAttribute(u"zrkit.a"_s, QByteArray(), file)));
    EXPECT_EQ(manager.setExtendedAttribute(QString(), "x", file), std::errc::invalid_argument);
}

TEST_F(NSFileManagerTest, ASlashBehindALinkStillMeansTheLink) {
    makeFolder(u"a"_s);
    put(u"a/kept"_s, "k");
    makeLink("a", u"link"_s);
    EXPECT_FALSE(manager.copyItemAtPath(path(u"link/"_s), path(u"copy"_s)));
    EXPECT_TRUE(S_ISLNK(status(u"copy"_s).st_mode));
    EXPECT_FALSE(manager.moveItemAtPath(path(u"link//"_s), path(u"moved"_s)));
    EXPECT_TRUE(S_ISLNK(status(u"moved"_s).st_mode));
    EXPECT_FALSE(manager.removeItemAtPath(path(u"moved/"_s)));
    EXPECT_FALSE(manager.removeItemAtPath(path(u"copy///"_s)));
    EXPECT_EQ(names(), QStringList{u"a"_s});
    EXPECT_EQ(read(u"a/kept"_s), "k");
    EXPECT_FALSE(manager.removeItemAtPath(path(u"a/"_s)));
    EXPECT_EQ(names(), QStringList());
}

TEST_F(NSFileManagerTest, DotsAtTheEndOfAPathAreRefusedAndNothingIsTouched) {
    makeFolder(u"a/b"_s);
    put(u"a/b/kept"_s, "k");
    makeLink("a", u"link"_s);
    for (const QString &dots : {u"a/."_s, u"a/./"_s, u"a/b/.."_s, u"a/b/../"_s, u"link/."_s}) {
        EXPECT_EQ(manager.removeItemAtPath(path(dots)), std::errc::invalid_argument) << qPrintable(dots);
        EXPECT_EQ(manager.moveItemAtPath(path(dots), path(u"c"_s)), std::errc::invalid_argument);
        EXPECT_EQ(manager.copyItemAtPath(path(dots), path(u"c"_s)), std::errc::invalid_argument);
    }
    EXPECT_EQ(names(), (QStringList{u"a"_s, u"link"_s}));
    EXPECT_EQ(read(u"a/b/kept"_s), "k");
}

TEST_F(NSFileManagerTest, TheRootIsNotRemoved) {
    // In a root of its own, should it ever be tried.
    makeFolder(u"kept"_s);
    checkInChild([&] {
        if (::geteuid() == 0) {
            ASSERT_EQ(::chroot(folder.path().toUtf8().constData()), 0);
            ASSERT_EQ(::chdir("/"), 0);
        }
        EXPECT_EQ(manager.removeItemAtPath(u"/"_s), std::errc::device_or_resource_busy);
        EXPECT_EQ(manager.removeItemAtPath(u"//"_s), std::errc::device_or_resource_busy);
    });
    EXPECT_EQ(names(), QStringList{u"kept"_s});
}

TEST_F(NSFileManagerTest, ASlashBehindAFileIsAnError) {
    put(u"a"_s, "x");
    EXPECT_EQ(manager.removeItemAtPath(path(u"a/"_s)), std::errc::not_a_directory);
    EXPECT_EQ(manager.moveItemAtPath(path(u"a/"_s), path(u"b"_s)), std::errc::not_a_directory);
    EXPECT_EQ(manager.copyItemAtPath(path(u"a/"_s), path(u"b"_s)), std::errc::not_a_directory);
    EXPECT_EQ(manager.copyItemAtPath(path(u"a"_s), path(u"b/"_s)), std::errc::not_a_directory);
    EXPECT_EQ(names(), QStringList{u"a"_s});
}

TEST_F(NSFileManagerTest, ALoneSurrogateNeverStandsForAnotherFile) {
    put(u"?"_s, "kept");
    put(QString(QChar::ReplacementCharacter), "kept");
    for (const char16_t unit :
         {char16_t(0xD800), char16_t(0xDBFF), char16_t(0xDC00), char16_t(0xDC7F), char16_t(0xDD00)}) {
        const QString odd = path(QString(QChar(unit)));
        EXPECT_FALSE(manager.fileExistsAtPath(odd));
        EXPECT_EQ(manager.removeItemAtPath(odd), std::errc::no_such_file_or_directory);
        EXPECT_EQ(manager.moveItemAtPath(odd, path(u"b"_s)), std::errc::no_such_file_or_directory);
        EXPECT_EQ(manager.createDirectoryAtPath(odd), std::errc::no_such_file_or_directory);
    }
    EXPECT_EQ(names().size(), 2);
}

TEST_F(NSFileManagerTest, FoldersDeeperThanOpenFilesAndPathsMayBeAreCopiedAndRemoved) {
    constexpr int depth = 1'300;
    const QByteArray name(20, 'n'); // 27,000 bytes of path at the bottom
    checkInChild([&] {
        const rlimit few{64, 64};
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
        ASSERT_EQ(::chdir(makeFolder(u"a"_s).toUtf8().constData()), 0);
        for (int i = 0; i < depth; ++i)
            ASSERT_TRUE(::mkdir(name.constData(), 0755) == 0 && ::chdir(name.constData()) == 0);
        const int file = ::open("bottom", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        ASSERT_EQ(::write(file, "x", 1), 1);
        ASSERT_EQ(::close(file), 0);
        EXPECT_EQ(manager.copyItemAtPath(path(u"a"_s), path(u"b"_s)), std::error_code());
        ASSERT_EQ(::chdir(bytes(u"b"_s).constData()), 0);
        for (int i = 0; i < depth; ++i)
            ASSERT_EQ(::chdir(name.constData()), 0) << i;
        EXPECT_EQ(::access("bottom", R_OK), 0);
        ASSERT_EQ(::chdir("/"), 0);
        EXPECT_EQ(manager.removeItemAtPath(path(u"b"_s)), std::error_code());
        EXPECT_EQ(manager.removeItemAtPath(path(u"a"_s)), std::error_code());
    });
    EXPECT_EQ(names(), QStringList());
}

TEST_F(NSFileManagerTest, ACopyOfASparseFileIsSparse) {
    const QByteArray start(4'096, 's');
    const int file = ::open(bytes(u"a"_s).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(::pwrite(file, start.constData(), size_t(start.size()), 0), start.size());
    ASSERT_EQ(::pwrite(file, "middle", 6, 50 << 20), 6);
    ASSERT_EQ(::ftruncate(file, 200 << 20), 0);
    ASSERT_EQ(::close(file), 0);
    ASSERT_FALSE(manager.copyItemAtPath(path(u"a"_s), path(u"b"_s)));
    EXPECT_EQ(status(u"b"_s).st_size, 200 << 20);
    EXPECT_LE(status(u"b"_s).st_blocks, status(u"a"_s).st_blocks + 64);
    EXPECT_TRUE(manager.contentsEqualAtPath(path(u"a"_s), path(u"b"_s)));

    ASSERT_EQ(::close(::open(bytes(u"hole"_s).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644)), 0);
    ASSERT_EQ(::truncate(bytes(u"hole"_s).constData(), 10 << 20), 0);
    ASSERT_FALSE(manager.copyItemAtPath(path(u"hole"_s), path(u"copy"_s)));
    EXPECT_EQ(status(u"copy"_s).st_size, 10 << 20);
    EXPECT_LE(status(u"copy"_s).st_blocks, 64);
}
