// SPDX-License-Identifier: MIT
#include "platform/predicates/PredicateLexer.h"

#include "platform/base/ASCII.h"
#include "platform/base/NSException.h"
#include "platform/base/NeverDestroyed.h"
#include "platform/predicates/NSPredicate.h"

#include <QHash>
#include <QStringList>
#include <algorithm>
#include <utility>

using namespace zr;

void PredicateLexer::fail(const QString &format, qsizetype position, const QString &why) {
    throw NSException(NSInvalidArgumentException,
                      QStringLiteral("The predicate format can't be read at position %1: %2: \"%3\"")
                          .arg(position)
                          .arg(why, format),
                      {{NSPredicatePositionKey, qlonglong(position)}});
}

bool PredicateLexer::isReserved(QStringView word) {
    static const NeverDestroyed words(
        QStringLiteral(
            "AND OR NOT IN BETWEEN CONTAINS BEGINSWITH ENDSWITH LIKE MATCHES ANY SOME ALL NONE SELF TRUE "
            "YES FALSE NO NULL NIL FIRST LAST SIZE TRUEPREDICATE FALSEPREDICATE SUBQUERY CAST")
            .split(u' '));
    return words->contains(word, Qt::CaseInsensitive);
}

bool PredicateLexer::isNameStart(QChar c) {
    return c.isLetter() || c == u'_';
}

bool PredicateLexer::isNamePart(QChar c) {
    return c.isLetterOrNumber() || c == u'_';
}

QString PredicateLexer::name() {
    const qsizetype start = m_at;
    while (isNamePart(peek()))
        ++m_at;
    return m_format.mid(start, m_at - start);
}

PredicateToken PredicateLexer::next() {
    while (peek().isSpace())
        ++m_at;
    PredicateToken token;
    token.position = m_at;
    if (m_at >= m_format.size())
        return token;
    const QChar c = peek();
    if (isNameStart(c) || (c == u'@' && isNameStart(peek(1)))) {
        token.kind = PredicateToken::Word;
        if (c == u'@')
            ++m_at;
        token.text = (c == u'@' ? QStringLiteral("@") : QString()) + name();
    } else if (c == u'#') {
        ++m_at;
        token.kind = PredicateToken::Escaped;
        token.text = peek() == u'"' || peek() == u'\'' ? quoted() : name();
        if (token.text.isEmpty())
            fail(m_format, token.position, QStringLiteral("a name is expected after #"));
    } else if (c == u'$') {
        ++m_at;
        token.kind = PredicateToken::Variable;
        token.text = name();
        if (token.text.isEmpty())
            fail(m_format, token.position, QStringLiteral("a name is expected after $"));
    } else if (c == u'"' || c == u'\'') {
        token.kind = PredicateToken::String;
        token.text = quoted();
    } else if (isASCIIDigit(c.unicode()) || (c == u'.' && isASCIIDigit(peek(1).unicode()))) {
        token.kind = PredicateToken::Number;
        token.value = number();
    } else if (c == u'%') {
        return argument();
    } else {
        return sign();
    }
    return token;
}

QString PredicateLexer::quoted() {
    const qsizetype start = m_at;
    const QChar quote = peek();
    ++m_at;
    QString text = QStringLiteral("");
    for (;;) {
        if (m_at >= m_format.size())
            fail(m_format, start, QStringLiteral("the quote is not closed"));
        const QChar c = m_format.at(m_at++);
        if (c == quote)
            return text;
        text += c == u'\\' ? escaped() : c;
    }
}

QChar PredicateLexer::escaped() {
    if (m_at >= m_format.size())
        fail(m_format, m_at - 1, QStringLiteral("nothing follows the backslash"));
    const QChar c = m_format.at(m_at++);
    const qsizetype control = QStringLiteral("nrtbf").indexOf(c);
    if (control >= 0)
        return QStringLiteral("\n\r\t\b\f").at(control);
    if (c != u'u')
        return c;
    const QStringView digits = QStringView(m_format).mid(m_at, 4);
    if (digits.size() != 4 || !std::all_of(digits.begin(), digits.end(),
                                           [](QChar digit) { return hexDigitValue(digit.unicode()) >= 0; }))
        fail(m_format, m_at - 2, QStringLiteral("\\u needs four hexadecimal digits"));
    m_at += 4;
    return QChar(digits.toUShort(nullptr, 16));
}

QVariant PredicateLexer::wholeNumber(int base, qsizetype start) {
    const qsizetype digits = m_at;
    while (isNamePart(peek()))
        ++m_at;
    bool isRead = false;
    const quint64 value = QStringView(m_format).mid(digits, m_at - digits).toULongLong(&isRead, base);
    if (!isRead)
        fail(m_format, start, QStringLiteral("this is no number"));
    return value;
}

QVariant PredicateLexer::number() {
    const qsizetype start = m_at;
    if (peek() == u'0') {
        for (const auto &[letter, base] : {std::pair(u'x', 16), std::pair(u'o', 8), std::pair(u'b', 2)}) {
            if (peek(1).toLower() == letter) {
                m_at += 2;
                return wholeNumber(base, start);
            }
        }
    }
    const auto digits = [&] {
        while (isASCIIDigit(peek().unicode()))
            ++m_at;
    };
    const auto isDigit = [&](qsizetype offset) { return isASCIIDigit(peek(offset).unicode()); };
    bool isWhole = true;
    digits();
    if (peek() == u'.' && isDigit(1)) {
        isWhole = false;
        ++m_at;
        digits();
    }
    if (peek().toLower() == u'e') {
        const qsizetype sign = peek(1) == u'+' || peek(1) == u'-' ? 1 : 0;
        if (isDigit(1 + sign)) {
            isWhole = false;
            m_at += 1 + sign;
            digits();
        }
    }
    if (isNamePart(peek()))
        fail(m_format, start, QStringLiteral("this is no number"));
    const QStringView text = QStringView(m_format).mid(start, m_at - start);
    bool isRead = false;
    if (isWhole) {
        const quint64 value = text.toULongLong(&isRead);
        if (isRead)
            return value;
    }
    // A number beyond a double's range is an infinity.
    return text.toDouble();
}

PredicateToken PredicateLexer::argument() {
    PredicateToken token;
    token.kind = PredicateToken::Argument;
    token.position = m_at++;
    static const QString lengths = QStringLiteral("lhqz");
    const qsizetype start = m_at;
    while (m_at < m_format.size() && lengths.contains(peek()))
        ++m_at;
    const bool hasLength = m_at > start;
    const QChar conversion = peek();
    ++m_at;
    if (!conversion.isNull() && QStringLiteral("diuxXoc").contains(conversion))
        token.text = QStringLiteral("d");
    else if (!conversion.isNull() && QStringLiteral("feEgGaA").contains(conversion))
        token.text = QStringLiteral("f");
    else if (!hasLength && (conversion == u'@' || conversion == u'K' || conversion == u's'))
        token.text = conversion;
    else
        fail(m_format, token.position, QStringLiteral("this is no conversion"));
    return token;
}

PredicateToken PredicateLexer::sign() {
    // Those that begin with another one come before it.
    static const NeverDestroyed signs(
        QStringLiteral("== =< => <= >= != <> && || ** = < > ! ( ) { } [ ] , . + - * /").split(u' '));
    static const NeverDestroyed meanings(
        QHash<QString, QString>{{QStringLiteral("=<"), QStringLiteral("<=")},
                                {QStringLiteral("=>"), QStringLiteral(">=")},
                                {QStringLiteral("<>"), QStringLiteral("!=")},
                                {QStringLiteral("="), QStringLiteral("==")}});
    const QStringView rest = QStringView(m_format).mid(m_at);
    for (const QString &sign : *signs) {
        if (rest.startsWith(sign)) {
            PredicateToken token{PredicateToken::Sign, meanings->value(sign, sign), {}, m_at};
            m_at += sign.size();
            return token;
        }
    }
    fail(m_format, m_at, QStringLiteral("this character has no meaning here"));
}
