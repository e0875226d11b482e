// SPDX-License-Identifier: MIT
// Any fields give a response; what is made of them stays within bounds, and nothing of it can end a
// line.
#include "platform/net/HTTPHeaderFields.h"
#include "platform/net/NSURLResponse.h"

#include <cstdlib>

using namespace zr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray input(reinterpret_cast<const char *>(bytes), qsizetype(size));
    QVariantMap fields;
    const auto lines = input.split('\n');
    for (const QByteArray &line : lines)
        fields.insert(HTTPHeaderFields::canonicalName(line.left(line.indexOf(':')).trimmed()),
                      HTTPHeaderFields::text(line.mid(line.indexOf(':') + 1).trimmed()));
    const NSHTTPURLResponse response(QUrl(QStringLiteral("http://host/")), qint64(size % 1000), fields);
    if (response.expectedContentLength() < NSURLResponseUnknownLength)
        std::abort();
    const auto challenges =
        HTTPHeaderFields::challenges(response.valueForHTTPHeaderField(QStringLiteral("WWW-Authenticate")));
    for (const auto &challenge : challenges)
        if (!HTTPHeaderFields::isToken(challenge.scheme))
            std::abort();
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        const QByteArray safe = HTTPHeaderFields::safeValue(it.value().toString());
        if (safe.contains('\r') || safe.contains('\n') || safe.contains('\0'))
            std::abort();
    }
    return NSHTTPURLResponse::localizedStringForStatusCode(response.statusCode()).isEmpty()
               ? (std::abort(), 0)
               : 0;
}
