// SPDX-License-Identifier: MIT
// Any bytes give a value or an NSException; and a value that was read is archived and read again the same.
#include "platform/archive/NSKeyedArchiver.h"
#include "platform/archive/NSKeyedUnarchiver.h"
#include "tests/platform/archive/Identical.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), qsizetype(size));
    QVariant value;
    try {
        value = NSKeyedUnarchiver::unarchiveObjectWithData(data);
    } catch (const NSException &) {
        return 0;
    }
    const QByteArray archive = NSKeyedArchiver::archivedDataWithRootObject(value);
    if (!identical(NSKeyedUnarchiver::unarchiveObjectWithData(archive), value))
        std::abort();
    return 0;
}
