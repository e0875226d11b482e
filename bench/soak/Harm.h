// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <chrono>
#include <deque>
#include <mutex>
#include <random>
#include <thread>

/// Does harm to services, again and again, always in the same order for a seed: kills the service, its keeper, its browser
/// and its renderers, stops them for a while, takes the room for files away, and has their clock jump.
class Harm {
public:
    using Clock = std::chrono::steady_clock;

    /// \param services   the instances' names; they are this process's own
    /// \param every      the mean time between two harms
    /// \param clockFile  what tells the services the time
    Harm(unsigned seed, QStringList services, std::chrono::milliseconds every, QString clockFile);
    ~Harm() { stop(); }
    Harm(const Harm &) = delete;
    Harm &operator=(const Harm &) = delete;

    /// Does no more harm; what was done is still known.
    void stop();

    /// Whether something that costs a service its document was done between two moments.
    bool excuses(Clock::time_point from, Clock::time_point to) const;
    /// The last such harm before a moment, for people.
    QString last(Clock::time_point before) const;
    int count() const;
    /// What was done how often, in one line.
    QString summary() const;

private:
    enum class Kind {
        KillService,
        KillKeeper,
        KillBrowser,
        KillRenderer,
        Terminate,
        Stop,
        StopBrowser,
        NoRoom,
        Jump
    };
    static constexpr int kinds = 9;
    void run(const std::stop_token &stop);
    bool harm(Kind kind, pid_t service);

    const QStringList m_services;
    const std::chrono::milliseconds m_every;
    const QString m_clockFile;
    std::mt19937 m_random;
    mutable std::mutex m_mutex;
    std::array<int, kinds> m_counts{};
    struct Span {
        Kind kind;
        Clock::time_point from, to;
    };
    std::deque<Span> m_spans;
    std::jthread m_thread;
};
