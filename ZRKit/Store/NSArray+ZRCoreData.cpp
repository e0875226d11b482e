// SPDX-License-Identifier: MIT
#include "ZRKit/Store/NSArray+ZRCoreData.h"

#include "platform/values/NSKeyValueCoding.h"

QVariantList ZRKit::objectIDs(const QVariantList &array) {
    return NSKeyValueCoding::valueForKeyPath(array,
                                             QStringLiteral("objectID.URIRepresentation.absoluteString"))
        .toList();
}
