// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/Conversions.h"

#include "platform/base/NSException.h"

#include <algorithm>
#include <chrono>
#include <cmath>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

using Kind = Problem::Kind;
using Outcome = Converter::Outcome;

constexpr int readAtOnce = 2;
constexpr int longestRetry = 60;

Problem problemOf(const Converter::Answer &answer) {
    Kind kind = Kind::NotConvertible;
    if (answer.outcome == Outcome::Late)
        kind = Kind::Timeout;
    else if (answer.outcome == Outcome::Lost)
        kind = Kind::EngineLost;
    else if (answer.outcome == Outcome::Unavailable)
        kind = Kind::Unavailable;
    QString detail = answer.text();
    if (answer.outcome == Outcome::Late)
        detail.prepend(u"The document "_s);
    if (!detail.isEmpty())
        detail[0] = detail[0].toUpper();
    return {.kind = kind, .detail = detail + u'.', .cause = answer.cause};
}

} // namespace

Conversions::Conversions(Converter &converter, Metrics &metrics, Health &health,
                         const PDFRequest::Limits &limits, int queue)
    : m_converter(converter), m_metrics(metrics), m_health(health), m_limits(limits),
      m_capacity(converter.state().instances + queue) {
    m_reading.setMaxConcurrentOperationCount(readAtOnce);
}

Conversions::~Conversions() {
    m_reading.waitUntilAllOperationsAreFinished();
}

/// It is the server that has no room, for whoever asks. Still the answer is 429 and not 503: a balancer takes a server that
/// says 503 out of service, and the others get its load on top of theirs.
Problem Conversions::full() const {
    const Converter::State state = m_converter.state();
    // What takes so long with so many under way brings so many to their end in that time.
    const double wait = m_usualSeconds * double(state.waiting) / std::max(m_inFlight.load(), 1);
    const int seconds = std::clamp(int(std::ceil(wait)), 1, longestRetry);
    return {.kind = Kind::QueueFull,
            .detail =
                u"%1 documents are being converted or wait; there is room for no more."_s.arg(m_capacity),
            .header = {{"Retry-After", QByteArray::number(seconds)}}};
}

std::optional<Problem> Conversions::problemWithHead(const HTTPRequest &head) const {
    try {
        PDFRequest::checkHead(head, m_limits);
    } catch (const Problem &problem) {
        return problem;
    }
    return m_inFlight < m_capacity ? std::nullopt : std::optional(full());
}

void Conversions::convert(HTTPRequest request, Reply reply) {
    if (m_inFlight.fetch_add(1) >= m_capacity) {
        fail(request.id, full(), reply);
        return;
    }
    m_reading.addOperationWithBlock([this, request = std::move(request), reply = std::move(reply),
                                     began = Clock::now()] { start(request, began, reply); });
}

void Conversions::start(const HTTPRequest &request, Clock::time_point began, const Reply &reply) {
    if (request.abandoned.stop_requested()) {
        end(request.id, {.outcome = Outcome::Abandoned}, 0, reply);
        return;
    }
    try {
        PDFRequest asked = PDFRequest::read(request, m_limits);
        m_converter.convert(
            {.object = std::move(asked.task), .timeout = asked.timeout, .abandoned = request.abandoned},
            [this, id = request.id, began, reply](const Converter::Answer &answer) {
                end(id, answer, std::chrono::duration<double>(Clock::now() - began).count(), reply);
            });
    } catch (const Problem &problem) {
        fail(request.id, problem, reply);
    } catch (const NSException &exception) {
        fail(request.id, {.kind = Kind::InternalError, .detail = exception.description()}, reply);
    } catch (const std::exception &exception) {
        fail(request.id, {.kind = Kind::InternalError, .detail = QString::fromUtf8(exception.what())}, reply);
    }
}

void Conversions::end(const QByteArray &requestID, const Converter::Answer &answer, double seconds,
                      const Reply &reply) {
    if (answer.outcome == Outcome::Abandoned) {
        m_metrics.failed("abandoned");
        --m_inFlight;
        reply({.status = 503, .code = "abandoned"});
        return;
    }
    if (answer.outcome != Outcome::Done) {
        fail(requestID, problemOf(answer), reply);
        return;
    }
    m_metrics.converted(seconds);
    m_health.noteSuccess();
    m_usualSeconds = m_usualSeconds == 0 ? seconds : m_usualSeconds * 0.9 + seconds * 0.1;
    --m_inFlight;
    reply({.header = {{"Content-Type", "application/pdf"}}, .body = answer.pdf()});
}

void Conversions::fail(const QByteArray &requestID, const Problem &problem, const Reply &reply) {
    m_metrics.failed(problem.code());
    --m_inFlight;
    reply(problem.answer(requestID));
}
