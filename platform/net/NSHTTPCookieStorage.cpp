// SPDX-License-Identifier: MIT
#include "platform/net/NSHTTPCookieStorage.h"

#include "platform/base/NeverDestroyed.h"

#include <algorithm>

namespace {

// What RFC 6265, 6.1, asks for at least; more would let a server fill the memory.
constexpr std::ptrdiff_t mostPerDomain = 180;
constexpr std::size_t mostCookies = 3000;

bool isExpired(const NSHTTPCookie &cookie, const QDateTime &now) {
    return cookie.expiresDate().isValid() && cookie.expiresDate() <= now;
}

} // namespace

NSHTTPCookieStorage &NSHTTPCookieStorage::sharedHTTPCookieStorage() {
    static zr::NeverDestroyed<NSHTTPCookieStorage> storage;
    return *storage;
}

bool NSHTTPCookieStorage::isSame(const NSHTTPCookie &a, const NSHTTPCookie &b) {
    return a.name() == b.name() && a.domain() == b.domain() && a.path() == b.path();
}

QList<NSHTTPCookie> NSHTTPCookieStorage::cookies() const {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const std::lock_guard lock(m_mutex);
    QList<NSHTTPCookie> all;
    std::copy_if(m_cookies.begin(), m_cookies.end(), std::back_inserter(all),
                 [&](const NSHTTPCookie &cookie) { return !isExpired(cookie, now); });
    return all;
}

void NSHTTPCookieStorage::setCookie(const NSHTTPCookie &cookie) {
    if (cookie.isNil())
        return;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const std::lock_guard lock(m_mutex);
    const auto at = std::find_if(m_cookies.begin(), m_cookies.end(),
                                 [&](const NSHTTPCookie &each) { return isSame(each, cookie); });
    if (isExpired(cookie, now)) {
        if (at != m_cookies.end())
            m_cookies.erase(at);
    } else if (at != m_cookies.end()) {
        *at = cookie;
    } else {
        m_cookies.push_back(cookie);
        trim(cookie.domain());
    }
}

void NSHTTPCookieStorage::trim(const QString &domain) {
    const auto isOfDomain = [&](const NSHTTPCookie &cookie) { return cookie.domain() == domain; };
    if (std::count_if(m_cookies.begin(), m_cookies.end(), isOfDomain) > mostPerDomain)
        m_cookies.erase(std::find_if(m_cookies.begin(), m_cookies.end(), isOfDomain));
    if (m_cookies.size() > mostCookies)
        m_cookies.erase(m_cookies.begin());
}

void NSHTTPCookieStorage::deleteCookie(const NSHTTPCookie &cookie) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_cookies, [&](const NSHTTPCookie &each) { return isSame(each, cookie); });
}

void NSHTTPCookieStorage::removeAllCookies() {
    const std::lock_guard lock(m_mutex);
    m_cookies.clear();
}

QList<NSHTTPCookie> NSHTTPCookieStorage::matchingCookies(const QUrl &url) const {
    QList<NSHTTPCookie> found = cookies();
    found.removeIf([&](const NSHTTPCookie &cookie) { return !cookie.matches(url); });
    std::stable_sort(found.begin(), found.end(), [](const NSHTTPCookie &a, const NSHTTPCookie &b) {
        return a.path().size() > b.path().size();
    });
    return found;
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
