// SPDX-License-Identifier: MIT
#include "platform/net/NSURLResponse.h"

#include "platform/net/HTTPHeaderFields.h"

#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <utility>

using namespace zr;

namespace {

/// The registered statuses (RFC 9110, RFC 6585, RFC 7725 and others).
constexpr std::array phrases = {
    std::pair(100, "continue"),
    std::pair(101, "switching protocols"),
    std::pair(102, "processing"),
    std::pair(103, "early hints"),
    std::pair(200, "no error"),
    std::pair(201, "created"),
    std::pair(202, "accepted"),
    std::pair(203, "non-authoritative information"),
    std::pair(204, "no content"),
    std::pair(205, "reset content"),
    std::pair(206, "partial content"),
    std::pair(207, "multi-status"),
    std::pair(208, "already reported"),
    std::pair(226, "im used"),
    std::pair(300, "multiple choices"),
    std::pair(301, "moved permanently"),
    std::pair(302, "found"),
    std::pair(303, "see other"),
    std::pair(304, "not modified"),
    std::pair(305, "needs proxy"),
    std::pair(307, "temporarily redirected"),
    std::pair(308, "permanently redirected"),
    std::pair(400, "bad request"),
    std::pair(401, "unauthorized"),
    std::pair(402, "payment required"),
    std::pair(403, "forbidden"),
    std::pair(404, "not found"),
    std::pair(405, "method not allowed"),
    std::pair(406, "unacceptable"),
    std::pair(407, "proxy authentication required"),
    std::pair(408, "request timed out"),
    std::pair(409, "conflict"),
    std::pair(410, "no longer exists"),
    std::pair(411, "length required"),
    std::pair(412, "precondition failed"),
    std::pair(413, "request too large"),
    std::pair(414, "requested URL too long"),
    std::pair(415, "unsupported media type"),
    std::pair(416, "requested range not satisfiable"),
    std::pair(417, "expectation failed"),
    std::pair(421, "misdirected request"),
    std::pair(422, "unprocessable content"),
    std::pair(423, "locked"),
    std::pair(424, "failed dependency"),
    std::pair(425, "too early"),
    std::pair(426, "upgrade required"),
    std::pair(428, "precondition required"),
    std::pair(429, "too many requests"),
    std::pair(431, "request header fields too large"),
    std::pair(451, "unavailable for legal reasons"),
    std::pair(500, "internal server error"),
    std::pair(501, "unimplemented"),
    std::pair(502, "bad gateway"),
    std::pair(503, "service unavailable"),
    std::pair(504, "gateway timed out"),
    std::pair(505, "unsupported version"),
    std::pair(506, "variant also negotiates"),
    std::pair(507, "insufficient storage"),
    std::pair(508, "loop detected"),
    std::pair(511, "network authentication required"),
};

constexpr std::array classes = {"informational", "success", "redirected", "client error", "server error"};

} // namespace

NSHTTPURLResponse::NSHTTPURLResponse(const QUrl &url, qint64 statusCode, const QVariantMap &headerFields)
    : NSURLResponse(url, HTTPHeaderFields::mediaType(headerFields),
                    HTTPHeaderFields::bodyLength(headerFields), HTTPHeaderFields::characterSet(headerFields)),
      m_statusCode(statusCode), m_headerFields(headerFields) {
}

QString NSHTTPURLResponse::valueForHTTPHeaderField(const QString &field) const {
    return HTTPHeaderFields::value(m_headerFields, field);
}

QString NSHTTPURLResponse::localizedStringForStatusCode(qint64 statusCode) {
    const auto at = std::find_if(phrases.begin(), phrases.end(),
                                 [&](const auto &entry) { return entry.first == statusCode; });
    const char *phrase = at != phrases.end()                     ? at->second
                         : statusCode >= 100 && statusCode < 600 ? classes[size_t(statusCode / 100 - 1)]
                                                                 : classes.back();
    return QCoreApplication::translate("NSHTTPURLResponse", phrase);
}
