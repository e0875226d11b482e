// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCListener.h"

#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"
#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/XPCConnectionCore.h"
#include "platform/xpc/XPCServiceProcess.h"
#include "platform/xpc/XPCSocket.h"
#include "platform/xpc/XPCThread.h"

#include <QCoreApplication>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <set>
#include <sys/eventfd.h>
#include <sys/socket.h>

using namespace zr;

/// What the listener's thread works with; it may outlive the listener.
class NSXPCListener::Core : public std::enable_shared_from_this<Core> {
public:
    Core(FileDescriptor socket, NSXPCListenerEndpoint endpoint)
        : m_socket(std::move(socket)), m_endpoint(std::move(endpoint)),
          m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          m_spare(::open("/dev/null", O_RDONLY | O_CLOEXEC)) {
        if (m_socket)
            ::fcntl(m_socket.get(), F_SETFL, ::fcntl(m_socket.get(), F_GETFL) | O_NONBLOCK);
    }

    void start(NSXPCListener *listener, FileDescriptor termination) {
        {
            const std::lock_guard lock(m_mutex);
            m_listener = listener;
            if (m_invalid || std::exchange(m_running, true))
                return;
        }
        m_termination = std::move(termination);
        XPCThreadDetach("xpc-listener", [core = shared_from_this()] { core->run(); });
    }

    void invalidate() {
        {
            const std::lock_guard lock(m_mutex);
            m_invalid = true;
            m_listener = nullptr;
        }
        wake();
        // No call of the delegate is under way once this returns, unless it is the delegate that calls.
        const std::lock_guard delegation(m_delegation);
    }

    void setDelegate(const std::shared_ptr<NSXPCListenerDelegate> &delegate) {
        const std::lock_guard lock(m_mutex);
        m_delegate = delegate;
    }
    std::shared_ptr<NSXPCListenerDelegate> delegate() const {
        const std::lock_guard lock(m_mutex);
        return m_delegate.lock();
    }
    const NSXPCListenerEndpoint &endpoint() const { return m_endpoint; }

private:
    void wake() const {
        const quint64 one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_wake.get(), &one, sizeof one);
    }

    void run() {
        for (int timeout = -1;;) {
            pollfd waits[] = {{m_socket.get(), POLLIN, 0},
                              {m_wake.get(), POLLIN, 0},
                              {m_draining ? -1 : m_termination.get(), POLLIN, 0}};
            ::poll(waits, 3, timeout);
            if (waits[1].revents) {
                quint64 count = 0;
                [[maybe_unused]] const ssize_t got = ::read(m_wake.get(), &count, sizeof count);
            }
            {
                const std::lock_guard lock(m_mutex);
                if (m_invalid)
                    break;
            }
            if (waits[2].revents)
                m_draining = true;
            if (waits[0].revents & (POLLERR | POLLNVAL))
                break;
            if (waits[0].revents & POLLIN) {
                acceptOne();
                timeout = m_draining ? 0 : -1;
                continue;
            }
            if (m_draining) {
                timeout = millisecondsUntilQuiet();
                if (timeout == 0) {
                    std::fflush(nullptr);
                    ::_exit(0);
                }
            }
        }
        m_socket.reset();
    }

    void acceptOne() {
        FileDescriptor socket(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket) {
            // Out of descriptors the caller would wait for ever and we would be woken for ever: close it.
            if ((errno == EMFILE || errno == ENFILE) && m_spare) {
                m_spare.reset();
                FileDescriptor(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC)).reset();
                m_spare.reset(::open("/dev/null", O_RDONLY | O_CLOEXEC));
                NSLog(QStringLiteral("NSXPCListener: out of file descriptors, a connection was closed"));
            }
            return;
        }
        if (!XPCPeerIsSameUser(socket.get())) {
            NSLog(QStringLiteral("NSXPCListener: a connection of another user was closed"));
            return;
        }
        const std::lock_guard delegation(m_delegation);
        std::shared_ptr<NSXPCListenerDelegate> delegate;
        NSXPCListener *listener = nullptr;
        {
            const std::lock_guard lock(m_mutex);
            delegate = m_delegate.lock();
            listener = m_listener;
            if (!delegate || !listener)
                return;
        }
        auto connection =
            std::make_shared<NSXPCConnection>(XPCLink::make(std::move(socket), XPCLink::End::Accepted));
        const auto core = connection->m_core;
        {
            const std::lock_guard lock(m_mutex);
            m_connections.insert(connection);
        }
        const auto forget = [self = shared_from_this(), weak = std::weak_ptr(connection)] {
            self->forget(weak.lock());
        };
        core->setListenerHandlers(forget, [self = shared_from_this()] {
            if (self->m_draining)
                self->wake();
        });
        bool accepted = false;
        try {
            accepted = delegate->listenerShouldAcceptNewConnection(listener, connection);
        } catch (...) {
            NSLog("NSXPCListener: exception in the delegate: %@", NSException::currentDescription());
        }
        if (!accepted) {
            connection->invalidate();
            forget();
        }
    }

    void forget(const std::shared_ptr<NSXPCConnection> &connection) {
        const std::lock_guard lock(m_mutex);
        m_connections.erase(connection);
        if (m_draining)
            wake();
    }

    /// How long a leaving service has to wait before it looks again: 0 if nobody waits for it any more.
    int millisecondsUntilQuiet() const {
        std::set<std::shared_ptr<NSXPCConnection>> connections;
        {
            const std::lock_guard lock(m_mutex);
            connections = m_connections;
        }
        // -1: somebody's task is being worked on, and its end wakes us. Bytes may move before a grace ends.
        using std::chrono::milliseconds;
        milliseconds longest(0);
        bool isWorking = false;
        for (const auto &connection : connections) {
            const auto &core = *connection->m_core;
            const auto left = core.graceEnd() - std::chrono::steady_clock::now();
            if (core.isBusy())
                isWorking = true;
            else
                longest =
                    std::max(longest, std::min(std::chrono::ceil<milliseconds>(left), milliseconds(250)));
        }
        return longest.count() > 0 ? int(longest.count()) : isWorking ? -1 : 0;
    }

    FileDescriptor m_socket;
    const NSXPCListenerEndpoint m_endpoint;
    const FileDescriptor m_wake;
    FileDescriptor m_spare;
    FileDescriptor m_termination;
    std::atomic<bool> m_draining = false;

    std::recursive_mutex m_delegation; ///< held while the delegate is called
    mutable std::mutex m_mutex;
    NSXPCListener *m_listener = nullptr;
    std::weak_ptr<NSXPCListenerDelegate> m_delegate;
    std::set<std::shared_ptr<NSXPCConnection>> m_connections;
    bool m_running = false;
    bool m_invalid = false;
};

NSXPCListener::NSXPCListener(FileDescriptor socket, const NSXPCListenerEndpoint &endpoint)
    : m_core(std::make_shared<Core>(std::move(socket), endpoint)) {
}

NSXPCListener::~NSXPCListener() {
    invalidate();
}

NSXPCListener *NSXPCListener::serviceListener() {
    static auto *const listener = [] {
        QString reason;
        FileDescriptor socket = XPCServiceProcess::takeSocket(&reason);
        if (!socket) {
            NSLog("NSXPCListener: %@", reason);
            std::fflush(nullptr);
            ::_exit(1);
        }
        XPCServiceProcess::watchLifeline();
        auto *made = new NSXPCListener(std::move(socket));
        made->m_isService = true;
        return made;
    }();
    return listener;
}

std::unique_ptr<NSXPCListener> NSXPCListener::anonymousListener() {
    QString reason;
    XPCPrivateSocket socket = XPCPrivateSocket::make(&reason);
    if (!socket.listening)
        throw NSException(NSInternalInconsistencyException, reason);
    return std::make_unique<NSXPCListener>(std::move(socket.listening),
                                           NSXPCListenerEndpoint(std::move(socket.address)));
}

void NSXPCListener::setDelegate(const std::shared_ptr<NSXPCListenerDelegate> &delegate) {
    m_core->setDelegate(delegate);
}

std::shared_ptr<NSXPCListenerDelegate> NSXPCListener::delegate() const {
    return m_core->delegate();
}

NSXPCListenerEndpoint NSXPCListener::endpoint() const {
    return m_core->endpoint();
}

void NSXPCListener::resume() {
    if (!m_isService) {
        m_core->start(this, {});
        return;
    }
    FileDescriptor termination = XPCServiceProcess::watchTermination();
    std::unique_ptr<QCoreApplication> application;
    static int count = 1;
    static char name[] = "service";
    static char *arguments[] = {name, nullptr};
    if (!QCoreApplication::instance())
        application = std::make_unique<QCoreApplication>(count, arguments);
    // Only now: workers may need the application object as soon as there is a connection.
    m_core->start(this, std::move(termination));
    for (;;)
        QCoreApplication::exec();
}

void NSXPCListener::invalidate() {
    m_core->invalidate();
}
