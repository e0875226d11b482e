// SPDX-License-Identifier: MIT
// What the translator makes of the sides of comparisons: columns, objects, counts, collections, calculations.
#include "platform/base/NSException.h"
#include "platform/store/PredicateTranslator.h"

namespace zr {

namespace {

const SQLText Always{"1", {}};

/// SQLite joins 64 tables at most.
constexpr int MostAliases = 50;

} // namespace

std::optional<PredicateTranslator::Operand> PredicateTranslator::operand(const NSExpression &expression) {
    switch (expression.expressionType()) {
    case NSConstantValueExpressionType: {
        Operand operand;
        operand.constant = expression.constantValue();
        operand.expression = NSExpression::expressionForConstantValue(operand.constant);
        return operand;
    }
    case NSEvaluatedObjectExpressionType:
        return pathOperand(0, {});
    case NSVariableExpressionType: {
        const auto scope = m_variables.constFind(expression.variable());
        return scope == m_variables.constEnd() ? std::nullopt : pathOperand(*scope, {});
    }
    case NSKeyPathExpressionType:
        if (auto count = countOperand(expression))
            return count;
        if (const auto scope = scopeOf(expression.operand())) {
            if (auto found = pathOperand(*scope, expression.keyPath().split(u'.')))
                return found;
        }
        return calculated(expression);
    case NSFunctionExpressionType:
        if (auto count = countOperand(expression))
            return count;
        return calculated(expression);
    case NSAggregateExpressionType:
        return calculated(expression);
    case NSSubqueryExpressionType:
        return {};
    }
    return {};
}

/// The scope of an expression that stands for a row; the evaluated object's for nil.
std::optional<size_t> PredicateTranslator::scopeOf(const NSExpression &operand) const {
    if (operand.isNil() || operand.expressionType() == NSEvaluatedObjectExpressionType)
        return 0;
    if (operand.expressionType() != NSVariableExpressionType || !m_variables.contains(operand.variable()))
        return {};
    return m_variables.value(operand.variable());
}

/// Goes along to-one relationships, and joins their tables; nothing if the path isn't made of them.
std::optional<QByteArray> PredicateTranslator::join(Scope &scope, const QStringList &path,
                                                    const NSEntityDescription *&entity) {
    QByteArray alias = scope.alias;
    entity = scope.entity;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const NSRelationshipDescription *relationship = entity->relationship(path.at(i));
        if (!relationship || relationship->isToMany())
            return {};
        const StoredColumn *column = m_schema.column(relationship);
        entity = relationship->destinationEntity();
        const QString key = path.mid(0, i + 1).join(u'.');
        if (!scope.joined.contains(key)) {
            if (m_lastAlias >= MostAliases)
                return {};
            const QByteArray next = 't' + QByteArray::number(++m_lastAlias);
            scope.from += " LEFT JOIN " + m_schema.stored(entity).table->name + ' ' + next + " ON " + next +
                          "._pk = " + alias + '.' + column->name;
            scope.joined.insert(key, next);
        }
        alias = scope.joined.value(key);
    }
    return alias;
}

/// What stands at the end of a path of to-one relationships: an attribute, an object, or the row itself for no path.
std::optional<PredicateTranslator::Operand> PredicateTranslator::pathOperand(size_t scope,
                                                                             const QStringList &path) {
    Operand operand;
    if (path.isEmpty()) {
        operand.kind = Operand::Object;
        operand.sql.text = m_scopes[scope].alias + "._pk";
        operand.entity = m_scopes[scope].entity;
        return operand;
    }
    const NSEntityDescription *entity = nullptr;
    const auto alias = join(m_scopes[scope], path.mid(0, path.size() - 1), entity);
    const NSPropertyDescription *property = alias ? entity->property(path.constLast()) : nullptr;
    const StoredColumn *column = property ? m_schema.column(property) : nullptr;
    if (!column)
        return {};
    operand.sql.text = *alias + '.' + column->name;
    if (column->relationship) {
        operand.kind = Operand::Object;
        operand.entity = column->relationship->destinationEntity();
        return operand;
    }
    operand.kind = Operand::Column;
    operand.type = column->attribute->attributeType();
    const QString key = u'c' + QString::number(++m_lastColumn);
    operand.expression = NSExpression::expressionForKeyPath(key);
    operand.columns = {{{key, operand.type}, operand.sql.text}};
    return operand;
}

/// An expression over attributes and constants, which memory evaluates.
std::optional<PredicateTranslator::Operand> PredicateTranslator::calculated(const NSExpression &expression) {
    Operand operand;
    operand.kind = Operand::Calculated;
    const auto inner = rewritten(expression, operand);
    if (!inner)
        return {};
    operand.expression = *inner;
    if (!operand.columns.empty())
        return operand;
    // Constants only: the value is the same for each row.
    try {
        operand.constant = operand.expression.expressionValueWithObject({});
    } catch (const NSException &) {
        return operand;
    }
    operand.kind = Operand::Constant;
    return operand;
}

/// The expression with a column's key for each key path, of which a row's values are the object.
std::optional<NSExpression> PredicateTranslator::rewritten(const NSExpression &expression, Operand &operand) {
    const auto all = [&](const QList<NSExpression> &expressions) -> std::optional<QList<NSExpression>> {
        QList<NSExpression> result;
        for (const NSExpression &one : expressions) {
            const auto inner = rewritten(one, operand);
            if (!inner)
                return {};
            result.append(*inner);
        }
        return result;
    };
    switch (expression.expressionType()) {
    case NSConstantValueExpressionType:
        return NSExpression::expressionForConstantValue(expression.constantValue());
    case NSKeyPathExpressionType: {
        const auto scope = scopeOf(expression.operand());
        const auto column = scope ? pathOperand(*scope, expression.keyPath().split(u'.')) : std::nullopt;
        if (!column || column->kind != Operand::Column)
            return {};
        operand.columns.insert(operand.columns.end(), column->columns.begin(), column->columns.end());
        return column->expression;
    }
    case NSFunctionExpressionType: {
        const auto arguments = all(expression.arguments());
        return arguments
                   ? std::optional(NSExpression::expressionForFunction(expression.function(), *arguments))
                   : std::nullopt;
    }
    case NSAggregateExpressionType: {
        const auto elements = all(expression.elements());
        return elements ? std::optional(NSExpression::expressionForAggregate(*elements)) : std::nullopt;
    }
    default:
        return {};
    }
}

// ---- Relationships to many

std::optional<PredicateTranslator::Collection>
PredicateTranslator::collectionOf(const NSExpression &expression) {
    if (expression.expressionType() != NSKeyPathExpressionType)
        return {};
    const auto scope = scopeOf(expression.operand());
    if (!scope)
        return {};
    const QStringList path = expression.keyPath().split(u'.');
    const NSEntityDescription *entity = m_scopes[*scope].entity;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const NSRelationshipDescription *relationship = entity->relationship(path.at(i));
        if (!relationship)
            return {};
        if (!relationship->isToMany()) {
            entity = relationship->destinationEntity();
            continue;
        }
        const auto owner = m_lastAlias < MostAliases ? pathOperand(*scope, path.mid(0, i)) : std::nullopt;
        return owner ? std::optional(Collection{owner->sql, relationship, path.mid(i + 1)}) : std::nullopt;
    }
    return {};
}

SQLText PredicateTranslator::openScope(const Collection &collection) {
    const NSRelationshipDescription *relationship = collection.relationship;
    const NSEntityDescription *entity = relationship->destinationEntity();
    const QByteArray alias = 't' + QByteArray::number(++m_lastAlias);
    Scope scope{entity, alias, m_schema.stored(entity).table->name + ' ' + alias, {}};
    SQLText link;
    if (storageOf(relationship) == Storage::ByInverse) {
        link += alias + '.' + m_schema.column(relationship->inverseRelationship())->name + " = ";
    } else {
        const JoinSide &side = m_schema.side(relationship);
        const QByteArray pairs = 't' + QByteArray::number(++m_lastAlias);
        scope.from = side.table->name + ' ' + pairs + " JOIN " + scope.from + " ON " + alias +
                     "._pk = " + pairs + '.' + side.other;
        link += pairs + '.' + side.owner + " = ";
    }
    link += collection.owner;
    m_scopes.push_back(std::move(scope));
    return link;
}

/// "objects.@count", "count(objects)", and the same of the objects that a subquery finds.
std::optional<PredicateTranslator::Operand>
PredicateTranslator::countOperand(const NSExpression &expression) {
    const QString suffix = QStringLiteral(".@count");
    NSExpression counted;
    if (expression.function() == QStringLiteral("count:"))
        counted = expression.arguments().constFirst();
    else if (expression.keyPath() == suffix.mid(1))
        counted = expression.operand();
    else if (expression.keyPath().endsWith(suffix))
        counted = expression.operand().isNil()
                      ? NSExpression::expressionForKeyPath(expression.keyPath().chopped(suffix.size()))
                      : NSExpression::expressionForKeyPath(expression.operand(),
                                                           expression.keyPath().chopped(suffix.size()));
    if (counted.isNil())
        return {};
    const bool isSubquery = counted.expressionType() == NSSubqueryExpressionType;
    const NSExpression objects = isSubquery ? counted.collection() : counted;
    const auto collection = collectionOf(objects);
    if (!collection || !collection->rest.isEmpty())
        return {};
    // Behind a relationship to one there may be nothing, of which @count is nil instead of 0.
    const bool mayBeNil = !isSubquery && expression.expressionType() == NSKeyPathExpressionType;
    if (mayBeNil && objects.keyPath().contains(u'.'))
        return {};
    const auto count =
        countOf(*collection, counted.variable(), isSubquery ? counted.predicate() : NSPredicate());
    if (!count)
        return {};
    Operand operand;
    operand.kind = Operand::Count;
    operand.sql = *count;
    return operand;
}

std::optional<SQLText> PredicateTranslator::countOf(const Collection &collection, const QString &variable,
                                                    const NSPredicate &predicate) {
    const SQLText link = openScope(collection);
    Condition held = Always;
    if (!predicate.isNil()) {
        const auto hidden = m_variables;
        m_variables.insert(variable, m_scopes.size() - 1);
        held = condition(predicate);
        m_variables = hidden;
    }
    const QByteArray from = m_scopes.back().from;
    m_scopes.pop_back();
    if (!held)
        return {};
    SQLText text{"(SELECT count(*) FROM " + from + " WHERE ", {}};
    text += link;
    text += " AND ";
    text += *held;
    text += ")";
    return text;
}

// ---- Order

std::optional<QByteArray> PredicateTranslator::orderedColumn(const QString &keyPath,
                                                             const QString &selector) {
    static const QStringList textSelectors = {
        QStringLiteral("caseInsensitiveCompare:"), QStringLiteral("localizedCompare:"),
        QStringLiteral("localizedCaseInsensitiveCompare:"), QStringLiteral("localizedStandardCompare:")};
    const auto column = keyPath.isEmpty() ? std::nullopt : pathOperand(0, keyPath.split(u'.'));
    if (!column || column->kind != Operand::Column)
        return {};
    const bool isPlain = selector == QStringLiteral("compare:");
    if (isPlain ? !hasOrder(column->type)
                : column->type != NSAttributeType::String || !textSelectors.contains(selector))
        return {};
    const QByteArray collation = collationFor(column->type, selector);
    return collation.isEmpty() ? column->sql.text : column->sql.text + " COLLATE " + collation;
}

} // namespace zr
