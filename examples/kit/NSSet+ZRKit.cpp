// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSSet+ZRKit.h"

#include "examples/kit/Example.h"
#include "platform/values/NSDecimalNumber.h"

#include <QObject>

using namespace ZRKit;

namespace {

class Basket : public QObject {
    Q_OBJECT
public:
    Q_INVOKABLE void take(const QVariant &member) { taken.insert(member); }
    NSSet taken;
};

void blocks() {
    const NSSet numbers{1, 2, 3};
    expect(numbers == NSSet({1.0, 2u, QVariant::fromValue(NSDecimalNumber(3))}));
    const auto isOdd = [](const QVariant &n) { return n.toInt() % 2 == 1; };
    expect(zrMap(numbers, [](const QVariant &n) { return n.toInt() / 2; }) == NSSet({0, 1}));
    expect(zrSelect(numbers, isOdd) == NSSet({1, 3}));
    expect(zrFilter(numbers, isOdd) == NSSet({1, 3}));
    expect(isOdd(zrAny(numbers, isOdd)) && isOdd(zrMatch(numbers, isOdd)));
    expect(!zrAny(NSSet{2}, isOdd).isValid());
    expect(zrSorted(numbers, [](const QVariant &x, const QVariant &y) { return x.toInt() > y.toInt(); }) ==
           QVariantList({3, 2, 1}));
}

void targets() {
    Basket basket;
    const QVariant target = QVariant::fromValue<QObject *>(&basket);
    zrApplyTarget(NSSet{1, 2}, target, NSSelector("take:"));
    zrApplyTarget(NSSet{3}, target, NSSelector("unknown:"));
    expect(basket.taken == NSSet({1, 2}));
}

} // namespace

EXAMPLE(NSSet_ZRKit) {
    blocks();
    targets();
}

#include "NSSet+ZRKit.moc"
