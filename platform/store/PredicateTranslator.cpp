// SPDX-License-Identifier: MIT
#include "platform/store/PredicateTranslator.h"

#include "platform/base/NSException.h"
#include "platform/values/Coercion.h"
#include "platform/values/NSDecimalNumber.h"
#include "platform/values/NSNull.h"
#include "platform/values/ValueKind.h"

#include <algorithm>
#include <cmath>

namespace zr {

namespace {

const SQLText Never{"0", {}}, Always{"1", {}};

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

/// Whether a column is in a list, or NULL if nil is among its elements too.
SQLText isInList(const SQLText &column, const SQLText &list, bool hasNil) {
    SQLText text = column;
    text += " IN ";
    text += inParentheses(list);
    if (hasNil) {
        text += " OR ";
        text += column;
        text += " IS NULL";
    }
    return inParentheses(text);
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
        if (Condition native = comparedNatively(left, type, right))
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
    auto stored = storedValue(type, constant);
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
    return isInList(object.sql,
                    {"SELECT value FROM json_each(?)", {SQLiteValue::ofText('[' + keys.join(',') + ']')}},
                    hasNil);
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
    return isInList(column.sql, list(values), hasNil);
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

} // namespace zr
