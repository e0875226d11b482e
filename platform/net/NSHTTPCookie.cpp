// SPDX-License-Identifier: MIT
#include "platform/net/NSHTTPCookie.h"

#include "platform/net/HTTPHeaderFields.h"

#include <QNetworkCookieJar>
#include <algorithm>

using namespace zr;

namespace {

constexpr qsizetype longestPair = 4096;
constexpr qint64 longestAge = 100LL * 366 * 24 * 3600;

/// Makes a check of Qt's reachable: whether a URL's host may set a cookie for a domain, which no public
/// suffix is.
class Jar : public QNetworkCookieJar {
public:
    using QNetworkCookieJar::validateCookie;
};

/// RFC 6265, 5.1.4.
QString defaultPath(const QUrl &url) {
    const QString path = url.path(QUrl::FullyEncoded);
    const qsizetype last = path.lastIndexOf(u'/');
    return last <= 0 || !path.startsWith(u'/') ? QStringLiteral("/") : path.left(last);
}

/// Max-Age goes before Expires, which Qt has only if it comes last, and may go beyond Qt's 68 years.
QDateTime dateOfMaxAge(const QString &line) {
    QDateTime date;
    const QStringList attributes = line.split(u';').mid(1);
    for (const QString &attribute : attributes) {
        bool isNumber = false;
        const qint64 seconds = attribute.section(u'=', 1).trimmed().toLongLong(&isNumber);
        if (isNumber && attribute.section(u'=', 0, 0).trimmed().compare(u"max-age", Qt::CaseInsensitive) == 0)
            date = seconds <= 0 ? QDateTime::fromSecsSinceEpoch(0, Qt::UTC)
                                : QDateTime::currentDateTimeUtc().addSecs(std::min(seconds, longestAge));
    }
    return date;
}

/// Whether a cookie's name and "=" stand at this place.
bool beginsCookie(QStringView text) {
    text = text.trimmed();
    const auto end = std::find_if(text.begin(), text.end(),
                                  [](QChar c) { return c == u'=' || c == u';' || c == u',' || c.isSpace(); });
    return end != text.begin() && end != text.end() && *end == u'=';
}

} // namespace

NSHTTPCookie::NSHTTPCookie(const QString &name, const QString &value, const QString &host)
    : m_cookie(name.toUtf8(), value.toUtf8()) {
    m_cookie.setDomain(host.toLower());
    m_cookie.setPath(QStringLiteral("/"));
}

NSHTTPCookie NSHTTPCookie::cookieWithHeaderLine(const QString &line, const QUrl &url) {
    const bool hasControls = std::any_of(
        line.begin(), line.end(), [](QChar c) { return (c < u' ' && c != u'\t') || c == QChar(0x7F); });
    const QList<QNetworkCookie> parsed = QNetworkCookie::parseCookies(line.toUtf8());
    if (hasControls || line.section(u';', 0, 0).size() > longestPair || url.host().isEmpty() ||
        parsed.size() != 1)
        return {};
    QNetworkCookie cookie = parsed.first();
    if (cookie.path().isEmpty())
        cookie.setPath(defaultPath(url));
    if (const QDateTime maxAge = dateOfMaxAge(line); maxAge.isValid())
        cookie.setExpirationDate(maxAge);
    cookie.normalize(url);
    return Jar().validateCookie(cookie, url) ? NSHTTPCookie(cookie) : NSHTTPCookie();
}

QList<NSHTTPCookie> NSHTTPCookie::cookiesWithResponseHeaderFields(const QVariantMap &headerFields,
                                                                  const QUrl &url) {
    const QString field = HTTPHeaderFields::value(headerFields, QStringLiteral("Set-Cookie"));
    QList<NSHTTPCookie> cookies;
    qsizetype begin = 0;
    const auto take = [&](qsizetype end) {
        NSHTTPCookie cookie = cookieWithHeaderLine(field.mid(begin, end - begin), url);
        if (!cookie.isNil())
            cookies.append(std::move(cookie));
        begin = end + 1;
    };
    for (qsizetype comma = field.indexOf(u','); comma >= 0; comma = field.indexOf(u',', comma + 1))
        if (beginsCookie(QStringView(field).sliced(
                comma + 1, std::min<qsizetype>(field.size() - comma - 1, longestPair))))
            take(comma);
    take(field.size());
    return cookies;
}

QVariantMap NSHTTPCookie::requestHeaderFieldsWithCookies(const QList<NSHTTPCookie> &cookies) {
    QStringList pairs;
    for (const NSHTTPCookie &cookie : cookies)
        if (!cookie.isNil())
            pairs.append(cookie.name() + u'=' + cookie.value());
    if (pairs.isEmpty())
        return {};
    return {{QStringLiteral("Cookie"), pairs.join(QStringLiteral("; "))}};
}
