// SPDX-License-Identifier: MIT
#include "ZRKit/Values/ZRCollection.h"

#include "ZRKit/Values/NSDictionary+ZRKit.h"
#include "examples/kit/Example.h"

using namespace ZRKit;

namespace {

const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");

void order() {
    ZRCollection collection(3);
    collection.setObject(1, a);
    collection.setObject(2, b);
    collection.setObject(3, c);
    collection.setObject(9, a); // keeps its place
    expect(collection.keyEnumerator().allObjects() == QStringList({a, b, c}));
    expect(collection.reverseKeyEnumerator().nextObject() == c);
    collection.insertObject(4, c, 0); // moves
    expect(collection.array() == QStringList({c, a, b}));
    expect(collection.indexOfKey(a) == 1 && collection.indexOfKey(QStringLiteral("x")) == NSNotFound);
    expect(collection.keyAtIndex(0) == c && collection.objectAtIndex(0) == QVariant(4));
    collection.removeObjectForKey(a);
    expect(collection.count() == 2 && !collection.objectForKey(a).isValid());
    bool raised = false;
    try {
        collection.keyAtIndex(2);
    } catch (const NSException &exception) {
        raised = exception.name() == NSRangeException;
    }
    expect(raised);
}

void dictionary() {
    const ZRCollection original{{b, 2}, {a, NSNull()}};
    ZRCollection copy = original.copy();
    incrementCounterForKey(copy, c);
    expect(copy.array() == QStringList({b, a, c}) && original.count() == 2);
    expect(key(original, b) == QVariant(2) && !key(original, a).isValid() && has(original, a));
    expect(mergeDict(original, QVariantMap{{b, 5}}).objectForKey(b) == QVariant(5));
    expect(path(QVariant::fromValue(original), b) == QVariant(2));
}

void descriptions() {
    const ZRCollection collection{{b, 2.5}, {a, QStringLiteral("text")}};
    expect(collection.description() == QStringLiteral("{\n    b = 2.5;\n    a = text;\n}\n"));
    const QLocale german(QLocale::German, QLocale::Germany);
    expect(collection.descriptionWithLocale(german, 1) ==
           QStringLiteral("    {\n        b = 2,5;\n        a = text;\n    }\n"));
    expect(DescriptionForObject(QVariantList{1}, german, 1) == QStringLiteral("    (\n        1\n    )"));
}

} // namespace

EXAMPLE(ZRCollection) {
    order();
    dictionary();
    descriptions();
}
