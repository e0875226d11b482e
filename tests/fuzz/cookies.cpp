// SPDX-License-Identifier: MIT
// Any Set-Cookie field gives cookies that the host may set, and that a request can carry and a server reads
// back.
#include "platform/net/NSHTTPCookie.h"
#include "platform/net/NSHTTPCookieStorage.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray input(reinterpret_cast<const char *>(bytes), qsizetype(size));
    // What comes before the first line's end is the URL's host and path.
    const qsizetype end = input.indexOf('\n');
    const QUrl url(QStringLiteral("http://") + QString::fromUtf8(input.left(qMax<qsizetype>(end, 0))));
    const QString field = QString::fromUtf8(input.mid(end + 1));
    const auto cookies =
        NSHTTPCookie::cookiesWithResponseHeaderFields({{QStringLiteral("Set-Cookie"), field}}, url);
    NSHTTPCookieStorage storage;
    for (const NSHTTPCookie &cookie : cookies) {
        if (cookie.isNil() || cookie.name().isEmpty() || !cookie.path().startsWith(u'/') ||
            cookie.name().contains(u'=') || cookie.name().contains(u';') || cookie.value().contains(u';'))
            std::abort();
        // Its own host, at its own path, gets it.
        QUrl own = url;
        own.setScheme(QStringLiteral("https"));
        own.setPath(cookie.path(), QUrl::TolerantMode);
        NSHTTPCookieStorage alone;
        alone.setCookie(cookie);
        if (own.isValid() && own.path() == cookie.path() &&
            alone.cookiesForURL(own).size() != alone.cookies().size())
            std::abort();
        storage.setCookie(cookie);
    }
    if (storage.cookies().size() > cookies.size())
        std::abort();
    const QString sent =
        NSHTTPCookie::requestHeaderFieldsWithCookies(cookies).value(QStringLiteral("Cookie")).toString();
    if (sent.isEmpty() != cookies.isEmpty() ||
        (!cookies.isEmpty() && sent.split(QStringLiteral("; ")).size() < cookies.size()))
        std::abort();
    storage.cookiesForURL(url);
    return 0;
}
