// SPDX-License-Identifier: MIT
#include "platform/store/PredicateTranslator.h"

#include "platform/base/NSException.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <QUrl>
#include <QUuid>
#include <algorithm>
#include <cmath>

namespace zr {

namespace {

const SQLText Never{"0", {}}, Always{"1", {}};

/// SQLite joins 64 tables at most.
constexpr int MostAliases = 50;
/// SQLite takes a function with up to 127 arguments, and expressions up to a depth of 1000.
constexpr size_t MostColumns = 100;
constexpr int DeepestPredicate = 64;

SQLText bound(const SQLiteValue &value) {
    return {"?", {value}};
}

SQLText inParentheses(const SQLText &text) {
    SQLText result{"(", {}};
    result += text;
    result += ")";
    return result;
}

/// Halves of halves, for a chain would be as deep as it is long.
SQLText joined(const std::vector<SQLText> &parts, const QByteArray &word, size_t begin, size_t end) {
    if (end - begin == 1)
        return parts[begin];
    const size_t middle = begin + (end - begin) / 2;
    SQLText result = joined(parts, word, begin, middle);
    result += word;
    result += joined(parts, word, middle, end);
    return inParentheses(result);
}

/// A question mark for each value, with commas between them.
SQLText list(const std::vector<SQLiteValue> &values) {
    SQLText text{QByteArray("?, ").repeated(qsizetype(values.size())), values};
    text.text.chop(2);
    return text;
}

const char *signOf(NSPredicateOperatorType type) {
    switch (type) {
    case NSLessThanPredicateOperatorType:
        return " < ";
    case NSLessThanOrEqualToPredicateOperatorType:
        return " <= ";
    case NSGreaterThanPredicateOperatorType:
        return " > ";
    case NSGreaterThanOrEqualToPredicateOperatorType:
        return " >= ";
    // Of a column that is = a constant SQLite puts the constant elsewhere, too, also where its type matters.
    case NSEqualToPredicateOperatorType:
        return " IS ";
    case NSNotEqualToPredicateOperatorType:
        return " IS NOT ";
    default:
        return nullptr;
    }
}

bool isOrder(NSPredicateOperatorType type) {
    return type <= NSGreaterThanOrEqualToPredicateOperatorType;
}

bool isEquality(NSPredicateOperatorType type) {
    return type == NSEqualToPredicateOperatorType || type == NSNotEqualToPredicateOperatorType;
}

/// The operator that says the same with its sides exchanged.
std::optional<NSPredicateOperatorType> mirrored(NSPredicateOperatorType type) {
    switch (type) {
    case NSLessThanPredicateOperatorType:
        return NSGreaterThanPredicateOperatorType;
    case NSLessThanOrEqualToPredicateOperatorType:
        return NSGreaterThanOrEqualToPredicateOperatorType;
    case NSGreaterThanPredicateOperatorType:
        return NSLessThanPredicateOperatorType;
    case NSGreaterThanOrEqualToPredicateOperatorType:
        return NSLessThanOrEqualToPredicateOperatorType;
    case NSEqualToPredicateOperatorType:
    case NSNotEqualToPredicateOperatorType:
        return type;
    default:
        return {};
    }
}

bool isNumeric(NSAttributeType type) {
    return type <= NSAttributeType::Integer64 || type == NSAttributeType::Double ||
           type == NSAttributeType::Float || type == NSAttributeType::Boolean;
}

/// Whether there is an order in memory, too.
bool hasOrder(NSAttributeType type) {
    return isNumeric(type) || type == NSAttributeType::Decimal || type == NSAttributeType::String ||
           type == NSAttributeType::Date;
}

bool isValueKind(ValueKind kind) {
    return kind <= ValueKind::URL;
}

/// Looking a large integer up in an index of floating-point numbers would round it.
std::optional<SQLiteValue> exactReal(qint64 whole) {
    constexpr qint64 Largest = qint64(1) << 53;
    return whole >= -Largest && whole <= Largest ? std::optional(SQLiteValue::ofReal(double(whole)))
                                                 : std::nullopt;
}

/// The elements of a constant collection; nothing for what is none.
std::optional<QVariantList> elementsOf(const QVariant &constant) {
    switch (kindOf(constant)) {
    case ValueKind::Array:
    case ValueKind::Set:
        return arrayOf(constant);
    case ValueKind::Dictionary:
        return dictionaryOf(constant).values();
    default:
        return {};
    }
}

} // namespace

PredicateTranslator::PredicateTranslator(const StoreSchema &schema, const IdentityTable &identities,
                                         const NSEntityDescription *entity, int parameterLimit)
    : m_schema(schema), m_identities(identities), m_parameterLimit(parameterLimit) {
    m_scopes.push_back({entity, "t0", schema.stored(entity).table->name + " t0", {}});
}

// ---- Conditions

PredicateTranslator::Condition PredicateTranslator::condition(const NSPredicate &predicate) {
    if (predicate.depth() > DeepestPredicate)
        return {};
    switch (predicate.predicateKind()) {
    case NSValuePredicateKind:
        return predicate.value() ? Always : Never;
    case NSComparisonPredicateKind:
        return comparison(*NSComparisonPredicate::from(predicate));
    case NSCompoundPredicateKind:
        return compound(*NSCompoundPredicate::from(predicate));
    case NSBlockPredicateKind:
        return {};
    }
    return {};
}

PredicateTranslator::Condition PredicateTranslator::compound(const NSCompoundPredicate &predicate) {
    std::vector<SQLText> parts;
    for (const QList<NSPredicate> subpredicates = predicate.subpredicates();
         const NSPredicate &part : subpredicates) {
        const Condition translated = condition(part);
        if (!translated)
            return {};
        parts.push_back(*translated);
    }
    const bool isAnd = predicate.compoundPredicateType() == NSAndPredicateType;
    if (predicate.compoundPredicateType() == NSNotPredicateType) {
        SQLText text = inParentheses(parts.front());
        text += " IS NOT TRUE";
        return inParentheses(text);
    }
    if (parts.empty())
        return isAnd ? Always : Never;
    return joined(parts, isAnd ? " AND " : " OR ", 0, parts.size());
}

PredicateTranslator::Condition PredicateTranslator::comparison(const NSComparisonPredicate &predicate) {
    const NSExpression left = predicate.leftExpression(), right = predicate.rightExpression();
    const NSPredicateOperatorType type = predicate.predicateOperatorType();
    if (predicate.comparisonPredicateModifier() != NSDirectPredicateModifier) {
        const auto collection = collectionOf(left);
        return collection ? quantified(*collection, predicate) : Condition();
    }
    // A collection that contains a value has an element that equals it.
    const bool isIn = type == NSInPredicateOperatorType;
    if (const auto whole = isIn || type == NSContainsPredicateOperatorType ? collectionOf(isIn ? right : left)
                                                                           : std::nullopt) {
        const auto part = operand(isIn ? left : right);
        if (!part)
            return {};
        return anyOf(*whole, false, [&](const Operand &element) {
            return compared(element, NSEqualToPredicateOperatorType, predicate.options(), *part);
        });
    }
    const auto a = operand(left), b = operand(right);
    return a && b ? compared(*a, type, predicate.options(), *b) : Condition();
}

PredicateTranslator::Condition PredicateTranslator::quantified(const Collection &collection,
                                                               const NSComparisonPredicate &predicate) {
    const auto right = operand(predicate.rightExpression());
    if (!right)
        return {};
    return anyOf(collection, predicate.comparisonPredicateModifier() == NSAllPredicateModifier,
                 [&](const Operand &element) {
                     return compared(element, predicate.predicateOperatorType(), predicate.options(), *right);
                 });
}

/// Whether the test holds for an element, or for all. An array has the null marker for an element without a value, which
/// isn't nil; a set leaves it out.
PredicateTranslator::Condition
PredicateTranslator::anyOf(const Collection &collection, bool all,
                           const std::function<Condition(const Operand &)> &test) {
    if (collection.relationship->isOrdered() && !collection.rest.isEmpty())
        return {};
    const SQLText link = openScope(collection);
    const size_t scope = m_scopes.size() - 1;
    const auto element = pathOperand(scope, collection.rest);
    Condition held;
    if (element && (element->kind == Operand::Column || element->kind == Operand::Object))
        held = test(*element);
    const QByteArray from = m_scopes.back().from;
    m_scopes.pop_back();
    if (!held)
        return {};
    SQLText text{all ? "NOT EXISTS(SELECT 1 FROM " : "EXISTS(SELECT 1 FROM ", {}};
    text += from + " WHERE ";
    text += link;
    text += " AND ";
    text += element->sql;
    text += " IS NOT NULL AND ";
    text += inParentheses(*held);
    text += all ? " IS NOT TRUE)" : ")";
    return text;
}

// ---- Comparisons

PredicateTranslator::Condition PredicateTranslator::compared(const Operand &left,
                                                             NSPredicateOperatorType type,
                                                             NSComparisonPredicateOptions options,
                                                             const Operand &right) {
    if (options == 0 || options == NSNormalizedPredicateOption) {
        if (const Condition native = comparedNatively(left, type, right))
            return native;
    }
    return evaluated(left, type, options, right);
}

PredicateTranslator::Condition PredicateTranslator::comparedNatively(const Operand &left,
                                                                     NSPredicateOperatorType type,
                                                                     const Operand &right) {
    using Kind = Operand::Kind;
    if (left.kind == Kind::Constant && right.kind != Kind::Constant) {
        const auto other = mirrored(type);
        return other ? comparedNatively(right, *other, left) : Condition();
    }
    if (left.kind == Kind::Object && right.kind == Kind::Constant)
        return type == NSInPredicateOperatorType ? isAmongObjects(left, right.constant)
                                                 : comparedObjects(left, type, right.constant);
    if (left.kind == Kind::Object && right.kind == Kind::Object) {
        if (!isEquality(type) || left.entity->rootEntity() != right.entity->rootEntity())
            return {};
        SQLText text = left.sql;
        text += signOf(type);
        text += right.sql;
        return text;
    }
    const auto isColumn = [](const Operand &operand) {
        return operand.kind == Kind::Column || operand.kind == Kind::Count;
    };
    if (isColumn(left) && isColumn(right))
        return comparedColumns(left, type, right);
    if (!isColumn(left) || right.kind != Kind::Constant)
        return {};
    if (type == NSInPredicateOperatorType)
        return isAmong(left, right.constant);
    if (type == NSBetweenPredicateOperatorType) {
        const auto limits = elementsOf(right.constant);
        if (kindOf(right.constant) != ValueKind::Array || limits->size() != 2)
            return {};
        const Condition low = comparedWithConstant(left, NSGreaterThanOrEqualToPredicateOperatorType,
                                                   limits->at(0)),
                        high = comparedWithConstant(left, NSLessThanOrEqualToPredicateOperatorType,
                                                    limits->at(1));
        return low && high ? Condition(joined({*low, *high}, " AND ", 0, 2)) : Condition();
    }
    return comparedWithConstant(left, type, right.constant);
}

/// A constant as the store would keep it, if comparing with it in SQL is comparing in memory.
std::optional<SQLiteValue> PredicateTranslator::comparable(NSAttributeType type, const QVariant &constant) {
    const ValueKind kind = kindOf(constant);
    if (isNumeric(type)) {
        if (kind == ValueKind::Decimal) {
            const auto &decimal = held<NSDecimalNumber>(constant);
            const qint64 whole = decimal.longLongValue();
            return NSDecimalNumber(whole) == decimal ? comparable(type, whole) : std::nullopt;
        }
        if (kind != ValueKind::Number)
            return {};
        const Number number = numberOf(constant);
        if (number.sort == Number::Signed && columnType(type) == QByteArrayView("REAL"))
            return exactReal(number.whole);
        if (number.sort == Number::Signed)
            return SQLiteValue::ofInteger(number.whole);
        return number.sort == Number::Real && !std::isnan(number.real)
                   ? std::optional(SQLiteValue::ofReal(number.real))
                   : std::nullopt;
    }
    if (type == NSAttributeType::Decimal && kind == ValueKind::Number &&
        numberOf(constant).sort == Number::Signed)
        return storedValue(type, QVariant::fromValue(NSDecimalNumber(numberOf(constant).whole)));
    if (type == NSAttributeType::Transformable)
        return {};
    const auto stored = storedValue(type, constant);
    // URLs that differ may be written alike.
    if (stored && type == NSAttributeType::URI && attributeValue(type, *stored) != constant)
        return {};
    return stored;
}

PredicateTranslator::Condition PredicateTranslator::comparedWithConstant(const Operand &column,
                                                                         NSPredicateOperatorType type,
                                                                         const QVariant &constant) {
    const bool isEqual = type == NSEqualToPredicateOperatorType;
    if (!isEquality(type) && !isOrder(type))
        return {};
    if (NSIsNil(constant)) {
        if (isOrder(type))
            return Never;
        SQLText text = column.sql;
        text += isEqual ? " IS NULL" : " IS NOT NULL";
        return text;
    }
    if (NSIsNull(constant))
        return type == NSNotEqualToPredicateOperatorType ? Always : Never;
    if (!isEquality(type) && !hasOrder(column.type))
        return {};
    const auto value = comparable(column.type, constant);
    if (!value)
        return {};
    SQLText text = column.sql;
    if (!isEquality(type)) {
        const QByteArray collation = collationFor(column.type, {});
        text += collation.isEmpty() ? QByteArray() : " COLLATE " + collation;
    }
    text += signOf(type);
    text += bound(*value);
    return text;
}

PredicateTranslator::Condition PredicateTranslator::comparedColumns(const Operand &left,
                                                                    NSPredicateOperatorType type,
                                                                    const Operand &right) {
    const bool isSame = left.type == right.type || (isNumeric(left.type) && isNumeric(right.type));
    if (!isSame || left.type == NSAttributeType::Transformable ||
        !(isEquality(type) || (isOrder(type) && hasOrder(left.type))))
        return {};
    SQLText text = left.sql;
    if (isEquality(type)) {
        text += signOf(type);
    } else {
        const QByteArray collation = collationFor(left.type, {});
        text += (collation.isEmpty() ? QByteArray() : " COLLATE " + collation) + signOf(type);
    }
    text += right.sql;
    return text;
}

/// The number of the object that an identifier names; 0 if no object of the entity's table can be it. Nothing for what might
/// be asked to compare itself.
std::optional<qint64> PredicateTranslator::keyOf(const QVariant &id,
                                                 const NSEntityDescription *entity) const {
    if (id.metaType() != QMetaType::fromType<NSManagedObjectID>())
        return {};
    const auto given = id.value<NSManagedObjectID>();
    if (given.isNil() || given.entity()->rootEntity() != entity->rootEntity())
        return 0;
    return m_identities.keyOf(given);
}

PredicateTranslator::Condition PredicateTranslator::comparedObjects(const Operand &object,
                                                                    NSPredicateOperatorType type,
                                                                    const QVariant &constant) {
    if (!isEquality(type))
        return {};
    const bool isEqual = type == NSEqualToPredicateOperatorType;
    SQLText text = object.sql;
    if (NSIsNil(constant)) {
        text += isEqual ? " IS NULL" : " IS NOT NULL";
        return text;
    }
    if (isValueKind(kindOf(constant)))
        return isEqual ? Never : Always;
    const auto key = keyOf(constant, object.entity);
    if (!key)
        return {};
    if (*key == 0)
        return isEqual ? Never : Always;
    text += signOf(type);
    text += bound(SQLiteValue::ofInteger(*key));
    return text;
}

PredicateTranslator::Condition PredicateTranslator::isAmongObjects(const Operand &object,
                                                                   const QVariant &collection) {
    const auto elements = elementsOf(collection);
    if (!elements)
        return {};
    QByteArrayList keys;
    bool hasNil = false;
    for (const QVariant &element : *elements) {
        const ValueKind kind = kindOf(element);
        hasNil |= kind == ValueKind::Nil;
        if (isValueKind(kind))
            continue;
        const auto key = keyOf(element, object.entity);
        if (!key)
            return {};
        keys << QByteArray::number(*key);
    }
    SQLText text{"(", {}};
    text += object.sql;
    text +=
        SQLText{" IN (SELECT value FROM json_each(?))", {SQLiteValue::ofText('[' + keys.join(',') + ']')}};
    if (hasNil) {
        text += " OR ";
        text += object.sql;
        text += " IS NULL";
    }
    text += ")";
    return text;
}

PredicateTranslator::Condition PredicateTranslator::isAmong(const Operand &column,
                                                            const QVariant &collection) {
    const auto elements = elementsOf(collection);
    if (!elements || elements->size() > m_parameterLimit)
        return {};
    std::vector<SQLiteValue> values;
    bool hasNil = false;
    for (const QVariant &element : *elements) {
        const ValueKind kind = kindOf(element);
        if (kind == ValueKind::Null)
            continue;
        if (kind == ValueKind::Nil) {
            hasNil = true;
            continue;
        }
        const auto value = comparable(column.type, element);
        if (!value)
            return {};
        values.push_back(*value);
    }
    SQLText text{"(", {}};
    text += column.sql;
    text += " IN (";
    if (!values.empty())
        text += list(values);
    text += ")";
    if (hasNil) {
        text += " OR ";
        text += column.sql;
        text += " IS NULL";
    }
    text += ")";
    return text;
}

/// Leaves the comparison to memory's own evaluation, row by row, on the columns that it looks at.
PredicateTranslator::Condition PredicateTranslator::evaluated(const Operand &left,
                                                              NSPredicateOperatorType type,
                                                              NSComparisonPredicateOptions options,
                                                              const Operand &right) {
    std::vector<RowPredicate::Operand> operands;
    SQLText text{"zr_holds(?", {SQLiteValue()}};
    for (const Operand *side : {&left, &right}) {
        if (side->expression.isNil())
            return {};
        for (const auto &[operand, column] : side->columns) {
            operands.push_back(operand);
            text += ", " + column;
        }
    }
    if (operands.size() > MostColumns)
        return {};
    m_predicates.push_back(std::make_shared<RowPredicate>(
        NSComparisonPredicate(left.expression, right.expression, NSDirectPredicateModifier, type, options),
        std::move(operands)));
    text.parameters.front() = SQLiteValue::ofPredicate(m_predicates.back().get());
    text += ")";
    return text;
}

// ---- Operands

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
        if (const auto count = countOperand(expression))
            return count;
        if (const auto scope = scopeOf(expression.operand())) {
            if (const auto found = pathOperand(*scope, expression.keyPath().split(u'.')))
                return found;
        }
        return calculated(expression);
    case NSFunctionExpressionType:
        if (const auto count = countOperand(expression))
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
