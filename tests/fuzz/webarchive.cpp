// SPDX-License-Identifier: MIT
// Any bytes are a property-list archive or none, and so is what they claim to be within a whole document.
#include "platform/documents/WebDocument.h"

#include <cstdlib>

using namespace zr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    const QByteArray data(reinterpret_cast<const char *>(bytes), qsizetype(size));
    if (const auto archive = WebArchive::archiveWithPropertyList(data)) {
        for (const WebResource &resource : archive->resources()) {
            if (archive->resourceForURL(resource.url) != &resource)
                std::abort();
        }
    }
    const auto document = WebDocument::documentWithData(data);
    if (document && !document->archive() && document->encodedData().isNull() &&
        document->mimeType().isEmpty())
        std::abort();
    return 0;
}
