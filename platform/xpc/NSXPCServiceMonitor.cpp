// SPDX-License-Identifier: MIT
#include "platform/xpc/NSXPCServiceMonitor.h"

#include "platform/xpc/NSXPCConnection.h"
#include "platform/xpc/XPCActivator.h"

#include <mutex>
#include <sys/wait.h>

using namespace zr;

/// An instance that we started is known by its process; any other one by a connection that it drops.
class NSXPCServiceMonitor::Core : public std::enable_shared_from_this<Core> {
public:
    Core(const QString &name, Handler handler)
        : m_name(name), m_handler(std::move(handler)), m_connection(std::make_shared<NSXPCConnection>(name)) {
    }

    void start() {
        m_token =
            XPCActivator::shared().addExitHandler(m_name, [weak = weak_from_this()](pid_t pid, int status) {
                if (const auto core = weak.lock())
                    core->tell({pid, status});
            });
        const auto lost = [weak = weak_from_this()] {
            if (const auto core = weak.lock(); core && core->m_connection->processIdentifier() == 0)
                core->tell({});
        };
        m_connection->setInterruptionHandler(lost);
        m_connection->setInvalidationHandler(lost);
        m_connection->resume();
    }

    void stop() {
        {
            // Recursive, so that the handler may end the monitor.
            const std::lock_guard lock(m_telling);
            m_handler = nullptr;
        }
        XPCActivator::shared().removeExitHandler(m_token);
        m_connection->invalidate();
    }

    const QString &name() const { return m_name; }

private:
    void tell(const Exit &exit) {
        const std::lock_guard lock(m_telling);
        if (const Handler handler = m_handler)
            handler(exit);
    }

    const QString m_name;
    std::recursive_mutex m_telling;
    Handler m_handler;
    std::shared_ptr<NSXPCConnection> m_connection;
    quint64 m_token = 0;
};

NSXPCServiceMonitor::NSXPCServiceMonitor(const QString &serviceName, Handler handler)
    : m_core(std::make_shared<Core>(serviceName, std::move(handler))) {
    m_core->start();
}

NSXPCServiceMonitor::~NSXPCServiceMonitor() {
    m_core->stop();
}

pid_t NSXPCServiceMonitor::processIdentifier() const {
    return XPCActivator::shared().processIdentifier(m_core->name());
}

QString NSXPCServiceMonitor::Exit::description() const {
    if (status >= 0 && WIFSIGNALED(status))
        return QStringLiteral("killed by signal %1").arg(WTERMSIG(status));
    if (status >= 0 && WIFEXITED(status))
        return QStringLiteral("exited with code %1").arg(WEXITSTATUS(status));
    return QStringLiteral("gone");
}
