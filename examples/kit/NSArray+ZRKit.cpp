// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSArray+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/base/NSException.h"

using namespace ZRKit;

namespace {

const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
const QVariantList abc{a, b, c};

void elements() {
    expect(len(abc) == 3);
    expect(at(abc, 1) == b && !at(abc, 3).isValid() && !at(abc, quint64(-1)).isValid());
    expect(first(abc) == a && last(abc) == c && !first(QVariantList()).isValid());
    expect(sliceFrom(abc, 1, 0) == QVariantList({b, c}));
    expect(sliceFrom(abc, -2, 0) == QVariantList({b, c}));
    expect(sliceFrom(abc, 0, -1) == QVariantList({a, b}));
    expect(sliceFrom(abc, 3, 0).isEmpty());
    bool raised = false;
    try {
        sliceFrom(abc, 5, 10);
    } catch (const NSException &exception) {
        raised = exception.name() == NSRangeException;
    }
    expect(raised);
}

void joining() {
    expect(join({a, 1, NSNull()}, QStringLiteral("-")) == QStringLiteral("a-1-<null>"));
    expect(join(QStringList{a, b}, u", ") == QStringLiteral("a, b"));
    const QVariant bold = QVariant::fromValue(NSAttributedString(a, {{QStringLiteral("weight"), 700}}));
    const NSMutableAttributedString joined =
        joinAttributedStrings({bold, bold}, NSAttributedString(QStringLiteral(", ")));
    expect(joined.string() == QStringLiteral("a, a") && joined.runs().size() == 3);
}

void blocks() {
    const QVariantList numbers{1, 2, 3, 4};
    const auto isEven = [](const QVariant &n) { return n.toInt() % 2 == 0; };
    expect(zrMap(numbers, [](const QVariant &n) { return n.toInt() * 2; }) == QVariantList({2, 4, 6, 8}));
    expect(zrMap(numbers, [&](const QVariant &n) { return isEven(n) ? n : QVariant(); }).size() == 2);
    expect(zrSelect(numbers, isEven) == QVariantList({2, 4}));
    expect(zrFilter(numbers, isEven) == QVariantList({2, 4}));
    expect(zrMatch(numbers, isEven) == QVariant(2));
    expect(zrAny(numbers, isEven) == QVariant(2));
    expect(zrReduce(numbers, 0, [](int sum, const QVariant &n) { return sum + n.toInt(); }) == 10);
    expect(zrReduce(numbers, 0, [](double sum, const QVariant &n) { return sum + n.toInt() / 4.0; }) == 2.5);
}

void sorting() {
    expect(sorted({c, a, b}) == abc);
    expect(zrSorted(abc, [](const QVariant &x, const QVariant &y) { return x.toString() > y.toString(); }) ==
           QVariantList({c, b, a}));
    const auto person = [](const char *name, int age) {
        return QVariantMap{{QStringLiteral("name"), QString::fromLatin1(name)}, {QStringLiteral("age"), age}};
    };
    const QVariantList people{person("Ann", 30), person("Bea", 50), person("Cem", 30)};
    expect(zrSortBy(people, QStringLiteral("age")).first() == people.at(1)); // the largest first
    expect(zrGroupBy(people, QStringLiteral("age"), [](const QVariantList &group) { return group.size(); }) ==
           QVariantList({2, 1}));
}

void copies() {
    expect(set({a, b, a}) == NSSet({a, b}));
    NSSet changeable = mutableSet({a});
    changeable.insert(b);
    expect(changeable.size() == 2);
    const auto copy = deepMutableCopy(QVariantList{QStringList{a}, 5});
    expect(copy && copy->at(0).typeId() == QMetaType::QVariantList);
    expect(!deepMutableCopy(QVariantList{NSNull()})); // not what a property list holds
}

} // namespace

EXAMPLE(NSArray_ZRKit) {
    elements();
    joining();
    blocks();
    sorting();
    copies();
}
