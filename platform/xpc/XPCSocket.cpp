// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCSocket.h"

#include "platform/base/SystemError.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using namespace zr;

namespace {

constexpr char folderPrefix[] = "zrkit-xpc-";
constexpr char socketName[] = "s";

bool isOwnFolder(const char *path) {
    struct stat status {};
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

QByteArray parentFolder() {
    QByteArray runtime = XPCRuntimeFolder();
    if (!runtime.isEmpty())
        return runtime;
    const char *temporary = ::secure_getenv("TMPDIR");
    return temporary && temporary[0] == '/' ? QByteArray(temporary) : QByteArray("/tmp");
}

/// Through the folder's descriptor a path always fits into a socket's address.
QByteArray through(int descriptor, const char *name = nullptr) {
    QByteArray path = "/proc/self/fd/" + QByteArray::number(descriptor);
    return name ? path + '/' + name : path;
}

bool fill(sockaddr_un &address, const QByteArray &path) {
    address.sun_family = AF_UNIX;
    if (path.size() >= qsizetype(sizeof address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()) + 1);
    return true;
}

/// Makes a folder that is locked as long as its descriptor is open, so that sweep() leaves it alone.
FileDescriptor makePrivateFolder(QByteArray &path) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        path = parentFolder() + '/' + folderPrefix + "XXXXXX";
        if (!::mkdtemp(path.data()))
            return {};
        FileDescriptor folder(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        struct stat status {};
        // Between making and locking, a sweep may take the folder for a stale one.
        if (folder && ::flock(folder.get(), LOCK_EX) == 0 && ::fstat(folder.get(), &status) == 0 &&
            status.st_nlink > 0)
            return folder;
        ::rmdir(path.constData());
    }
    return {};
}

} // namespace

QByteArray zr::XPCRuntimeFolder() {
    const char *path = ::secure_getenv("XDG_RUNTIME_DIR");
    if (!path || path[0] != '/' || !isOwnFolder(path))
        return {};
    QByteArray folder(path);
    while (folder.size() > 1 && folder.endsWith('/'))
        folder.chop(1);
    return folder;
}

XPCPrivateSocket XPCPrivateSocket::make(QString *error) {
    const auto fail = [error](const char *step, int failure = errno) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(QString::fromLatin1(step), systemErrorText(failure));
        errno = failure;
        return XPCPrivateSocket();
    };
    XPCPrivateSocket made;
    made.listening.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!made.listening)
        return fail("socket");
    QByteArray path;
    const FileDescriptor folder = makePrivateFolder(path);
    if (!folder)
        return fail("folder");
    const char *step = nullptr;
    sockaddr_un address{};
    if (!fill(address, through(folder.get(), socketName)) ||
        ::bind(made.listening.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        step = "bind";
    else if (::listen(made.listening.get(), SOMAXCONN) != 0)
        step = "listen";
    else if (made.address.reset(::openat(folder.get(), socketName, O_PATH | O_NOFOLLOW | O_CLOEXEC));
             !made.address)
        step = "open";
    const int failure = errno;
    ::unlinkat(folder.get(), socketName, 0);
    ::rmdir(path.constData());
    return step ? fail(step, failure) : std::move(made);
}

void XPCPrivateSocket::sweep() {
    const QByteArray parent = parentFolder();
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(::opendir(parent.constData()), &::closedir);
    if (!entries)
        return;
    const int within = ::dirfd(entries.get());
    while (const dirent *entry = ::readdir(entries.get())) {
        if (std::strncmp(entry->d_name, folderPrefix, sizeof folderPrefix - 1) != 0)
            continue;
        struct stat status {};
        const FileDescriptor folder(
            ::openat(within, entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!folder || ::fstat(folder.get(), &status) != 0 || status.st_uid != ::geteuid() ||
            ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0)
            continue;
        ::unlinkat(folder.get(), socketName, 0);
        ::unlinkat(within, entry->d_name, AT_REMOVEDIR);
    }
}

FileDescriptor zr::XPCConnect(const QByteArray &path) {
    sockaddr_un address{};
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket || !fill(address, path))
        return {};
    while (::connect(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        if (errno != EINTR)
            return {};
    }
    if (!XPCPeerIsSameUser(socket.get())) {
        errno = EACCES;
        return {};
    }
    return socket;
}

FileDescriptor zr::XPCConnect(const FileDescriptor &address) {
    return XPCConnect(through(address.get()));
}

bool zr::XPCPeerIsSameUser(int socket) {
    ucred peer{};
    socklen_t length = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::geteuid();
}
