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

QString withoutLoneSurrogates(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        else if (text[i].isSurrogate())
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

QString percentEncoded(const QString &text) {
    return text.isEmpty() ? text : QString::fromLatin1(QUrl::toPercentEncoding(withoutLoneSurrogates(text)));
}

QString pair(const QString &key, const QVariant &value) {
    return urlEncode(key) + u'=' + urlEncode(toString(value));
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

QString replace(const AnyText &text, const AnyText &search, const AnyObject &replacement) {
    const QString with = toString(replacement.value());
    return search.isEmpty() || with.isNull() ? QString(text) : QString(text).replace(search, with);
}

QString replaceRegEx(const AnyText &text, const NSRegularExpression &expression,
                     const AnyText &withTemplate) {
    return expression ? expression.stringByReplacingMatchesInString(text, 0, range(text), withTemplate)
                      : QString();
}

QString urlEncode(const AnyObject &object) {
    const QVariant &value = object.value();
    switch (kindOf(value)) {
    case ValueKind::Nil:
    case ValueKind::Null:
        return QStringLiteral("");
    case ValueKind::Data:
        return percentEncoded(QStringLiteral("") + NSStringFromUTF8(held<QByteArray>(value)));
    case ValueKind::URL:
        return percentEncoded(QString::fromLatin1(held<QUrl>(value).toEncoded()));
    default:
        return percentEncoded(stringDefault(value, QStringLiteral("")));
    }
}

QString queryStringWithDictionary(const QVariantMap &dictionary) {
    const QStringList pairs = pairsOf(dictionary);
    return pairs.isEmpty() ? QStringLiteral("") : pairs.join(u'&');
}

QString queryStringWithDictionary(const ZRCollection &dictionary) {
    return queryStringWithDictionary(dictionary.toVariantMap());
}

QString addQuery(const AnyText &text, const QVariantMap &dictionary) {
    return withQuery(text, pairsOf(dictionary));
}

QString addQuery(const AnyText &text, const ZRCollection &dictionary) {
    return withQuery(text, pairsOf(dictionary));
}

QVariantMap parseQuery(const AnyText &text) {
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

NSMutableAttributedString attributedString(const AnyText &text) {
    return NSMutableAttributedString(text);
}

NSMutableAttributedString attributedStringWithAttributes(const AnyText &text, const QVariantMap &attributes) {
    return NSMutableAttributedString(text, attributes);
}

} // namespace ZRKit
