// SPDX-License-Identifier: MIT
#include "platform/net/HTTPHeaderFields.h"

#include "platform/base/ASCII.h"
#include "platform/base/NeverDestroyed.h"

#include <QRegularExpression>
#include <QStringDecoder>
#include <QStringTokenizer>
#include <algorithm>

namespace zr::HTTPHeaderFields {

namespace {

constexpr const char *token = "[!#$%&'*+.^_`|~0-9A-Za-z-]+";
constexpr const char *quoted = "\"(?>[^\"\\\\]++|\\\\.)*+\"?";

/// The expression of a pattern, in which %1 is a token and %2 a quoted string. It takes longer to make than to use.
QRegularExpression expression(const QString &pattern) {
    return QRegularExpression(pattern.arg(QLatin1String(token), QLatin1String(quoted)),
                              QRegularExpression::DotMatchesEverythingOption);
}

/// A quoted string without its quotes, which need not be closed, and backslashes; anything else trimmed.
QString unquoted(const QString &value) {
    QString text = value.trimmed();
    if (!text.startsWith(u'"'))
        return text;
    QString result = QStringLiteral("");
    for (qsizetype at = 1; at < text.size() && text[at] != u'"'; ++at) {
        if (text[at] == u'\\' && at + 1 < text.size())
            ++at;
        result += text[at];
    }
    return result;
}

} // namespace

QString canonicalName(QByteArrayView name) {
    QString result = QString::fromLatin1(name).toLower();
    bool isFirst = true;
    for (QChar &c : result) {
        if (isFirst)
            c = c.toUpper();
        isFirst = c == u'-';
    }
    return result;
}

QString text(QByteArrayView bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = utf8(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : decoded;
}

QString value(const QVariantMap &fields, const QString &name) {
    for (auto it = fields.cbegin(); it != fields.cend(); ++it)
        if (isSameName(it.key(), name))
            return it.value().toString();
    return {};
}

bool isSameName(const QString &a, const QString &b) {
    return a.size() == b.size() && a.compare(b, Qt::CaseInsensitive) == 0;
}

QString mediaType(const QVariantMap &fields) {
    const QString field = value(fields, QStringLiteral("Content-Type"));
    const QStringView type = QStringView(field).left(field.indexOf(u';')).trimmed();
    return type.isEmpty() ? QString() : type.toString().toLower();
}

QString characterSet(const QVariantMap &fields) {
    const QString type = value(fields, QStringLiteral("Content-Type"));
    static const NeverDestroyed parameters(expression(QStringLiteral(";\\s*(%1)?(?:=(%2|[^;]*))?")));
    auto found = parameters->globalMatch(type);
    while (found.hasNext()) {
        const QRegularExpressionMatch parameter = found.next();
        QString content = unquoted(parameter.captured(2));
        if (isSameName(parameter.captured(1), QStringLiteral("charset")) && !content.isEmpty())
            return content;
    }
    return {};
}

qint64 bodyLength(const QVariantMap &fields) {
    if (!value(fields, QStringLiteral("Transfer-Encoding")).isEmpty())
        return -1;
    // The same length said twice is still a length.
    const QString lengths = value(fields, QStringLiteral("Content-Length"));
    qint64 length = -1;
    for (const QStringView each : qTokenize(lengths, u',')) {
        const QStringView digits = each.trimmed();
        bool isNumber = !digits.isEmpty() && std::all_of(digits.begin(), digits.end(),
                                                         [](QChar c) { return isASCIIDigit(c.unicode()); });
        const qint64 number = isNumber ? digits.toLongLong(&isNumber) : -1;
        if (!isNumber || (length >= 0 && number != length))
            return -1;
        length = number;
    }
    return length;
}

QList<Challenge> challenges(const QString &authenticate) {
    QList<Challenge> found;
    // "name=value" belongs to the scheme before it; a name alone is the next scheme.
    static const NeverDestroyed wordsAndValues(expression(QStringLiteral("(%1)(?:\\s*=\\s*(%2|[^,\\s]*))?")));
    auto words = wordsAndValues->globalMatch(authenticate);
    while (words.hasNext()) {
        const QRegularExpressionMatch word = words.next();
        if (!word.hasCaptured(2) || found.isEmpty())
            found.append({word.captured(1).toLower(), {}});
        else
            found.last().parameters.insert(word.captured(1).toLower(), unquoted(word.captured(2)));
    }
    return found;
}

QByteArray safeValue(const QString &value) {
    QByteArray bytes = value.toUtf8();
    std::replace_if(
        bytes.begin(), bytes.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
    return bytes.trimmed();
}

bool isToken(const QString &name) {
    const auto isTokenUnit = [](QChar c) {
        return isASCIILetter(c.unicode()) || isASCIIDigit(c.unicode()) ||
               QStringView(u"!#$%&'*+-.^_`|~").contains(c);
    };
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), isTokenUnit);
}

} // namespace zr::HTTPHeaderFields
