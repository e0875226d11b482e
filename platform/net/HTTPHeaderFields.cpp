// SPDX-License-Identifier: MIT
#include "platform/net/HTTPHeaderFields.h"

#include "platform/base/ASCII.h"

#include <QStringDecoder>
#include <QStringTokenizer>
#include <algorithm>

namespace zr::HTTPHeaderFields {

namespace {

bool isTokenUnit(char16_t unit) {
    return isASCIILetter(unit) || isASCIIDigit(unit) ||
           (unit != 0 && unit < 128 && QStringView(u"!#$%&'*+-.^_`|~").contains(QChar(unit)));
}

/// Walks over a field's value.
class Scanner {
public:
    explicit Scanner(QStringView text) : m_text(text) {}

    bool atEnd() const { return m_at >= m_text.size(); }
    void skip(QStringView units) {
        while (!atEnd() && units.contains(m_text[m_at]))
            ++m_at;
    }
    bool take(char16_t unit) {
        if (atEnd() || m_text[m_at] != QChar(unit))
            return false;
        ++m_at;
        return true;
    }
    QString token() {
        const qsizetype begin = m_at;
        while (!atEnd() && isTokenUnit(m_text[m_at].unicode()))
            ++m_at;
        return m_text.sliced(begin, m_at - begin).toString();
    }
    /// A quoted string, without its quotes and backslashes, to the end of the text if it isn't closed; or
    /// what stands before the next of the units.
    QString value(QStringView until) {
        QString result = QStringLiteral("");
        if (take(u'"')) {
            while (!atEnd() && !take(u'"')) {
                if (m_text[m_at] == u'\\' && m_at + 1 < m_text.size())
                    ++m_at;
                result += m_text[m_at++];
            }
            return result;
        }
        const qsizetype begin = m_at;
        while (!atEnd() && !until.contains(m_text[m_at]))
            ++m_at;
        return result.append(m_text.sliced(begin, m_at - begin));
    }
    void skipOne() { ++m_at; }
    qsizetype position() const { return m_at; }
    void back(qsizetype position) { m_at = position; }

private:
    const QStringView m_text;
    qsizetype m_at = 0;
};

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
    if (!type.contains(u';'))
        return {};
    Scanner scanner(type);
    scanner.value(u";");
    while (scanner.take(u';')) {
        scanner.skip(u" \t");
        const QString name = scanner.token();
        if (scanner.take(u'=')) {
            QString content = scanner.value(u";").trimmed();
            if (name.compare(u"charset", Qt::CaseInsensitive) == 0 && !content.isEmpty())
                return content;
        }
        scanner.value(u";");
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
    Scanner scanner(authenticate);
    while (!scanner.atEnd()) {
        scanner.skip(u" \t,");
        const QString word = scanner.token();
        if (word.isEmpty()) {
            if (!scanner.atEnd())
                scanner.skipOne();
            continue;
        }
        const qsizetype afterWord = scanner.position();
        scanner.skip(u" \t");
        // "name=value" belongs to the scheme before it; "scheme" begins the next.
        if (!found.isEmpty() && scanner.take(u'=')) {
            scanner.skip(u" \t");
            found.last().parameters.insert(word.toLower(), scanner.value(u", \t"));
            continue;
        }
        scanner.back(afterWord);
        found.append({word.toLower(), {}});
        if (scanner.take(u'='))
            scanner.value(u",");
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
    return !name.isEmpty() &&
           std::all_of(name.begin(), name.end(), [](QChar c) { return isTokenUnit(c.unicode()); });
}

} // namespace zr::HTTPHeaderFields
