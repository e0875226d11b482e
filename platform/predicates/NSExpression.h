// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class NSPredicate;

/// What an expression is.
enum NSExpressionType {
    NSConstantValueExpressionType,   ///< a value
    NSEvaluatedObjectExpressionType, ///< the object that is evaluated, SELF
    NSVariableExpressionType,        ///< a named value that is given when it is evaluated, $name
    NSKeyPathExpressionType,         ///< the operand's value at the end of a key path
    NSFunctionExpressionType,        ///< a function of its arguments, arithmetic too
    NSAggregateExpressionType,       ///< an array of what its elements give, {a, b}
    NSSubqueryExpressionType,        ///< the elements of a collection for which a predicate holds
};

/// One side of a comparison: a tree that gives a value for an object. Predicates are made of these.
///
/// An immutable value that shares its tree; any thread may read it. Every tree is at most MaximumDepth high, the values
/// in its constants included; making a higher one raises NSInvalidArgumentException. So a recursion over a tree can't
/// overflow the stack. A nil expression gives nil. The accessors of another type than the expression's own give their
/// neutral value.
///
/// | Function                  | In text                  | Gives                                                     |
/// |---------------------------|--------------------------|-----------------------------------------------------------|
/// | add:to:                   | a + b                    | a number, see below                                       |
/// | from:subtract:            | a - b                    | a number, see below                                       |
/// | multiply:by:              | a * b                    | a number, see below                                       |
/// | divide:by:                | a / b                    | a number, see below; nil for an integer or decimal by 0   |
/// | modulus:by:               | modulus(a, b)            | a number, see below; nil for an integer by 0              |
/// | raise:toPower:            | a ** b                   | a number, see below                                       |
/// | negate:                   | -a                       | a number, see below                                       |
/// | abs:                      | abs(a)                   | a number; nil of nil                                      |
/// | ceiling: floor: trunc:    | ceiling(a) floor(a) ...  | a number; an integer as it is; nil of nil                 |
/// | sqrt: ln: log: exp:       | sqrt(a) ln(a) ...        | a double, log: to base 10; nil of nil                     |
/// | sum: average: min: max:   | sum(a), sum(a, b, c) ... | over a collection's elements, or over several arguments,  |
/// | count:                    |                          | without nil and null markers                              |
/// | uppercase: lowercase:     | uppercase(a) ...         | a string; nil of nil                                      |
/// | length:                   | length(a)                | the UTF-16 units of a string; nil of nil                  |
/// | objectFrom:withIndex:     | a[0], a[-1], a["key"]    | an array's element, from the end for negative indexes, or |
/// |                           | a[FIRST], a[LAST]        | a dictionary's; nil if there is none. a[SIZE] is count(a) |
/// | castObject:toType:        | CAST(a, "NSDate")        | the value as one of another class, see below; nil of nil  |
/// | now                       | now()                    | the present time                                          |
///
/// Arithmetic of integers gives an integer if it fits (of a quotient without the fraction), with a decimal a decimal,
/// otherwise a double; nil of nil.
///
/// Classes that values can be cast to: NSDate (from seconds since 2001-01-01 UTC), NSDecimalNumber, NSNumber, NSURL and
/// NSUUID (from text), NSData (from Base64), NSString, NSSet and NSDictionary (from an array, keys and values in turn),
/// NSNull (from nil).
class NSExpression {
public:
    static constexpr int MaximumDepth = 128;

    /// nil.
    NSExpression() = default;

    static NSExpression expressionForConstantValue(const QVariant &value);
    static NSExpression expressionForEvaluatedObject();
    static NSExpression expressionForVariable(const QString &name);
    /// The evaluated object's value for the key path. Raises NSInvalidArgumentException for an empty one.
    static NSExpression expressionForKeyPath(const QString &keyPath);
    /// The operand's value for the key path.
    static NSExpression expressionForKeyPath(const NSExpression &operand, const QString &keyPath);
    /// Raises NSInvalidArgumentException for an unknown name or a wrong number of arguments.
    static NSExpression expressionForFunction(const QString &name, const QList<NSExpression> &arguments);
    static NSExpression expressionForAggregate(const QList<NSExpression> &elements);
    /// The elements of the collection for which the predicate holds while the variable is the element.
    static NSExpression expressionForSubquery(const NSExpression &collection, const QString &variable,
                                              const NSPredicate &predicate);

    bool isNil() const { return !m_node; }
    NSExpressionType expressionType() const;
    QVariant constantValue() const;
    /// The name without the $; of a subquery that of its own.
    QString variable() const;
    QString keyPath() const;
    /// The function's name.
    QString function() const;
    /// What a key path starts from; nil for the evaluated object.
    NSExpression operand() const;
    /// A function's arguments.
    QList<NSExpression> arguments() const;
    /// An aggregate's elements.
    QList<NSExpression> elements() const;
    /// A subquery's collection and predicate.
    NSExpression collection() const;
    NSPredicate predicate() const;
    /// How high the tree is; 0 for nil.
    int depth() const;

    /// The expression's value for the object, with the values of variables by their name. Raises
    /// NSInvalidArgumentException for a variable without a value and for operands of a wrong kind,
    /// NSUndefinedKeyException as key-value coding does.
    QVariant expressionValueWithObject(const QVariant &object, const QVariantMap &context = {}) const;

    /// The expression with constants in place of the variables that are named, or with the expression that the
    /// value holds.
    NSExpression expressionWithSubstitutionVariables(const QVariantMap &variables) const;

    /// The expression in the format language of NSPredicate.
    QString description() const;

    friend bool operator==(const NSExpression &a, const NSExpression &b);

private:
    struct Node;
    explicit NSExpression(Node node);

    std::shared_ptr<const Node> m_node;
};

Q_DECLARE_METATYPE(NSExpression)
