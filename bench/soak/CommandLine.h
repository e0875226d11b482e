// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <mutex>
#include <random>
#include <thread>

/// Runs zrpdf again and again: with room, onto a full device, where no file may grow, interrupted, and killed. Looks at its exit
/// code and at what it leaves.
class CommandLine {
public:
    CommandLine(unsigned seed, QString sources, QString program);
    ~CommandLine();
    CommandLine(const CommandLine &) = delete;
    CommandLine &operator=(const CommandLine &) = delete;

    int rounds() const;
    QStringList complaints() const;

private:
    void run(const std::stop_token &stop);
    QString round(int number);

    const QString m_sources, m_program;
    QTemporaryDir m_folder;
    std::mt19937 m_random;
    mutable std::mutex m_mutex;
    int m_rounds = 0;
    QStringList m_complaints;
    std::jthread m_thread;
};
