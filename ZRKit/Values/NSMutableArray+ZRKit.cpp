// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSMutableArray+ZRKit.h"

namespace ZRKit {

QVariant pop(QVariantList &array, qint64 index) {
    if (index < 0)
        index += array.size();
    if (index < 0 || index >= array.size())
        return {};
    return array.takeAt(qsizetype(index));
}

QVariant popFirst(QVariantList &array) {
    return pop(array, 0);
}

QVariant popLast(QVariantList &array) {
    return pop(array, -1);
}

void addObjectIfNotNil(QVariantList &array, const QVariant &object) {
    if (!NSIsNil(object))
        array.append(object);
}

} // namespace ZRKit
