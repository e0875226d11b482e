// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSMutableArray+ZRKit.h"

#include "examples/kit/Example.h"

using namespace ZRKit;

EXAMPLE(NSMutableArray_ZRKit) {
    QVariantList stack{1, 2, 3, 4};
    expect(pop(stack, -1) == QVariant(4));
    expect(pop(stack, 1) == QVariant(2) && stack == QVariantList({1, 3}));
    expect(!pop(stack, 7).isValid() && stack.size() == 2);
    expect(popFirst(stack) == QVariant(1));
    expect(popLast(stack) == QVariant(3) && stack.isEmpty());
    expect(!popLast(stack).isValid());
    addFormat(stack, "%@ has %d", QStringLiteral("a"), 3);
    expect(stack.first() == QStringLiteral("a has 3"));
    addFormat(stack, "%05.2f|%-4d|%#x", 3.14159, 7, 255);
    expect(popLast(stack) == QStringLiteral("03.14|7   |0xff"));
    addObjectIfNotNil(stack, QVariant());
    addObjectIfNotNil(stack, NSNull());
    expect(stack.size() == 2);
}
