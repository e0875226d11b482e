// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <chrono>
#include <functional>
#include <ostream>
#include <sys/types.h>

/// Makes failed comparisons readable.
inline void PrintTo(const QByteArray &bytes, std::ostream *stream) {
    *stream << '"' << bytes.toStdString() << '"';
}

/// A program that a test runs, with its standard streams in the test's hands.
class Child {
public:
    struct Setup {
        QList<QByteArray> command;
        QByteArray folder;             ///< where it starts
        QList<QByteArray> environment; ///< NAME=VALUE, added to the test's own
        bool terminal = false;         ///< standard error is a terminal of 80 columns
        bool keepsInput = false;       ///< standard input stays open until closeInput()
        QByteArray output;             ///< the file that standard output goes to; null for the test
        std::function<bool()> prepare; ///< runs in the new process before the program does
    };

    explicit Child(const Setup &setup);
    /// Kills and reaps what still runs.
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    pid_t pid() const { return m_pid; }
    void write(const QByteArray &input);
    void closeInput();
    void kill(int signal) const;
    /// Waits for its end, kills it after the time; answers the exit code, or minus the signal that ended it.
    int wait(std::chrono::milliseconds time = std::chrono::seconds(60));
    /// Reads what it writes until the condition holds; false where it ended or the time is up before.
    bool readUntil(const std::function<bool()> &condition,
                   std::chrono::milliseconds time = std::chrono::seconds(30));

    /// What it has written so far.
    const QByteArray &standardOutput() const { return m_output; }
    const QByteArray &standardError() const { return m_error; }

    /// Its child processes now.
    QList<pid_t> children() const;

private:
    bool pump(std::chrono::steady_clock::time_point until);

    pid_t m_pid = -1;
    int m_process = -1;
    int m_input = -1;
    int m_outputEnd = -1;
    int m_errorEnd = -1;
    bool m_ended = false;
    int m_code = 0;
    QByteArray m_output;
    QByteArray m_error;
};
