// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/FileDescriptor.h"
#include "platform/xpc/NSXPCConnection.h"
#include "tests/platform/xpc/TestProtocol.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <sys/types.h>
#include <vector>

/// How long tests wait for what must happen.
inline constexpr std::chrono::seconds deadline{30};

/// Passes values from handlers to the test's own thread, which waits for them.
template <typename T>
class Inbox {
public:
    void put(T value) {
        const std::lock_guard lock(m_mutex);
        m_values.push_back(std::move(value));
        m_changed.notify_all();
    }
    /// The next value; nothing when none came in time.
    std::optional<T> take(std::chrono::milliseconds patience = deadline) {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, patience, [this] { return !m_values.empty(); }))
            return std::nullopt;
        T value = std::move(m_values.front());
        m_values.pop_front();
        return value;
    }
    std::size_t count() const {
        const std::lock_guard lock(m_mutex);
        return m_values.size();
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<T> m_values;
};

/// A resumed connection to a test service, and what came back over it.
struct TestClient {
    template <typename Target>
    explicit TestClient(const Target &target) : connection(std::make_shared<NSXPCConnection>(target)) {
        connection->setRemoteObjectInterface(NSXPCInterface::interfaceWithProtocol<TestProtocol>());
        connection->setInterruptionHandler([this] { interruptions.put(1); });
        connection->setInvalidationHandler([this] {
            invalidations.put(1);
            m_over.put(1);
        });
        connection->resume();
    }
    ~TestClient();
    std::shared_ptr<TestProtocol> proxy() {
        return connection->remoteObjectProxyWithErrorHandler<TestProtocol>(
            [this](const NSError &error) { errors.put(error); });
    }
    TestProtocol::DataReply toReplies() {
        return [this](const QByteArray &data) { replies.put(data); };
    }
    /// The service's process as it says itself; 0 when there was no reply.
    pid_t pid();
    /// Echoes the data; nothing when no reply came.
    std::optional<QByteArray> echo(const QByteArray &data);

    std::shared_ptr<NSXPCConnection> connection;
    Inbox<QByteArray> replies;
    Inbox<NSError> errors;
    Inbox<int> interruptions;
    Inbox<int> invalidations;

private:
    Inbox<int> m_over;
};

/// Whether the process has ended, at the latest by the deadline; a process of any parent.
bool hasEnded(pid_t pid);

/// A listening socket in the file system, as a socket unit makes it.
zr::FileDescriptor listenAt(const QString &path);

/// Starts the program on a listening socket as systemd does: standard input is nowhere.
struct UnitOptions {
    bool rightProcess = true; ///< whether LISTEN_PID is right
    int count = 1;            ///< LISTEN_FDS
    int standardError = -1;   ///< where the log goes; to the test's own where it isn't given
};
pid_t startLikeSystemd(const QByteArray &program, const zr::FileDescriptor &socket,
                       const UnitOptions &options = {});

/// A program that a test runs beside itself; killed and waited for at the end.
class HostProcess {
public:
    enum class Input { Inherited, None };

    /// \param bothOutputs  whether standard error is read too
    explicit HostProcess(const QString &program, const QStringList &arguments, bool bothOutputs = false,
                         Input input = Input::Inherited);
    ~HostProcess();
    HostProcess(const HostProcess &) = delete;
    HostProcess &operator=(const HostProcess &) = delete;

    pid_t pid() const { return m_pid; }
    /// The next line of its output, without its end; nil when none came in time.
    QByteArray readLine();
    void kill();

private:
    pid_t m_pid = 0;
    zr::FileDescriptor m_output;
    QByteArray m_buffer;
};

/// Waits for a child's end and gives its wait status.
int waitStatus(pid_t child);

/// Waits for a condition that nothing announces; looks now and then.
bool eventually(const std::function<bool()> &condition);

/// The processes of this user that run the named program, in whichever state.
std::vector<pid_t> processesOf(const QString &program);

/// A runtime folder of the test's own, in the environment as long as it lives.
class RuntimeFolder {
public:
    RuntimeFolder();
    ~RuntimeFolder();
    QString path() const { return m_folder.path(); }
    /// What is in it.
    QStringList entries() const;

private:
    QTemporaryDir m_folder;
    QByteArray m_before;
    bool m_wasSet = false;
};
