// SPDX-License-Identifier: MIT
#pragma once

#include "platform/net/NSHTTPCookie.h"

#include <QObject>
#include <QVariantList>
#include <memory>
#include <mutex>

/// Keeps cookies in memory, and nowhere else. Any thread.
///
/// There is a shared one for the whole process, and others may be made: each is a private store to those
/// that use it.
class NSHTTPCookieStorage : public QObject {
    Q_OBJECT

public:
    NSHTTPCookieStorage();
    ~NSHTTPCookieStorage() override;
    /// The store that connections use for requests that let them. It lives as long as the process.
    static NSHTTPCookieStorage &sharedHTTPCookieStorage();

    /// All that have not expired, in the order of their making.
    QList<NSHTTPCookie> cookies() const;
    /// Keeps a cookie in place of one with the same name, domain and path; one that has expired only takes
    /// that away.
    void setCookie(const NSHTTPCookie &cookie);
    void deleteCookie(const NSHTTPCookie &cookie);
    void removeAllCookies();

    /// Those that a request for the URL carries: longer paths first, else as they were made.
    QList<NSHTTPCookie> matchingCookies(const QUrl &url) const;
    /// The same, each an NSHTTPCookie.
    Q_INVOKABLE QVariantList cookiesForURL(const QUrl &url) const;
    /// setCookie() for each.
    Q_INVOKABLE void setCookies(const QVariantList &cookies);

private:
    class Jar;
    mutable std::mutex m_mutex;
    const std::unique_ptr<Jar> m_jar;
};
