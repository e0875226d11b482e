// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSExpression.h"
#include "platform/values/NSSet.h"

#include <functional>
#include <type_traits>

class QObject;

/// What a predicate is.
enum NSPredicateKind {
    NSValuePredicateKind,      ///< always true or always false
    NSComparisonPredicateKind, ///< an NSComparisonPredicate
    NSCompoundPredicateKind,   ///< an NSCompoundPredicate
    NSBlockPredicateKind,      ///< whatever a block answers
};

/// The user-info key of the position at which a format can't be read.
inline const QString NSPredicatePositionKey = QStringLiteral("NSPredicatePosition");

/// A condition on an object: a tree that is made from text or by hand, evaluated on any value, looked into, and written
/// as text.
///
/// An immutable value that shares its tree; any thread may read it. Its depth is bounded as an expression's is. A nil
/// predicate holds for nothing.
///
/// The format language. Words may be in any case; white space separates.
/// - Conditions:
///   - `a = b` or `==`, `!=` or `<>`, `<`, `<=` or `=<`, `>`, `>=` or `=>`, `a BETWEEN {low, high}`
///   - `a IN collection` or in a text, `collection CONTAINS a` or a text, `BEGINSWITH`, `ENDSWITH`
///   - `LIKE`: `*` is any text, `?` one UTF-16 unit, a backslash makes either plain
///   - `MATCHES`: a regular expression for all of the text
///   - `TRUEPREDICATE`, `FALSEPREDICATE`
///   - After an operator `[c]` compares texts without regard to case, `[d]` to diacritics, `[cd]` to both.
/// - `ANY a = b` (or `SOME`), `ALL`, `NONE` before a condition: a is a collection, each element is compared. ANY of no
///   elements doesn't hold, ALL of them does.
/// - `NOT` or `!`, `AND` or `&&`, `OR` or `||`, binding in this order, and parentheses.
/// - Values:
///   - `"text"` or `'text'` with the escapes \" \' \\ \n \r \t \b \f \uXXXX, numbers (`0x`, `0o`, `0b` too)
///   - `TRUE`, `YES`, `FALSE`, `NO`, `nil` or `NULL`, `{a, b}`, `SELF`, `$variable`
///   - key paths with collection operators (`lines.@sum.amount`); `#word` for one that begins with a word of the
///     language, `#"any text"` for any
///   - what NSExpression lists (`+ - * / **`, functions, `a[0]`, CAST) and `SUBQUERY(collection, $x, condition)`
/// - Arguments, outside quotes: `%@` a value (or an NSExpression), `%K` a key path, `%d %i %u %x %c` with `l`, `ll`,
///   `h`, `q`, `z` an integer, `%f %g %e` a double, `%s` a text.
///
/// What holds: values of different kinds are never equal; nil equals nil only, the null marker itself only. nil and the
/// null marker are neither before nor after anything, nor do they contain, begin with or match anything. No text
/// contains the empty text, or begins or ends with it.
class NSPredicate {
public:
    static constexpr int MaximumDepth = NSExpression::MaximumDepth;
    /// Answers whether the condition holds for the object.
    using Block = std::function<bool(const QVariant &object, const QVariantMap &bindings)>;

    /// nil.
    NSPredicate() = default;

    /// The predicate of a text, its arguments in the order of the text. Raises NSInvalidArgumentException if it
    /// can't be read, with the position, in UTF-16 units, in the reason and the user info; also for too few or too
    /// many arguments, and for arguments of the wrong kind.
    template <typename... Arguments>
    static NSPredicate predicateWithFormat(const QString &format, const Arguments &...arguments) {
        QVariantList list;
        (list.append(argument(arguments)), ...);
        return predicateWithFormatArgumentArray(format, list);
    }
    static NSPredicate predicateWithFormatArgumentArray(const QString &format, const QVariantList &arguments);
    static NSPredicate predicateWithValue(bool value);
    static NSPredicate predicateWithBlock(const Block &block);

    bool isNil() const { return !m_node; }
    NSPredicateKind predicateKind() const;
    /// What a value predicate always answers; false for the others.
    bool value() const;
    int depth() const;

    /// Whether the condition holds for the object, with the values of variables by their name. Raises
    /// NSInvalidArgumentException for what can't be compared (a number with a text by its order, texts with
    /// anything else by BEGINSWITH and its like) and for a variable without a value, NSUndefinedKeyException
    /// as key-value coding does.
    bool evaluateWithObject(const QVariant &object, const QVariantMap &substitutionVariables = {}) const;
    bool evaluateWithObject(QObject *object, const QVariantMap &substitutionVariables = {}) const;

    /// The predicate with constants in place of the variables that are named.
    NSPredicate predicateWithSubstitutionVariables(const QVariantMap &variables) const;

    /// A text from which the same predicate can be read; nil for nil. Blocks and constants that are objects have no
    /// such text: what stands for them can't be read.
    QString predicateFormat() const;

    friend bool operator==(const NSPredicate &a, const NSPredicate &b);

protected:
    struct Node;
    explicit NSPredicate(Node node);
    const Node *node() const { return m_node.get(); }

private:
    template <typename T>
    static QVariant argument(const T &value) {
        if constexpr (std::is_convertible_v<const T &, QVariant>)
            return QVariant(value);
        else
            return QVariant::fromValue(value);
    }

    std::shared_ptr<const Node> m_node;
};

/// The elements for which the predicate holds.
QVariantList filteredArrayUsingPredicate(const QVariantList &array, const NSPredicate &predicate);
NSSet filteredSetUsingPredicate(const NSSet &set, const NSPredicate &predicate);

Q_DECLARE_METATYPE(NSPredicate)
