// SPDX-License-Identifier: MIT
// Any head gives fields and a response; what is made of them stays within bounds, and nothing of it can end a
// line.
#include "platform/net/HTTPHeaderFields.h"
#include "platform/net/NSURLResponse.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray input(reinterpret_cast<const char *>(bytes), qsizetype(size));
    HTTPHeaderFields::Head head;
    qsizetype lines = 0;
    const auto all = input.split('\n');
    for (const QByteArray &line : all)
        if (!head.begin(line)) {
            head.add(line);
            ++lines;
        }
    if (head.fields.size() > lines || head.statusCode < -99 || head.statusCode > 999)
        std::abort();
    const NSHTTPURLResponse response(QUrl(QStringLiteral("http://host/")), head.statusCode, head.fields);
    if (response.expectedContentLength() < NSURLResponseUnknownLength)
        std::abort();
    const auto challenges =
        HTTPHeaderFields::challenges(response.valueForHTTPHeaderField(QStringLiteral("WWW-Authenticate")));
    for (const auto &challenge : challenges)
        if (!HTTPHeaderFields::isToken(challenge.scheme))
            std::abort();
    for (auto it = head.fields.cbegin(); it != head.fields.cend(); ++it) {
        const QByteArray safe = HTTPHeaderFields::safeValue(it.value().toString());
        if (safe.contains('\r') || safe.contains('\n') || safe.contains('\0'))
            std::abort();
    }
    return NSHTTPURLResponse::localizedStringForStatusCode(head.statusCode).isEmpty() ? (std::abort(), 0) : 0;
}
