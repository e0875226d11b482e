// SPDX-License-Identifier: MIT
#include "ZRKit/Service/Serialization.h"

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "platform/base/NSException.h"
#include "platform/values/NSLog.h"

QByteArray zr::serialize(const QVariant &object) {
    try {
        return NSKeyedArchiver::archivedDataWithRootObject(object);
    } catch (...) {
        NSLog("zxDataSerialize: %@", NSException::currentDescription());
        return {};
    }
}

QVariant zr::unserialize(const QByteArray &data) {
    try {
        return data.isEmpty() ? QVariant() : NSKeyedUnarchiver::unarchiveObjectWithData(data);
    } catch (...) {
        NSLog("zxDataUnserialize: %@", NSException::currentDescription());
        return {};
    }
}
