// SPDX-License-Identifier: MIT
#include "ZRKit/Store/NSManagedObject+ZRKit.h"

QString ZRKit::objectIDString(const NSManagedObject &receiver) {
    return QString::fromLatin1(receiver.objectID().URIRepresentation().toEncoded());
}
