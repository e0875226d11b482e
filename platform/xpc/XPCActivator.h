// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/base/NeverDestroyed.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <sys/types.h>
#include <vector>

namespace zr {

/// Finds services by name and starts those that nothing else has started. One a process; any thread.
///
/// Where a name is looked for stands in NSXPCConnection.h. If a started service ends before this process it is
/// reaped, and the next connection starts it again.
class XPCActivator {
public:
    /// Called once when a started service has ended, on a thread of the machinery.
    /// \param pid     the process that was
    /// \param status  its wait status, -1 if somebody else has taken it
    using ExitHandler = std::function<void(pid_t pid, int status)>;

    static XPCActivator &shared();

    /// A connected socket to the service, or none and the text of what failed.
    /// \param process  receives the instance's process if this process has started it, else 0
    FileDescriptor connect(const QString &name, QString *error, pid_t *process);
    /// The process of the instance that this process has started; 0 if none lives.
    pid_t processIdentifier(const QString &name);

    /// Says that a connection to a started instance was lost. If the process is ending, it isn't connected to
    /// any more, even while its socket may still take connections that nobody will accept.
    void connectionWasLost(const QString &name, pid_t process);

    /// Waits for a start that is under way and starts nothing from here on: for a host that ends without
    /// waiting for its threads, so that none of them is ended halfway.
    void stop();

    /// Tells of each end of a started instance until removed; a call may still be under way then.
    quint64 addExitHandler(const QString &name, ExitHandler handler);
    void removeExitHandler(quint64 token);

    /// The executable that a name stands for; empty if there is none.
    static QByteArray executable(const QString &name);
    /// Whether the name can name a service: letters, digits, "._-", and at most one "@" inside.
    static bool isName(const QString &name);

private:
    friend class NeverDestroyed<XPCActivator>;
    struct Instance;
    struct Watcher {
        quint64 token;
        QString name;
        ExitHandler handler;
    };

    XPCActivator() = default;
    std::shared_ptr<Instance> start(const QString &name, QString *error);
    void ended(const std::shared_ptr<Instance> &instance);

    std::mutex m_mutex;
    std::map<QString, std::shared_ptr<Instance>> m_instances;
    bool m_stopped = false;
    quint64 m_lastToken = 0;
    std::vector<Watcher> m_watchers;
};

} // namespace zr
