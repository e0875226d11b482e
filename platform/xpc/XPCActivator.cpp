// SPDX-License-Identifier: MIT
#include "platform/xpc/XPCActivator.h"

#include "platform/base/ChildProcess.h"
#include "platform/base/LibexecFile.h"
#include "platform/base/SystemError.h"
#include "platform/xpc/XPCReactor.h"
#include "platform/xpc/XPCServiceProcess.h"
#include "platform/xpc/XPCSocket.h"
#include "platform/xpc/XPCThread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/wait.h>

using namespace zr;

struct XPCActivator::Instance {
    QString name;
    FileDescriptor address;
    ChildProcess child;
    FileDescriptor lifeline; ///< held by us alone: when it closes, the service ends
    quint64 token = 0;
};

namespace {

/// Whether the process has begun to exit. Its connections close somewhat before it can be waited for.
bool isEnding(pid_t process) {
    const FileDescriptor file(
        ::open(("/proc/" + QByteArray::number(process) + "/stat").constData(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> text{};
    if (!file || ::read(file.get(), text.data(), text.size() - 1) <= 0)
        return true;
    // Behind the name, which may hold anything: state, five numbers, the kernel's flags.
    const char *afterName = std::strrchr(text.data(), ')');
    char state = 0;
    unsigned flags = 0;
    constexpr unsigned exiting = 0x4;
    return !afterName || std::sscanf(afterName, ") %c %*d %*d %*d %*d %*d %u", &state, &flags) != 2 ||
           state == 'Z' || state == 'X' || (flags & exiting);
}

} // namespace

XPCActivator &XPCActivator::shared() {
    static NeverDestroyed<XPCActivator> activator;
    return *activator;
}

bool XPCActivator::isName(const QString &name) {
    const qsizetype at = name.indexOf(QLatin1Char('@'));
    if (name.isEmpty() || name.size() > 200 || name.startsWith(QLatin1Char('.')) || at == 0 ||
        at == name.size() - 1)
        return false;
    return std::all_of(name.begin(), name.end(), [&](const QChar &c) {
        return (c.unicode() < 128 && c.isLetterOrNumber()) || c == QLatin1Char('.') ||
               c == QLatin1Char('-') || c == QLatin1Char('_') || &c == name.constData() + at;
    });
}

QByteArray XPCActivator::executable(const QString &name) {
    return libexecFile(name.section(QLatin1Char('@'), 0, 0).toLatin1(), X_OK, "/XPCServices");
}

FileDescriptor XPCActivator::connect(const QString &name, QString *error, pid_t *process) {
    *process = 0;
    if (!isName(name)) {
        *error = QStringLiteral("\"%1\" is not the name of a service").arg(name);
        return {};
    }
    if (const QByteArray runtime = XPCRuntimeFolder(); !runtime.isEmpty()) {
        if (FileDescriptor socket = XPCConnect(runtime + '/' + name.toLatin1() + ".sock"))
            return socket;
    }
    // A process in its last moments refuses; its successor is started at once.
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::shared_ptr<Instance> instance;
        {
            const std::lock_guard lock(m_mutex);
            if (const auto found = m_instances.find(name); found != m_instances.end())
                instance = found->second;
            else if ((instance = start(name, error)))
                m_instances.emplace(name, instance);
            else
                return {};
        }
        if (FileDescriptor socket = XPCConnect(instance->address)) {
            *process = instance->child.pid;
            return socket;
        }
        *error = QStringLiteral("%1: %2").arg(name, systemErrorText());
        const std::lock_guard lock(m_mutex);
        instance->lifeline.reset();
        std::erase_if(m_instances, [&](const auto &each) { return each.second == instance; });
    }
    return {};
}

std::shared_ptr<XPCActivator::Instance> XPCActivator::start(const QString &name, QString *error) {
    if (m_stopped) {
        *error = QStringLiteral("\"%1\" is not started any more").arg(name);
        return {};
    }
    const QByteArray program = executable(name);
    if (program.isEmpty()) {
        *error = QStringLiteral("no service \"%1\" is installed").arg(name);
        return {};
    }
    QString reason;
    XPCPrivateSocket socket = XPCPrivateSocket::make(&reason);
    if (!socket.listening) {
        *error = QStringLiteral("no socket for \"%1\": %2").arg(name, reason);
        return {};
    }
    std::array<int, 2> lifeline{-1, -1};
    if (::pipe2(lifeline.data(), O_CLOEXEC) != 0) {
        *error = systemErrorText();
        return {};
    }
    const FileDescriptor input(lifeline[0]);
    auto instance = std::make_shared<Instance>();
    instance->name = name;
    instance->address = std::move(socket.address);
    instance->lifeline.reset(lifeline[1]);
    const int log = ::fcntl(STDERR_FILENO, F_GETFD) < 0 ? -1 : STDERR_FILENO;
    instance->child = ChildProcess::start(
        {program,
         {},
         {"LISTEN_FDS=1", "LISTEN_PID=", QByteArray("LISTEN_FDNAMES=") + XPCServiceProcess::activatorName},
         {input.get(), -1, log, socket.listening.get()}});
    // From here on only the service listens: when it dies, the connections that wait at its socket end.
    socket.listening.reset();
    ChildProcess &child = instance->child;
    if (child.failure) {
        *error =
            QStringLiteral("%1: %2").arg(QString::fromLocal8Bit(program), systemErrorText(child.failure));
        if (child.pid > 0)
            ::waitid(P_PIDFD, id_t(child.process.get()), nullptr, WEXITED);
        return {};
    }
    instance->token = XPCReactor::shared().add(child.process.get(), EPOLLIN | EPOLLONESHOT,
                                               [this, instance](quint32) { ended(instance); });
    static std::once_flag swept;
    std::call_once(swept, [] { XPCThreadDetach("xpc-sweep", &XPCPrivateSocket::sweep); });
    return instance;
}

void XPCActivator::ended(const std::shared_ptr<Instance> &instance) {
    const pid_t pid = instance->child.pid;
    int status = -1;
    std::vector<Watcher> watchers;
    {
        const std::lock_guard lock(m_mutex);
        // This child only: the host's others are the host's.
        siginfo_t taken{};
        if (::waitid(P_PIDFD, id_t(instance->child.process.get()), &taken, WEXITED | WNOHANG) == 0 &&
            taken.si_pid == pid)
            status =
                taken.si_code == CLD_EXITED ? W_EXITCODE(taken.si_status, 0) : W_EXITCODE(0, taken.si_status);
        std::erase_if(m_instances, [&](const auto &each) { return each.second == instance; });
        std::copy_if(m_watchers.begin(), m_watchers.end(), std::back_inserter(watchers),
                     [&](const Watcher &watcher) { return watcher.name == instance->name; });
    }
    XPCReactor::shared().remove(instance->token, instance->child.process.get());
    if (watchers.empty())
        return;
    XPCThreadDetach("xpc-exit", [watchers = std::move(watchers), pid, status] {
        for (const Watcher &watcher : watchers)
            watcher.handler(pid, status);
    });
}

void XPCActivator::connectionWasLost(const QString &name, pid_t process) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_instances, [&](const auto &each) {
        return each.first == name && each.second->child.pid == process && isEnding(process);
    });
}

void XPCActivator::stop() {
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
}

pid_t XPCActivator::processIdentifier(const QString &name) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_instances.find(name);
    return found == m_instances.end() ? 0 : found->second->child.pid;
}

quint64 XPCActivator::addExitHandler(const QString &name, ExitHandler handler) {
    const std::lock_guard lock(m_mutex);
    m_watchers.push_back({++m_lastToken, name, std::move(handler)});
    return m_lastToken;
}

void XPCActivator::removeExitHandler(quint64 token) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_watchers, [token](const Watcher &watcher) { return watcher.token == token; });
}
