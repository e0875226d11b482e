// SPDX-License-Identifier: MIT
#include "platform/net/NSHTTPCookieStorage.h"

#include "platform/base/NeverDestroyed.h"

#include <QNetworkCookieJar>
#include <algorithm>

namespace {

// What RFC 6265, 6.1, asks for at least; more would let a server fill the memory.
constexpr qsizetype mostPerDomain = 180;
constexpr qsizetype mostCookies = 3000;

QList<NSHTTPCookie> wrapped(const QList<QNetworkCookie> &cookies) {
    QList<NSHTTPCookie> list;
    for (const QNetworkCookie &cookie : cookies)
        list.append(NSHTTPCookie(cookie));
    return list;
}

} // namespace

/// Qt's, which knows no lock and no limit.
class NSHTTPCookieStorage::Jar : public QNetworkCookieJar {
public:
    using QNetworkCookieJar::setAllCookies;

    QList<QNetworkCookie> current() const {
        QList<QNetworkCookie> all = allCookies();
        all.removeIf([now = QDateTime::currentDateTimeUtc()](const QNetworkCookie &cookie) {
            return !cookie.isSessionCookie() && cookie.expirationDate() <= now;
        });
        return all;
    }
    void insert(const QNetworkCookie &cookie) {
        insertCookie(cookie);
        QList<QNetworkCookie> all = current();
        const auto isOfDomain = [&](const QNetworkCookie &each) { return each.domain() == cookie.domain(); };
        if (std::count_if(all.begin(), all.end(), isOfDomain) > mostPerDomain)
            all.erase(std::find_if(all.begin(), all.end(), isOfDomain));
        if (all.size() > mostCookies)
            all.removeFirst();
        setAllCookies(all);
    }
};

NSHTTPCookieStorage::NSHTTPCookieStorage() : m_jar(std::make_unique<Jar>()) {
}

NSHTTPCookieStorage::~NSHTTPCookieStorage() = default;

NSHTTPCookieStorage &NSHTTPCookieStorage::sharedHTTPCookieStorage() {
    static zr::NeverDestroyed<NSHTTPCookieStorage> storage;
    return *storage;
}

QList<NSHTTPCookie> NSHTTPCookieStorage::cookies() const {
    const std::lock_guard lock(m_mutex);
    return wrapped(m_jar->current());
}

void NSHTTPCookieStorage::setCookie(const NSHTTPCookie &cookie) {
    const std::lock_guard lock(m_mutex);
    if (!cookie.isNil())
        m_jar->insert(cookie.networkCookie());
}

void NSHTTPCookieStorage::deleteCookie(const NSHTTPCookie &cookie) {
    const std::lock_guard lock(m_mutex);
    m_jar->deleteCookie(cookie.networkCookie());
}

void NSHTTPCookieStorage::removeAllCookies() {
    const std::lock_guard lock(m_mutex);
    m_jar->setAllCookies({});
}

QList<NSHTTPCookie> NSHTTPCookieStorage::matchingCookies(const QUrl &url) const {
    const std::lock_guard lock(m_mutex);
    return wrapped(m_jar->cookiesForUrl(url));
}

QVariantList NSHTTPCookieStorage::cookiesForURL(const QUrl &url) const {
    QVariantList values;
    const QList<NSHTTPCookie> found = matchingCookies(url);
    for (const NSHTTPCookie &cookie : found)
        values.append(QVariant::fromValue(cookie));
    return values;
}

void NSHTTPCookieStorage::setCookies(const QVariantList &cookies) {
    for (const QVariant &cookie : cookies)
        setCookie(cookie.value<NSHTTPCookie>());
}
