// SPDX-License-Identifier: MIT
#include "tests/tools/zrpdf/Child.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

void closeEnd(int &descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

/// Reads once; false at the end.
bool readSome(int descriptor, QByteArray &into) {
    std::array<char, 65536> part{};
    const ssize_t count = ::read(descriptor, part.data(), part.size());
    into.append(part.data(), std::max<ssize_t>(count, 0));
    return count > 0;
}

} // namespace

Child::Child(const Setup &setup) {
    std::array<int, 2> input{-1, -1};
    std::array<int, 2> output{-1, -1};
    std::array<int, 2> error{-1, -1};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0)
        std::abort();
    if (!setup.output.isNull()) {
        closeEnd(output[1]);
        output[1] = ::open(setup.output.constData(), O_WRONLY | O_CLOEXEC);
    }
    if (setup.terminal) {
        error[0] = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        const winsize size{24, 80, 0, 0};
        if (::grantpt(error[0]) != 0 || ::unlockpt(error[0]) != 0 ||
            ::ioctl(error[0], TIOCSWINSZ, &size) != 0)
            std::abort();
        error[1] = ::open(::ptsname(error[0]), O_RDWR | O_NOCTTY | O_CLOEXEC);
    } else if (::pipe2(error.data(), O_CLOEXEC) != 0) {
        std::abort();
    }

    std::vector<char *> arguments;
    for (const QByteArray &argument : setup.command)
        arguments.push_back(const_cast<char *>(argument.constData()));
    arguments.push_back(nullptr);
    m_pid = ::fork();
    if (m_pid == 0) {
        for (const QByteArray &variable : setup.environment)
            ::putenv(const_cast<char *>(variable.constData()));
        if (::chdir(setup.folder.constData()) != 0)
            ::_exit(126);
        ::dup2(input[0], 0);
        ::dup2(output[1], 1);
        ::dup2(error[1], 2);
        if (setup.prepare && !setup.prepare())
            ::_exit(126);
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    m_process = int(::syscall(SYS_pidfd_open, m_pid, 0));
    ::close(input[0]);
    closeEnd(output[1]);
    ::close(error[1]);
    m_input = input[1];
    m_outputEnd = output[0];
    m_errorEnd = error[0];
    if (!setup.keepsInput)
        closeInput();
}

Child::~Child() {
    if (!m_ended) {
        kill(SIGKILL);
        wait();
    }
    closeInput();
    closeEnd(m_outputEnd);
    closeEnd(m_errorEnd);
    closeEnd(m_process);
}

void Child::write(const QByteArray &input) {
    for (qsizetype done = 0; done < input.size();) {
        const ssize_t count = ::write(m_input, input.constData() + done, std::size_t(input.size() - done));
        if (count < 0 && errno != EINTR)
            return;
        done += std::max<ssize_t>(count, 0);
    }
}

void Child::closeInput() {
    closeEnd(m_input);
}

void Child::kill(int signal) const {
    ::kill(m_pid, signal);
}

/// Reads what is there, waits for more until then; false when the process has ended or time is up.
bool Child::pump(std::chrono::steady_clock::time_point until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
    std::array<pollfd, 3> ends{pollfd{m_outputEnd, POLLIN, 0}, pollfd{m_errorEnd, POLLIN, 0},
                               pollfd{m_process, POLLIN, 0}};
    if (left.count() <= 0 || ::poll(ends.data(), ends.size(), int(left.count())) <= 0)
        return false;
    if (ends[0].revents && !readSome(m_outputEnd, m_output))
        closeEnd(m_outputEnd);
    if (ends[1].revents && !readSome(m_errorEnd, m_error))
        closeEnd(m_errorEnd);
    return !ends[2].revents;
}

int Child::wait(std::chrono::milliseconds time) {
    if (m_ended)
        return m_code;
    const auto until = std::chrono::steady_clock::now() + time;
    while (pump(until))
        continue;
    kill(SIGKILL);
    int status = 0;
    while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR)
        continue;
    m_ended = true;
    m_code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    // What it wrote last may still be in the pipes; a process that it left behind may hold them open.
    for (int *end : {&m_outputEnd, &m_errorEnd}) {
        QByteArray &into = end == &m_outputEnd ? m_output : m_error;
        pollfd poll{*end, POLLIN, 0};
        while (*end >= 0 && ::poll(&poll, 1, 0) > 0 && readSome(*end, into))
            continue;
    }
    return m_code;
}

bool Child::readUntil(const std::function<bool()> &condition, std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        const auto step = std::chrono::steady_clock::now() + std::chrono::milliseconds(5);
        if (std::chrono::steady_clock::now() >= until)
            return false;
        pump(std::min(until, step));
        if (pollfd poll{m_process, POLLIN, 0}; ::poll(&poll, 1, 0) > 0)
            return condition();
    }
    return true;
}

QList<pid_t> Child::children() const {
    QList<pid_t> found;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(m_pid);
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(tasks + u'/' + task + QStringLiteral("/children"));
        if (file.open(QIODevice::ReadOnly))
            for (const QByteArray &pid : file.readAll().simplified().split(' '))
                if (!pid.isEmpty())
                    found.append(pid.toInt());
    }
    return found;
}
