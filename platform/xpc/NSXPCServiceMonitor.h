// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <sys/types.h>

/// Tells a host when a service that it uses ends.
///
/// The client side of a task waits for its reply for as long as it takes, even if the service is gone. A host that
/// wants to know watches the service as well. Any thread.
class NSXPCServiceMonitor {
public:
    /// How an instance ended.
    struct Exit {
        pid_t pid = 0;   ///< the process that was, 0 if a socket unit had started it
        int status = -1; ///< its wait status, see waitpid(2); -1 if it isn't known
        /// Such as "killed by signal 9", "exited with code 1".
        QString description() const;
    };
    using Handler = std::function<void(const Exit &)>;

    /// Finds the service, or starts it if it doesn't run yet. The handler is called on a thread of the machinery each
    /// time an instance ends that this process has started. Of a socket unit's service only the first end is told,
    /// with pid 0. It is also called with pid 0 if there is no such service.
    NSXPCServiceMonitor(const QString &serviceName, Handler handler);
    /// Waits for a handler that is being called, unless it is the handler that calls.
    ~NSXPCServiceMonitor();
    NSXPCServiceMonitor(const NSXPCServiceMonitor &) = delete;
    NSXPCServiceMonitor &operator=(const NSXPCServiceMonitor &) = delete;

    /// The running instance's process if this process has started it, otherwise 0.
    pid_t processIdentifier() const;

private:
    class Core;
    std::shared_ptr<Core> m_core;
};
