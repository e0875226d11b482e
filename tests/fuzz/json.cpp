// SPDX-License-Identifier: MIT
// Any bytes give a value or an error; and a value that was read is written and read again the same.
#include "platform/text/NSJSONSerialization.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), qsizetype(size));
    NSError error;
    const QVariant value =
        NSJSONSerialization::JSONObjectWithData(data, NSJSONReadingFragmentsAllowed, &error);
    if (value.isValid() == !error.isNil())
        std::abort();
    if (!value.isValid())
        return 0;
    for (const NSJSONWritingOptions options : {0, 1, 8}) {
        const QByteArray text =
            NSJSONSerialization::dataWithJSONObject(value, options | NSJSONWritingFragmentsAllowed);
        const QVariant again = NSJSONSerialization::JSONObjectWithData(text, NSJSONReadingFragmentsAllowed);
        // A double without a fraction is written as an integer: the second reading is the one that stays the
        // same.
        const QByteArray text2 =
            NSJSONSerialization::dataWithJSONObject(again, options | NSJSONWritingFragmentsAllowed);
        if (!(again == value) || text2 != text)
            std::abort();
    }
    return 0;
}
