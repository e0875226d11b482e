// SPDX-License-Identifier: MIT
#include "tests/platform/xpc/Support.h"

#include "platform/base/FileDescriptor.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
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
    const zr::FileDescriptor process(int(::syscall(SYS_pidfd_open, pid, 0)));
    if (!process)
        return errno == ESRCH;
    pollfd wait{process.get(), POLLIN, 0};
    return ::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) == 1;
}

zr::FileDescriptor listenAt(const QString &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    std::copy(bytes.begin(), bytes.end(), address.sun_path);
    zr::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(socket.get(), 64), 0);
    return socket;
}

pid_t startLikeSystemd(const QByteArray &program, const zr::FileDescriptor &socket,
                       const UnitOptions &options) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open("/dev/null", O_RDWR), 0);
        if (options.standardError >= 0)
            ::dup2(options.standardError, 2);
        if (socket.get() == 3)
            ::fcntl(3, F_SETFD, 0);
        else
            ::dup2(socket.get(), 3);
        ::setenv("LISTEN_FDS", std::to_string(options.count).c_str(), 1);
        ::setenv("LISTEN_PID", std::to_string(::getpid() + (options.rightProcess ? 0 : 1)).c_str(), 1);
        ::unsetenv("LISTEN_FDNAMES");
        ::execl(program.constData(), program.constData(), nullptr);
        ::_exit(127);
    }
    return child;
}

HostProcess::HostProcess(const QString &program, const QStringList &arguments, bool bothOutputs,
                         Input input) {
    std::array<int, 2> output{};
    EXPECT_EQ(::pipe2(output.data(), O_CLOEXEC), 0);
    m_output.reset(output[0]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], 1);
    if (bothOutputs)
        ::posix_spawn_file_actions_adddup2(&actions, output[1], 2);
    if (input == Input::None) {
        ::posix_spawn_file_actions_addclose(&actions, 0);
        ::posix_spawn_file_actions_addclose(&actions, 2);
    }
    std::vector<QByteArray> strings{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        strings.push_back(argument.toLocal8Bit());
    std::vector<char *> pointers;
    for (QByteArray &each : strings)
        pointers.push_back(each.data());
    pointers.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&m_pid, pointers[0], &actions, nullptr, pointers.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
}

HostProcess::~HostProcess() {
    kill();
}

void HostProcess::kill() {
    if (m_pid <= 0)
        return;
    ::kill(m_pid, SIGKILL);
    waitStatus(std::exchange(m_pid, 0));
}

QByteArray HostProcess::readLine() {
    qsizetype end = -1;
    while ((end = m_buffer.indexOf('\n')) < 0) {
        pollfd wait{m_output.get(), POLLIN, 0};
        std::array<char, 4096> bytes{};
        ssize_t got = 0;
        if (::poll(&wait, 1, int(std::chrono::milliseconds(deadline).count())) != 1 ||
            (got = ::read(m_output.get(), bytes.data(), bytes.size())) <= 0)
            return {};
        m_buffer.append(bytes.data(), qsizetype(got));
    }
    const QByteArray line = m_buffer.left(end);
    m_buffer.remove(0, end + 1);
    return line;
}

int waitStatus(pid_t child) {
    int status = -1;
    EXPECT_TRUE(hasEnded(child));
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
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
