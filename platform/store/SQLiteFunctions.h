// SPDX-License-Identifier: MIT
#pragma once

#include "platform/predicates/NSPredicate.h"
#include "platform/store/NSPropertyDescription.h"

#include <QByteArray>
#include <QString>
#include <vector>

struct sqlite3;

namespace zr {

class SQLiteDatabase;

/// A condition on a row that SQLite can't judge by itself. In a statement it is zr_holds(?, column, ...): the parameter is
/// the predicate, the columns are what it looks at. It is evaluated exactly as it is in memory.
class RowPredicate {
public:
    /// One value that the predicate looks at, and the key under which it does.
    struct Operand {
        QString key;
        NSAttributeType type;
    };
    static constexpr const char *PointerType = "zr::RowPredicate";

    RowPredicate(const NSPredicate &predicate, std::vector<Operand> operands)
        : m_predicate(predicate), m_operands(std::move(operands)) {}

    const std::vector<Operand> &operands() const { return m_operands; }
    bool holds(const QVariantMap &values) const { return m_predicate.evaluateWithObject(values); }

private:
    NSPredicate m_predicate;
    std::vector<Operand> m_operands;
};

/// Whether an attribute's values have an order, in memory and by collationFor() in SQL.
bool hasOrder(NSAttributeType type);

/// The collation in which an attribute's values have the order that they have in memory; nil for SQLite's own. The
/// selector is that of a sort descriptor.
QByteArray collationFor(NSAttributeType type, const QString &selector);

/// Gives a connection the function and the collations. They are used in statements only, never in a schema: a file must be
/// readable without them.
void registerFunctions(SQLiteDatabase &database, sqlite3 *connection);

} // namespace zr
