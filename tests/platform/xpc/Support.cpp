// SPDX-License-Identifier: MIT
#include "tests/platform/xpc/Support.h"

#include "platform/xpc/XPCDescriptor.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

TestClient::~TestClient() {
    // The handlers refer to this object; the last of them is the invalidation handler.
    connection->invalidate();
    m_over.take();
}

pid_t TestClient::pid() {
    Inbox<pid_t> pids;
    connection->remoteObjectProxyWithErrorHandler<TestProtocol>([&](const NSError &) { pids.put(0); })
        ->processIdentifier([&](qint64 pid) { pids.put(pid_t(pid)); });
    return pids.take().value_or(0);
}

std::optional<QByteArray> TestClient::echo(const QByteArray &data) {
    Inbox<std::optional<QByteArray>> echoes;
    connection
        ->remoteObjectProxyWithErrorHandler<TestProtocol>([&](const NSError &) { echoes.put(std::nullopt); })
        ->echo(data, [&](const QByteArray &reply) { echoes.put(reply); });
    return echoes.take().value_or(std::nullopt);
}

bool hasEnded(pid_t pid) {
    const XPCDescriptor process(int(::syscall(SYS_pidfd_open, pid, 0)));
    if (!process)
        return errno == ESRCH;
    pollfd wait{process.get(), POLLIN, 0};
    return ::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) == 1;
}

bool eventually(const std::function<bool()> &condition) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        ::usleep(1000);
    }
    return true;
}

std::vector<pid_t> processesOf(const QString &program) {
    std::vector<pid_t> found;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isNumber = false;
        const pid_t pid = name.toInt(&isNumber);
        const QString target = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(name));
        if (isNumber && target.section(QLatin1Char('/'), -1) == program)
            found.push_back(pid);
    }
    return found;
}

RuntimeFolder::RuntimeFolder()
    : m_before(qgetenv("XDG_RUNTIME_DIR")), m_wasSet(qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path()));
}

RuntimeFolder::~RuntimeFolder() {
    if (m_wasSet)
        qputenv("XDG_RUNTIME_DIR", m_before);
    else
        qunsetenv("XDG_RUNTIME_DIR");
}

QStringList RuntimeFolder::entries() const {
    return QDir(m_folder.path())
        .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
}
