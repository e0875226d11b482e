// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QNetworkCookie>
#include <QString>
#include <QUrl>
#include <QVariantMap>

/// One cookie (RFC 6265). A value; a default-constructed one is nil. Any thread.
class NSHTTPCookie {
public:
    NSHTTPCookie() = default;
    explicit NSHTTPCookie(const QNetworkCookie &cookie) : m_cookie(cookie) {}
    /// A cookie for one host and all its paths, until the end of the session.
    NSHTTPCookie(const QString &name, const QString &value, const QString &host);

    bool isNil() const { return m_cookie.name().isEmpty(); }

    QString name() const { return QString::fromUtf8(m_cookie.name()); }
    QString value() const { return QString::fromUtf8(m_cookie.value()); }
    /// As people read it, with a dot in front if hosts below it get the cookie too.
    QString domain() const { return m_cookie.domain(); }
    QString path() const { return m_cookie.path(); }
    /// In UTC; nil for a cookie of the session.
    QDateTime expiresDate() const { return m_cookie.expirationDate().toUTC(); }
    bool isSessionOnly() const { return m_cookie.isSessionCookie(); }
    bool isSecure() const { return m_cookie.isSecure(); }
    bool isHTTPOnly() const { return m_cookie.isHttpOnly(); }
    const QNetworkCookie &networkCookie() const { return m_cookie; }

    void setPath(const QString &path) { m_cookie.setPath(path); }
    void setExpiresDate(const QDateTime &date) { m_cookie.setExpirationDate(date); }
    void setSecure(bool secure) { m_cookie.setSecure(secure); }

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
    QNetworkCookie m_cookie;
};

Q_DECLARE_METATYPE(NSHTTPCookie)
