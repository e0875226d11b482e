// SPDX-License-Identifier: MIT
// Another user at the socket. Only root can become one, so only root has these tests.
#include "platform/xpc/NSXPCListener.h"
#include "platform/xpc/XPCSocket.h"
#include "tests/platform/xpc/Support.h"
#include "tests/platform/xpc/TestWorker.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

using namespace zr;

namespace {

constexpr uid_t nobody = 65534;

/// Runs the function as another user in a child process; its result is the exit code.
int asOtherUser(const std::function<int()> &function) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(::setgid(nobody) == 0 && ::setuid(nobody) == 0 ? function() : 99);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 98;
}

/// A listening socket that the file system lets everybody reach, so that only the peers' check stands
/// between.
zr::FileDescriptor openSocket(const QString &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    std::copy(bytes.begin(), bytes.end(), address.sun_path);
    zr::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(::chmod(bytes.constData(), 0777), 0);
    EXPECT_EQ(::listen(socket.get(), 8), 0);
    return socket;
}

class OtherUser : public ::testing::TestWithParam<int> {};

} // namespace

TEST_P(OtherUser, IsClosedAtTheListenerBeforeAnybodySeesIt) {
    const LogCapture log;
    QTemporaryDir folder;
    QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
    const QString path = folder.filePath(QStringLiteral("open.sock"));
    NSXPCListener listener(openSocket(path));
    const auto delegate = std::make_shared<TestDelegate>();
    listener.setDelegate(delegate);
    listener.resume();
    const QByteArray bytes = QFile::encodeName(path);
    const int result = asOtherUser([&] {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(bytes.begin(), bytes.end(), address.sun_path);
        const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
            return 2;
        char byte = 0;
        return ::read(socket, &byte, 1) == 0 ? 0 : 3;
    });
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(delegate->workers().empty());
    EXPECT_EQ(log.count(QStringLiteral("NSXPCListener: a connection of another user was closed")), 1);
}

TEST_P(OtherUser, IsNotConnectedToEither) {
    QTemporaryDir folder;
    QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("open.sock")));
    const zr::FileDescriptor socket = openSocket(QFile::decodeName(path));
    EXPECT_EQ(asOtherUser([&] { return XPCConnect(path) ? 1 : errno == EACCES ? 0 : 2; }), 0);
}

TEST_P(OtherUser, CannotReachAPrivateSocket) {
    const XPCPrivateSocket socket = XPCPrivateSocket::make();
    const QByteArray path =
        "/proc/" + QByteArray::number(::getpid()) + "/fd/" + QByteArray::number(socket.address.get());
    EXPECT_EQ(asOtherUser([&] { return XPCConnect(path) ? 1 : errno == EACCES ? 0 : 2; }), 0);
}

TEST_P(OtherUser, TheirRuntimeFolderIsNotUsed) {
    const RuntimeFolder folder;
    ASSERT_EQ(::chown(QFile::encodeName(folder.path()).constData(), nobody, nobody), 0);
    EXPECT_TRUE(XPCRuntimeFolder().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Root, OtherUser,
                         ::testing::ValuesIn(::geteuid() == 0 ? std::vector<int>{0} : std::vector<int>{}),
                         [](const auto &) { return "Nobody"; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(OtherUser);
