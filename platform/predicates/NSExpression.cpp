// SPDX-License-Identifier: MIT
#include "platform/predicates/NSExpression.h"

#include "platform/base/NSException.h"
#include "platform/predicates/NSPredicate.h"
#include "platform/predicates/PredicateFunctions.h"
#include "platform/predicates/PredicateWriter.h"
#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

struct NSExpression::Node {
    NSExpressionType type = NSEvaluatedObjectExpressionType;
    QVariant constant = {};
    /// Key path, variable or function.
    QString name = {};
    /// Arguments, elements, a key path's operand or a subquery's collection.
    QList<NSExpression> children = {};
    NSPredicate predicate = {};
    const PredicateFunction *function = nullptr;
    int depth = 1;
};

namespace {

/// How high the containers in a value are, counted no further than the limit.
int valueDepth(const QVariant &value, int limit) {
    int deepest = 0;
    const auto look = [&](const auto &container) {
        if (limit > 0) {
            for (auto it = container.cbegin(); it != container.cend(); ++it)
                deepest = std::max(deepest, 1 + valueDepth(*it, limit - 1));
        }
        deepest = std::max(deepest, 1);
    };
    switch (kindOf(value)) {
    case ValueKind::Array:
        if (value.typeId() == QMetaType::QStringList)
            return 1;
        look(arrayOf(value));
        break;
    case ValueKind::Set:
        look(held<NSSet>(value));
        break;
    case ValueKind::Dictionary:
        look(dictionaryOf(value));
        break;
    default:
        break;
    }
    return deepest;
}

void requireDepth(int depth) {
    if (depth > NSExpression::MaximumDepth)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("An expression is nested deeper than %1.").arg(NSExpression::MaximumDepth));
}

void requireThere(const NSExpression &expression) {
    if (expression.isNil())
        throw NSException(NSInvalidArgumentException, QStringLiteral("A part of an expression is nil."));
}

void requireName(const QString &name) {
    if (name.isEmpty())
        throw NSException(NSInvalidArgumentException, QStringLiteral("A name in an expression is empty."));
}

} // namespace

NSExpression::NSExpression(Node node) {
    int deepest = node.predicate.depth();
    for (const NSExpression &child : std::as_const(node.children)) {
        requireThere(child);
        deepest = std::max(deepest, child.depth());
    }
    if (node.type == NSConstantValueExpressionType)
        deepest = valueDepth(node.constant, MaximumDepth);
    node.depth = deepest + 1;
    requireDepth(node.depth);
    m_node = std::make_shared<const Node>(std::move(node));
}

NSExpression NSExpression::expressionForConstantValue(const QVariant &value) {
    return NSExpression(
        Node{.type = NSConstantValueExpressionType, .constant = NSIsNil(value) ? QVariant() : value});
}

NSExpression NSExpression::expressionForEvaluatedObject() {
    return NSExpression(Node());
}

NSExpression NSExpression::expressionForVariable(const QString &name) {
    requireName(name);
    return NSExpression(Node{.type = NSVariableExpressionType, .name = name});
}

NSExpression NSExpression::expressionForKeyPath(const QString &keyPath) {
    requireName(keyPath);
    return NSExpression(Node{.type = NSKeyPathExpressionType, .name = keyPath});
}

NSExpression NSExpression::expressionForKeyPath(const NSExpression &operand, const QString &keyPath) {
    requireName(keyPath);
    requireThere(operand);
    if (operand.expressionType() == NSEvaluatedObjectExpressionType)
        return expressionForKeyPath(keyPath);
    return NSExpression(Node{.type = NSKeyPathExpressionType, .name = keyPath, .children = {operand}});
}

NSExpression NSExpression::expressionForFunction(const QString &name, const QList<NSExpression> &arguments) {
    const PredicateFunction *function = PredicateFunction::named(name);
    if (!function)
        throw NSException(NSInvalidArgumentException, QStringLiteral("There is no function %1.").arg(name));
    if (arguments.size() < function->least || arguments.size() > function->most)
        throw NSException(
            NSInvalidArgumentException,
            QStringLiteral("The function %1 doesn't take %2 arguments.").arg(name).arg(arguments.size()));
    return NSExpression(
        Node{.type = NSFunctionExpressionType, .name = name, .children = arguments, .function = function});
}

NSExpression NSExpression::expressionForAggregate(const QList<NSExpression> &elements) {
    return NSExpression(Node{.type = NSAggregateExpressionType, .children = elements});
}

NSExpression NSExpression::expressionForSubquery(const NSExpression &collection, const QString &variable,
                                                 const NSPredicate &predicate) {
    requireName(variable);
    if (predicate.isNil())
        throw NSException(NSInvalidArgumentException, QStringLiteral("A subquery's predicate is nil."));
    return NSExpression(Node{.type = NSSubqueryExpressionType,
                             .name = variable,
                             .children = {collection},
                             .predicate = predicate});
}

NSExpressionType NSExpression::expressionType() const {
    return m_node ? m_node->type : NSConstantValueExpressionType;
}

QVariant NSExpression::constantValue() const {
    return m_node ? m_node->constant : QVariant();
}

QString NSExpression::variable() const {
    const NSExpressionType type = expressionType();
    return type == NSVariableExpressionType || type == NSSubqueryExpressionType ? m_node->name : QString();
}

QString NSExpression::keyPath() const {
    return expressionType() == NSKeyPathExpressionType ? m_node->name : QString();
}

QString NSExpression::function() const {
    return expressionType() == NSFunctionExpressionType ? m_node->name : QString();
}

NSExpression NSExpression::operand() const {
    return expressionType() == NSKeyPathExpressionType ? m_node->children.value(0) : NSExpression();
}

QList<NSExpression> NSExpression::arguments() const {
    return expressionType() == NSFunctionExpressionType ? m_node->children : QList<NSExpression>();
}

QList<NSExpression> NSExpression::elements() const {
    return expressionType() == NSAggregateExpressionType ? m_node->children : QList<NSExpression>();
}

NSExpression NSExpression::collection() const {
    return expressionType() == NSSubqueryExpressionType ? m_node->children.value(0) : NSExpression();
}

NSPredicate NSExpression::predicate() const {
    return m_node ? m_node->predicate : NSPredicate();
}

int NSExpression::depth() const {
    return m_node ? m_node->depth : 0;
}

QVariant NSExpression::expressionValueWithObject(const QVariant &object, const QVariantMap &context) const {
    if (!m_node)
        return {};
    const auto childValue = [&](const NSExpression &child) {
        return child.expressionValueWithObject(object, context);
    };
    switch (m_node->type) {
    case NSConstantValueExpressionType:
        return m_node->constant;
    case NSEvaluatedObjectExpressionType:
        return object;
    case NSVariableExpressionType: {
        const auto it = context.constFind(m_node->name);
        if (it == context.constEnd())
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("The variable $%1 has no value.").arg(m_node->name));
        return *it;
    }
    case NSKeyPathExpressionType:
        return NSKeyValueCoding::valueForKeyPath(
            m_node->children.isEmpty() ? object : childValue(m_node->children.constFirst()), m_node->name);
    case NSFunctionExpressionType:
    case NSAggregateExpressionType: {
        QVariantList values;
        values.reserve(m_node->children.size());
        for (const NSExpression &child : m_node->children)
            values.append(childValue(child));
        return m_node->function ? m_node->function->apply(values) : QVariant(values);
    }
    case NSSubqueryExpressionType: {
        const QVariant collection = childValue(m_node->children.constFirst());
        QVariantMap inner = context;
        QVariantList selected;
        for (const QVariantList elements = arrayOf(collection); const QVariant &element : elements) {
            inner.insert(m_node->name, element);
            if (m_node->predicate.evaluateWithObject(object, inner))
                selected.append(element);
        }
        return selected;
    }
    }
    return {};
}

NSExpression NSExpression::expressionWithSubstitutionVariables(const QVariantMap &variables) const {
    if (!m_node)
        return {};
    if (m_node->type == NSVariableExpressionType) {
        const auto it = variables.constFind(m_node->name);
        if (it == variables.constEnd())
            return *this;
        return it->metaType() == QMetaType::fromType<NSExpression>() ? it->value<NSExpression>()
                                                                     : expressionForConstantValue(*it);
    }
    if (m_node->children.isEmpty())
        return *this;
    Node node = *m_node;
    for (NSExpression &child : node.children)
        child = child.expressionWithSubstitutionVariables(variables);
    if (m_node->type == NSSubqueryExpressionType) {
        // Its own variable hides one from outside.
        QVariantMap outer = variables;
        outer.remove(m_node->name);
        node.predicate = m_node->predicate.predicateWithSubstitutionVariables(outer);
    }
    return NSExpression(std::move(node));
}

QString NSExpression::description() const {
    return PredicateWriter::text(*this);
}

bool operator==(const NSExpression &a, const NSExpression &b) {
    if (a.m_node == b.m_node)
        return true;
    return a.m_node && b.m_node && a.m_node->type == b.m_node->type && a.m_node->name == b.m_node->name &&
           NSObjectRuntime::isEqual(a.m_node->constant, b.m_node->constant) &&
           a.m_node->children == b.m_node->children && a.m_node->predicate == b.m_node->predicate;
}
