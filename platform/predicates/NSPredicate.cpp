// SPDX-License-Identifier: MIT
#include "platform/predicates/NSPredicate.h"

#include "platform/base/NSException.h"
#include "platform/predicates/NSPredicateNode.h"
#include "platform/predicates/PredicateParser.h"
#include "platform/predicates/PredicateText.h"
#include "platform/predicates/PredicateWriter.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/ValueKind.h"

#include <algorithm>

using namespace zr;

namespace {

using NSObjectRuntime::className;
using NSObjectRuntime::compare;
using NSObjectRuntime::isEqual;

bool isCollection(const QVariant &value) {
    const ValueKind kind = kindOf(value);
    return kind == ValueKind::Array || kind == ValueKind::Set || kind == ValueKind::Dictionary;
}

QVariantList membersOf(const QVariant &collection) {
    return kindOf(collection) == ValueKind::Dictionary ? dictionaryOf(collection).values()
                                                       : arrayOf(collection);
}

[[noreturn]] void raiseIncomparable(const QVariant &a, const QVariant &b, const char *what) {
    throw NSException(NSInvalidArgumentException, QStringLiteral("Values of the classes %1 and %2 %3.")
                                                      .arg(className(a), className(b), QLatin1String(what)));
}

/// Two values under one operator.
class Comparison {
public:
    Comparison(NSPredicateOperatorType type, NSComparisonPredicateOptions options)
        : m_type(type), m_options(options) {}

    bool holds(const QVariant &left, const QVariant &right) const {
        switch (m_type) {
        case NSEqualToPredicateOperatorType:
            return equal(left, right);
        case NSNotEqualToPredicateOperatorType:
            return !equal(left, right);
        case NSLessThanPredicateOperatorType:
            return !isAbsent(left) && !isAbsent(right) && order(left, right) < 0;
        case NSLessThanOrEqualToPredicateOperatorType:
            return !isAbsent(left) && !isAbsent(right) && order(left, right) <= 0;
        case NSGreaterThanPredicateOperatorType:
            return !isAbsent(left) && !isAbsent(right) && order(left, right) > 0;
        case NSGreaterThanOrEqualToPredicateOperatorType:
            return !isAbsent(left) && !isAbsent(right) && order(left, right) >= 0;
        case NSBetweenPredicateOperatorType:
            return between(left, right);
        case NSInPredicateOperatorType:
            return contains(right, left);
        case NSContainsPredicateOperatorType:
            return contains(left, right);
        case NSBeginsWithPredicateOperatorType:
        case NSEndsWithPredicateOperatorType:
        case NSLikePredicateOperatorType:
        case NSMatchesPredicateOperatorType:
            return text(left, right);
        }
        return false;
    }

private:
    bool folds(const QVariant &left, const QVariant &right) const {
        return m_options && left.typeId() == QMetaType::QString && right.typeId() == QMetaType::QString;
    }
    QString folded(const QVariant &value) const {
        return PredicateText::folded(held<QString>(value), m_options);
    }

    bool equal(const QVariant &left, const QVariant &right) const {
        if (folds(left, right) && !isAbsent(left) && !isAbsent(right))
            return folded(left) == folded(right);
        return isEqual(left, right);
    }

    int order(const QVariant &left, const QVariant &right) const {
        return folds(left, right) ? folded(left).compare(folded(right)) : int(compare(left, right));
    }

    bool between(const QVariant &value, const QVariant &limits) const {
        const QVariantList both = arrayOf(limits);
        if (kindOf(limits) != ValueKind::Array || both.size() != 2)
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("BETWEEN needs an array of two limits, not %1.")
                                  .arg(NSObjectRuntime::description(limits)));
        if (isAbsent(value) || isAbsent(both.at(0)) || isAbsent(both.at(1)))
            return false;
        return order(both.at(0), value) <= 0 && order(value, both.at(1)) <= 0;
    }

    bool contains(const QVariant &whole, const QVariant &part) const {
        if (isCollection(whole)) {
            if (kindOf(whole) == ValueKind::Set && !m_options && held<NSSet>(whole).contains(part))
                return true;
            const QVariantList members = membersOf(whole);
            return std::any_of(members.cbegin(), members.cend(),
                               [&](const QVariant &member) { return equal(member, part); });
        }
        if (isAbsent(whole) || isAbsent(part))
            return false;
        if (kindOf(whole) != ValueKind::String || kindOf(part) != ValueKind::String)
            raiseIncomparable(whole, part, "can't contain one another");
        return !held<QString>(part).isEmpty() && folded(whole).contains(folded(part));
    }

    bool text(const QVariant &left, const QVariant &right) const {
        if (isAbsent(left) || isAbsent(right))
            return false;
        if (kindOf(left) != ValueKind::String || kindOf(right) != ValueKind::String)
            raiseIncomparable(left, right, "can't be compared as texts");
        if (m_type == NSMatchesPredicateOperatorType)
            return PredicateText::matches(held<QString>(left), held<QString>(right), m_options);
        const QString whole = folded(left), part = folded(right);
        if (m_type == NSLikePredicateOperatorType)
            return PredicateText::isLike(whole, part);
        if (part.isEmpty())
            return false;
        return m_type == NSBeginsWithPredicateOperatorType ? whole.startsWith(part) : whole.endsWith(part);
    }

    NSPredicateOperatorType m_type;
    NSComparisonPredicateOptions m_options;
};

bool evaluated(const NSPredicate::Block &block, const QVariant &object, const QVariantMap &bindings) {
    return block && block(object, bindings);
}

} // namespace

int NSPredicate::Node::above(int deepest) {
    if (deepest >= MaximumDepth)
        throw NSException(NSInvalidArgumentException,
                          QStringLiteral("A predicate is nested deeper than %1.").arg(MaximumDepth));
    return deepest + 1;
}

NSPredicate::NSPredicate(Node node) : m_node(std::make_shared<const Node>(std::move(node))) {
}

NSPredicate NSPredicate::predicateWithFormatArgumentArray(const QString &format,
                                                          const QVariantList &arguments) {
    return PredicateParser::parsed(format, arguments);
}

NSPredicate NSPredicate::predicateWithValue(bool value) {
    return NSPredicate(Node{value, 1});
}

NSPredicate NSPredicate::predicateWithBlock(const Block &block) {
    return NSPredicate(Node{Node::Function{std::make_shared<const Block>(block)}, 1});
}

NSPredicateKind NSPredicate::predicateKind() const {
    if (!m_node)
        return NSValuePredicateKind;
    switch (m_node->content.index()) {
    case 1:
        return NSComparisonPredicateKind;
    case 2:
        return NSCompoundPredicateKind;
    case 3:
        return NSBlockPredicateKind;
    default:
        return NSValuePredicateKind;
    }
}

bool NSPredicate::value() const {
    const bool *value = m_node ? std::get_if<bool>(&m_node->content) : nullptr;
    return value && *value;
}

int NSPredicate::depth() const {
    return m_node ? m_node->depth : 0;
}

bool NSPredicate::evaluateWithObject(const QVariant &object, const QVariantMap &substitutionVariables) const {
    if (!m_node)
        return false;
    if (const auto *comparison = std::get_if<Node::Comparison>(&m_node->content)) {
        const QVariant left = comparison->left.expressionValueWithObject(object, substitutionVariables);
        const QVariant right = comparison->right.expressionValueWithObject(object, substitutionVariables);
        const Comparison operation(comparison->type, comparison->options);
        if (comparison->modifier == NSDirectPredicateModifier)
            return operation.holds(left, right);
        if (!isCollection(left) && !isAbsent(left))
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("ANY and ALL need a collection, not a value of class %1.")
                                  .arg(className(left)));
        const QVariantList members = membersOf(left);
        const auto holds = [&](const QVariant &member) { return operation.holds(member, right); };
        return comparison->modifier == NSAllPredicateModifier
                   ? std::all_of(members.cbegin(), members.cend(), holds)
                   : std::any_of(members.cbegin(), members.cend(), holds);
    }
    if (const auto *compound = std::get_if<Node::Compound>(&m_node->content)) {
        const auto holds = [&](const NSPredicate &predicate) {
            return predicate.evaluateWithObject(object, substitutionVariables);
        };
        const QList<NSPredicate> &all = compound->subpredicates;
        switch (compound->type) {
        case NSNotPredicateType:
            return !holds(all.constFirst());
        case NSAndPredicateType:
            return std::all_of(all.cbegin(), all.cend(), holds);
        case NSOrPredicateType:
            return std::any_of(all.cbegin(), all.cend(), holds);
        }
    }
    if (const auto *function = std::get_if<Node::Function>(&m_node->content))
        return evaluated(*function->block, object, substitutionVariables);
    return value();
}

bool NSPredicate::evaluateWithObject(QObject *object, const QVariantMap &substitutionVariables) const {
    return evaluateWithObject(QVariant::fromValue(object), substitutionVariables);
}

NSPredicate NSPredicate::predicateWithSubstitutionVariables(const QVariantMap &variables) const {
    if (const auto comparison = NSComparisonPredicate::from(*this))
        return NSComparisonPredicate(
            comparison->leftExpression().expressionWithSubstitutionVariables(variables),
            comparison->rightExpression().expressionWithSubstitutionVariables(variables),
            comparison->comparisonPredicateModifier(), comparison->predicateOperatorType(),
            comparison->options());
    if (const auto compound = NSCompoundPredicate::from(*this)) {
        QList<NSPredicate> subpredicates = compound->subpredicates();
        for (NSPredicate &predicate : subpredicates)
            predicate = predicate.predicateWithSubstitutionVariables(variables);
        return NSCompoundPredicate(compound->compoundPredicateType(), subpredicates);
    }
    return *this;
}

QString NSPredicate::predicateFormat() const {
    return m_node ? PredicateWriter::text(*this) : QString();
}

bool operator==(const NSPredicate &a, const NSPredicate &b) {
    return a.m_node == b.m_node || (a.m_node && b.m_node && a.m_node->content == b.m_node->content);
}

// ---- Comparisons

NSComparisonPredicate::NSComparisonPredicate(const NSExpression &left, const NSExpression &right,
                                             NSComparisonPredicateModifier modifier,
                                             NSPredicateOperatorType type,
                                             NSComparisonPredicateOptions options)
    : NSPredicate(Node{Node::Comparison{left, right, modifier, type, options},
                       Node::above(std::max(left.depth(), right.depth()))}) {
    if (left.isNil() || right.isNil())
        throw NSException(NSInvalidArgumentException, QStringLiteral("A side of a comparison is nil."));
}

std::optional<NSComparisonPredicate> NSComparisonPredicate::from(const NSPredicate &predicate) {
    if (predicate.predicateKind() != NSComparisonPredicateKind)
        return {};
    return NSComparisonPredicate(predicate);
}

NSExpression NSComparisonPredicate::leftExpression() const {
    return std::get<Node::Comparison>(node()->content).left;
}

NSExpression NSComparisonPredicate::rightExpression() const {
    return std::get<Node::Comparison>(node()->content).right;
}

NSComparisonPredicateModifier NSComparisonPredicate::comparisonPredicateModifier() const {
    return std::get<Node::Comparison>(node()->content).modifier;
}

NSPredicateOperatorType NSComparisonPredicate::predicateOperatorType() const {
    return std::get<Node::Comparison>(node()->content).type;
}

NSComparisonPredicateOptions NSComparisonPredicate::options() const {
    return std::get<Node::Comparison>(node()->content).options;
}

// ---- Compounds

namespace {

int deepest(const QList<NSPredicate> &predicates) {
    int depth = 0;
    for (const NSPredicate &predicate : predicates) {
        if (predicate.isNil())
            throw NSException(NSInvalidArgumentException, QStringLiteral("A part of a predicate is nil."));
        depth = std::max(depth, predicate.depth());
    }
    return depth;
}

} // namespace

NSCompoundPredicate::NSCompoundPredicate(NSCompoundPredicateType type,
                                         const QList<NSPredicate> &subpredicates)
    : NSPredicate(Node{Node::Compound{type, subpredicates}, Node::above(deepest(subpredicates))}) {
}

NSCompoundPredicate
NSCompoundPredicate::andPredicateWithSubpredicates(const QList<NSPredicate> &subpredicates) {
    return {NSAndPredicateType, subpredicates};
}

NSCompoundPredicate
NSCompoundPredicate::orPredicateWithSubpredicates(const QList<NSPredicate> &subpredicates) {
    return {NSOrPredicateType, subpredicates};
}

NSCompoundPredicate NSCompoundPredicate::notPredicateWithSubpredicate(const NSPredicate &predicate) {
    return {NSNotPredicateType, {predicate}};
}

std::optional<NSCompoundPredicate> NSCompoundPredicate::from(const NSPredicate &predicate) {
    if (predicate.predicateKind() != NSCompoundPredicateKind)
        return {};
    return NSCompoundPredicate(predicate);
}

NSCompoundPredicateType NSCompoundPredicate::compoundPredicateType() const {
    return std::get<Node::Compound>(node()->content).type;
}

QList<NSPredicate> NSCompoundPredicate::subpredicates() const {
    return std::get<Node::Compound>(node()->content).subpredicates;
}

// ---- Collections

QVariantList filteredArrayUsingPredicate(const QVariantList &array, const NSPredicate &predicate) {
    QVariantList filtered;
    for (const QVariant &element : array) {
        if (predicate.evaluateWithObject(element))
            filtered.append(element);
    }
    return filtered;
}

NSSet filteredSetUsingPredicate(const NSSet &set, const NSPredicate &predicate) {
    NSSet filtered;
    for (const QVariant &member : set) {
        if (predicate.evaluateWithObject(member))
            filtered.insert(member);
    }
    return filtered;
}
