// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/ListeningSocket.h"

#include "platform/base/SystemError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace zr;

namespace {

QByteArray reasonText(int number = errno) {
    return systemErrorText(number).toLocal8Bit();
}

/// Whether somebody takes connections there.
bool isAlive(const ListenAddress &address) {
    const FileDescriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // A full backlog is a living server's.
    return ::connect(probe.get(), address.socketAddress(), address.socketAddressSize()) == 0 ||
           errno == EAGAIN;
}

} // namespace

ListeningSocket::ListeningSocket(FileDescriptor descriptor) : m_descriptor(std::move(descriptor)) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    ::getsockname(m_descriptor.get(), generic, &size);
    m_name = ListenAddress::text(generic, size);
    m_isPath = generic->sa_family == AF_UNIX;
    m_isLocal = ListenAddress::isLoopback(generic);
}

ListeningSocket::~ListeningSocket() {
    struct stat status {};
    if (m_descriptor && !m_made.isNull() && ::stat(m_made.constData(), &status) == 0 &&
        status.st_dev == m_device && status.st_ino == m_number)
        ::unlink(m_made.constData());
}

std::optional<ListeningSocket> ListeningSocket::open(const ListenAddress &address, QByteArray *problem) {
    if (address.isPath())
        return openPath(address, problem);
    const QByteArray name = ListenAddress::text(address.socketAddress(), address.socketAddressSize());
    FileDescriptor socket(
        ::socket(address.socketAddress()->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    if (!socket || ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(socket.get(), address.socketAddress(), address.socketAddressSize()) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0) {
        *problem = "can't listen on " + name + ": " + reasonText();
        return {};
    }
    return ListeningSocket(std::move(socket));
}

std::optional<ListeningSocket> ListeningSocket::openPath(const ListenAddress &address, QByteArray *problem) {
    const QByteArray &path = address.path();
    const auto fail = [&](const QByteArray &why) -> std::optional<ListeningSocket> {
        *problem = "can't listen on " + path + ": " + why;
        return {};
    };
    // Of two servers that start at once, one looks at what the other has made, not at what it was about to replace.
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    const FileDescriptor lock(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock || ::flock(lock.get(), LOCK_EX) != 0)
        return fail(reasonText());
    struct stat status {};
    if (::lstat(path.constData(), &status) == 0) {
        if (!S_ISSOCK(status.st_mode))
            return fail("there is something that is no socket");
        if (isAlive(address))
            return fail("another server listens there");
        if (::unlink(path.constData()) != 0)
            return fail(reasonText());
    }
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // The name gets the socket's own permissions, at once: there is no moment in which others could connect.
    if (!socket || ::fchmod(socket.get(), 0600) != 0 ||
        ::bind(socket.get(), address.socketAddress(), address.socketAddressSize()) != 0)
        return fail(reasonText());
    if (::listen(socket.get(), SOMAXCONN) != 0 || ::lstat(path.constData(), &status) != 0) {
        const int failure = errno;
        ::unlink(path.constData());
        return fail(reasonText(failure));
    }
    ListeningSocket made(std::move(socket));
    made.m_made = path;
    made.m_device = status.st_dev;
    made.m_number = status.st_ino;
    return made;
}

std::optional<ListeningSocket> ListeningSocket::adopt(int descriptor, QByteArray *problem) {
    FileDescriptor socket(descriptor);
    int listens = 0;
    int type = 0;
    socklen_t size = sizeof listens;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || listens == 0 ||
        ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_STREAM ||
        ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK) != 0) {
        *problem = "descriptor " + QByteArray::number(descriptor) +
                   " was handed over and is no stream socket that listens";
        return {};
    }
    ListeningSocket adopted(std::move(socket));
    adopted.m_isAdopted = true;
    return adopted;
}
