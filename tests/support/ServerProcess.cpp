// SPDX-License-Identifier: MIT
#include "tests/support/ServerProcess.h"

#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

void ServerProcess::start(const QString &program, const QStringList &arguments, const QString &output) {
    end();
    m_output = output;
    m_exitCode.reset();
    std::vector<QByteArray> words{"setpriv", "--pdeathsig", "KILL", "--", QFile::encodeName(program)};
    for (const QString &argument : arguments)
        words.push_back(argument.toLocal8Bit());
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, QFile::encodeName(output).constData(),
                                       O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    const int failure = ::posix_spawnp(&m_pid, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (failure) {
        m_pid = 0;
        throw std::system_error(failure, std::generic_category(), words[4].toStdString());
    }
}

std::optional<int> ServerProcess::wait(int options) {
    if (m_pid <= 0)
        return m_exitCode;
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(m_pid, &status, options)) < 0 && errno == EINTR) {
    }
    if (ended != m_pid)
        return std::nullopt;
    m_pid = 0;
    m_exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return m_exitCode;
}

std::optional<int> ServerProcess::exitCode() {
    return wait(WNOHANG);
}

int ServerProcess::waitUntilItEnds() {
    return wait(0).value_or(-1);
}

void ServerProcess::end(int signal) {
    if (m_pid > 0)
        ::kill(m_pid, signal);
    wait(0);
}

void ServerProcess::signal(int number) const {
    if (m_pid > 0)
        ::kill(m_pid, number);
}

QByteArray ServerProcess::said() const {
    QFile file(m_output);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
