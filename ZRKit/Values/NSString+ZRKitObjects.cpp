// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSString+ZRKit.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "ZRKit/Values/ZRCollection.h"
#include "platform/base/ASCII.h"
#include "platform/base/NSException.h"
#include "platform/text/UTF8.h"
#include "platform/values/ValueKind.h"

using namespace zr;

namespace ZRKit {

namespace {

QString pair(const QString &key, const QVariant &value) {
    return urlEncode(QVariant(key)) + u'=' + urlEncode(QVariant(toString(value)));
}

QString withQuery(const QString &text, const QStringList &pairs) {
    if (text.isNull())
        return {};
    return text + (text.contains(u'?') ? u'&' : u'?') + pairs.join(u'&');
}

/// The pairs in the order in which the dictionary gives its keys.
QStringList pairsOf(const QVariantMap &dictionary) {
    QStringList pairs;
    for (auto it = dictionary.cbegin(); it != dictionary.cend(); ++it)
        pairs.append(pair(it.key(), it.value()));
    return pairs;
}

QStringList pairsOf(const ZRCollection &dictionary) {
    QStringList pairs;
    for (const QString &key : dictionary.allKeys())
        pairs.append(pair(key, dictionary.objectForKey(key)));
    return pairs;
}

/// nil if an escape lacks its digits, or a run of escapes is not UTF-8.
QString withoutPercentEscapes(QStringView text) {
    QString plain = QStringLiteral("");
    while (!text.isEmpty()) {
        const qsizetype percent = text.indexOf(u'%');
        plain += text.first(percent < 0 ? text.size() : percent);
        text = text.sliced(percent < 0 ? text.size() : percent);
        QByteArray bytes;
        for (; text.startsWith(u'%'); text = text.sliced(3)) {
            const int high = text.size() < 3 ? -1 : hexDigitValue(text[1].unicode());
            const int low = text.size() < 3 ? -1 : hexDigitValue(text[2].unicode());
            if (high < 0 || low < 0)
                return {};
            bytes.append(char(high << 4 | low));
        }
        const QString decoded = NSStringFromUTF8(bytes);
        if (decoded.isNull())
            return {};
        plain += decoded;
    }
    return plain;
}

} // namespace

QString replace(const Text &text, const Text &search, const QVariant &replacement) {
    return replace(text, search, toString(replacement));
}

QString replaceRegEx(const Text &text, const NSRegularExpression &expression, const Text &withTemplate) {
    return expression ? expression.stringByReplacingMatchesInString(text, 0, range(text), withTemplate)
                      : QString();
}

QString urlEncode(const QVariant &object) {
    switch (kindOf(object)) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return QStringLiteral("");
    case ValueKind::Data: {
        const QString text = NSStringFromUTF8(held<QByteArray>(object));
        return text.isNull() ? QStringLiteral("") : urlEncode(text);
    }
    case ValueKind::URL:
        return urlEncode(QString::fromLatin1(held<QUrl>(object).toEncoded()));
    default:
        return urlEncode(stringDefault(object, QStringLiteral("")));
    }
}

QString queryStringWithDictionary(const QVariantMap &dictionary) {
    const QStringList pairs = pairsOf(dictionary);
    return pairs.isEmpty() ? QStringLiteral("") : pairs.join(u'&');
}

QString queryStringWithDictionary(const ZRCollection &dictionary) {
    return queryStringWithDictionary(dictionary.toVariantMap());
}

QString addQuery(const Text &text, const QVariantMap &dictionary) {
    return withQuery(text, pairsOf(dictionary));
}

QString addQuery(const Text &text, const ZRCollection &dictionary) {
    return withQuery(text, pairsOf(dictionary));
}

QVariantMap parseQuery(const Text &text) {
    QVariantMap query;
    if (text.isNull())
        return query;
    for (const QStringView piece : QStringView(text).split(u'&')) {
        const QList<QStringView> parts = piece.split(u'=');
        if (parts.size() < 2)
            throw NSException(NSRangeException,
                              QStringLiteral("a piece of the query has no value: ") + piece.toString());
        const QString value = withoutPercentEscapes(parts[1]);
        if (value.isNull())
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("the escapes of a query's value are not UTF-8: ") +
                                  piece.toString());
        query.insert(parts[0].toString(), value);
    }
    return query;
}

NSMutableAttributedString attributedString(const Text &text) {
    return NSMutableAttributedString(text);
}

NSMutableAttributedString attributedStringWithAttributes(const Text &text, const QVariantMap &attributes) {
    return NSMutableAttributedString(text, attributes);
}

} // namespace ZRKit
