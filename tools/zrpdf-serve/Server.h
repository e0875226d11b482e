// SPDX-License-Identifier: MIT
#pragma once

#include "tools/zrpdf-serve/BearerToken.h"
#include "tools/zrpdf-serve/Conversions.h"
#include "tools/zrpdf-serve/HTTPMessage.h"
#include "tools/zrpdf-serve/Health.h"
#include "tools/zrpdf-serve/Metrics.h"
#include "tools/zrpdf-serve/RequestLog.h"
#include "tools/zrpdf-serve/ServeOptions.h"

#include <atomic>
#include <optional>

namespace zr {

/// Knows the paths, who may ask, and what each is answered.
class Server : public HTTPHandler {
public:
    Server(const ServeOptions &options, std::optional<BearerToken> token, Converter &converter,
           RequestLog &log);

    /// From here on new requests are turned away.
    void beginStop();

    std::optional<HTTPAnswer> refuse(HTTPRequest &head) override;
    HTTPAnswer refuseBody(const HTTPRequest &head, bool isTooLong) override;
    void handle(HTTPRequest request, std::function<void(HTTPAnswer)> reply) override;
    void finished(const HTTPRequest &head, const HTTPAnswer *answer, qsizetype bodySize, double seconds,
                  bool isComplete) override;

private:
    struct Route;
    static const Route *routeOf(const QByteArray &path);
    std::optional<Problem> problemWith(const HTTPRequest &head) const;
    HTTPAnswer answerTo(const HTTPRequest &request, const Problem &problem) const;
    QByteArray metricsText() const;

    const ServeOptions m_options;
    const std::optional<BearerToken> m_token;
    Converter &m_converter;
    RequestLog &m_log;
    std::atomic<bool> m_isStopping = false;
    Metrics m_metrics;
    Health m_health;
    Conversions m_conversions;
};

} // namespace zr
