// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <optional>

/// One cookie (RFC 6265). A value; a default-constructed one is nil. Any thread.
class NSHTTPCookie {
public:
    NSHTTPCookie() = default;
    /// A cookie for one host and all its paths, until the end of the session.
    NSHTTPCookie(const QString &name, const QString &value, const QString &host);

    bool isNil() const { return m_domain.isNull(); }

    QString name() const { return m_name; }
    QString value() const { return m_value; }
    /// With a dot in front if hosts below it get the cookie too.
    QString domain() const { return m_domain; }
    QString path() const { return m_path; }
    /// In UTC; nil for a cookie of the session.
    QDateTime expiresDate() const { return m_expires; }
    bool isSessionOnly() const { return !m_expires.isValid(); }
    bool isSecure() const { return m_secure; }
    bool isHTTPOnly() const { return m_httpOnly; }

    void setPath(const QString &path) { m_path = path; }
    void setExpiresDate(const QDateTime &date) { m_expires = date; }
    void setSecure(bool secure) { m_secure = secure; }

    /// Whether a request for the URL carries the cookie, whatever its date.
    bool matches(const QUrl &url) const;

    /// The cookies of a response's "Set-Cookie" field, in their order, without those that the URL's host may
    /// not set: for other hosts, or for a whole public suffix such as "co.uk". Several in one field are told
    /// apart by their commas.
    static QList<NSHTTPCookie> cookiesWithResponseHeaderFields(const QVariantMap &headerFields,
                                                               const QUrl &url);
    /// The cookie of one "Set-Cookie" line; nil if it holds none, or none that the URL's host may set.
    static NSHTTPCookie cookieWithHeaderLine(const QString &line, const QUrl &url);
    /// {"Cookie": "a=1; b=2"}, in the order of the list; empty for an empty list.
    static QVariantMap requestHeaderFieldsWithCookies(const QList<NSHTTPCookie> &cookies);

    friend bool operator==(const NSHTTPCookie &, const NSHTTPCookie &) = default;

private:
    QString m_name;
    QString m_value;
    QString m_domain;
    QString m_path;
    QDateTime m_expires;
    bool m_secure = false;
    bool m_httpOnly = false;
};

Q_DECLARE_METATYPE(NSHTTPCookie)
