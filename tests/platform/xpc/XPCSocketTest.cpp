// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCSocket.h"

#include "tests/platform/xpc/Support.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>

using namespace zr;

TEST(XPCSocket, APrivateSocketLeavesNoNameAndIsReachedThroughItsAddress) {
    const RuntimeFolder folder;
    const XPCPrivateSocket socket = XPCPrivateSocket::make();
    ASSERT_TRUE(socket.listening && socket.address);
    EXPECT_TRUE(folder.entries().isEmpty());
    const zr::FileDescriptor client = XPCConnect(socket.address);
    ASSERT_TRUE(client);
    const zr::FileDescriptor accepted(::accept(socket.listening.get(), nullptr, nullptr));
    ASSERT_TRUE(accepted);
    EXPECT_EQ(::write(client.get(), "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(::read(accepted.get(), &byte, 1), 1);
    EXPECT_TRUE(XPCPeerIsSameUser(accepted.get()));
    EXPECT_TRUE(::fcntl(socket.listening.get(), F_GETFD) & FD_CLOEXEC);
    EXPECT_TRUE(::fcntl(socket.address.get(), F_GETFD) & FD_CLOEXEC);
}

TEST(XPCSocket, AClosedPrivateSocketRefuses) {
    const RuntimeFolder folder;
    XPCPrivateSocket socket = XPCPrivateSocket::make();
    socket.listening.reset();
    EXPECT_FALSE(XPCConnect(socket.address));
}

TEST(XPCSocket, WithoutARuntimeFolderTheOneForTemporaryFilesServes) {
    const RuntimeFolder restoresTheVariable;
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_TRUE(XPCRuntimeFolder().isEmpty());
    const XPCPrivateSocket socket = XPCPrivateSocket::make();
    EXPECT_TRUE(XPCConnect(socket.address));
}

TEST(XPCSocket, ARuntimeFolderWithALongNameServes) {
    const RuntimeFolder folder;
    const QString path = folder.path() + QLatin1Char('/') + QString(200, QLatin1Char('n'));
    ASSERT_TRUE(QDir().mkdir(path));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(path));
    const XPCPrivateSocket socket = XPCPrivateSocket::make();
    EXPECT_TRUE(XPCConnect(socket.address));
}

TEST(XPCSocket, SweepingRemovesWhatTheKilledLeftAndNothingElse) {
    const RuntimeFolder folder;
    const QDir runtime(folder.path());
    ASSERT_TRUE(runtime.mkdir(QStringLiteral("zrkit-xpc-stale1")));
    ASSERT_TRUE(runtime.mkdir(QStringLiteral("zrkit-xpc-stale2")));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(runtime.filePath(QStringLiteral("zrkit-xpc-stale2/s")));
    ASSERT_LT(std::size_t(path.size()), sizeof address.sun_path);
    std::copy(path.begin(), path.end(), address.sun_path);
    const zr::FileDescriptor bound(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    ASSERT_EQ(::bind(bound.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_TRUE(runtime.mkdir(QStringLiteral("zrkit-xpc-locked")));
    ASSERT_TRUE(runtime.mkdir(QStringLiteral("other")));
    ASSERT_TRUE(runtime.mkdir(QStringLiteral("zrkit-xpc-full")));
    ASSERT_TRUE(QFile(runtime.filePath(QStringLiteral("zrkit-xpc-full/mine"))).open(QIODevice::WriteOnly));
    const zr::FileDescriptor locked(
        ::open(QFile::encodeName(runtime.filePath(QStringLiteral("zrkit-xpc-locked"))).constData(),
               O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(locked.get(), LOCK_EX), 0);

    XPCPrivateSocket::sweep();
    EXPECT_EQ(folder.entries(), (QStringList{QStringLiteral("other"), QStringLiteral("zrkit-xpc-full"),
                                             QStringLiteral("zrkit-xpc-locked")}));
}

TEST(XPCSocket, MakingAndSweepingAtOnceGetInNobodysWay) {
    const RuntimeFolder folder;
    std::atomic<bool> over = false;
    std::thread sweeper([&] {
        while (!over)
            XPCPrivateSocket::sweep();
    });
    for (int i = 0; i < 500; ++i) {
        QString error;
        const XPCPrivateSocket socket = XPCPrivateSocket::make(&error);
        EXPECT_TRUE(socket.listening) << error.toStdString();
    }
    over = true;
    sweeper.join();
    EXPECT_TRUE(folder.entries().isEmpty());
}
