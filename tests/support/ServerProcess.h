// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <csignal>
#include <optional>
#include <sys/types.h>

/// A program that runs until this is destroyed, or until the thread that started it ends, however that
/// happens. Started without copying this process: a child that shares its memory for a moment, as QProcess
/// has it, confuses the thread sanitizer.
class ServerProcess {
public:
    ServerProcess() = default;
    ~ServerProcess() { end(); }
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    /// Ends what runs, then starts the program. Throws std::runtime_error.
    /// \param output  the file that takes both outputs
    void start(const QString &program, const QStringList &arguments, const QString &output);
    /// Its exit code once it has ended, negative for the signal that ended it.
    std::optional<int> exitCode();
    int waitUntilItEnds();
    /// Ends it by a signal and waits.
    void end(int signal = SIGKILL);
    /// Sends it a signal if it still runs.
    void signal(int number) const;
    pid_t processIdentifier() const { return m_pid; }
    /// What it has said so far.
    QByteArray said() const;

private:
    std::optional<int> wait(int options);

    pid_t m_pid = 0;
    std::optional<int> m_exitCode;
    QString m_output;
};
