// SPDX-License-Identifier: MIT
#include "platform/predicates/PredicateWriter.h"

#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/NSCompoundPredicate.h"
#include "platform/predicates/PredicateFunctions.h"
#include "platform/predicates/PredicateLexer.h"
#include "platform/predicates/PredicateOperators.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NumberText.h"
#include "platform/values/ValueKind.h"

#include <QDateTime>
#include <QStringList>
#include <QUrl>
#include <QUuid>
#include <algorithm>
#include <cmath>

using namespace zr;

namespace {

// ---- Constants

QString quoted(const QString &text) {
    QString result = QStringLiteral("\"");
    for (const QChar c : text) {
        const qsizetype escape = QStringLiteral("\"\\\n\r\t").indexOf(c);
        if (escape >= 0)
            result += QStringLiteral("\\") + QStringLiteral("\"\\nrt").at(escape);
        else if (c.unicode() < 0x20 || c.isSurrogate())
            result += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result + u'"';
}

QString cast(const QString &text, const char *type) {
    return QStringLiteral("CAST(%1, \"%2\")").arg(text, QLatin1String(type));
}

QString number(const QVariant &value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
    case QMetaType::Float:
    case QMetaType::Double: {
        const double real = value.toDouble();
        const QString text = NumberText::text(real);
        if (!std::isfinite(real))
            return cast(quoted(text), "NSNumber");
        const bool isReal = text.contains(u'.') || text.contains(u'e');
        return isReal ? text : text + QStringLiteral(".0");
    }
    default:
        return NSObjectRuntime::stringValue(value);
    }
}

QString constant(const QVariant &value);

QString list(const QVariantList &values) {
    QStringList texts;
    for (const QVariant &value : values)
        texts.append(constant(value));
    return u'{' + texts.join(QStringLiteral(", ")) + u'}';
}

QString dictionary(const QVariantMap &entries) {
    QStringList texts;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it)
        texts << quoted(it.key()) << constant(it.value());
    return cast(u'{' + texts.join(QStringLiteral(", ")) + u'}', "NSDictionary");
}

/// In the order of the texts: a set has none of its own.
QString set(const NSSet &members) {
    QStringList texts;
    for (const QVariant &member : members)
        texts.append(constant(member));
    texts.sort();
    return cast(u'{' + texts.join(QStringLiteral(", ")) + u'}', "NSSet");
}

QString constant(const QVariant &value) {
    switch (kindOf(value)) {
    case ValueKind::Nil:
        return QStringLiteral("nil");
    case ValueKind::Null:
        return cast(QStringLiteral("nil"), "NSNull");
    case ValueKind::Number:
        return number(value);
    case ValueKind::Decimal:
        return cast(quoted(NSObjectRuntime::stringValue(value)), "NSDecimalNumber");
    case ValueKind::String:
        return quoted(held<QString>(value));
    case ValueKind::Data:
        return cast(quoted(QString::fromLatin1(held<QByteArray>(value).toBase64())), "NSData");
    case ValueKind::Date: {
        const qint64 milliseconds =
            QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC).msecsTo(held<QDateTime>(value));
        return cast(number(double(milliseconds) / 1000), "NSDate");
    }
    case ValueKind::URL:
        return cast(quoted(held<QUrl>(value).toString(QUrl::FullyEncoded)), "NSURL");
    case ValueKind::Array:
        return list(arrayOf(value));
    case ValueKind::Set:
        return set(held<NSSet>(value));
    case ValueKind::Dictionary:
        return dictionary(dictionaryOf(value));
    case ValueKind::Object:
    case ValueKind::Gadget:
    case ValueKind::Other:
        break;
    }
    if (value.typeId() == QMetaType::QUuid)
        return cast(quoted(value.toUuid().toString(QUuid::WithoutBraces)), "NSUUID");
    return cast(quoted(NSObjectRuntime::description(value)),
                NSObjectRuntime::className(value).toUtf8().constData());
}

// ---- Expressions

constexpr int Primary = 5; // closer than every sign

bool isPlainPath(const QString &path, bool isFirst) {
    const QStringList keys = path.split(u'.');
    if (isFirst && PredicateLexer::isReserved(keys.constFirst()))
        return false;
    return std::all_of(keys.cbegin(), keys.cend(), [](const QString &key) {
        const qsizetype start = key.startsWith(u'@') ? 1 : 0;
        return key.size() > start && PredicateLexer::isNameStart(key.at(start)) &&
               std::all_of(key.cbegin() + start, key.cend(), PredicateLexer::isNamePart);
    });
}

QString keyPath(const QString &path, bool isFirst) {
    if (isPlainPath(path, isFirst))
        return path;
    return isPlainPath(path, false) && !path.startsWith(u'@') ? u'#' + path : u'#' + quoted(path);
}

int precedence(const NSExpression &expression) {
    const PredicateFunction *function = PredicateFunction::named(expression.function());
    return function && function->precedence ? function->precedence : Primary;
}

/// In parentheses where it binds less than is asked.
QString expressionText(const NSExpression &expression, int least);

QString joined(const QList<NSExpression> &expressions) {
    QStringList texts;
    for (const NSExpression &expression : expressions)
        texts.append(expressionText(expression, 0));
    return texts.join(QStringLiteral(", "));
}

QString functionText(const NSExpression &expression) {
    const PredicateFunction &function = *PredicateFunction::named(expression.function());
    const QList<NSExpression> arguments = expression.arguments();
    const QString written(function.text);
    const int own = function.precedence;
    if (function.name == QLatin1String("negate:")) {
        const QString operand = expressionText(arguments.at(0), own);
        // A sign before digits belongs to the number.
        const bool isDigit = operand.at(0).unicode() < 0x80 && operand.at(0).isDigit();
        return isDigit ? QStringLiteral("-(%1)").arg(operand) : u'-' + operand;
    }
    if (own > 0) {
        // Powers group to the right, the other signs to the left.
        const bool isPower = function.name == QLatin1String("raise:toPower:");
        return expressionText(arguments.at(0), isPower ? own + 1 : own) + u' ' + written + u' ' +
               expressionText(arguments.at(1), isPower ? own : own + 1);
    }
    if (function.name == QLatin1String("objectFrom:withIndex:"))
        return expressionText(arguments.at(0), Primary) + u'[' + expressionText(arguments.at(1), 0) + u']';
    return written + u'(' + joined(arguments) + u')';
}

QString bareText(const NSExpression &expression) {
    switch (expression.expressionType()) {
    case NSConstantValueExpressionType:
        return constant(expression.constantValue());
    case NSEvaluatedObjectExpressionType:
        return QStringLiteral("SELF");
    case NSVariableExpressionType:
        return u'$' + expression.variable();
    case NSKeyPathExpressionType:
        if (expression.operand().isNil())
            return keyPath(expression.keyPath(), true);
        // Two paths aren't one: an operator takes all of its own path.
        if (expression.operand().expressionType() == NSKeyPathExpressionType)
            return u'(' + bareText(expression.operand()) + QStringLiteral(").") +
                   keyPath(expression.keyPath(), false);
        return expressionText(expression.operand(), Primary) + u'.' + keyPath(expression.keyPath(), false);
    case NSFunctionExpressionType:
        return functionText(expression);
    case NSAggregateExpressionType:
        return u'{' + joined(expression.elements()) + u'}';
    case NSSubqueryExpressionType:
        return QStringLiteral("SUBQUERY(") + expressionText(expression.collection(), 0) +
               QStringLiteral(", $") + expression.variable() + QStringLiteral(", ") +
               expression.predicate().predicateFormat() + u')';
    }
    return {};
}

QString expressionText(const NSExpression &expression, int least) {
    const QString text = bareText(expression);
    return precedence(expression) < least ? u'(' + text + u')' : text;
}

// ---- Predicates

QString operatorText(NSPredicateOperatorType type) {
    return std::find_if(PredicateOperators.begin(), PredicateOperators.end(),
                        [&](const PredicateOperator &each) { return each.type == type; })
        ->text;
}

QString optionText(NSComparisonPredicateOptions options) {
    QString letters;
    if (options & NSCaseInsensitivePredicateOption)
        letters += u'c';
    if (options & NSDiacriticInsensitivePredicateOption)
        letters += u'd';
    if (options & NSNormalizedPredicateOption)
        letters += u'n';
    return letters.isEmpty() ? QString() : u'[' + letters + u']';
}

QString comparisonText(const NSComparisonPredicate &comparison) {
    QString text;
    if (comparison.comparisonPredicateModifier() == NSAllPredicateModifier)
        text = QStringLiteral("ALL ");
    else if (comparison.comparisonPredicateModifier() == NSAnyPredicateModifier)
        text = QStringLiteral("ANY ");
    return text + expressionText(comparison.leftExpression(), 0) + u' ' +
           operatorText(comparison.predicateOperatorType()) + optionText(comparison.options()) + u' ' +
           expressionText(comparison.rightExpression(), 0);
}

QString compoundText(const NSCompoundPredicate &compound);

/// A part of a compound, in parentheses where it joins several itself.
QString partText(const NSPredicate &predicate) {
    const auto compound = NSCompoundPredicate::from(predicate);
    if (!compound)
        return PredicateWriter::text(predicate);
    const QList<NSPredicate> parts = compound->subpredicates();
    if (compound->compoundPredicateType() == NSNotPredicateType)
        return compoundText(*compound);
    return parts.size() == 1 ? partText(parts.constFirst())
           : parts.isEmpty() ? compoundText(*compound)
                             : u'(' + compoundText(*compound) + u')';
}

QString compoundText(const NSCompoundPredicate &compound) {
    const QList<NSPredicate> parts = compound.subpredicates();
    if (compound.compoundPredicateType() == NSNotPredicateType)
        return QStringLiteral("NOT ") + partText(parts.constFirst());
    const bool isAnd = compound.compoundPredicateType() == NSAndPredicateType;
    if (parts.isEmpty())
        return isAnd ? QStringLiteral("TRUEPREDICATE") : QStringLiteral("FALSEPREDICATE");
    if (parts.size() == 1)
        return PredicateWriter::text(parts.constFirst());
    QStringList texts;
    for (const NSPredicate &part : parts)
        texts.append(partText(part));
    return texts.join(isAnd ? QStringLiteral(" AND ") : QStringLiteral(" OR "));
}

} // namespace

namespace zr::PredicateWriter {

QString text(const NSPredicate &predicate) {
    if (const auto comparison = NSComparisonPredicate::from(predicate))
        return comparisonText(*comparison);
    if (const auto compound = NSCompoundPredicate::from(predicate))
        return compoundText(*compound);
    if (predicate.predicateKind() == NSBlockPredicateKind)
        return QStringLiteral("BLOCKPREDICATE()");
    return predicate.value() ? QStringLiteral("TRUEPREDICATE") : QStringLiteral("FALSEPREDICATE");
}

QString text(const NSExpression &expression) {
    return expression.isNil() ? QStringLiteral("nil") : expressionText(expression, 0);
}

} // namespace zr::PredicateWriter
