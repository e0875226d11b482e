// SPDX-License-Identifier: MIT
#include "tools/zrpdf-serve/Problem.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <array>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

struct Row {
    int status;
    const char *code;
};

/// In the order of the kinds.
constexpr std::array<Row, 25> rows{{
    {400, "bad-request"},
    {400, "unknown-option"},
    {400, "bad-option"},
    {400, "repeated-option"},
    {400, "bad-form"},
    {400, "bad-url"},
    {400, "no-document"},
    {401, "unauthorized"},
    {403, "network-not-allowed"},
    {403, "timeout-not-allowed"},
    {403, "foreign-origin"},
    {404, "not-found"},
    {405, "method-not-allowed"},
    {413, "too-large"},
    {415, "unsupported-type"},
    {415, "unsupported-coding"},
    {422, "not-convertible"},
    {429, "queue-full"},
    {429, "uploads-full"},
    {500, "internal-error"},
    {502, "engine-lost"},
    {503, "unavailable"},
    {503, "stopping"},
    {503, "unhealthy"},
    {504, "timeout"},
}};
static_assert(rows.size() == std::size_t(Problem::Kind::Timeout) + 1);

constexpr auto allCodes = [] {
    std::array<const char *, rows.size()> codes{};
    for (std::size_t index = 0; index < rows.size(); ++index)
        codes[index] = rows[index].code;
    return codes;
}();

QString titleOf(int status) {
    switch (status) {
    case 400:
        return u"Bad Request"_s;
    case 401:
        return u"Unauthorized"_s;
    case 403:
        return u"Forbidden"_s;
    case 404:
        return u"Not Found"_s;
    case 405:
        return u"Method Not Allowed"_s;
    case 413:
        return u"Content Too Large"_s;
    case 415:
        return u"Unsupported Media Type"_s;
    case 422:
        return u"Unprocessable Content"_s;
    case 429:
        return u"Too Many Requests"_s;
    case 502:
        return u"Bad Gateway"_s;
    case 503:
        return u"Service Unavailable"_s;
    case 504:
        return u"Gateway Timeout"_s;
    default:
        return u"Internal Server Error"_s;
    }
}

} // namespace

std::span<const char *const> Problem::codes() {
    return allCodes;
}

int Problem::status() const {
    return rows[std::size_t(kind)].status;
}

QByteArray Problem::code() const {
    return rows[std::size_t(kind)].code;
}

HTTPAnswer Problem::answer(const QByteArray &requestID) const {
    // The type is about:blank, the default: the title is then the status's own, and "code" tells kinds apart.
    QJsonObject document{{u"title"_s, titleOf(status())},
                         {u"status"_s, status()},
                         {u"code"_s, QString::fromLatin1(code())},
                         {u"detail"_s, detail},
                         {u"request_id"_s, QString::fromLatin1(requestID)}};
    if (!cause.isNull())
        document.insert(u"cause"_s, cause);
    HTTPAnswer answer;
    answer.status = status();
    answer.header = header;
    answer.header.append(HTTPField("Content-Type", "application/problem+json"));
    answer.body = QJsonDocument(document).toJson(QJsonDocument::Compact) + '\n';
    answer.code = code();
    return answer;
}
