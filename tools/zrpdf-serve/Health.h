// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/Converter.h"

#include <QString>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

namespace zr {

/// Whether conversions work. What real ones have shown lately counts; without them a tiny document is converted, one at a
/// time for all who ask. Any thread.
class Health {
public:
    /// \param network  what documents may reach
    /// \param longest  what a document may take; a converter that is busy for so long is not broken
    Health(Converter &converter, NetworkMode network, std::chrono::milliseconds longest);
    ~Health();
    Health(const Health &) = delete;
    Health &operator=(const Health &) = delete;

    /// A conversion has worked just now.
    void noteSuccess();
    /// From here on the fault is that the server stops, also for those who wait for an answer.
    void beginStop();
    /// Tells what is wrong, nil if nothing is; on any thread, during the call or later.
    void check(const std::function<void(const QString &fault)> &tell);

private:
    using Clock = std::chrono::steady_clock;

    void run();
    std::optional<QString> tryOut(const std::stop_source &enough);
    bool isOnlyBusy(const Converter::State &state);

    Converter &m_converter;
    const NetworkMode m_network;
    const std::chrono::milliseconds m_longest;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::function<void(const QString &)>> m_asking;
    std::optional<Clock::time_point> m_worked;
    std::optional<Clock::time_point> m_failed;
    QString m_fault;
    bool m_isStopping = false;
    bool m_isOver = false;
    std::stop_source m_enough; ///< ends the trial that is going on
    std::thread m_thread;
};

} // namespace zr
