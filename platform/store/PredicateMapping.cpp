// SPDX-License-Identifier: MIT
#include "platform/store/PredicateMapping.h"

#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/NSCompoundPredicate.h"
#include "platform/store/EntityClass.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

namespace {

using Replacement = std::function<QVariant(const QVariant &)>;

QVariant replaced(const QVariant &value, const Replacement &replacement) {
    const ValueKind kind = kindOf(value);
    if (kind != ValueKind::Array && kind != ValueKind::Set)
        return replacement(value);
    QVariantList elements = arrayOf(value);
    for (QVariant &element : elements)
        element = replaced(element, replacement);
    return kind == ValueKind::Array ? QVariant(elements)
                                    : QVariant::fromValue(NSSet(elements.begin(), elements.end()));
}

NSExpression mapped(const NSExpression &expression, const Replacement &replacement) {
    if (expression.isNil())
        return expression;
    const auto all = [&](const QList<NSExpression> &expressions) {
        QList<NSExpression> list;
        for (const NSExpression &each : expressions)
            list << mapped(each, replacement);
        return list;
    };
    switch (expression.expressionType()) {
    case NSConstantValueExpressionType:
        return NSExpression::expressionForConstantValue(replaced(expression.constantValue(), replacement));
    case NSKeyPathExpressionType:
        return expression.operand().isNil()
                   ? expression
                   : NSExpression::expressionForKeyPath(mapped(expression.operand(), replacement),
                                                        expression.keyPath());
    case NSFunctionExpressionType:
        return NSExpression::expressionForFunction(expression.function(), all(expression.arguments()));
    case NSAggregateExpressionType:
        return NSExpression::expressionForAggregate(all(expression.elements()));
    case NSSubqueryExpressionType:
        return NSExpression::expressionForSubquery(
            mapped(expression.collection(), replacement), expression.variable(),
            predicateWithConstants(expression.predicate(), replacement));
    case NSEvaluatedObjectExpressionType:
    case NSVariableExpressionType:
        break;
    }
    return expression;
}

bool looksBeyond(const NSExpression &expression, const EntityClass &entityClass) {
    const auto any = [&](const QList<NSExpression> &expressions) {
        return std::any_of(expressions.begin(), expressions.end(),
                           [&](const NSExpression &each) { return looksBeyond(each, entityClass); });
    };
    if (expression.isNil())
        return false;
    switch (expression.expressionType()) {
    case NSKeyPathExpressionType:
        return !expression.operand().isNil() || looksBeyondObject(expression.keyPath(), entityClass);
    case NSFunctionExpressionType:
        return any(expression.arguments());
    case NSAggregateExpressionType:
        return any(expression.elements());
    case NSSubqueryExpressionType:
        return true;
    default:
        return false;
    }
}

} // namespace

NSPredicate zr::predicateWithConstants(const NSPredicate &predicate, const Replacement &replacement) {
    if (predicate.isNil())
        return predicate;
    if (const auto comparison = NSComparisonPredicate::from(predicate))
        return NSComparisonPredicate(mapped(comparison->leftExpression(), replacement),
                                     mapped(comparison->rightExpression(), replacement),
                                     comparison->comparisonPredicateModifier(),
                                     comparison->predicateOperatorType(), comparison->options());
    const auto compound = NSCompoundPredicate::from(predicate);
    if (!compound)
        return predicate;
    QList<NSPredicate> parts;
    for (const auto subpredicates = compound->subpredicates(); const NSPredicate &part : subpredicates)
        parts << predicateWithConstants(part, replacement);
    switch (compound->compoundPredicateType()) {
    case NSAndPredicateType:
        return NSCompoundPredicate::andPredicateWithSubpredicates(parts);
    case NSOrPredicateType:
        return NSCompoundPredicate::orPredicateWithSubpredicates(parts);
    case NSNotPredicateType:
        break;
    }
    return NSCompoundPredicate::notPredicateWithSubpredicate(parts.first());
}

bool zr::looksBeyondObject(const NSPredicate &predicate, const EntityClass &entityClass) {
    if (predicate.isNil() || predicate.predicateKind() == NSValuePredicateKind)
        return false;
    if (const auto comparison = NSComparisonPredicate::from(predicate))
        return looksBeyond(comparison->leftExpression(), entityClass) ||
               looksBeyond(comparison->rightExpression(), entityClass);
    const auto compound = NSCompoundPredicate::from(predicate);
    if (!compound)
        return true; // a block may look at anything
    const auto parts = compound->subpredicates();
    return std::any_of(parts.begin(), parts.end(),
                       [&](const NSPredicate &part) { return looksBeyondObject(part, entityClass); });
}

bool zr::looksBeyondObject(const QString &keyPath, const EntityClass &entityClass) {
    const int index = entityClass.entity()->indexOfProperty(keyPath);
    return index < 0 ? keyPath.contains(QLatin1Char('.')) : entityClass.property(index).toMany >= 0;
}
