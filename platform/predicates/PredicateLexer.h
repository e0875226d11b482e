// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <QVariant>

namespace zr {

/// One word of a predicate's format.
struct PredicateToken {
    enum Kind {
        End,
        Word,     ///< a name or keyword; the text is it
        Escaped,  ///< a key path that is never a keyword
        Variable, ///< the text is the name without $
        String,   ///< the text is what stands between the quotes, escapes resolved
        Number,   ///< the value is it
        Argument, ///< the text is the conversion: "@", "K", "d", "f" or "s"
        Sign,     ///< the text is the sign, in one form for all that mean the same
    };
    Kind kind = End;
    QString text;
    QVariant value;
    /// Where it begins in the format.
    qsizetype position = 0;
};

/// Reads a predicate's format word by word.
class PredicateLexer {
public:
    explicit PredicateLexer(const QString &format) : m_format(format) {}

    /// The next word; raises what fail() does.
    PredicateToken next();
    /// Where the next word is looked for.
    qsizetype position() const { return m_at; }

    /// Raises NSInvalidArgumentException: the format can't be read at the position.
    [[noreturn]] static void fail(const QString &format, qsizetype position, const QString &why);

    /// The words that can't be the first of a key path as they are.
    static bool isReserved(QStringView word);
    static bool isNameStart(QChar c);
    static bool isNamePart(QChar c);

private:
    QChar peek(qsizetype offset = 0) const {
        return m_format.size() - m_at > offset ? m_format.at(m_at + offset) : QChar();
    }
    QString name();
    QString quoted();
    QChar escaped();
    PredicateToken argument();
    QVariant number();
    QVariant wholeNumber(int base, qsizetype start);
    PredicateToken sign();

    QString m_format;
    qsizetype m_at = 0;
};

} // namespace zr
