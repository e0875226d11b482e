// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/Converter.h"

#include <QString>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zr {

/// Whether conversions work. What real ones have shown lately counts; without them a tiny document is converted, one at a
/// time for all who ask. Any thread.
class Health {
public:
    explicit Health(Converter &converter);
    ~Health();
    Health(const Health &) = delete;
    Health &operator=(const Health &) = delete;

    /// A conversion has worked just now.
    void noteSuccess();
    /// Tells what is wrong, nil if nothing is; on any thread, during the call or later.
    void check(const std::function<void(const QString &fault)> &tell);

private:
    using Clock = std::chrono::steady_clock;

    void run();
    QString tryOut();

    Converter &m_converter;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::function<void(const QString &)>> m_asking;
    std::optional<Clock::time_point> m_worked;
    std::optional<Clock::time_point> m_failed;
    QString m_fault;
    bool m_isOver = false;
    std::thread m_thread;
};

} // namespace zr
