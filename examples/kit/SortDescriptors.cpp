// SPDX-License-Identifier: MIT
#include "examples/kit/Example.h"
#include "platform/predicates/NSSortDescriptor.h"

namespace {

QString S(const char *text) {
    return QString::fromUtf8(text);
}

QVariant file(const char *name, int size) {
    return QVariantMap{{S("name"), S(name)}, {S("size"), size}};
}

} // namespace

EXAMPLE(SortDescriptors) {
    const QVariant two = file("File2", 7), ten = file("file10", 7), one = file("file1", 9);
    const QVariantList files{ten, two, one};

    const NSSortDescriptor largest(S("size"), false);
    const NSSortDescriptor byName(S("name"), true, S("localizedStandardCompare:"));
    expect(sortedArrayUsingDescriptors(files, {largest, byName}) == QVariantList({one, two, ten}));
    expect(sortedArrayUsingDescriptors(files, {largest}) == QVariantList({one, ten, two})); // stable

    expect(largest.compareObject(one, two) == NSOrderedAscending);
    expect(largest.reversedSortDescriptor().compareObject(one, two) == NSOrderedDescending);

    const NSSortDescriptor byLength(S("name"), true, [](const QVariant &a, const QVariant &b) {
        return NSObjectRuntime::compare(a.toString().size(), b.toString().size());
    });
    expect(sortedArrayUsingDescriptors(files, {byLength}) == QVariantList({two, one, ten}));
    expect(sortedArrayUsingDescriptors({3, 1, 2}, {NSSortDescriptor(QString(), true)}) ==
           QVariantList({1, 2, 3}));
}
