// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/Server.h"

#include "platform/base/ASCII.h"
#include "tools/zrpdf-serve/ListenAddress.h"
#include "tools/zrpdf-serve/OpenAPI.h"

#include <QUuid>
#include <algorithm>
#include <array>

using namespace zr;
using namespace Qt::StringLiterals;

using Kind = Problem::Kind;

/// A path and the methods that it knows.
struct Server::Route {
    enum class Place { PDF, Health, Metrics, Description };
    const char *path;
    Place place;
    const char *allowed;
};

namespace {

constexpr qsizetype longestID = 128;

bool isWellFormedID(const QByteArray &id) {
    return !id.isEmpty() && id.size() <= longestID && std::all_of(id.begin(), id.end(), [](char c) {
        return isASCIILetter(uchar(c)) || isASCIIDigit(uchar(c)) || QByteArrayView("-._~+/=:").contains(c);
    });
}

/// Whether the host of a Host field is this machine, by number or by its name everywhere.
bool isThisMachine(const QByteArray &host) {
    const QByteArray name =
        (host.endsWith(']') || !host.contains(':') ? host : host.left(host.lastIndexOf(':'))).toLower();
    QByteArray problem;
    const auto address = ListenAddress::read(name + ":1", &problem);
    return address && !address->isPath() && address->isLocal();
}

/// What a browser adds, and nobody can make it leave out, shows when a web page of somebody else's is behind a request;
/// a name of its own that leads here, when such a page wants to read the answer.
bool isFromForeignPage(const HTTPRequest &head) {
    const QByteArray host = head.field("host");
    const QByteArray origin = head.field("origin");
    return (!host.isEmpty() && !isThisMachine(host)) || (!origin.isNull() && origin != "http://" + host);
}

/// Two servers in a row that see different ends of a body take part of it for another request.
bool hasDoubtfulLength(const HTTPRequest &head) {
    return head.count("content-length") > 1 || head.count("transfer-encoding") > 1 ||
           (head.count("content-length") > 0 && head.count("transfer-encoding") > 0);
}

} // namespace

Server::Server(const ServeOptions &options, std::optional<BearerToken> token, Converter &converter,
               RequestLog &log)
    : m_options(options), m_token(std::move(token)), m_converter(converter), m_log(log),
      m_health(converter, options.network, options.timeout),
      m_conversions(converter, m_metrics, m_health, {options.timeout, options.network}, options.queue) {
}

void Server::beginStop() {
    m_isStopping = true;
    m_health.beginStop();
}

const Server::Route *Server::routeOf(const QByteArray &path) {
    using Place = Route::Place;
    static constexpr std::array routes{
        Route{"/v1/pdf", Place::PDF, "POST, OPTIONS"},
        Route{"/health", Place::Health, "GET, HEAD, OPTIONS"},
        Route{"/metrics", Place::Metrics, "GET, HEAD, OPTIONS"},
        Route{"/openapi.json", Place::Description, "GET, HEAD, OPTIONS"},
    };
    const auto *const found =
        std::find_if(routes.begin(), routes.end(), [&](const Route &route) { return path == route.path; });
    return found == routes.end() ? nullptr : found;
}

std::optional<Problem> Server::problemWith(const HTTPRequest &head) const {
    const Route *const route = routeOf(head.path);
    const bool isForPDF = route && route->place == Route::Place::PDF;
    if (hasDoubtfulLength(head))
        return Problem{.kind = Kind::BadRequest, .detail = u"The length of the body is given twice."_s};
    if (!m_token && head.isFromBrowsersReach && isFromForeignPage(head))
        return Problem{.kind = Kind::ForeignOrigin,
                       .detail = u"Web pages may not use this server, nor may it be called by another name, "
                                 "unless a token is asked for."_s};
    if (m_token && !(route && route->place == Route::Place::Health) &&
        !m_token->isShownBy(head.field("authorization")))
        return Problem{.kind = Kind::Unauthorized,
                       .detail = head.field("authorization").isNull()
                                     ? u"There is no token in Authorization."_s
                                     : u"The token is not the right one."_s,
                       .header = {{"WWW-Authenticate",
                                   head.field("authorization").isNull()
                                       ? QByteArray("Bearer realm=\"zrpdf\"")
                                       : QByteArray("Bearer realm=\"zrpdf\", error=\"invalid_token\"")}}};
    if (!route)
        return Problem{.kind = Kind::NotFound, .detail = u"There is nothing at this path."_s};
    if (!QString::fromLatin1(route->allowed).split(u", "_s).contains(QString::fromLatin1(head.method)))
        return Problem{.kind = Kind::MethodNotAllowed,
                       .detail = u"This path knows the methods %1."_s.arg(QLatin1StringView(route->allowed)),
                       .header = {{"Allow", route->allowed}}};
    if (!isForPDF || head.method == "OPTIONS") {
        const bool hasBody =
            head.field("content-length").toLongLong() != 0 || head.count("transfer-encoding") > 0;
        return hasBody ? std::optional(Problem{.kind = Kind::BadRequest,
                                               .detail = u"This request has a body, and takes none."_s})
                       : std::nullopt;
    }
    if (m_isStopping)
        return Problem{
            .kind = Kind::Stopping, .detail = u"The server is stopping."_s, .header = {{"Retry-After", "1"}}};
    if (head.field("content-length").toLongLong() > m_options.maxBody)
        return Problem{.kind = Kind::TooLarge,
                       .detail = u"The body is larger than %1 bytes."_s.arg(m_options.maxBody)};
    return m_conversions.problemWithHead(head);
}

HTTPAnswer Server::answerTo(const HTTPRequest &request, const Problem &problem) const {
    HTTPAnswer answer = problem.answer(request.id);
    answer.header.append(HTTPField("X-Request-Id", request.id));
    answer.header.append(HTTPField("Cache-Control", "no-store"));
    return answer;
}

std::optional<HTTPAnswer> Server::refuse(HTTPRequest &head) {
    head.id = head.field("x-request-id");
    if (!isWellFormedID(head.id))
        head.id = QUuid::createUuid().toByteArray(QUuid::Id128);
    const auto problem = problemWith(head);
    if (!problem)
        return {};
    if (head.path == "/v1/pdf")
        m_metrics.failed(problem->code());
    return answerTo(head, *problem);
}

HTTPAnswer Server::refuseBody(const HTTPRequest &head, bool isTooLong) {
    const Problem problem =
        isTooLong ? Problem{.kind = Kind::TooLarge,
                            .detail = u"The body is larger than %1 bytes."_s.arg(m_options.maxBody)}
                  : Problem{.kind = Kind::UploadsFull,
                            .detail = u"Too many large bodies are being sent at once."_s,
                            .header = {{"Retry-After", "1"}}};
    if (head.path == "/v1/pdf")
        m_metrics.failed(problem.code());
    return answerTo(head, problem);
}

void Server::handle(HTTPRequest request, std::function<void(HTTPAnswer)> reply) {
    const auto send = [id = request.id, reply = std::move(reply)](HTTPAnswer answer) {
        answer.header.append(HTTPField("X-Request-Id", id));
        answer.header.append(HTTPField("Cache-Control", "no-store"));
        answer.header.append(HTTPField("X-Content-Type-Options", "nosniff"));
        reply(std::move(answer));
    };
    const Route &route = *routeOf(request.path);
    if (request.method == "OPTIONS") {
        send({.status = 204, .header = {{"Allow", route.allowed}}});
        return;
    }
    switch (route.place) {
    case Route::Place::PDF:
        m_conversions.convert(std::move(request), send);
        return;
    case Route::Place::Health:
        m_health.check([send, id = request.id](const QString &fault) {
            if (fault.isNull())
                send({.header = {{"Content-Type", "application/json"}}, .body = "{\"status\":\"ok\"}\n"});
            else
                send(Problem{.kind = Kind::Unhealthy, .detail = fault}.answer(id));
        });
        return;
    case Route::Place::Metrics:
        send({.header = {{"Content-Type", "text/plain; version=0.0.4; charset=utf-8"}},
              .body = metricsText()});
        return;
    case Route::Place::Description:
        send({.header = {{"Content-Type", "application/json"}}, .body = openAPIText()});
        return;
    }
}

QByteArray Server::metricsText() const {
    return m_metrics.text({.converter = m_converter.state(),
                           .inFlight = m_conversions.inFlight(),
                           .queueLimit = m_options.queue});
}

void Server::finished(const HTTPRequest &head, const HTTPAnswer *answer, qsizetype bodySize, double seconds,
                      bool isComplete) {
    const qsizetype sent = answer && head.method != "HEAD" ? answer->body.size() : 0;
    if (answer)
        m_metrics.answered(answer->status, bodySize, sent);
    const bool hasCode = answer && !answer->code.isEmpty();
    m_log.write(answer ? u"request"_s : u"request without an answer"_s,
                {{"id", QString::fromLatin1(head.id)},
                 {"method", QString::fromLatin1(head.method)},
                 {"path", QString::fromUtf8(head.path.left(200))},
                 {"status", answer ? QVariant(answer->status) : QVariant()},
                 {"code", hasCode ? QVariant(QString::fromLatin1(answer->code)) : QVariant()},
                 {"received", bodySize},
                 {"sent", sent},
                 {"seconds", seconds},
                 {"closed_by_client", isComplete ? QVariant() : QVariant(true)}});
}
