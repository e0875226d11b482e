// SPDX-License-Identifier: MIT
// Any bytes are a MIME archive or none; one that is keeps its promises: what it holds is found again, and
// nothing in it is at a local file.
#include "platform/documents/WebArchive.h"

#include <cstdlib>

using namespace zr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data(reinterpret_cast<const char *>(bytes), qsizetype(size));
    const auto archive = WebArchive::archiveWithMIMEMessage(data);
    if (!archive)
        return 0;
    for (const WebResource &resource : archive->resources()) {
        const bool isWeb =
            resource.url.left(5).toLower() == "http:" || resource.url.left(6).toLower() == "https:";
        if (!isWeb || archive->resourceForURL(resource.url) != &resource)
            std::abort();
    }
    return 0;
}
