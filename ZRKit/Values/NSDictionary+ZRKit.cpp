// SPDX-License-Identifier: MIT
#include "ZRKit/Values/NSDictionary+ZRKit.h"

#include "ZRKit/Values/PropertyListCopy.h"

namespace ZRKit {

std::optional<QVariantMap> deepMutableCopy(const QVariantMap &dictionary) {
    return propertyListCopy(dictionary);
}

QVariantMap
ZRDictionaryWithKeysAndObjectsSkipNil(std::initializer_list<std::pair<QString, QVariant>> keysAndObjects) {
    QVariantMap dictionary;
    for (const auto &[k, object] : keysAndObjects) {
        if (NSIsNil(object) || NSIsNull(object))
            continue;
        if (k.isNull())
            throw NSException(NSInvalidArgumentException,
                              QStringLiteral("The key of an object can't be nil."));
        dictionary.insert(k, object);
    }
    return dictionary;
}

} // namespace ZRKit
