// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSCountedSet+ZRKit.h"

#include "ZRKit/Values/NSObject+ZRKit.h"
#include "examples/kit/Example.h"

using namespace ZRKit;

EXAMPLE(NSCountedSet_ZRKit) {
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
    NSCountedSet words(QVariantList{b, a, b, c, c, b});
    expect(words.count() == 3 && words.countForObject(b) == 3);
    expect(sortedArrayByCountAscending(words, true) == QVariantList({a, c, b}));
    expect(sortedArrayByCountAscending(words, false) == QVariantList({b, c, a}));
    words.removeObject(a);
    expect(!words.containsObject(a));
    expect(words.description() == QStringLiteral("{(\n    \"b\" [3],\n    \"c\" [2]\n)}"));
    expect(isTrue(QVariant::fromValue(words)) && !isTrue(QVariant::fromValue(NSCountedSet())));
}
