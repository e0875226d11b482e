// SPDX-License-Identifier: MIT
// Any bytes decode, in the encoding they seem to have and in each one that the first byte picks; valid bytes
// of an encoding give no replacement character of the decoder's.
#include "platform/documents/WebDocumentDecoder.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    if (size == 0)
        return 0;
    const QByteArray data(reinterpret_cast<const char *>(bytes) + 1, qsizetype(size) - 1);
    const WebDecodedText html = WebDocumentDecoder::decodeHTML(data);
    if (html.encoding == WebTextEncoding::None)
        std::abort();
    WebDocumentDecoder::decodeXML(data);
    WebDocumentDecoder::markupForPlainText(WebDocumentDecoder::decodePlainText(data).text);
    const auto encoding = WebTextEncoding(bytes[0] % (int(WebTextEncoding::UTF32LE) + 1));
    const QString text = WebDecodeText(data, encoding);
    if (WebTextIsValid(data, encoding) && encoding == WebTextEncoding::UTF8 && text.toUtf8() != data)
        std::abort();
    if (!WebTextIsValid(data, encoding) && !text.contains(QChar(QChar::ReplacementCharacter)))
        std::abort();
    return 0;
}
