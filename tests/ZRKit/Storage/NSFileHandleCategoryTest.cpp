// SPDX-License-Identifier: MIT
#include "ZRKit/Storage/NSFileHandle+ZRKit.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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

TEST(FileHandleForNewFile, IsNilWhereNothingCanBeOpened) {
    const QTemporaryDir folder;
    EXPECT_FALSE(ZRKit::fileHandleForNewFileWritingAtPath(QString()));
    EXPECT_FALSE(ZRKit::fileHandleForNewFileWritingAtPath(folder.path()));
    EXPECT_FALSE(ZRKit::fileHandleForNewFileWritingAtPath(folder.filePath(QStringLiteral("none/file"))));
}

} // namespace
