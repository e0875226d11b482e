// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSTextCheckingResult+ZRKit.h"

namespace ZRKit {

namespace {

QString textOf(NSRange range, const QString &string) {
    if (range.isNotFound())
        return QStringLiteral("");
    if (!range.isWithin(string.size()))
        return {};
    return range.length == 0 ? QStringLiteral("") : string.mid(range.location, range.length);
}

} // namespace

QString inString(const NSTextCheckingResult &result, const AnyText &string) {
    return textOf(result.range(), string);
}

QString inString(const NSTextCheckingResult &result, const AnyText &string, qsizetype at) {
    if (at < 0 || at >= result.numberOfRanges())
        return {};
    return textOf(result.rangeAtIndex(at), string);
}

QVariantList groupsInString(const NSTextCheckingResult &result, const AnyText &string) {
    QVariantList groups;
    for (qsizetype i = 0; i < result.numberOfRanges(); ++i) {
        const QString text = inString(result, string, i);
        groups.append(text.isNull() ? QStringLiteral("") : text);
    }
    return groups;
}

} // namespace ZRKit
