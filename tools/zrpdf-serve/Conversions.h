// SPDX-License-Identifier: MIT
#pragma once

#include "platform/operations/NSOperationQueue.h"
#include "tools/converter/Converter.h"
#include "tools/zrpdf-serve/HTTPMessage.h"
#include "tools/zrpdf-serve/Health.h"
#include "tools/zrpdf-serve/Metrics.h"
#include "tools/zrpdf-serve/PDFRequest.h"
#include "tools/zrpdf-serve/Problem.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

namespace zr {

/// Has requests for PDFs converted, as long as there is room for them. Any thread; bodies are taken apart on other
/// threads, which the door's threads don't wait for.
class Conversions {
public:
    using Reply = std::function<void(HTTPAnswer)>;

    /// \param queue  how many may wait besides those that are worked on
    Conversions(Converter &converter, Metrics &metrics, Health &health, const PDFRequest::Limits &limits,
                int queue);
    /// Waits for those that are being taken apart.
    ~Conversions();

    /// What is known to be wrong with a request whose body hasn't come: with its options, or that there is no room.
    std::optional<Problem> problemWithHead(const HTTPRequest &head) const;
    void convert(HTTPRequest request, Reply reply);

    int inFlight() const { return m_inFlight; }

private:
    using Clock = std::chrono::steady_clock;

    Problem full() const;
    void start(const HTTPRequest &request, Clock::time_point began, const Reply &reply);
    void end(const QByteArray &requestID, const Converter::Answer &answer, double seconds,
             const Reply &reply);
    void fail(const QByteArray &requestID, const Problem &problem, const Reply &reply);

    Converter &m_converter;
    Metrics &m_metrics;
    Health &m_health;
    const PDFRequest::Limits m_limits;
    const int m_capacity;
    std::atomic<int> m_inFlight = 0;
    /// What a conversion takes, waiting included, the last ones counting most; in seconds.
    std::atomic<double> m_usualSeconds = 0;
    NSOperationQueue m_reading;
};

} // namespace zr
