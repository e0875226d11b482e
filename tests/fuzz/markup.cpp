// SPDX-License-Identifier: MIT
// Any bytes are cut up into tokens that add up to them, whatever they are taken for; and they are a document's text, or
// wait for the engine to decode them, or are neither.
#include "platform/documents/WebDocument.h"
#include "platform/documents/WebDocumentTraits.h"
#include "platform/text/MarkupScanner.h"

#include <cstdlib>

using namespace zr;

namespace {

template <typename View>
void scan(View markup) {
    using Scanner = MarkupScanner<View>;
    for (const auto syntax : {Scanner::Syntax::HTML, Scanner::Syntax::XML}) {
        Scanner scanner(markup, syntax);
        qsizetype size = 0;
        while (scanner.next()) {
            if (scanner.text().isEmpty() || scanner.text().data() != markup.data() + size)
                std::abort();
            size += scanner.text().size();
            if (scanner.name().isNull())
                continue;
            for (auto attributes = scanner.attributes(); attributes.next();) {
                if (attributes.name().isEmpty())
                    std::abort();
            }
        }
        if (size != markup.size())
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    if (size == 0)
        return 0;
    const QByteArray data(reinterpret_cast<const char *>(bytes) + 1, qsizetype(size) - 1);
    const QString text = QString::fromUtf8(data);
    scan(QLatin1StringView(data));
    scan(QStringView(text));
    if (WebDocumentTraits::withoutReloads(text).size() != text.size())
        std::abort();
    // A page of which it is certain that it doesn't reload has nothing to be made harmless.
    if (!WebDocumentTraits::mayReload(text) && WebDocumentTraits::withoutReloads(text) != text)
        std::abort();
    WebDocumentTraits::mayLeaveTraces(text);
    WebDocumentTraits::mayDependOnAddress(text);
    static constexpr const char *types[] = {"", "text/html", "text/plain", "application/xhtml+xml"};
    static constexpr const char *charsets[] = {"", "utf-8", "koi8-r", "utf-16"};
    const auto document =
        WebDocument::documentWithData(data, types[bytes[0] & 3], charsets[(bytes[0] >> 2) & 3]);
    if (document && !document->archive() &&
        document->encodedData().isNull() == document->mimeType().isEmpty())
        std::abort();
    if (document && !document->encodedData().isNull() && document->decoded(text).mimeType().isEmpty())
        std::abort();
    return 0;
}
