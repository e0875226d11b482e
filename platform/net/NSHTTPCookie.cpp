// SPDX-License-Identifier: MIT
#include "platform/net/NSHTTPCookie.h"

#include "platform/net/HTTPHeaderFields.h"

#include <algorithm>
#include <array>

namespace {

constexpr qsizetype longestPair = 4096;
constexpr qsizetype longestAttribute = 1024;

bool isAddress(const QString &host) {
    if (host.contains(u':'))
        return true;
    const QStringList parts = host.split(u'.');
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](const QString &part) {
               bool isNumber = false;
               part.toUShort(&isNumber);
               return isNumber;
           });
}

/// RFC 6265, 5.1.3; both in small letters.
bool domainMatches(const QString &host, const QString &domain) {
    return host == domain || (host.endsWith(domain) && host.size() > domain.size() &&
                              host.at(host.size() - domain.size() - 1) == u'.' && !isAddress(host));
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

/// Up to `most` digits at the front, which must be at least `least` and not be followed by another digit.
std::optional<int> number(QStringView token, qsizetype least, qsizetype most, qsizetype *used = nullptr) {
    qsizetype digits = 0;
    while (digits < token.size() && token[digits] >= u'0' && token[digits] <= u'9')
        ++digits;
    if (digits < least || digits > most)
        return std::nullopt;
    if (used)
        *used = digits;
    return token.left(digits).toInt();
}

std::optional<QTime> timeOfDay(QStringView token) {
    std::array<int, 3> parts{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        qsizetype used = 0;
        const auto part = number(token, 1, 2, &used);
        if (!part || (i < 2 && token.mid(used, 1) != u":"))
            return std::nullopt;
        parts[i] = *part;
        token = token.mid(used + 1);
    }
    if (parts[0] > 23 || parts[1] > 59 || parts[2] > 59)
        return QTime();
    return QTime(parts[0], parts[1], parts[2]);
}

std::optional<int> monthNumber(QStringView token) {
    static constexpr QStringView names = u"janfebmaraprmayjunjulaugsepoctnovdec";
    if (token.size() < 3)
        return std::nullopt;
    const qsizetype at = names.indexOf(token.left(3).toString().toLower());
    return at >= 0 && at % 3 == 0 ? std::optional(int(at / 3 + 1)) : std::nullopt;
}

/// RFC 6265, 5.1.1.
QDateTime cookieDate(QStringView text) {
    const auto isDelimiter = [](QChar c) {
        const char16_t unit = c.unicode();
        return unit == 0x09 || (unit >= 0x20 && unit <= 0x2F) || (unit >= 0x3B && unit <= 0x40) ||
               (unit >= 0x5B && unit <= 0x60) || (unit >= 0x7B && unit <= 0x7E);
    };
    std::optional<QTime> time;
    std::optional<int> day;
    std::optional<int> month;
    std::optional<int> year;
    for (qsizetype at = 0; at < text.size();) {
        const qsizetype begin = at;
        while (at < text.size() && !isDelimiter(text[at]))
            ++at;
        const QStringView token = text.mid(begin, at - begin);
        ++at;
        if (token.isEmpty())
            continue;
        if (!time && (time = timeOfDay(token)))
            continue;
        if (!day && (day = number(token, 1, 2)))
            continue;
        if (!month && (month = monthNumber(token)))
            continue;
        if (!year)
            year = number(token, 2, 4);
    }
    if (!time || !day || !month || !year)
        return {};
    if (*year >= 70 && *year <= 99)
        *year += 1900;
    else if (*year <= 69)
        *year += 2000;
    const QDate date(*year, *month, *day);
    return *year >= 1601 && date.isValid() && time->isValid() ? QDateTime(date, *time, Qt::UTC) : QDateTime();
}

QDateTime dateOfMaxAge(const QString &value) {
    static const QDateTime past = QDateTime::fromSecsSinceEpoch(0, Qt::UTC);
    // A hundred years stand for what can't be counted.
    constexpr qint64 longest = 100LL * 366 * 24 * 3600;
    if (value.startsWith(u'-'))
        return past;
    bool fits = false;
    const qint64 seconds = value.toLongLong(&fits);
    if (fits && seconds <= 0)
        return past;
    return QDateTime::currentDateTimeUtc().addSecs(fits ? std::min(seconds, longest) : longest);
}

bool isMaxAge(const QString &value) {
    const QStringView digits = value.startsWith(u'-') ? QStringView(value).sliced(1) : QStringView(value);
    return !digits.isEmpty() &&
           std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

/// Whether a cookie's name and "=" stand at this place.
bool beginsCookie(QStringView text) {
    text = text.trimmed();
    qsizetype at = 0;
    while (at < text.size() && text[at] != u'=' && text[at] != u';' && text[at] != u',' &&
           !text[at].isSpace())
        ++at;
    return at > 0 && at < text.size() && text[at] == u'=';
}

} // namespace

NSHTTPCookie::NSHTTPCookie(const QString &name, const QString &value, const QString &host)
    : m_name(name), m_value(value), m_domain(host.isNull() ? QStringLiteral("") : host.toLower()),
      m_path(QStringLiteral("/")) {
}

bool NSHTTPCookie::matches(const QUrl &url) const {
    const QString host = url.host(QUrl::FullyEncoded).toLower();
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
    // RFC 6265, 5.2 and 5.3; with the later rule that a line without "=" is a value without a name left out.
    const qsizetype semicolon = line.indexOf(u';');
    const QString pair = semicolon < 0 ? line : line.left(semicolon);
    const qsizetype equals = pair.indexOf(u'=');
    const QString host = url.host(QUrl::FullyEncoded).toLower();
    const bool hasControls = std::any_of(
        pair.begin(), pair.end(), [](QChar c) { return (c < u' ' && c != u'\t') || c == QChar(0x7F); });
    if (equals <= 0 || host.isEmpty() || hasControls || pair.size() > longestPair)
        return {};
    NSHTTPCookie cookie(pair.left(equals).trimmed(), pair.mid(equals + 1).trimmed(), host);
    cookie.m_path = defaultPath(url);
    if (cookie.m_name.isEmpty())
        return {};
    QDateTime maxAge;
    const QStringList attributes = semicolon < 0 ? QStringList() : line.mid(semicolon + 1).split(u';');
    for (const QString &attribute : attributes) {
        const QString name = attribute.section(u'=', 0, 0).trimmed().toLower();
        const QString value = attribute.section(u'=', 1).trimmed();
        if (value.size() > longestAttribute)
            continue;
        if (name == u"expires") {
            if (const QDateTime date = cookieDate(value); date.isValid())
                cookie.m_expires = date;
        } else if (name == u"max-age") {
            if (isMaxAge(value))
                maxAge = dateOfMaxAge(value);
        } else if (name == u"domain") {
            const QString domain = (value.startsWith(u'.') ? value.sliced(1) : value).toLower();
            if (domain.isEmpty())
                continue;
            if (!domainMatches(host, domain))
                return {};
            // One label is a whole top-level domain, which nobody's host may speak for.
            if (!domain.contains(u'.') && domain != host)
                return {};
            cookie.m_domain =
                domain == host && (isAddress(host) || !domain.contains(u'.')) ? host : u'.' + domain;
        } else if (name == u"path") {
            cookie.m_path = value.startsWith(u'/') ? value : defaultPath(url);
        } else if (name == u"secure") {
            cookie.m_secure = true;
        } else if (name == u"httponly") {
            cookie.m_httpOnly = true;
        }
    }
    if (maxAge.isValid())
        cookie.m_expires = maxAge;
    return cookie;
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
