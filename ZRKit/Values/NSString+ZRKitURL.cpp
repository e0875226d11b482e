// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include <algorithm>

namespace ZRKit {

namespace {

QString withoutLoneSurrogates(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        else if (text[i].isSurrogate())
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace

QString urlEncode(const QString &text) {
    return text.isEmpty() ? text : QString::fromLatin1(QUrl::toPercentEncoding(withoutLoneSurrogates(text)));
}

QUrl URL(const Text &text) {
    // Qt's strict mode lets what is not ASCII pass.
    const bool isASCII = std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    const QUrl url = isASCII ? QUrl(text, QUrl::StrictMode) : QUrl();
    return url.isValid() ? url : QUrl();
}

QString humanizeURL(const Text &text) {
    const QString host = URL(text).host(QUrl::EncodeUnicode);
    return host.isEmpty() ? QString(text) : replace(host, u"www.", u"");
}

} // namespace ZRKit
