// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/NSCompoundPredicate.h"
#include "platform/store/StoreQuery.h"

#include <QMap>
#include <QStringList>
#include <optional>

namespace zr {

/// Makes SQL of predicates and key paths. What it can't say so that SQLite's answer is that of evaluating the predicate in
/// memory it leaves untranslated.
///
/// SQL's NULL is neither true nor false. Conditions made here hold if they are true, so NULL counts as false, and NOT x is
/// x IS NOT TRUE.
class PredicateTranslator {
public:
    PredicateTranslator(const StoreSchema &schema, const IdentityTable &identities,
                        const NSEntityDescription *entity, int parameterLimit);

    std::optional<SQLText> condition(const NSPredicate &predicate);
    /// The column at the end of a key path of attributes and to-one relationships, if the selector can order it; with its
    /// collation.
    std::optional<QByteArray> orderedColumn(const QString &keyPath, const QString &selector);

    /// The table, and those joined to it for the key paths that were translated so far.
    QByteArray from() const { return m_scopes.front().from; }
    std::vector<std::shared_ptr<const RowPredicate>> predicates() const { return m_predicates; }

private:
    /// Rows of one table, known in the statement by an alias.
    struct Scope {
        const NSEntityDescription *entity = nullptr;
        QByteArray alias;
        /// The table with its alias and joins.
        QByteArray from;
        /// The aliases of what to-one key paths have led to.
        QMap<QString, QByteArray> joined;
    };
    /// One side of a comparison.
    struct Operand {
        enum Kind {
            Constant,   ///< a value
            Column,     ///< an attribute
            Object,     ///< an object's number
            Count,      ///< an integer that is never NULL
            Calculated, ///< an expression that only memory evaluates
        } kind = Constant;
        QVariant constant;
        SQLText sql;
        NSAttributeType type = NSAttributeType::Integer64;
        const NSEntityDescription *entity = nullptr;
        /// For evaluation in memory: the expression, and the columns that stand behind its key paths.
        NSExpression expression;
        std::vector<std::pair<RowPredicate::Operand, QByteArray>> columns;
    };
    /// The objects of a to-many relationship, with what is left of a key path behind it.
    struct Collection {
        SQLText owner;
        const NSRelationshipDescription *relationship = nullptr;
        QStringList rest;
    };
    using Condition = std::optional<SQLText>;

    Condition comparison(const NSComparisonPredicate &predicate);
    Condition compound(const NSCompoundPredicate &predicate);
    Condition quantified(const Collection &collection, const NSComparisonPredicate &predicate);
    Condition anyOf(const Collection &collection, bool all,
                    const std::function<Condition(const Operand &)> &test);
    Condition compared(const Operand &left, NSPredicateOperatorType type,
                       NSComparisonPredicateOptions options, const Operand &right);
    Condition comparedNatively(const Operand &left, NSPredicateOperatorType type, const Operand &right);
    Condition comparedWithConstant(const Operand &column, NSPredicateOperatorType type,
                                   const QVariant &constant);
    Condition comparedColumns(const Operand &left, NSPredicateOperatorType type, const Operand &right);
    Condition comparedObjects(const Operand &object, NSPredicateOperatorType type, const QVariant &constant);
    Condition isAmong(const Operand &column, const QVariant &collection);
    Condition isAmongObjects(const Operand &object, const QVariant &collection);
    Condition evaluated(const Operand &left, NSPredicateOperatorType type,
                        NSComparisonPredicateOptions options, const Operand &right);

    std::optional<Operand> operand(const NSExpression &expression);
    std::optional<Operand> pathOperand(size_t scope, const QStringList &path);
    std::optional<Operand> countOperand(const NSExpression &expression);
    std::optional<Operand> calculated(const NSExpression &expression);
    std::optional<NSExpression> rewritten(const NSExpression &expression, Operand &operand);
    std::optional<Collection> collectionOf(const NSExpression &expression);
    std::optional<SQLText> countOf(const Collection &collection, const QString &variable,
                                   const NSPredicate &predicate);
    /// The rows of a collection as a new scope, with the condition that links them to their owner.
    SQLText openScope(const Collection &collection);
    std::optional<size_t> scopeOf(const NSExpression &operand) const;
    std::optional<QByteArray> join(Scope &scope, const QStringList &path, const NSEntityDescription *&entity);

    static std::optional<SQLiteValue> comparable(NSAttributeType type, const QVariant &constant);
    std::optional<qint64> keyOf(const QVariant &id, const NSEntityDescription *entity) const;

    const StoreSchema &m_schema;
    const IdentityTable &m_identities;
    int m_parameterLimit;
    std::vector<Scope> m_scopes;
    QMap<QString, size_t> m_variables;
    std::vector<std::shared_ptr<const RowPredicate>> m_predicates;
    int m_lastAlias = 0;
    int m_lastColumn = 0;
};

} // namespace zr
