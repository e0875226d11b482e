// SPDX-License-Identifier: MIT
#pragma once

#include "tools/converter/Converter.h"

#include <QByteArray>
#include <array>
#include <cstdint>
#include <map>
#include <mutex>

namespace zr {

/// Counts what happens, and writes it as Prometheus reads it (text format 0.0.4). Any thread.
class Metrics {
public:
    /// A document became a PDF.
    void converted(double seconds);
    /// A request for a PDF was refused or failed, with a problem's code or "abandoned".
    void failed(const QByteArray &code);
    /// A request of any kind was answered.
    void answered(int status, qsizetype requestBytes, qsizetype answerBytes);

    struct Gauges {
        Converter::State converter;
        int inFlight = 0;
        int queueLimit = 0;
    };
    QByteArray text(const Gauges &gauges) const;

private:
    /// Upper bounds of the histogram, in seconds.
    static constexpr std::array bounds{0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0, 30.0, 60.0};

    mutable std::mutex m_mutex;
    std::array<std::uint64_t, bounds.size()> m_buckets{};
    std::uint64_t m_converted = 0;
    double m_seconds = 0;
    std::map<QByteArray, std::uint64_t> m_failures;
    std::map<int, std::uint64_t> m_answers;
    std::uint64_t m_requestBytes = 0;
    std::uint64_t m_answerBytes = 0;
};

} // namespace zr
