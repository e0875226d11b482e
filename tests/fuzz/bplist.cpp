// SPDX-License-Identifier: MIT
// Any bytes give a value or an NSException; and a value that was read is written and read again the same.
#include "platform/archive/NSPropertyList.h"
#include "tests/platform/archive/Identical.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), qsizetype(size));
    QVariant value;
    try {
        value = NSPropertyList::propertyListFromData(data);
    } catch (const NSException &) {
        return 0;
    }
    const QByteArray list = NSPropertyList::dataFromPropertyList(value);
    if (!identical(NSPropertyList::propertyListFromData(list), value))
        std::abort();
    return 0;
}
