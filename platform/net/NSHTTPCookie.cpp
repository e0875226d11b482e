// SPDX-License-Identifier: MIT
#include "platform/net/NSHTTPCookie.h"

#include "platform/net/HTTPHeaderFields.h"

#include <QHostAddress>
#include <QNetworkCookie>
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

QString hostOf(const QUrl &url) {
    return url.host(QUrl::FullyEncoded).toLower();
}

bool isAddress(const QString &host) {
    return !QHostAddress(host).isNull();
}

/// RFC 6265, 5.1.3; both in small letters.
bool domainMatches(const QString &host, const QString &domain) {
    return host == domain || (host.endsWith(u'.' + domain) && !isAddress(host));
}

QString pathOf(const QUrl &url) {
    const QString path = url.path(QUrl::FullyEncoded);
    return path.startsWith(u'/') ? path : QStringLiteral("/");
}

/// RFC 6265, 5.1.4.
QString defaultPath(const QUrl &url) {
    const QString path = pathOf(url);
    const qsizetype last = path.lastIndexOf(u'/');
    return last <= 0 ? QStringLiteral("/") : path.left(last);
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
    : m_name(name), m_value(value), m_domain(host.isNull() ? QStringLiteral("") : host.toLower()),
      m_path(QStringLiteral("/")) {
}

bool NSHTTPCookie::matches(const QUrl &url) const {
    const QString host = hostOf(url);
    if (isNil() || host.isEmpty())
        return false;
    if (m_domain.startsWith(u'.') ? !domainMatches(host, m_domain.sliced(1)) : host != m_domain)
        return false;
    if (m_secure && url.scheme() != u"https")
        return false;
    const QString path = pathOf(url);
    return path.startsWith(m_path) &&
           (path.size() == m_path.size() || m_path.endsWith(u'/') || path.at(m_path.size()) == u'/');
}

NSHTTPCookie NSHTTPCookie::cookieWithHeaderLine(const QString &line, const QUrl &url) {
    const QString host = hostOf(url);
    const QString pair = line.section(u';', 0, 0);
    const bool hasControls = std::any_of(
        line.begin(), line.end(), [](QChar c) { return (c < u' ' && c != u'\t') || c == QChar(0x7F); });
    if (hasControls || pair.size() > longestPair || host.isEmpty())
        return {};
    const QList<QNetworkCookie> parsed = QNetworkCookie::parseCookies(line.toUtf8());
    if (parsed.size() != 1)
        return {};
    QNetworkCookie cookie = parsed.first();
    if (cookie.path().isEmpty())
        cookie.setPath(defaultPath(url));
    cookie.normalize(url);
    const bool isForHostsBelow = cookie.domain().startsWith(u'.');
    const QString name = cookie.domain().sliced(isForHostsBelow ? 1 : 0);
    // Qt gives names of other scripts as people read them.
    const QByteArray encoded = QUrl::toAce(name);
    const QString domain = encoded.isEmpty() ? name : QString::fromLatin1(encoded);
    if (!domainMatches(host, domain) || !Jar().validateCookie(cookie, url))
        return {};
    NSHTTPCookie result(QString::fromUtf8(cookie.name()), QString::fromUtf8(cookie.value()),
                        isForHostsBelow ? u'.' + domain : domain);
    result.m_path = cookie.path();
    const QDateTime maxAge = dateOfMaxAge(line);
    result.m_expires = maxAge.isValid() ? maxAge : cookie.expirationDate().toUTC();
    result.m_secure = cookie.isSecure();
    result.m_httpOnly = cookie.isHttpOnly();
    return result;
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
            pairs.append(cookie.m_name + u'=' + cookie.m_value);
    if (pairs.isEmpty())
        return {};
    return {{QStringLiteral("Cookie"), pairs.join(QStringLiteral("; "))}};
}
