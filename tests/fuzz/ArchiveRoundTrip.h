// SPDX-License-Identifier: MIT
#pragma once

#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "tests/platform/archive/Identical.h"

#include <cstdlib>

/// Any bytes give a value or an NSException; and a value that was read is archived and read again the same.
inline void readArchiveTwice(const QByteArray &data) {
    QVariant value;
    try {
        value = NSKeyedUnarchiver::unarchiveObjectWithData(data);
    } catch (const NSException &) {
        return;
    }
    const QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(value);
    if (!identical(NSKeyedUnarchiver::unarchiveObjectWithData(archive), value))
        std::abort();
}
