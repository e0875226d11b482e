// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1String>
#include <QVariant>
#include <QVariantList>

namespace zr {

/// The functions of expressions.
struct PredicateFunction {
    QLatin1String name; ///< as NSExpression has it
    QLatin1String text; ///< the name before the parenthesis, or the sign between two operands
    int least = 0;      ///< number of arguments
    int most = 0;
    int precedence = 0; ///< of a sign, the larger the closer it binds; 0 for a name
    QVariant (*apply)(const QVariantList &arguments) = nullptr;

    static constexpr int Any = 1000000;

    /// The function with that name; nullptr if there is none.
    static const PredicateFunction *named(QStringView name);
    /// The function that is written so, names in any case.
    static const PredicateFunction *written(QStringView text);
};

} // namespace zr
