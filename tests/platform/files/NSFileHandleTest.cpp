// SPDX-License-Identifier: MIT
#include "platform/files/NSFileHandle.h"

#include "tests/support/Expect.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

class FileHandle : public testing::Test {
protected:
    FileHandle() {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write("0123456789") == 10);
    }
    QByteArray content() const {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file"));
};

TEST_F(FileHandle, ReadsFromWhereItStands) {
    const auto handle = NSFileHandle::fileHandleForReadingAtPath(path);
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->readDataOfLength(3), "012");
    EXPECT_EQ(handle->offsetInFile(), 3U);
    handle->seekToFileOffset(8);
    EXPECT_EQ(handle->readDataToEndOfFile(), "89");
    EXPECT_TRUE(handle->readDataOfLength(5).isEmpty());
    EXPECT_FALSE(handle->readDataOfLength(5).isNull());
}

TEST_F(FileHandle, WritesOverWhatIsThere) {
    const auto handle = NSFileHandle::fileHandleForWritingAtPath(path);
    ASSERT_TRUE(handle);
    handle->writeData("ab");
    EXPECT_EQ(handle->seekToEndOfFile(), 10U);
    handle->writeData("c");
    handle->synchronizeFile();
    EXPECT_EQ(content(), "ab23456789c");
    handle->truncateFileAtOffset(3);
    handle->writeData("d");
    EXPECT_EQ(content(), "ab2d");
}

TEST_F(FileHandle, UpdatingReadsAndWrites) {
    const auto handle = NSFileHandle::fileHandleForUpdatingAtPath(path);
    ASSERT_TRUE(handle);
    EXPECT_EQ(handle->readDataOfLength(1), "0");
    handle->writeData("x");
    EXPECT_EQ(content(), "0x23456789");
}

TEST_F(FileHandle, AClosedOneRaises) {
    const auto handle = NSFileHandle::fileHandleForUpdatingAtPath(path);
    handle->closeFile();
    handle->closeFile();
    EXPECT_EQ(handle->fileDescriptor(), -1);
    expectException(NSFileHandleOperationException, [&] { handle->writeData("x"); });
    expectException(NSFileHandleOperationException, [&] { handle->writeData(""); });
    expectException(NSFileHandleOperationException, [&] { handle->readDataToEndOfFile(); });
    expectException(NSFileHandleOperationException, [&] { handle->seekToEndOfFile(); });
    expectException(NSFileHandleOperationException, [&] { handle->seekToFileOffset(0); });
    expectException(NSFileHandleOperationException, [&] { handle->truncateFileAtOffset(0); });
    expectException(NSFileHandleOperationException, [&] { handle->synchronizeFile(); });
    expectException(NSFileHandleOperationException, [&] { static_cast<void>(handle->offsetInFile()); });
}

TEST_F(FileHandle, AFullDeviceRaises) {
    const auto handle = NSFileHandle::fileHandleForWritingAtPath(QStringLiteral("/dev/full"));
    ASSERT_TRUE(handle);
    const QString reason =
        expectException(NSFileHandleOperationException, [&] { handle->writeData("a byte too many"); });
    EXPECT_EQ(reason, QStringLiteral("write: No space left on device"));
}

TEST_F(FileHandle, WhatCannotBeOpenedIsNil) {
    EXPECT_FALSE(NSFileHandle::fileHandleForReadingAtPath(folder.filePath(QStringLiteral("missing"))));
    EXPECT_FALSE(NSFileHandle::fileHandleForWritingAtPath(folder.filePath(QStringLiteral("missing"))));
    EXPECT_FALSE(NSFileHandle::fileHandleForReadingAtPath(folder.path()));
    EXPECT_FALSE(NSFileHandle::fileHandleForReadingAtPath(QString()));
    EXPECT_FALSE(NSFileHandle::fileHandleForReadingAtPath(path + QChar::Null));
}

} // namespace
