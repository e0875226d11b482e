// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/PredicateLexer.h"

#include <optional>

namespace zr {

/// Makes a predicate of a format. Looks at each word once, so the time is linear in the format's length; the
/// depth of nesting, and so the stack, is bounded.
class PredicateParser {
public:
    static NSPredicate parsed(const QString &format, const QVariantList &arguments);

private:
    /// What a stretch of the format is: only what follows a parenthesis tells which of the two stood in it.
    struct Item {
        NSPredicate predicate;
        NSExpression expression;
        qsizetype position = 0;
    };
    class Nesting;

    PredicateParser(const QString &format, const QVariantList &arguments);

    NSPredicate whole();
    Item alternatives();
    Item conjunction();
    Item negation();
    Item condition();
    Item sum();
    Item product();
    Item power();
    Item signedValue();
    Item value();

    NSPredicate quantified(QStringView quantifier);
    NSPredicate comparison(const NSExpression &left, NSComparisonPredicateModifier modifier);
    std::optional<NSPredicateOperatorType> comparisonOperator() const;
    NSComparisonPredicateOptions options();
    NSExpression named();
    NSExpression call(const QString &name, qsizetype start);
    NSExpression subquery();
    NSExpression argument();
    NSExpression steps(NSExpression expression);
    NSExpression index(const NSExpression &collection);
    QString keyPath(const QString &first);
    QString pathStep();
    QList<NSExpression> list(const char *end);
    static NSExpression wholeNumber(const QVariant &number, bool isNegative);

    static NSExpression function(const char *name, const QList<NSExpression> &arguments);
    NSPredicate requirePredicate(const Item &item);
    NSExpression requireExpression(const Item &item);
    QVariant takeArgument();

    bool isWord(const char *word) const;
    bool isSign(const char *sign) const;
    bool takeWord(const char *word);
    bool takeSign(const char *sign);
    void expectSign(const char *sign);
    void advance() { m_token = m_lexer.next(); }
    [[noreturn]] void fail(const QString &why) const { fail(m_token.position, why); }
    [[noreturn]] void fail(qsizetype position, const QString &why) const;

    QString m_format;
    QVariantList m_arguments;
    PredicateLexer m_lexer;
    PredicateToken m_token;
    qsizetype m_nextArgument = 0;
    int m_nesting = 0;
};

} // namespace zr
