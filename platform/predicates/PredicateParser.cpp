// SPDX-License-Identifier: MIT
#include "platform/predicates/PredicateParser.h"

#include "platform/base/NSException.h"
#include "platform/predicates/NSCompoundPredicate.h"
#include "platform/predicates/PredicateFunctions.h"
#include "platform/predicates/PredicateOperators.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace zr;

namespace {

bool isConstant(const NSExpression &expression) {
    const QList<NSExpression> elements = expression.elements();
    return expression.expressionType() == NSConstantValueExpressionType ||
           (expression.expressionType() == NSAggregateExpressionType &&
            std::all_of(elements.cbegin(), elements.cend(), isConstant));
}

} // namespace

/// Counts how deep the parser is inside itself. A tree that is written takes at most two such steps for each
/// of its levels.
class PredicateParser::Nesting {
public:
    explicit Nesting(PredicateParser &parser) : m_parser(parser) {
        constexpr int Deepest = 2 * NSPredicate::MaximumDepth + 8;
        if (m_parser.m_nesting >= Deepest)
            m_parser.fail(QStringLiteral("it is nested too deep"));
        ++m_parser.m_nesting;
    }
    ~Nesting() { --m_parser.m_nesting; }
    Nesting(const Nesting &) = delete;
    Nesting &operator=(const Nesting &) = delete;

private:
    PredicateParser &m_parser;
};

PredicateParser::PredicateParser(const QString &format, const QVariantList &arguments)
    : m_format(format), m_arguments(arguments), m_lexer(format) {
}

NSPredicate PredicateParser::parsed(const QString &format, const QVariantList &arguments) {
    PredicateParser parser(format, arguments);
    try {
        return parser.whole();
    } catch (const NSException &exception) {
        if (exception.userInfo().contains(NSPredicatePositionKey))
            throw;
        // A tree that can't be made, such as one that is too deep.
        parser.fail(exception.reason());
    }
}

NSPredicate PredicateParser::whole() {
    advance();
    NSPredicate predicate = requirePredicate(alternatives());
    if (m_token.kind != PredicateToken::End)
        fail(QStringLiteral("AND, OR or the end is expected"));
    if (m_nextArgument < m_arguments.size())
        fail(QStringLiteral("%1 arguments are given, %2 are asked for")
                 .arg(m_arguments.size())
                 .arg(m_nextArgument));
    return predicate;
}

void PredicateParser::fail(qsizetype position, const QString &why) const {
    PredicateLexer::fail(m_format, position, why);
}

// ---- Words

bool PredicateParser::isWord(const char *word) const {
    return m_token.kind == PredicateToken::Word &&
           m_token.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool PredicateParser::isSign(const char *sign) const {
    return m_token.kind == PredicateToken::Sign && m_token.text == QLatin1String(sign);
}

bool PredicateParser::takeWord(const char *word) {
    if (!isWord(word))
        return false;
    advance();
    return true;
}

bool PredicateParser::takeSign(const char *sign) {
    if (!isSign(sign))
        return false;
    advance();
    return true;
}

void PredicateParser::expectSign(const char *sign) {
    if (!takeSign(sign))
        fail(QStringLiteral("\"%1\" is expected").arg(QLatin1String(sign)));
}

NSPredicate PredicateParser::requirePredicate(const Item &item) {
    if (item.predicate.isNil())
        fail(QStringLiteral("a comparison is expected"));
    return item.predicate;
}

NSExpression PredicateParser::requireExpression(const Item &item) {
    if (item.expression.isNil())
        fail(item.position, QStringLiteral("a value is expected, not a condition"));
    return item.expression;
}

// ---- Conditions

PredicateParser::Item PredicateParser::alternatives() {
    Item first = conjunction();
    if (!isWord("OR") && !isSign("||"))
        return first;
    QList<NSPredicate> all{requirePredicate(first)};
    while (takeWord("OR") || takeSign("||"))
        all.append(requirePredicate(conjunction()));
    return {NSCompoundPredicate::orPredicateWithSubpredicates(all), {}, first.position};
}

PredicateParser::Item PredicateParser::conjunction() {
    Item first = negation();
    if (!isWord("AND") && !isSign("&&"))
        return first;
    QList<NSPredicate> all{requirePredicate(first)};
    while (takeWord("AND") || takeSign("&&"))
        all.append(requirePredicate(negation()));
    return {NSCompoundPredicate::andPredicateWithSubpredicates(all), {}, first.position};
}

PredicateParser::Item PredicateParser::negation() {
    const qsizetype position = m_token.position;
    if (!isWord("NOT") && !isSign("!"))
        return condition();
    const Nesting nesting(*this);
    advance();
    return {NSCompoundPredicate::notPredicateWithSubpredicate(requirePredicate(negation())), {}, position};
}

PredicateParser::Item PredicateParser::condition() {
    const qsizetype position = m_token.position;
    if (takeWord("TRUEPREDICATE"))
        return {NSPredicate::predicateWithValue(true), {}, position};
    if (takeWord("FALSEPREDICATE"))
        return {NSPredicate::predicateWithValue(false), {}, position};
    for (const char *quantifier : {"ANY", "SOME", "ALL", "NONE"}) {
        if (isWord(quantifier))
            return {quantified(QString::fromLatin1(quantifier)), {}, position};
    }
    Item left = sum();
    if (left.expression.isNil() || !comparisonOperator())
        return left;
    return {comparison(left.expression, NSDirectPredicateModifier), {}, position};
}

NSPredicate PredicateParser::quantified(QStringView quantifier) {
    advance();
    const NSExpression left = requireExpression(sum());
    const bool isAll = quantifier == QStringLiteral("ALL");
    const NSPredicate predicate = comparison(left, isAll ? NSAllPredicateModifier : NSAnyPredicateModifier);
    return quantifier == QStringLiteral("NONE") ? NSCompoundPredicate::notPredicateWithSubpredicate(predicate)
                                                : predicate;
}

std::optional<NSPredicateOperatorType> PredicateParser::comparisonOperator() const {
    if (m_token.kind == PredicateToken::Sign || m_token.kind == PredicateToken::Word) {
        for (const auto &[text, type] : PredicateOperators)
            if (m_token.text.compare(text, Qt::CaseInsensitive) == 0)
                return type;
    }
    return {};
}

NSComparisonPredicateOptions PredicateParser::options() {
    if (!takeSign("["))
        return 0;
    NSComparisonPredicateOptions options = 0;
    if (m_token.kind != PredicateToken::Word)
        fail(QStringLiteral("options are expected"));
    for (const QChar letter : std::as_const(m_token.text)) {
        const qsizetype option = QStringLiteral("cdn").indexOf(letter.toLower());
        if (option < 0)
            fail(QStringLiteral("there is no such option"));
        options |= 1U << option;
    }
    advance();
    expectSign("]");
    return options;
}

NSPredicate PredicateParser::comparison(const NSExpression &left, NSComparisonPredicateModifier modifier) {
    const auto type = comparisonOperator();
    if (!type)
        fail(QStringLiteral("an operator is expected"));
    advance();
    const NSComparisonPredicateOptions chosen = options();
    const NSExpression right = requireExpression(sum());
    return NSComparisonPredicate(left, right, modifier, *type, chosen);
}

// ---- Values

NSExpression PredicateParser::function(const char *name, const QList<NSExpression> &arguments) {
    return NSExpression::expressionForFunction(QString::fromLatin1(name), arguments);
}

PredicateParser::Item PredicateParser::sum() {
    Item left = product();
    while (!left.expression.isNil() && (isSign("+") || isSign("-"))) {
        const char *name = isSign("+") ? "add:to:" : "from:subtract:";
        advance();
        left.expression = function(name, {left.expression, requireExpression(product())});
    }
    return left;
}

PredicateParser::Item PredicateParser::product() {
    Item left = power();
    while (!left.expression.isNil() && (isSign("*") || isSign("/"))) {
        const char *name = isSign("*") ? "multiply:by:" : "divide:by:";
        advance();
        left.expression = function(name, {left.expression, requireExpression(power())});
    }
    return left;
}

PredicateParser::Item PredicateParser::power() {
    Item left = signedValue();
    if (left.expression.isNil() || !isSign("**"))
        return left;
    const Nesting nesting(*this);
    advance();
    left.expression = function("raise:toPower:", {left.expression, requireExpression(power())});
    return left;
}

NSExpression PredicateParser::wholeNumber(const QVariant &number, bool isNegative) {
    constexpr auto Largest = quint64(std::numeric_limits<qint64>::max());
    if (number.typeId() == QMetaType::Double)
        return NSExpression::expressionForConstantValue(isNegative ? -number.toDouble() : number.toDouble());
    const quint64 magnitude = number.toULongLong();
    if (!isNegative)
        return NSExpression::expressionForConstantValue(magnitude > Largest ? QVariant(magnitude)
                                                                            : QVariant(qint64(magnitude)));
    if (magnitude > Largest + 1)
        return NSExpression::expressionForConstantValue(-double(magnitude));
    return NSExpression::expressionForConstantValue(qint64(0 - magnitude));
}

PredicateParser::Item PredicateParser::signedValue() {
    if (!isSign("-"))
        return value();
    const Nesting nesting(*this);
    const qsizetype position = m_token.position;
    advance();
    if (m_token.kind == PredicateToken::Number) {
        const NSExpression number = wholeNumber(m_token.value, true);
        advance();
        return {{}, steps(number), position};
    }
    return {{}, function("negate:", {requireExpression(signedValue())}), position};
}

PredicateParser::Item PredicateParser::value() {
    const qsizetype position = m_token.position;
    const Nesting nesting(*this);
    if (takeSign("(")) {
        Item inner = alternatives();
        expectSign(")");
        if (!inner.expression.isNil())
            inner.expression = steps(inner.expression);
        inner.position = position;
        return inner;
    }
    NSExpression expression;
    switch (m_token.kind) {
    case PredicateToken::String:
        expression = NSExpression::expressionForConstantValue(m_token.text);
        advance();
        break;
    case PredicateToken::Number:
        expression = wholeNumber(m_token.value, false);
        advance();
        break;
    case PredicateToken::Variable:
        expression = NSExpression::expressionForVariable(m_token.text);
        advance();
        break;
    case PredicateToken::Argument:
        expression = argument();
        break;
    case PredicateToken::Escaped: {
        const QString first = m_token.text;
        advance();
        expression = NSExpression::expressionForKeyPath(keyPath(first));
        break;
    }
    case PredicateToken::Word:
        expression = named();
        break;
    case PredicateToken::Sign:
        if (isSign("{")) {
            advance();
            expression = NSExpression::expressionForAggregate(list("}"));
            break;
        }
        [[fallthrough]];
    case PredicateToken::End:
        fail(QStringLiteral("a value is expected"));
    }
    return {{}, steps(expression), position};
}

QList<NSExpression> PredicateParser::list(const char *end) {
    QList<NSExpression> elements;
    if (takeSign(end))
        return elements;
    do
        elements.append(requireExpression(sum()));
    while (takeSign(","));
    expectSign(end);
    return elements;
}

NSExpression PredicateParser::named() {
    const QString word = m_token.text;
    const qsizetype start = m_token.position;
    const auto constant = [](const QVariant &value) {
        return NSExpression::expressionForConstantValue(value);
    };
    if (takeWord("TRUE") || takeWord("YES"))
        return constant(true);
    if (takeWord("FALSE") || takeWord("NO"))
        return constant(false);
    if (takeWord("NIL") || takeWord("NULL"))
        return constant(QVariant());
    if (takeWord("SELF"))
        return NSExpression::expressionForEvaluatedObject();
    advance();
    if (takeSign("("))
        return word.compare(QStringLiteral("SUBQUERY"), Qt::CaseInsensitive) == 0 ? subquery()
                                                                                  : call(word, start);
    const bool isAllowed =
        QStringList{QStringLiteral("FIRST"), QStringLiteral("LAST"), QStringLiteral("SIZE")}.contains(
            word, Qt::CaseInsensitive);
    if (PredicateLexer::isReserved(word) && !isAllowed)
        fail(start, QStringLiteral("a value is expected; a key of this name is written #%1").arg(word));
    return NSExpression::expressionForKeyPath(keyPath(word));
}

NSExpression PredicateParser::call(const QString &name, qsizetype start) {
    const PredicateFunction *called = PredicateFunction::written(name);
    if (!called)
        fail(start, QStringLiteral("there is no function of this name"));
    const QList<NSExpression> arguments = list(")");
    if (arguments.size() < called->least || arguments.size() > called->most)
        fail(start, QStringLiteral("the function doesn't take %1 arguments").arg(arguments.size()));
    NSExpression result = function(called->name.data(), arguments);
    if (called->name != QLatin1String("castObject:toType:") ||
        !std::all_of(arguments.cbegin(), arguments.cend(), isConstant))
        return result;
    // A cast of a constant is how constants without a form of their own are written.
    try {
        const QVariant value = result.expressionValueWithObject({});
        switch (kindOf(value)) {
        case ValueKind::Array:
        case ValueKind::String:
        case ValueKind::Nil:
            return result;
        case ValueKind::Number:
            return std::isfinite(NSObjectRuntime::doubleValue(value))
                       ? result
                       : NSExpression::expressionForConstantValue(value);
        default:
            return NSExpression::expressionForConstantValue(value);
        }
    } catch (const NSException &exception) {
        fail(start, exception.reason());
    }
}

NSExpression PredicateParser::subquery() {
    const NSExpression collection = requireExpression(sum());
    expectSign(",");
    if (m_token.kind != PredicateToken::Variable)
        fail(QStringLiteral("a variable is expected"));
    const QString variable = m_token.text;
    advance();
    expectSign(",");
    const NSPredicate predicate = requirePredicate(alternatives());
    expectSign(")");
    return NSExpression::expressionForSubquery(collection, variable, predicate);
}

QVariant PredicateParser::takeArgument() {
    if (m_nextArgument >= m_arguments.size())
        fail(QStringLiteral("only %1 arguments are given").arg(m_arguments.size()));
    return m_arguments.at(m_nextArgument++);
}

NSExpression PredicateParser::argument() {
    const QString conversion = m_token.text;
    const qsizetype position = m_token.position;
    const QVariant value = takeArgument();
    const ValueKind kind = kindOf(value);
    if (conversion == QStringLiteral("K")) {
        if (kind != ValueKind::String || value.toString().isEmpty())
            fail(position, QStringLiteral("the argument for %K is no key path"));
        advance();
        return NSExpression::expressionForKeyPath(keyPath(value.toString()));
    }
    advance();
    if (conversion == QStringLiteral("@")) {
        if (value.metaType() == QMetaType::fromType<NSExpression>() && !value.value<NSExpression>().isNil())
            return value.value<NSExpression>();
        return NSExpression::expressionForConstantValue(value);
    }
    if (conversion == QStringLiteral("s")) {
        if (kind != ValueKind::String)
            fail(position, QStringLiteral("the argument for %s is no text"));
        return NSExpression::expressionForConstantValue(value);
    }
    if (kind != ValueKind::Number && kind != ValueKind::Decimal)
        fail(position, QStringLiteral("the argument is no number"));
    const double real = NSObjectRuntime::doubleValue(value);
    if (conversion == QStringLiteral("f"))
        return NSExpression::expressionForConstantValue(real);
    switch (value.typeId()) {
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return wholeNumber(value.toULongLong(), false);
    case QMetaType::Float:
    case QMetaType::Double:
        break;
    default:
        if (kind == ValueKind::Number)
            return NSExpression::expressionForConstantValue(value.toLongLong());
    }
    if (!(std::fabs(real) < 0x1p63))
        fail(position, QStringLiteral("the argument is no integer"));
    return NSExpression::expressionForConstantValue(qint64(real));
}

// ---- Key paths and indexes

QString PredicateParser::pathStep() {
    QString step;
    if (m_token.kind == PredicateToken::Word || m_token.kind == PredicateToken::Escaped) {
        step = m_token.text;
    } else if (m_token.kind == PredicateToken::Argument && m_token.text == QStringLiteral("K")) {
        step = takeArgument().toString();
        if (step.isEmpty())
            fail(QStringLiteral("the argument for %K is no key path"));
    } else {
        fail(QStringLiteral("a key is expected after the point"));
    }
    advance();
    return step;
}

QString PredicateParser::keyPath(const QString &first) {
    QString path = first;
    while (takeSign("."))
        path += u'.' + pathStep();
    return path;
}

NSExpression PredicateParser::steps(NSExpression expression) {
    while (isSign(".") || isSign("[")) {
        expression = takeSign(".") ? NSExpression::expressionForKeyPath(expression, keyPath(pathStep()))
                                   : index(expression);
    }
    return expression;
}

NSExpression PredicateParser::index(const NSExpression &collection) {
    expectSign("[");
    NSExpression result;
    if (takeWord("SIZE")) {
        result = function("count:", {collection});
    } else if (isWord("FIRST") || isWord("LAST")) {
        const qint64 at = isWord("FIRST") ? 0 : -1;
        advance();
        result =
            function("objectFrom:withIndex:", {collection, NSExpression::expressionForConstantValue(at)});
    } else {
        result = function("objectFrom:withIndex:", {collection, requireExpression(sum())});
    }
    expectSign("]");
    return result;
}
