// SPDX-License-Identifier: MIT
#include "examples/kit/Example.h"
#include "platform/base/NSException.h"
#include "platform/predicates/NSComparisonPredicate.h"
#include "platform/predicates/NSPredicate.h"

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

QVariantMap record() {
    const auto line = [](const char *name, int amount) {
        return QVariantMap{{S("name"), S(name)}, {S("amount"), amount}};
    };
    return {{S("name"), S("Zoë Müller")},
            {S("age"), 30},
            {S("tags"), QStringList{S("red"), S("blue")}},
            {S("lines"), QVariantList{line("pen", 3), line("ink", 5)}}};
}

template <typename... Arguments>
bool fits(const char *format, const Arguments &...arguments) {
    return NSPredicate::predicateWithFormat(S(format), arguments...).evaluateWithObject(record());
}

void conditions() {
    expect(fits("age >= 18 AND NOT age > 65 OR FALSEPREDICATE"));
    expect(fits("age BETWEEN {18, 65} AND age IN {10, 20, 30}"));
    expect(fits("name BEGINSWITH[cd] 'zoe' AND name ENDSWITH 'ller' AND name CONTAINS 'M'"));
    expect(fits("name LIKE 'Zo* M?ller' AND name MATCHES '\\\\w+ \\\\w+'"));
    expect(fits("ANY tags == 'red' AND ALL tags != 'green' AND NONE tags == 'green'"));
    expect(fits("missing == nil AND TRUEPREDICATE"));
}

void values() {
    expect(fits("lines.@sum.amount == 8 AND lines[0].name == 'pen'"));
    expect(fits("age * 2 + 1 == 61 AND length(name) == 10"));
    expect(fits("SUBQUERY(lines, $l, $l.amount > 4).@count == 1"));
    expect(NSPredicate::predicateWithFormat(S("SELF > 2")).evaluateWithObject(3));
}

void arguments() {
    expect(fits("%K == %@ AND age > %d", S("name"), S("Zoë Müller"), 20));
    expect(!fits("name == %@", S("x' OR TRUEPREDICATE"))); // an argument is never read as format
    const NSPredicate older = NSPredicate::predicateWithFormat(S("age > $limit"));
    expect(older.evaluateWithObject(record(), {{S("limit"), 20}}));
    expect(older.predicateWithSubstitutionVariables({{S("limit"), 40}}).predicateFormat() == S("age > 40"));
}

void trees() {
    const NSPredicate predicate = NSPredicate::predicateWithFormat(S("age=<30 && name!=nil"));
    expect(predicate.predicateFormat() == S("age <= 30 AND name != nil"));
    const NSComparisonPredicate adult(NSExpression::expressionForKeyPath(S("age")),
                                      NSExpression::expressionForConstantValue(18), NSDirectPredicateModifier,
                                      NSGreaterThanOrEqualToPredicateOperatorType);
    expect(adult == NSPredicate::predicateWithFormat(S("age >= 18")));
    expect(filteredArrayUsingPredicate({1, 2, 3}, NSPredicate::predicateWithFormat(S("SELF != 2"))) ==
           QVariantList({1, 3}));
}

void faults() {
    qsizetype position = -1;
    try {
        NSPredicate::predicateWithFormat(S("age == "));
    } catch (const NSException &exception) {
        position = exception.userInfo().value(NSPredicatePositionKey).toLongLong();
    }
    expect(position == 7);
}

} // namespace

EXAMPLE(Predicates) {
    conditions();
    values();
    arguments();
    trees();
    faults();
}
