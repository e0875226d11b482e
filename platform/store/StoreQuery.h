// SPDX-License-Identifier: MIT
#pragma once

#include "platform/store/IdentityTable.h"
#include "platform/store/ObjectSource.h"
#include "platform/store/SQLiteFunctions.h"
#include "platform/store/SQLiteValue.h"

#include <QByteArray>
#include <memory>
#include <vector>

namespace zr {

/// A part of a statement, and the parameters in it, in the order of its text.
struct SQLText {
    QByteArray text;
    std::vector<SQLiteValue> parameters;

    SQLText &operator+=(const QByteArray &more) {
        text += more;
        return *this;
    }
    SQLText &operator+=(const SQLText &more) {
        text += more.text;
        parameters.insert(parameters.end(), more.parameters.begin(), more.parameters.end());
        return *this;
    }
};

/// A fetch as SQL. What comes between "SELECT" and " FROM" is up to who runs it; the rows are those of the alias t0.
struct StoreQuery {
    /// From " FROM" to the end.
    SQLText text;
    FetchRemainder remainder;
    /// What parameters point at.
    std::vector<std::shared_ptr<const RowPredicate>> predicates;
};

/// The fetch as SQL, as far as SQL gives the same answer as evaluating the predicate and sorting in memory. A
/// statement has at most `parameterLimit` parameters.
StoreQuery queryFor(const NSFetchRequest &request, const NSEntityDescription *entity,
                    const StoreSchema &schema, const IdentityTable &identities, int parameterLimit,
                    bool leavesPredicate = false);

} // namespace zr
