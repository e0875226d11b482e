// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include <algorithm>

namespace ZRKit {

QUrl URL(const AnyText &text) {
    // Qt's strict mode lets what is not ASCII pass.
    const bool isASCII = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    const QUrl url = isASCII ? QUrl(text, QUrl::StrictMode) : QUrl();
    return url.isValid() ? url : QUrl();
}

QString humanizeURL(const AnyText &text) {
    const QString host = URL(text).host(QUrl::EncodeUnicode);
    return host.isEmpty() ? QString(text) : replace(host, u"www.", u"");
}

} // namespace ZRKit
