// SPDX-License-Identifier: MIT
// Archives, byte by byte.
#include "tests/fuzz/ArchiveRoundTrip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    readArchiveTwice(QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), qsizetype(size)));
    return 0;
}
