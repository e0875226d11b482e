// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileHandle+ZRKit.h"

#include "tests/support/InChild.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

QByteArray content(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

TEST(FileHandleForNewFile, MakesAnEmptyFileAndWritesToIt) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("new"));
    const auto handle = ZRKit::fileHandleForNewFileWritingAtPath(path);
    ASSERT_TRUE(handle);
    EXPECT_EQ(content(path), "");
    handle->writeData("text");
    EXPECT_EQ(content(path), "text");
}

TEST(FileHandleForNewFile, EmptiesAFileThatIsThere) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("old"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("old content") == 11);
    file.close();
    const auto handle = ZRKit::fileHandleForNewFileWritingAtPath(path);
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->offsetInFile(), 0U);
    EXPECT_EQ(content(path), "");
}

TEST(FileHandleForNewFile, WhoReadsTheOldFileKeepsItsContent) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("old"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("old content") == 11);
    file.close();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const auto handle = ZRKit::fileHandleForNewFileWritingAtPath(path);
    ASSERT_TRUE(handle);
    handle->writeData("new");
    EXPECT_EQ(file.readAll(), "old content");
    EXPECT_EQ(content(path), "new");
}

TEST(FileHandleForNewFile, AFileThatCannotBeReplacedIsOpenedAtItsEnd) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("kept"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("kept") == 4);
    file.close();
    ASSERT_EQ(::chmod(path.toUtf8().constData(), 0666), 0);
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0555), 0);
    checkInChild([&] {
        becomeOrdinaryUser();
        const auto handle = ZRKit::fileHandleForNewFileWritingAtPath(path);
        ASSERT_TRUE(handle);
        EXPECT_EQ(handle->offsetInFile(), 4U);
        handle->writeData(" and more");
    });
    EXPECT_EQ(content(path), "kept and more");
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0755), 0);
}

TEST(FileHandleForNewFile, IsNilWhereNothingCanBeOpened) {
    const QTemporaryDir folder;
    EXPECT_FALSE(ZRKit::fileHandleForNewFileWritingAtPath(QString()));
    EXPECT_FALSE(ZRKit::fileHandleForNewFileWritingAtPath(folder.path()));
    EXPECT_FALSE(ZRKit::fileHandleForNewFileWritingAtPath(folder.filePath(QStringLiteral("none/file"))));
}

} // namespace
