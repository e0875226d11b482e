// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <sys/types.h>

/// Tells a host when a service that it uses ends.
///
/// The client side of a task waits for its reply for as long as it takes, even when the service is gone. A
/// host that wants to know watches the service's life beside it.
class NSXPCServiceMonitor {
public:
    /// How an instance ended.
    struct Exit {
        pid_t pid = 0;   ///< the process that was, 0 where a socket unit had started it
        int status = -1; ///< its wait status, see waitpid(2); -1 where it isn't known
        /// Such as "killed by signal 9", "exited with code 1".
        QString description() const;
    };
    using Handler = std::function<void(const Exit &)>;

    /// Finds the service, starts it where it doesn't run yet, and calls the handler on a thread of the
    /// machinery each time that an instance ends which this process has started. Of a socket unit's service
    /// only the first end is told, with pid 0; so is that there is no such service to be had.
    NSXPCServiceMonitor(const QString &serviceName, Handler handler);
    /// Waits for a handler that is being called, unless it is the handler that calls.
    ~NSXPCServiceMonitor();
    NSXPCServiceMonitor(const NSXPCServiceMonitor &) = delete;
    NSXPCServiceMonitor &operator=(const NSXPCServiceMonitor &) = delete;

    /// The running instance's process where this process has started it, else 0.
    pid_t processIdentifier() const;

private:
    class Core;
    std::shared_ptr<Core> m_core;
};
