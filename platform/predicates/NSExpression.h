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
/// An immutable value that shares its tree; any thread may read it. Every tree is at most MaximumDepth high,
/// the values in its constants included, and making a higher one raises NSInvalidArgumentException: so
/// whoever walks over one may recur. A nil expression gives nil. The accessors of another type than the
/// expression's own give their neutral value.
///
/// | Function (arguments)                              | In text                | Gives |
/// |---|---|---|
/// | add:to:, from:subtract:, multiply:by:, divide:by:, modulus:by:, raise:toPower: | a + b, a - b, a * b, a
/// / b, modulus(a, b), a ** b | integers of integers where they fit (a quotient without its fraction, nil
/// where the divisor is 0), decimals where one is a decimal, otherwise doubles; nil of nil | | negate: | -a
/// | the same | | abs: ceiling: floor: trunc: sqrt: ln: log: exp:   | abs(a) …               | numbers; log
/// is to base 10 | | sum: average: min: max: count:                    | sum(a), sum(a, b) …    | over a
/// collection's elements, or over the arguments where they are several; without nil and null markers | |
/// uppercase: lowercase: length:                     | length(a) …            | of strings | |
/// objectFrom:withIndex:                             | a[0], a["key"]         | an array's element, from the
/// end for negative indexes, or a dictionary's; nil where there is none. In text a[FIRST], a[LAST] are a[0],
/// a[-1], and a[SIZE] is count(a) | | castObject:toType:                                | CAST(a, "NSDate")
/// | the value as another class: NSDate (of seconds since 2001-01-01 UTC), NSDecimalNumber, NSNumber and
/// NSURL and NSUUID (of text), NSData (of Base64), NSString, NSSet, NSDictionary (of keys and values in
/// turn), NSNull (of nil); nil of nil | | now                                               | now() | the
/// present time |
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

    /// The expression with constants (or, where the value holds one, another expression) in the place of the
    /// variables that are named.
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
